#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Sqlite.h"

/// Finds people's names by the texts with which the device searches, for many addresses one after the other:
/// the address book is opened once, and its texts are read once.
///
/// Source: a local copy of "Library/AddressBook/AddressBook.sqlitedb", table ABPersonFullTextSearch_content.
/// Errors: none; what cannot be read finds nobody.
/// Threads: one search, one thread.
class PDXContactNameSearch {
 public:
  /// @param databasePath  UTF-8 path; need not exist.
  explicit PDXContactNameSearch(std::string databasePath);

  /// The name of the first person who has the address: "First Last", the one of the two that there is, or the
  /// organisation; "" when nobody has it, the store keeps no search texts, or the address breaks the
  /// statement (it goes in as it stands, so a quote does).
  ///
  /// @param address  an e-mail address when it holds "@", else a phone number; a part of one finds it too,
  /// and
  ///                 an empty one the first person with any. "%" and "_" stand for any characters.
  std::string nameOf(std::string_view address);

 private:
  /// One column of the texts, row after row, with A to Z in lower case.
  struct Texts {
    std::string column;
    std::string text;
    std::vector<std::size_t> ends;     ///< Where in `text` each row's part ends.
    std::vector<std::int64_t> people;  ///< The rows' numbers.
  };

  void open_();
  const Texts& textsFor_(bool isEmailAddress);
  std::string nameLike_(std::string_view address, const std::string& column) const;
  std::string nameInRow_(std::int64_t row) const;

  std::string databasePath_;
  std::optional<PDXSQLiteDatabase> database_;
  bool hasTexts_ = false;
  std::optional<Texts> phoneTexts_;
  std::optional<Texts> emailTexts_;
};
