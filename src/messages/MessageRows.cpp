#include "messages/MessageRows.h"

#include "platform/Log.h"

void PDXMessageRows::reportUnlessComplete(const PDXSQLiteStatement& rows, const std::string& where) {
  if (!rows.isValid() || rows.failed()) {
    PDXLog::report({.what = "messages", .where = where, .why = rows.error()});
  }
}
