#include <fcntl.h>
#include <pwd.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <utility>

#include "platform/FileCopy.h"
#include "platform/Files.h"
#include "platform/OutputGuard.h"
#include "platform/Process.h"

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kBufferSize = std::size_t{256} << 10;

std::mutex temporaryLock;

std::string& temporaryOverride() {
  static std::string folder;
  return folder;
}

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

/// A base directory of the user's: only an absolute path counts, as the convention says.
std::string baseDirectory(const char* variable, const char* below) {
  const std::string value = environment(variable);
  return value.starts_with('/') ? value : PDXFiles::joined(PDXFiles::home(), below);
}

/// A file descriptor, closed when it goes out of scope.
class Descriptor {
 public:
  explicit Descriptor(int value) : value_(value) {}
  ~Descriptor() {
    if (value_ >= 0) ::close(value_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return value_; }

  /// Takes another one over, where there was none.
  void reset(int value) { value_ = value; }

  /// Closes now, so that a late failure to write is seen.
  bool close() { return ::close(std::exchange(value_, -1)) == 0; }

 private:
  int value_;
};

/// Opens for reading, without waiting where a pipe lies.
int openRegular(const std::string& path) {
  return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
}

/// The system's text for a failure to read; its own for a link speaks of levels.
std::string textFor(int code) {
  return code == ELOOP ? "it is a link, which a backup never contains" : std::strerror(code);
}

/// What a failure in the middle of copying means: a full target is told from a source that cannot be read.
PDXFiles::CopyResult resultOf(int code) {
  using Outcome = PDXFiles::CopyResult::Outcome;
  if (code == 0) return {};
  if (code == ECANCELED) return {Outcome::stopped, "stopped"};
  const bool isFull = code == ENOSPC || code == EDQUOT || code == EFBIG;
  return {isFull ? Outcome::writeFailed : Outcome::readFailed, std::strerror(code)};
}

constexpr std::string_view kPartPrefix = ".pocketdex-";
constexpr std::string_view kRunPrefix = "pocketdex-";

/// The process in a name of ours, such as ".pocketdex-123-4.part"; nothing when the name is not of that form.
std::optional<pid_t> ownerOf(std::string_view name, std::string_view prefix) {
  if (!name.starts_with(prefix)) return std::nullopt;
  name.remove_prefix(prefix.size());
  const std::size_t end = std::min(name.find('-'), name.size());
  pid_t process = 0;
  const auto result = std::from_chars(name.data(), name.data() + end, process);
  if (end == name.size() || result.ptr != name.data() + end || process <= 0) return std::nullopt;
  return process;
}

/// Whether what lies at the path is this user's and its process has ended. Systems give numbers out again, a
/// container the same to nearly every run: what is older than the process of its number is another's.
bool isAbandoned(const std::string& path, const std::optional<pid_t>& process) {
  struct stat info {};
  if (!process || ::lstat(path.c_str(), &info) != 0 || info.st_uid != ::geteuid()) return false;
  if (::kill(*process, 0) != 0 && errno == ESRCH) return true;
  // Clocks of file systems may be a little behind.
  constexpr std::chrono::seconds kLag(5);
  const auto start = PDXProcess::startOf(*process);
  return start && PDXDate(std::chrono::seconds(info.st_mtime)) + kLag < *start;
}

bool isPart(const std::string& path) { return path.ends_with(".part") && PDXFiles::isRegularFile(path); }

void removeAbandonedRuns(const std::string& folder) {
  for (const std::string& name : PDXFiles::list(folder)) {
    const std::string path = PDXFiles::joined(folder, name);
    if (isAbandoned(path, ownerOf(name, kRunPrefix))) PDXFiles::removeTree(path);
  }
}

/// Opens a file that is to get another name when it is whole. -1 with `errno` set on failure.
int openPart(const std::string& part) {
  if (PDXOutputGuard* guard = PDXOutputGuard::of(part)) {
    const int code = guard->enter(PDXFiles::folderOf(part));
    errno = code;
    if (code != 0) return -1;
  }
  return ::open(part.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
}

/// Gives such a file its name. Zero, or the system's error number.
int putInPlace(const std::string& part, const std::string& path) {
  if (PDXOutputGuard* guard = PDXOutputGuard::of(path)) return guard->put(part, path);
  return ::rename(part.c_str(), path.c_str()) == 0 ? 0 : errno;
}

/// A name beside `path` that no other thread or process uses. Short whatever the name of the file is.
std::string besidePath(const std::string& path) {
  static std::atomic<unsigned> counter = 0;
  return PDXFiles::joined(PDXFiles::folderOf(path), std::string(kPartPrefix) + std::to_string(::getpid()) +
                                                        "-" + std::to_string(++counter) + ".part");
}

}  // namespace

namespace PDXFiles {

bool exists(const std::string& path) { return !path.empty() && ::access(path.c_str(), F_OK) == 0; }

bool isFolder(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool isRealFolder(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool isMissing(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

bool isRegularFile(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool isLink(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode);
}

void readAhead(const std::string& path) {
#ifdef POSIX_FADV_WILLNEED
  constexpr std::uint64_t kStep = std::uint64_t{1}
                                  << 20;  // Of more at once the system fetches the beginning.
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  const std::uint64_t size = sizeOf(path).value_or(0);
  for (std::uint64_t at = 0; file.get() >= 0 && at < size; at += kStep) {
    ::posix_fadvise(file.get(), static_cast<off_t>(at), static_cast<off_t>(kStep), POSIX_FADV_WILLNEED);
  }
#endif
}

std::optional<std::uint64_t> sizeOf(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
  return static_cast<std::uint64_t>(info.st_size);
}

std::string joined(std::string_view base, std::string_view component) {
  if (base.empty()) return std::string(component);
  std::string result(base);
  if (!result.ends_with('/')) result += '/';
  return result.append(component);
}

std::string absolute(const std::string& path) {
  std::error_code failed;
  const fs::path result = fs::weakly_canonical(fs::absolute(path, failed), failed);
  std::string text = failed ? path : result.string();
  while (text.size() > 1 && text.ends_with('/')) text.pop_back();
  return text;
}

std::string folderOf(const std::string& path) {
  const std::string parent = fs::path(path).parent_path().string();
  return parent.empty() ? "." : parent;
}

std::optional<PDXBytes> read(const std::string& path, std::uint64_t limit) {
  const auto size = sizeOf(path);
  if (!size || *size > limit) return std::nullopt;
  PDXBytes bytes = readBeginning(path, static_cast<std::size_t>(*size));
  if (bytes.size() != *size) return std::nullopt;
  return bytes;
}

PDXBytes readBeginning(const std::string& path, std::size_t count) {
  // Only regular files: a pipe or a device in a backup folder must not keep us waiting.
  const auto size = sizeOf(path);
  if (!size) return {};
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.get() < 0) return {};
  PDXBytes bytes(static_cast<std::size_t>(std::min<std::uint64_t>(count, *size)));
  std::size_t filled = 0;
  while (filled < bytes.size()) {
    const ssize_t got = ::read(file.get(), bytes.data() + filled, bytes.size() - filled);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    filled += static_cast<std::size_t>(got);
  }
  bytes.resize(filled);
  return bytes;
}

bool lengthen(const std::string& path, std::uint64_t size) {
  return size <= INT64_MAX && ::truncate(path.c_str(), static_cast<off_t>(size)) == 0;
}

std::vector<std::string> list(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code failed;
  for (fs::directory_iterator entry(folder, failed), end; !failed && entry != end; entry.increment(failed)) {
    names.push_back(entry->path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

bool makeFolders(const std::string& path) {
  if (PDXOutputGuard* guard = PDXOutputGuard::of(path)) return guard->enter(path) == 0;
  if (path.empty() || isFolder(path)) return !path.empty();
  std::string folder = path;
  while (folder.size() > 1 && folder.ends_with('/')) folder.pop_back();
  const std::string above = folderOf(folder);
  if (above != folder) makeFolders(above);
  ::mkdir(folder.c_str(), S_IRWXU);
  return isFolder(folder);
}

bool makePrivateFolder(const std::string& path) {
  std::error_code failed;
  fs::create_directories(folderOf(path), failed);
  ::mkdir(path.c_str(), S_IRWXU);
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) || info.st_uid != ::geteuid()) return false;
  return (info.st_mode & 0777) == S_IRWXU || ::chmod(path.c_str(), S_IRWXU) == 0;
}

std::string makeUniqueFolder(const std::string& pathPrefix) {
  std::string path = pathPrefix + "XXXXXX";
  return ::mkdtemp(path.data()) == nullptr ? "" : path;
}

bool rename(const std::string& from, const std::string& to) {
  return ::rename(from.c_str(), to.c_str()) == 0;
}

bool setLastModified(const std::string& path, PDXDate date) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
  timespec times[2] = {};
  times[0].tv_nsec = UTIME_OMIT;
  times[1].tv_sec = seconds.time_since_epoch().count();
  times[1].tv_nsec = std::chrono::nanoseconds(date - seconds).count();
  return ::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW) == 0;
}

bool remove(const std::string& path) {
  if (PDXOutputGuard* guard = PDXOutputGuard::of(path)) return guard->remove(path) == 0;
  std::error_code failed;
  fs::remove(path, failed);
  return !failed;
}

void removeTree(const std::string& path) {
  std::error_code failed;
  fs::remove_all(path, failed);
}

void removeAbandonedParts(const std::string& folder) {
  std::vector<std::string> parts;
  std::error_code failed;
  fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, failed);
  for (const fs::recursive_directory_iterator end; !failed && entry != end; entry.increment(failed)) {
    const std::string name = entry->path().filename().string();
    const auto process = ownerOf(name, kPartPrefix);
    const std::string path = process ? entry->path().string() : "";
    if (process && isPart(path) && isAbandoned(path, process)) parts.push_back(path);
  }
  for (const std::string& part : parts) remove(part);
}

CopyResult writeFailure(int code, const std::string& path) {
  constexpr int kOfTarget[] = {ENOSPC, EDQUOT, EFBIG,    EROFS,  EIO,    ESTALE,
                               ENODEV, ENXIO,  ENOTCONN, ENFILE, EMFILE, ENOMEM};
  constexpr int kOfFile[] = {ENAMETOOLONG, EINVAL, EISDIR, ELOOP, ENOTDIR, EEXIST, EILSEQ};
  const auto is = [code](const auto& codes) {
    return std::find(std::begin(codes), std::end(codes), code) != std::end(codes);
  };
  const PDXOutputGuard* guard = PDXOutputGuard::of(path);
  // In an export a folder that may not be entered costs its own files only, while the export's is there.
  const bool isOfFile = is(kOfFile) || (!is(kOfTarget) && guard != nullptr &&
                                        ::access(guard->root().c_str(), W_OK | X_OK) == 0);
  return {isOfFile ? CopyResult::Outcome::notMade : CopyResult::Outcome::writeFailed,
          code == EEXIST ? "something that is not of this export has its name" : std::strerror(code)};
}

std::string freePath(const std::string& path) {
  PDXOutputGuard* guard = PDXOutputGuard::of(path);
  return guard == nullptr ? path : guard->freePath(path);
}

std::string freeFolder(const std::string& path) {
  PDXOutputGuard* guard = PDXOutputGuard::of(path);
  return guard == nullptr ? path : guard->freeFolder(path);
}

bool isTaken(const std::string& path) {
  PDXOutputGuard* guard = PDXOutputGuard::of(path);
  return guard != nullptr && guard->isTaken(path);
}

std::optional<std::uint64_t> freeBytes(const std::string& folder) {
  struct statvfs info {};
  // Some file systems, of a network or of a program, answer zeros for what they do not know.
  if (::statvfs(folder.c_str(), &info) != 0 || info.f_blocks == 0 || info.f_frsize == 0) return std::nullopt;
  return static_cast<std::uint64_t>(info.f_bavail) * info.f_frsize;
}

bool mayShareBlocks(const std::string& from, const std::string& folder) {
  struct stat source {};
  struct stat target {};
  return ::stat(from.c_str(), &source) == 0 && ::stat(folder.c_str(), &target) == 0 &&
         source.st_dev == target.st_dev && !PDXFileCopy::neverSharesBlocks(folder);
}

CopyResult copy(const std::string& from, const std::string& to, const std::stop_token& stop) {
  return copy(PDXFileReader(from), to, stop);
}

CopyResult copy(const PDXFileReader& from, const std::string& to, const std::stop_token& stop) {
  using Outcome = CopyResult::Outcome;
  if (!from.error().empty())
    return {from.isMissing() ? Outcome::noSource : Outcome::readFailed, from.error()};

  const std::string part = besidePath(to);
  Descriptor target(openPart(part));
  if (target.get() < 0) return writeFailure(errno, to);
  CopyResult result = resultOf(PDXFileCopy::contents(from.descriptor(), target.get(), stop));
  if (result) {
    const int code = target.close() ? putInPlace(part, to) : errno;
    if (code != 0) result = writeFailure(code, to);
  }
  if (!result) ::unlink(part.c_str());
  return result;
}

CopyResult copyUnseen(const std::string& from, const std::string& to) {
  using Outcome = CopyResult::Outcome;
  const Descriptor source(openRegular(from));
  if (source.get() < 0) return {Outcome::readFailed, std::strerror(errno)};
  Descriptor target(PDXFileCopy::openNameless(folderOf(to)));
  const bool isNameless = target.get() >= 0;
  if (!isNameless) {
    // On a full disk, say, the older file stays.
    if (errno != EOPNOTSUPP && errno != EISDIR) return {Outcome::writeFailed, std::strerror(errno)};
    // A file system without nameless files: written in its place, where a cut one is found out on opening.
    ::unlink(to.c_str());
    target.reset(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (target.get() < 0) return {Outcome::writeFailed, std::strerror(errno)};
  }
  CopyResult result = resultOf(PDXFileCopy::contents(source.get(), target.get(), {}));
  const int code = result && isNameless ? PDXFileCopy::giveName(target.get(), to) : 0;
  if (code != 0) result = {Outcome::writeFailed, std::strerror(code)};
  if (!result && !isNameless) ::unlink(to.c_str());
  return result;
}

bool haveSameBytes(const std::string& one, const std::string& other) {
  PDXFileReader first(one);
  PDXFileReader second(other);
  if (!first.error().empty() || !second.error().empty() || first.size() != second.size()) return false;
  PDXBytes here(kBufferSize);
  PDXBytes there(kBufferSize);
  while (true) {
    const std::size_t got = first.read(here.data(), here.size());
    if (second.read(there.data(), there.size()) != got || std::memcmp(here.data(), there.data(), got) != 0)
      return false;
    if (got < here.size()) return first.error().empty() && second.error().empty();
  }
}

std::string home() {
  if (std::string folder = environment("HOME"); !folder.empty()) return folder;
  const passwd* user = ::getpwuid(::getuid());
  return user == nullptr ? "/" : user->pw_dir;
}

std::string userData() { return baseDirectory("XDG_DATA_HOME", ".local/share"); }

std::string userSettings() { return baseDirectory("XDG_CONFIG_HOME", ".config"); }

std::string temporary() {
  {
    const std::lock_guard guard(temporaryLock);
    if (!temporaryOverride().empty()) return temporaryOverride();
  }
  std::error_code failed;
  const fs::path folder = fs::temp_directory_path(failed);
  return failed ? "/tmp" : folder.string();
}

void setTemporary(const std::string& folder) {
  const std::lock_guard guard(temporaryLock);
  temporaryOverride() = folder;
}

}  // namespace PDXFiles

PDXFileReader::PDXFileReader(const std::string& path) : PDXFileReader(openRegular(path)) {}

PDXFileReader::PDXFileReader(int descriptor) : descriptor_(descriptor) {
  struct stat info {};
  if (descriptor_ < 0 || ::fstat(descriptor_, &info) != 0) {
    fail_(errno);
  } else if (!S_ISREG(info.st_mode)) {
    error_ = "it is no regular file";
  } else {
    size_ = static_cast<std::uint64_t>(info.st_size);
  }
}

PDXFileReader PDXFileReader::failed(int code) {
  PDXFileReader reader;
  reader.fail_(code);
  return reader;
}

PDXFileReader::PDXFileReader(PDXFileReader&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      isMissing_(other.isMissing_),
      size_(other.size_),
      error_(std::move(other.error_)) {}

PDXFileReader& PDXFileReader::operator=(PDXFileReader&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  isMissing_ = other.isMissing_;
  size_ = other.size_;
  error_ = std::move(other.error_);
  return *this;
}

void PDXFileReader::fail_(int code) {
  isMissing_ = code == ENOENT || code == ENOTDIR;
  error_ = textFor(code);
}

PDXFileReader::~PDXFileReader() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

std::size_t PDXFileReader::read(std::uint8_t* to, std::size_t count) {
  std::size_t filled = 0;
  while (filled < count && error_.empty()) {
    const ssize_t got = ::read(descriptor_, to + filled, count - filled);
    if (got == 0) break;
    if (got > 0) filled += static_cast<std::size_t>(got);
    if (got < 0 && errno != EINTR) error_ = std::strerror(errno);
  }
  return filled;
}

std::optional<PDXBytes> PDXFileReader::all(std::uint64_t limit) {
  if (!error_.empty() || size_ > limit) return std::nullopt;
  PDXBytes bytes(static_cast<std::size_t>(size_));
  if (read(bytes.data(), bytes.size()) != bytes.size()) return std::nullopt;
  return bytes;
}

void PDXFileReader::seek(std::uint64_t position) {
  if (error_.empty() && ::lseek(descriptor_, static_cast<off_t>(position), SEEK_SET) < 0)
    error_ = std::strerror(errno);
}

PDXTemporaryRun::PDXTemporaryRun() : outer_(PDXFiles::temporary()) {
  std::string pattern =
      PDXFiles::joined(outer_, std::string(kRunPrefix) + std::to_string(::getpid()) + "-XXXXXX");
  removeAbandonedRuns(outer_);
  if (::mkdtemp(pattern.data()) == nullptr) return;
  path_ = pattern;
  PDXFiles::setTemporary(path_);
}

PDXTemporaryRun::~PDXTemporaryRun() {
  if (path_.empty()) return;
  PDXFiles::setTemporary(outer_);
  PDXFiles::removeTree(path_);
}

namespace {

std::mutex openFilesLock;
PDXAtomicFile* lastOpenFile = nullptr;

}  // namespace

PDXAtomicFile::PDXAtomicFile(std::string path) : path_(std::move(path)), temporaryPath_(besidePath(path_)) {
  {
    const std::lock_guard guard(openFilesLock);
    before_ = std::exchange(lastOpenFile, this);
    if (before_ != nullptr) before_->behind_ = this;
  }
  descriptor_ = openPart(temporaryPath_);
  if (descriptor_ < 0) fail_(errno);
}

PDXAtomicFile::~PDXAtomicFile() {
  {
    const std::lock_guard guard(openFilesLock);
    if (before_ != nullptr) before_->behind_ = behind_;
    (behind_ != nullptr ? behind_->before_ : lastOpenFile) = before_;
  }
  if (descriptor_ >= 0) ::close(descriptor_);
  if (!temporaryPath_.empty()) ::unlink(temporaryPath_.c_str());
}

void PDXAtomicFile::removeAllParts() {
  for (const PDXAtomicFile* file = lastOpenFile; file != nullptr; file = file->before_) {
    if (!file->temporaryPath_.empty()) ::unlink(file->temporaryPath_.c_str());
  }
}

void PDXAtomicFile::append(std::string_view text) {
  if (buffer_.size() + text.size() < kBufferSize) {
    buffer_.append(text);
    return;
  }
  flush_();
  if (text.size() < kBufferSize) {
    buffer_.append(text);
  } else {
    write_(text);
  }
}

void PDXAtomicFile::appendAtOnce(std::string_view bytes) {
  flush_();
  write_(bytes);
}

bool PDXAtomicFile::commit() {
  flush_();
  if (descriptor_ >= 0 && ::close(std::exchange(descriptor_, -1)) != 0) fail_(errno);
  if (!error_.empty()) return false;
  if (const int code = putInPlace(temporaryPath_, path_); code != 0) {
    fail_(code);
    return false;
  }
  temporaryPath_.clear();
  return true;
}

void PDXAtomicFile::flush_() {
  write_(buffer_);
  buffer_.clear();
}

void PDXAtomicFile::write_(std::string_view rest) {
  while (!rest.empty() && error_.empty()) {
    const ssize_t written = ::write(descriptor_, rest.data(), rest.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) fail_(errno);
    if (written > 0) rest.remove_prefix(static_cast<std::size_t>(written));
  }
}

void PDXAtomicFile::fail_(int code) {
  if (!error_.empty()) return;
  errorCode_ = code;
  error_ = PDXFiles::writeFailure(code, path_).why;
}

PDXFiles::CopyResult PDXAtomicFile::result() const {
  return error_.empty() ? PDXFiles::CopyResult() : PDXFiles::writeFailure(errorCode_, path_);
}
