#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "platform/Bytes.h"
#include "platform/Sqlite.h"

/// Where a database keeps pictures of people. Safe on any thread.
class PDXContactPictureStore {
 public:
  /// @param databasePath  a local copy, opened when the first picture is asked for.
  /// @param query         gives the bytes of the picture in the row whose number is bound.
  PDXContactPictureStore(std::string databasePath, std::string query)
      : databasePath_(std::move(databasePath)), query_(std::move(query)) {}

  /// The picture in a row; empty when that is damaged or gone.
  PDXBytes bytesInRow(std::int64_t row);

 private:
  std::mutex lock_;
  std::string databasePath_;
  std::string query_;
  PDXSQLiteDatabase database_;
  std::optional<PDXSQLiteStatement> rows_;
};

/// The picture of a person: its bytes, or where the address book keeps them. Hundreds of megabytes of
/// pictures would otherwise be held for the one that somebody looks at.
class PDXContactPicture {
 public:
  /// No picture.
  PDXContactPicture() = default;

  /// The file's bytes, as a card holds them; empty for no picture.
  PDXContactPicture(PDXBytes bytes) : bytes_(std::move(bytes)) {}

  /// A picture of at least one byte.
  PDXContactPicture(std::shared_ptr<PDXContactPictureStore> store, std::int64_t row)
      : store_(std::move(store)), row_(row) {}

  bool empty() const { return bytes_.empty() && store_ == nullptr; }

  /// The picture's file as stored, read anew each time from a database; empty when that is damaged or gone.
  /// Safe on any thread.
  PDXBytes bytes() const;

 private:
  PDXBytes bytes_;
  std::shared_ptr<PDXContactPictureStore> store_;
  std::int64_t row_ = 0;
};
