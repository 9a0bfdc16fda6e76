#pragma once

#include <string>

#include "platform/Sqlite.h"

namespace PDXMessageRows {

/// Says in the log when the rows of a statement ended in an error, or the statement did not compile: those
/// read before the error are kept.
/// @param where  what was being read, e.g. the conversation's title.
void reportUnlessComplete(const PDXSQLiteStatement& rows, const std::string& where);

}  // namespace PDXMessageRows
