#include "platform/FileName.h"

#include <unicode/uchar.h>

#include <algorithm>

#include "platform/Characters.h"
#include "platform/Text.h"

namespace {

constexpr std::string_view kUntitled = "Untitled";
constexpr std::size_t kLongestName = 200;
constexpr std::size_t kLongestExtension = 32;

/// Whether the character at `position` belongs to the one before: a combining mark, a joiner, a skin tone.
bool continuesAt(std::string_view name, std::size_t position) {
  const auto kind =
      u_getIntPropertyValue(PDXCharacters::nextOrError(name, position), UCHAR_GRAPHEME_CLUSTER_BREAK);
  return kind == U_GCB_EXTEND || kind == U_GCB_ZWJ || kind == U_GCB_SPACING_MARK;
}

/// The longest beginning of `name` that has at most `limit` bytes and cuts no character, and none off from
/// its combining marks and from what a joiner joins to it.
std::string_view cutTo(std::string_view name, std::size_t limit) {
  constexpr std::string_view kJoiner = "\xE2\x80\x8D";
  if (name.size() <= limit) return name;
  std::size_t end = limit;
  while (end > 0) {
    const bool insideCharacter = (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80;
    if (!insideCharacter && !continuesAt(name, end) && !name.substr(0, end).ends_with(kJoiner)) break;
    --end;
  }
  return name.substr(0, end);
}

std::string withoutControls(std::string_view name) {
  std::string result;
  std::size_t position = 0;
  while (position < name.size()) {
    const std::size_t start = position;
    const auto character = PDXCharacters::nextOrError(name, position);
    if (PDXCharacters::endsLine(character) || PDXCharacters::changesDirection(character)) continue;
    result.append(name, start, position - start);
  }
  return result;
}

/// Whether there is anything to see: not only joiners, direction marks and the like, which take no room.
bool isVisible(std::string_view name) {
  for (std::size_t position = 0; position < name.size();) {
    const auto character = PDXCharacters::nextOrError(name, position);
    if (!u_hasBinaryProperty(character, UCHAR_DEFAULT_IGNORABLE_CODE_POINT) && !u_isUWhiteSpace(character))
      return true;
  }
  return false;
}

std::string_view withoutTrailingDots(std::string_view name) {
  std::string_view before;
  do {
    before = name;
    while (name.ends_with('.')) name.remove_suffix(1);
    name = PDXText::trimmed(name);
  } while (name != before);
  return name;
}

bool isReservedDevice(std::string_view stem) {
  const std::string upper = PDXText::uppercased(stem);
  if (upper == "CON" || upper == "PRN" || upper == "AUX" || upper == "NUL") return true;
  if (!upper.starts_with("COM") && !upper.starts_with("LPT")) return false;
  const std::string_view number = std::string_view(upper).substr(3);
  return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') || number == "¹" || number == "²" ||
         number == "³";
}

}  // namespace

namespace PDXFileName {

std::string cleaned(std::string_view name) {
  std::string result(name);
  for (char& c : result) {
    if (std::string_view("\\?%:*|\"<>/").find(c) != std::string_view::npos) c = '_';
  }
  return std::string(PDXText::trimmed(result));
}

std::string safe(std::string_view name, std::size_t limit) {
  std::string result = PDXText::composed(withoutControls(cleaned(name)));
  result = withoutTrailingDots(cutTo(withoutTrailingDots(result), limit));
  if (!isVisible(result)) return std::string(kUntitled);
  const std::size_t stem = std::min(result.find('.'), result.size());
  if (!isReservedDevice(PDXText::trimmed(std::string_view(result).substr(0, stem)))) return result;
  result.insert(stem, "_");
  return std::string(withoutTrailingDots(cutTo(result, limit)));
}

std::string safeWithExtension(std::string_view name) {
  const std::string whole = safe(name, std::string_view::npos);
  const std::string extension(PDXText::pathExtension(whole));
  if (extension.empty() || extension.size() > kLongestExtension) return safe(name);
  const std::string stem = whole.substr(0, whole.size() - extension.size() - 1);
  return safe(stem, kLongestName - extension.size() - 1) + "." + extension;
}

std::string counted(std::string_view name, unsigned counter, bool hasExtension) {
  std::string_view extension = hasExtension ? PDXText::pathExtension(name) : std::string_view();
  if (extension.size() > kLongestExtension) extension = {};
  const std::string ending =
      " (" + std::to_string(counter) + ")" + (extension.empty() ? "" : "." + std::string(extension));
  if (!extension.empty()) name.remove_suffix(extension.size() + 1);
  return safe(name, kLongestName - std::min(kLongestName, ending.size())) + ending;
}

bool isPage(std::string_view name) {
  const std::string type = PDXText::lowercased(PDXText::pathExtension(name));
  constexpr std::string_view kTypes[] = {"xht",  "xml", "xsl",  "xslt", "xbl",        "xul", "rss", "atom",
                                         "rdf",  "svg", "svgz", "mml",  "mathml",     "mht", "xsd", "wml",
                                         "opml", "gpx", "kml",  "eml",  "webarchive", "hta"};
  // All names of HTML have this in them, as "shtml", "xhtml" and "mhtml" do.
  return type.find("htm") != std::string::npos ||
         std::find(std::begin(kTypes), std::end(kTypes), type) != std::end(kTypes);
}

}  // namespace PDXFileName

std::string PDXUniqueFileNames::nameFor(std::string_view title) {
  const std::size_t limit = kLongestName - reserve_;
  std::string name = PDXFileName::safe(title, limit);
  // Thousands of notes may have one title: the search goes on behind the last counter given out.
  unsigned& counter = lastCounters_[PDXText::caseFolded(name)];
  while (!taken_.insert(PDXText::caseFolded(name)).second || (isTaken_ && isTaken_(name))) {
    const std::string suffix = " (" + std::to_string(++counter) + ")";
    name = PDXFileName::safe(title, limit - suffix.size()) + suffix;
  }
  return name;
}

std::string PDXUniqueFileNames::nameFor(std::string_view title, std::string_view extension) {
  if (extension.empty()) return nameFor(title);
  const std::string ending = "." + std::string(extension);
  const bool isSafe = PDXFileName::safe("a" + ending, kLongestName * 2) == "a" + ending;
  if (ending.size() > reserve_ || !isSafe) return nameFor(std::string(title) + ending);
  return nameFor(title) + ending;
}
