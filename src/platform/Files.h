#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"
#include "platform/Date.h"

class PDXFileReader;

/// Files and folders. Paths are UTF-8. Nothing here throws: a failure is false, nothing or an empty text.
namespace PDXFiles {

bool exists(const std::string& path);
bool isFolder(const std::string& path);

/// Whether a folder, and no link to one, lies at the path.
bool isRealFolder(const std::string& path);

/// Whether nothing lies at the path. What may not be looked at is taken to be there.
bool isMissing(const std::string& path);

/// Whether a regular file, and no link to one, lies at the path.
bool isRegularFile(const std::string& path);

/// Whether a link lies at the path, wherever it leads.
bool isLink(const std::string& path);

/// Asks the system to fetch a file that will be read here and there: a disk is much quicker from front to
/// end.
void readAhead(const std::string& path);

/// Bytes of a regular file; nothing when there is none.
std::optional<std::uint64_t> sizeOf(const std::string& path);

/// `base` and `component` with one "/" between them; an empty base gives the component.
std::string joined(std::string_view base, std::string_view component);

/// Absolute, with links resolved and without "." and "..", as far as the path exists.
std::string absolute(const std::string& path);

/// The folder that holds `path`.
std::string folderOf(const std::string& path);

/// The whole file; nothing when it cannot be read or is larger than `limit` bytes.
std::optional<PDXBytes> read(const std::string& path, std::uint64_t limit = std::uint64_t{256} << 20);

/// The first `count` bytes of a file, fewer when it is shorter; empty when it cannot be read.
PDXBytes readBeginning(const std::string& path, std::size_t count);

/// Makes a file longer with zero bytes. False when it cannot be written.
bool lengthen(const std::string& path, std::uint64_t size);

/// Names of what lies in a folder, sorted by their bytes; empty when it cannot be listed.
std::vector<std::string> list(const std::string& folder);

/// Makes a folder and those above it, new ones for their owner only. True when it is there afterwards.
bool makeFolders(const std::string& path);

/// Makes a folder that only its owner may enter. True when it is there, is no link and belongs to this user.
bool makePrivateFolder(const std::string& path);

/// Makes a folder that only its owner may enter and whose name begins so. Its path; "" when it cannot be
/// made.
std::string makeUniqueFolder(const std::string& pathPrefix);

/// Gives a file another name in the same file system, replacing what has it. False when that failed.
bool rename(const std::string& from, const std::string& to);

/// Sets the moment at which a file says that it was last changed. False when the system refuses.
bool setLastModified(const std::string& path, PDXDate date);

/// Removes a file, a link or an empty folder; what is not there is no failure. Where somebody else's file is
/// guarded it stays.
bool remove(const std::string& path);

/// Removes a folder with all it holds, following no links.
void removeTree(const std::string& path);

/// How a copy ended. A target that is full or lost (`writeFailed`) takes no other file either; `notMade` says
/// that this one file cannot be made there, whose name is too long, say, or has something else in its way.
struct CopyResult {
  enum class Outcome { done, noSource, readFailed, writeFailed, stopped, notMade } outcome = Outcome::done;
  std::string why;  ///< The system's reason; empty when done.

  explicit operator bool() const { return outcome == Outcome::done; }
};

/// Of a file that could not be written: whether its target is full or lost, or only this file cannot be made.
/// The one place that tells which.
/// @param code  the system's error number.
CopyResult writeFailure(int code, const std::string& path);

/// `path`, or the next free name when it lies in a folder that is guarded and somebody else's file has it;
/// see PDXOutputGuard.
std::string freePath(const std::string& path);

/// The same for a folder, which others may share: only something else has to give way to.
std::string freeFolder(const std::string& path);

/// Whether the path lies in a folder that is guarded and something of somebody else's has its name.
bool isTaken(const std::string& path);

/// Bytes that a user may still write to the file system of a folder; nothing when it does not tell.
std::optional<std::uint64_t> freeBytes(const std::string& folder);

/// Whether copies of `from` below `folder` may share its blocks and so need no room.
bool mayShareBlocks(const std::string& from, const std::string& folder);

/// Copies a file's bytes to a new file in the cheapest way the file system offers: sharing its blocks, else
/// copying inside the kernel. A link is not followed: in a backup it could lead to any file of the user's.
/// The target appears whole or not at all, replaces an older one, and is its owner's alone.
CopyResult copy(const std::string& from, const std::string& to, const std::stop_token& stop = {});

/// The same of a file that is open at its beginning.
CopyResult copy(const PDXFileReader& from, const std::string& to, const std::stop_token& stop = {});

/// Puts a copy of a file's bytes at `to` with no other name showing up in that folder, not even for a moment.
/// An older file there is replaced; a link there is replaced, not followed.
CopyResult copyUnseen(const std::string& from, const std::string& to);

/// Whether two regular files hold the same bytes.
bool haveSameBytes(const std::string& one, const std::string& other);

/// Removes what runs that were killed left in a folder and all below it: the files they were writing. What
/// belongs to a process that still lives stays, and so does whatever we did not write. Follows no links.
void removeAbandonedParts(const std::string& folder);

/// The user's home folder.
std::string home();

/// The user's data and settings folders (XDG base directories); absolute, and not made.
std::string userData();
std::string userSettings();

/// The temporary folder of this run: the user's own, or what `setTemporary` named.
std::string temporary();

/// Points `temporary` elsewhere for this process; an empty path undoes it.
void setTemporary(const std::string& folder);

}  // namespace PDXFiles

