#include "contacts/ContactPicture.h"

#include "platform/Sqlite.h"

PDXBytes PDXContactPicture::bytes() const {
  if (store_ == nullptr) return bytes_;
  const PDXSQLiteDatabase database(store_->databasePath);
  auto rows = database.prepare(store_->query);
  rows.bind(1, row_);
  return rows.step() ? rows.blob(0) : PDXBytes();
}
