#include "notes/NoteStoreKeyData.h"

#include <algorithm>
#include <iterator>

#include "backup/SQLiteHelper.h"

namespace {

struct NamedKey {
  const char* name;
  std::int32_t PDXNoteStoreKeyData::*key;
  std::int32_t version10;  ///< What it is in the system's version 10.
  std::int32_t version9;
};

constexpr NamedKey kKeys[] = {{"ICNote", &PDXNoteStoreKeyData::noteKey, 8, 9},
                              {"ICAccount", &PDXNoteStoreKeyData::accountKey, 10, 11},
                              {"ICFolder", &PDXNoteStoreKeyData::folderKey, 11, 12},
                              {"ICNoteData", &PDXNoteStoreKeyData::noteDataKey, 15, 18},
                              {"ICMedia", &PDXNoteStoreKeyData::mediaKey, 7, 8}};

}  // namespace

PDXNoteStoreKeyData::PDXNoteStoreKeyData(const PDXSQLiteDatabase& connection) {
  if (PDXSQLiteHelper::doesDatabaseContainTable(connection, "Z_PRIMARYKEY")) {
    auto rows = connection.prepare("SELECT Z_ENT, Z_NAME FROM Z_PRIMARYKEY;");
    while (rows.step()) {
      const std::string name = rows.text(1);
      const auto* known = std::find_if(std::begin(kKeys), std::end(kKeys),
                                       [&](const NamedKey& key) { return name == key.name; });
      if (known != std::end(kKeys)) this->*known->key = static_cast<std::int32_t>(rows.int64(0));
    }
  }
  tryDetermineDataFromConnection_(connection);
}

void PDXNoteStoreKeyData::tryDetermineDataFromConnection_(const PDXSQLiteDatabase& connection) {
  const bool isVersion10 = PDXSQLiteHelper::doesDatabaseContainTable(connection, "Z_11NOTES");
  for (const NamedKey& key : kKeys) {
    if (this->*key.key == 0) this->*key.key = isVersion10 ? key.version10 : key.version9;
  }
}

std::string PDXNoteStoreKeyData::fnTableName() const { return "Z_" + std::to_string(folderKey) + "NOTES"; }

std::string PDXNoteStoreKeyData::fnFolderColumnTableName() const {
  return "Z_" + std::to_string(folderKey) + "FOLDERS";
}

std::string PDXNoteStoreKeyData::fnNotesColumnTableName() const {
  return "Z_" + std::to_string(noteKey) + "NOTES";
}
