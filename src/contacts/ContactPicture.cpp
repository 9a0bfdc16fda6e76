#include "contacts/ContactPicture.h"

PDXBytes PDXContactPictureStore::bytesInRow(std::int64_t row) {
  const std::lock_guard guard(lock_);
  if (!rows_) {
    database_ = PDXSQLiteDatabase(databasePath_);
    rows_.emplace(database_.prepare(query_));
  }
  rows_->reset();
  rows_->bind(1, row);
  PDXBytes picture = rows_->step() ? rows_->blob(0) : PDXBytes();
  rows_->reset();
  return picture;
}

PDXBytes PDXContactPicture::bytes() const { return store_ == nullptr ? bytes_ : store_->bytesInRow(row_); }
