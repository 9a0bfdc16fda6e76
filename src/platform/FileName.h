#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>

/// Names made from what a backup holds never become paths unchecked: they come through here.
namespace PDXFileName {

/// `name` with each of the characters \ ? % : * | " < > / replaced by "_", and without white space and line
/// breaks at both ends. May be empty, and may still be unfit as a file name; see `safe`.
std::string cleaned(std::string_view name);

/// A name that every system can store: cleaned, in normal form C, without control characters and those that
/// change the direction of writing ("exe.gpj" must not show as "jpg.exe"), leading or trailing blanks and
/// trailing dots; a reserved device name ("CON", "com1.txt") gets a "_"; one that would
/// be empty, "." or ".." is "Untitled". At most `limit` bytes, cut between characters.
std::string safe(std::string_view name, std::size_t limit = 200);

/// `name` as above, where what follows its last dot is a file extension that a cut must not touch.
std::string safeWithExtension(std::string_view name);

/// Whether a browser opens a file of that name as a page, which may then run what is in it and ask the folder
/// around it for more: HTML, and XML with whatever of it browsers show. Browsers go by the name alone for
/// files on a disk.
bool isPage(std::string_view name);

/// Put behind such a name, it has browsers show the text of the file instead.
constexpr std::string_view kTextExtension = ".txt";
constexpr const char* kWhySavedAsText = "a browser would open it as a page, which may run programs";

/// A safe name with a counter: "a (1).txt", or "a.txt (1)" without regard to an extension. At most 200 bytes
/// in all.
std::string counted(std::string_view name, unsigned counter, bool hasExtension);

}  // namespace PDXFileName

/// The names given out in one folder so far: the second of a name gets " (1)", the third " (2)", without
/// regard to case.
class PDXUniqueFileNames {
 public:
  /// @param reserve  the longest text that will be appended to a name: its extension, or the name of a folder
  ///                 that goes with it. A name, its counter and `reserve` more bytes fit into 200.
  /// @param isTaken  whether somebody else's file has a name, which then is not given out; may be empty.
  explicit PDXUniqueFileNames(std::size_t reserve,
                              std::function<bool(const std::string& name)> isTaken = nullptr)
      : reserve_(reserve), isTaken_(std::move(isTaken)) {}

  /// A safe name made from `title`, without extension, that no earlier call has answered.
  std::string nameFor(std::string_view title);

  /// The same with an extension, which may be of any length and content. What does not fit into the bytes
  /// set aside for it is cut with the title.
  std::string nameFor(std::string_view title, std::string_view extension);

 private:
  std::size_t reserve_;
  std::function<bool(const std::string& name)> isTaken_;
  std::unordered_set<std::string> taken_;
  std::unordered_map<std::string, unsigned> lastCounters_;
};
