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
  const char*
      column;  ///< One that its objects have filled, and other kinds of objects do not; null for none.
};

constexpr NamedKey kKeys[] = {{"ICNote", &PDXNoteStoreKeyData::noteKey, 8, 9, "ZTITLE1"},
                              {"ICAccount", &PDXNoteStoreKeyData::accountKey, 10, 11, "ZNAME"},
                              {"ICFolder", &PDXNoteStoreKeyData::folderKey, 11, 12, "ZTITLE2"},
                              {"ICNoteData", &PDXNoteStoreKeyData::noteDataKey, 15, 18, nullptr},
                              {"ICMedia", &PDXNoteStoreKeyData::mediaKey, 7, 8, "ZFILENAME"}};

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
    damage = rows.error();
  }
  if (damage.empty() && noteKey == 0) damage = "it does not name the kinds of its objects";
  tryDetermineDataFromRows_(connection);
  tryDetermineDataFromConnection_(connection);
}

void PDXNoteStoreKeyData::tryDetermineDataFromRows_(const PDXSQLiteDatabase& connection) {
  for (const NamedKey& key : kKeys) {
    if (this->*key.key != 0 || key.column == nullptr) continue;
    // A store without the column has no such objects; what damage hides is said with the objects themselves.
    auto rows =
        connection.prepare("SELECT Z_ENT FROM ZICCLOUDSYNCINGOBJECT WHERE " + std::string(key.column) +
                           " IS NOT NULL AND Z_ENT > 0 GROUP BY Z_ENT ORDER BY count(*) DESC");
    if (rows.step()) this->*key.key = static_cast<std::int32_t>(rows.int64(0));
  }
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
