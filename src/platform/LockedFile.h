#pragma once

#include <string>
#include <string_view>

/// A text file that one owner at a time may have: a second one, in this process or in another, is told so.
/// The lock ends with its owner, however that ends; the file stays until `remove`.
class PDXLockedFile {
 public:
  enum class Outcome { locked, busy, failed };

  /// Opens the file, or makes one for its owner alone. A link is not followed. Where the file system knows no
  /// locks there is none.
  explicit PDXLockedFile(std::string path);
  ~PDXLockedFile();
  PDXLockedFile(const PDXLockedFile&) = delete;
  PDXLockedFile& operator=(const PDXLockedFile&) = delete;

  Outcome outcome() const { return outcome_; }

  /// The system's reason when it failed.
  const std::string& error() const { return error_; }

  /// All of it; at most 256 MB.
  std::string text() const;

  /// Empties the file. Zero, or the system's error number.
  int clear();

  /// Appends at the end. Zero, or the system's error number.
  int append(std::string_view text);

  /// Removes the file and gives the lock up.
  void remove();

 private:
  bool isInPlace_() const;

  std::string path_;
  int descriptor_ = -1;
  Outcome outcome_ = Outcome::failed;
  std::string error_;
};
