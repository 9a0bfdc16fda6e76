#include "samples/NoteStore.h"

#include "samples/Table.h"

namespace {

using Object = PDXSampleNoteObject;
using Generation = PDXSampleNoteGeneration;

/// A store that did not reach the disk is written again, so nothing waits for the disk.
constexpr const char* kBegin = "PRAGMA synchronous=OFF; BEGIN";

/// The columns ", ZACCOUNT, ZACCOUNT1" and so on.
std::string numbered(const std::string& stem, int last) {
  std::string columns;
  for (int i = 0; i <= last; ++i) columns += ", " + stem + (i == 0 ? "" : std::to_string(i));
  return columns;
}

std::string joinTable(const Generation& of) { return "Z_" + std::to_string(of.folder) + "NOTES"; }

std::string joinColumns(const Generation& of) {
  return "Z_" + std::to_string(of.folder) + "FOLDERS, Z_" + std::to_string(of.note) + "NOTES";
}

std::string schema(const Generation& of) {
  std::string sql =
      "CREATE TABLE ZICCLOUDSYNCINGOBJECT (Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, ZMARKEDFORDELETION "
      "INTEGER, "
      "ZISPASSWORDPROTECTED INTEGER, ZNOTE INTEGER, ZMEDIA INTEGER, ZORIENTATION INTEGER, ZPARENTATTACHMENT "
      "INTEGER, ZFOLDER INTEGER, ZSIZEHEIGHT FLOAT, ZSIZEWIDTH FLOAT, ZMODIFICATIONDATE TIMESTAMP, "
      "ZMODIFICATIONDATE1 TIMESTAMP, ZIDENTIFIER VARCHAR, ZNAME VARCHAR, ZTITLE VARCHAR, ZTITLE1 VARCHAR, "
      "ZTITLE2 VARCHAR, ZTYPEUTI VARCHAR, ZURLSTRING VARCHAR, ZFILENAME VARCHAR" +
      numbered("ZACCOUNT", of.accountColumns) + numbered("ZCREATIONDATE", of.creationColumns) +
      (of.hasGenerations ? ", ZGENERATION VARCHAR, ZGENERATION1 VARCHAR" : "") + ");" +
      "CREATE TABLE ZICNOTEDATA (Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, ZNOTE INTEGER, ZDATA BLOB);"
      "CREATE TABLE Z_PRIMARYKEY (Z_ENT INTEGER PRIMARY KEY, Z_NAME VARCHAR, Z_SUPER INTEGER, Z_MAX INTEGER);"
      "CREATE INDEX ZICNOTEDATA_ZNOTE_INDEX ON ZICNOTEDATA (ZNOTE);"
      "CREATE INDEX ZICCLOUDSYNCINGOBJECT_Z_ENT_INDEX ON ZICCLOUDSYNCINGOBJECT (Z_ENT);";
  if (of.joinsFolders) sql += "CREATE TABLE " + joinTable(of) + " (" + joinColumns(of) + ");";
  return sql;
}

bool addKeys(const PDXSQLiteDatabase& store, const Generation& of) {
  PDXSampleTable keys(store, "Z_PRIMARYKEY", "Z_ENT, Z_NAME, Z_SUPER, Z_MAX");
  keys.add({of.attachment, "ICAttachment", 2, 0});
  keys.add({of.media, "ICMedia", 2, 0});
  keys.add({of.note, "ICNote", 2, 0});
  keys.add({of.account, "ICAccount", 2, 0});
  keys.add({of.folder, "ICFolder", 2, 0});
  keys.add({of.noteData, "ICNoteData", 0, 0});
  return !keys.failed();
}

PDXSampleTable::Value orNull(std::int64_t row) {
  return row == 0 ? PDXSampleTable::Value(nullptr) : PDXSampleTable::Value(row);
}

PDXSampleTable::Value textOrNull(const std::optional<std::string>& text) {
  return text ? PDXSampleTable::Value(std::string_view(*text)) : PDXSampleTable::Value(nullptr);
}

/// The tables of one store while its rows are written.
class Store {
 public:
  Store(const PDXSQLiteDatabase& store, const Generation& of)
      : of_(of),
        accounts_(store, kTable, "Z_PK, Z_ENT, ZMARKEDFORDELETION, ZIDENTIFIER, ZNAME"),
        folders_(store, kTable, "Z_PK, Z_ENT, ZMARKEDFORDELETION, ZIDENTIFIER, ZTITLE2"),
        notes_(store, kTable,
               "Z_PK, Z_ENT, ZMARKEDFORDELETION, ZISPASSWORDPROTECTED, ZIDENTIFIER, ZTITLE1, "
               "ZMODIFICATIONDATE1, ZFOLDER, " +
                   std::string(of.accountColumn) + ", " + std::string(of.creationColumn)),
        attachments_(store, kTable,
                     "Z_PK, Z_ENT, ZMARKEDFORDELETION, ZIDENTIFIER, ZNOTE, ZMEDIA, ZTYPEUTI, ZURLSTRING, "
                     "ZTITLE, ZSIZEWIDTH, ZSIZEHEIGHT"),
        media_(store, kTable,
               std::string("Z_PK, Z_ENT, ZMARKEDFORDELETION, ZIDENTIFIER, ZFILENAME") +
                   (of.hasGenerations ? ", ZGENERATION1" : ", ZTITLE")),
        bodies_(store, "ZICNOTEDATA", "Z_ENT, ZNOTE, ZDATA") {
    if (of.joinsFolders) joins_.emplace(store, joinTable(of), joinColumns(of));
  }