/// A regular file that is read from its beginning to its end. Links are not followed: in a backup they could
/// lead to any file of the user's.
class PDXFileReader {
 public:
  explicit PDXFileReader(const std::string& path);

  /// Reads from an open file descriptor, which it takes over.
  explicit PDXFileReader(int descriptor);

  /// One of a file that did not open, for the system's reason of that number.
  static PDXFileReader failed(int code);

  ~PDXFileReader();
  PDXFileReader(PDXFileReader&& other) noexcept;
  PDXFileReader& operator=(PDXFileReader&& other) noexcept;

  /// Why the file did not open or a `read` failed; empty when neither did.
  const std::string& error() const { return error_; }

  /// Whether it did not open because nothing lies there.
  bool isMissing() const { return isMissing_; }

  /// Bytes of the file when it was opened; 0 when it did not open.
  std::uint64_t size() const { return size_; }

  /// The next bytes: as many as `count`, fewer only at the end or in an error.
  std::size_t read(std::uint8_t* to, std::size_t count);

  /// Goes on reading at that byte.
  void seek(std::uint64_t position);

  /// The whole file; nothing when it cannot be read or is larger than `limit` bytes.
  std::optional<PDXBytes> all(std::uint64_t limit = std::uint64_t{256} << 20);

  /// For calls of the system; -1 when it did not open.
  int descriptor() const { return descriptor_; }

 private:
  PDXFileReader() = default;
  void fail_(int code);

  int descriptor_ = -1;
  bool isMissing_ = false;
  std::uint64_t size_ = 0;
  std::string error_;
};

/// A private folder below the temporary one that becomes `PDXFiles::temporary()` while it lives, and is
/// removed with all it holds afterwards.
class PDXTemporaryRun {
 public:
  PDXTemporaryRun();
  ~PDXTemporaryRun();
  PDXTemporaryRun(const PDXTemporaryRun&) = delete;
  PDXTemporaryRun& operator=(const PDXTemporaryRun&) = delete;

  /// Empty when the folder could not be made.
  const std::string& path() const { return path_; }

 private:
  std::string path_;
  std::string outer_;  ///< The temporary folder before.
};

/// A file that appears under its name only when it is whole: text goes to a file beside it, which `commit`
/// renames. What was not committed is removed. Files are their owner's alone.
class PDXAtomicFile {
 public:
  /// Opens the file beside `path`, whose folder must exist.
  explicit PDXAtomicFile(std::string path);
  ~PDXAtomicFile();
  PDXAtomicFile(const PDXAtomicFile&) = delete;
  PDXAtomicFile& operator=(const PDXAtomicFile&) = delete;

  /// Appends at the end. Text is gathered, so that many short ones cost little.
  void append(std::string_view text);

  /// The same without gathering: for a caller that hands over the bytes while the processor's cache holds
  /// them.
  void appendAtOnce(std::string_view bytes);

  /// Puts the file in its place. False when anything since opening has failed; see `error`.
  [[nodiscard]] bool commit();

  /// The first failure's reason; empty when all went well so far.
  const std::string& error() const { return error_; }

  /// The first failure, as that of a copy.
  PDXFiles::CopyResult result() const;

  const std::string& path() const { return path_; }

  /// Removes what stands beside the places of all files that are open, for a process that ends without
  /// unwinding. Takes no lock and no memory.
  static void removeAllParts();

 private:
  void flush_();
  void write_(std::string_view rest);
  void fail_(int code);

  std::string path_;
  std::string temporaryPath_;
  std::string buffer_;
  std::string error_;
  int errorCode_ = 0;
  int descriptor_ = -1;
  PDXAtomicFile* before_ = nullptr;  ///< The file opened before that is still open.
  PDXAtomicFile* behind_ = nullptr;
};
