#include "messages/MessageRows.h"

#include "platform/Log.h"

void PDXMessageRows::reportUnlessComplete(const PDXSQLiteDatabase& database, const PDXSQLiteStatement& rows,
                                          const std::string& where) {
  if (!rows.isValid() || rows.failed()) {
    PDXLog::report({.what = "messages", .where = where, .why = database.error()});
  }
}