  void add(const Object& object) {
    switch (object.kind) {
      case Object::Kind::account:
        return accounts_.add({object.row, of_.account, 0, object.identifier, textOrNull(object.title)});
      case Object::Kind::folder:
        return folders_.add({object.row, of_.folder, 0, object.identifier, textOrNull(object.title)});
      case Object::Kind::media:
        return media_.add({object.row, of_.media, 0, object.identifier, textOrNull(object.title),
                           PDXSampleTable::textOrNull(object.generation)});
      case Object::Kind::attachment:
        return addAttachment(object);
      case Object::Kind::note:
        return addNote(object);
    }
  }

  bool failed() const {
    return accounts_.failed() || folders_.failed() || notes_.failed() || attachments_.failed() ||
           media_.failed() || bodies_.failed() || (joins_ && joins_->failed());
  }

 private:
  static constexpr std::string_view kTable = "ZICCLOUDSYNCINGOBJECT";

  void addAttachment(const Object& object) {
    const bool isAddress = object.type == "public.url";
    const auto title = textOrNull(object.title);
    attachments_.add({object.row, of_.attachment, 0, object.identifier, object.owner, orNull(object.media),
                      object.type, isAddress ? title : nullptr, isAddress ? nullptr : title, object.width,
                      object.height});
  }

  void addNote(const Object& object) {
    notes_.add({object.row, of_.note, object.isDeleted ? 1 : 0, object.isLocked ? 1 : 0, object.identifier,
                textOrNull(object.title), object.date, of_.joinsFolders ? nullptr : orNull(object.folder),
                orNull(object.account), object.date - 86400});
    if (object.body.empty()) {
      bodies_.add({of_.noteData, object.row, nullptr});
    } else {
      bodies_.add({of_.noteData, object.row, &object.body});
    }
    if (joins_ && object.folder != 0) joins_->add({object.folder, object.row});
  }

  const Generation& of_;
  PDXSampleTable accounts_;
  PDXSampleTable folders_;
  PDXSampleTable notes_;
  PDXSampleTable attachments_;
  PDXSampleTable media_;
  PDXSampleTable bodies_;
  std::optional<PDXSampleTable> joins_;
};

bool addAll(const PDXSQLiteDatabase& database, const Generation& generation,
            const std::vector<Object>& objects) {
  Store store(database, generation);
  for (const Object& object : objects) store.add(object);
  return !store.failed();
}

}  // namespace

namespace PDXSampleNoteStore {

const std::vector<Generation>& generations() {
  static const std::vector<Generation> all = {
      {9, 9, 18, 11, 12, 8, 4, "ZACCOUNT2", "ZCREATIONDATE", 3, 0, true, false},
      {10, 8, 15, 10, 11, 7, 4, "ZACCOUNT2", "ZCREATIONDATE1", 3, 1, true, false},
      {11, 8, 14, 10, 11, 7, 4, "ZACCOUNT2", "ZCREATIONDATE1", 3, 1, false, false},
      {13, 9, 15, 11, 12, 8, 4, "ZACCOUNT3", "ZCREATIONDATE1", 4, 1, false, false},
      {15, 11, 17, 13, 14, 10, 4, "ZACCOUNT4", "ZCREATIONDATE3", 5, 3, false, false},
      {16, 11, 18, 13, 14, 10, 4, "ZACCOUNT7", "ZCREATIONDATE3", 8, 3, false, false},
      {17, 12, 19, 14, 15, 11, 5, "ZACCOUNT7", "ZCREATIONDATE3", 8, 3, false, true}};
  return all;
}

const Generation& generationOf(int version) {
  const Generation* found = &generations().front();
  for (const Generation& generation : generations()) {
    if (generation.version <= version) found = &generation;
  }
  return *found;
}

std::string write(const std::string& path, const Generation& generation, const std::vector<Object>& objects) {
  const PDXSQLiteDatabase store(path, PDXSQLiteAccess::create);
  const bool written = store.run(schema(generation)) && store.run(kBegin) && addKeys(store, generation) &&
                       addAll(store, generation, objects) && store.run("COMMIT");
  return written ? "" : "note store: " + store.error();
}

}  // namespace PDXSampleNoteStore
