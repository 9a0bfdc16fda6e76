#include "notes/IOS9NoteDatabaseReader.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "backup/DeviceData.h"
#include "backup/ReachableRows.h"
#include "backup/SQLiteHelper.h"
#include "notes/IOS9NoteDataReader.h"
#include "notes/LegacyNoteBody.h"
#include "notes/NoteFiles.h"
#include "notes/NoteMediaExtraction.h"
#include "platform/Files.h"
#include "platform/Text.h"

namespace {

/// Bytes of the texts of all notes of a store.
constexpr std::size_t kMostSummaries = std::size_t{256} << 20;

/// Nothing when the store does not say. What is no number is damaged, and costs the date alone.
std::optional<PDXDate> dateAt(const PDXSQLiteStatement& rows, int column, const std::string& title) {
  if (rows.isNumber(column)) return PDXIOS9NoteDatabaseReader::dateFromDatabaseLong(rows.int64(column));
  if (!rows.isNull(column))
    PDXLog::report(
        {.what = "date of a note", .where = title, .why = "it is no number: " + rows.text(column)});
  return std::nullopt;
}

/// Other accounts' notes have lines, and never attachments.
std::vector<PDXNoteContent> linesOf(const std::string& text) {
  constexpr std::string_view kBreak = "\r\n";
  std::vector<PDXNoteContent> lines;
  std::size_t at = 0;
  for (std::size_t end = text.find(kBreak); end != std::string::npos; end = text.find(kBreak, at)) {
    lines.emplace_back(PDXTextNoteContent{.textData = text.substr(at, end - at)});
    at = end + kBreak.size();
  }
  lines.emplace_back(PDXTextNoteContent{.textData = text.substr(at)});
  return lines;
}

/// Keeps what is in memory of all notes within bounds: bodies that grow a thousandfold may be many.
void shortenBeyond(std::size_t limit, std::size_t& size, PDXIOS9NoteDetail& note) {
  constexpr std::size_t kBeginning = 4096;
  size += note.summary.size();
  if (size <= limit || note.summary.size() <= kBeginning) return;
  size -= note.summary.size() - kBeginning;
  note.summary = PDXText::valid(note.summary.substr(0, kBeginning));
  PDXLog::report({.what = "text of a note for lists and searches",
                  .where = note.title,
                  .why = "the notes are too long together, so only its beginning is looked at"});
}

std::int64_t accountOf(const PDXIOS9NoteDetail& note) {
  return note.accountDetail ? note.accountDetail->accountId : 0;
}

const std::string& folderOf(const PDXIOS9NoteDetail& note) {
  static const std::string none;
  return note.folderDetail ? note.folderDetail->name : none;
}

bool comesBefore(const PDXIOS9NoteDetail& a, const PDXIOS9NoteDetail& b) {
  const std::int64_t accountA = accountOf(a);
  const std::int64_t accountB = accountOf(b);
  return std::tie(accountA, folderOf(a), a.title) < std::tie(accountB, folderOf(b), b.title);
}

PDXReachableRows::Query legacyQuery(const char* key) {
  const std::string column = std::string("account.") + key;
  const std::string columns = "SELECT note.Z_PK, " + column +
                              ", account.ZNAME, note.ZTITLE, note.ZBODY, note.ZMODIFICATIONDATE, "
                              "note.ZCREATIONDATE, ";
  const std::string ofAccounts =
      " FROM ZNOTE note JOIN ZACCOUNT account ON " + column + " = note.ZSTORE AND " + column + " > 1";
  return {.table = "ZNOTE",
          .select = columns + "body.ZCONTENT" + ofAccounts +
                    " JOIN ZNOTEBODY body ON body.Z_PK = note.ZBODY WHERE 1",
          .number = "note.Z_PK",
          .bare = columns + "NULL" + ofAccounts + " WHERE 1"};
}

PDXIOS9NoteDetail legacyNoteOf(const PDXSQLiteStatement& rows) {
  PDXIOS9NoteDetail note;
  const std::string html = rows.text(7);
  note.noteId = rows.int64(4);
  note.title = rows.text(3);
  note.creationDate = dateAt(rows, 6, note.title);
  note.lastModified = dateAt(rows, 5, note.title);
  note.accountDetail = {.accountId = rows.int64(1), .name = rows.text(2), .identifier = ""};
  note.folderDetail = {.folderId = 0, .name = "Notes", .identifier = ""};
  note.summary = PDXLegacyNoteBody::plainText(html);
  note.content = linesOf(note.summary);
  note.mediaExtracted = true;
  note.isOfOlderStore = true;
  note.body = PDXNoteBody::read;
  if (PDXLegacyNoteBody::holdsAttachment(html)) {
    note.unreached.push_back({.what = "part of a note",
                              .where = "a picture or file in its text",
                              .why = "the written note does not show it"});
  }
  return note;
}

}  // namespace

PDXIOS9NoteDatabaseReader::PDXIOS9NoteDatabaseReader(std::string notesDbPath, std::string legacyPath)
    : notesDbPath_(std::move(notesDbPath)), legacyPath_(std::move(legacyPath)) {}

PDXIOS9NoteDatabaseReader::~PDXIOS9NoteDatabaseReader() = default;

std::unique_ptr<PDXIOS9NoteDatabaseReader> PDXIOS9NoteDatabaseReader::forAnotherThread(
    const std::string& attachmentFolder) const {
  auto reader = std::make_unique<PDXIOS9NoteDatabaseReader>(notesDbPath_, legacyPath_);
  reader->deviceBackup_ = deviceBackup_;
  reader->files_ = files_;
  reader->attachmentFolder_ = attachmentFolder;
  reader->stop_ = stop_;
  reader->isForAnotherThread_ = true;
  return reader;
}

bool PDXIOS9NoteDatabaseReader::connectToDataSource_() {
  if (store_) return true;
  if (notesDbPath_.empty() || !PDXFiles::exists(notesDbPath_)) return false;
  store_.emplace(notesDbPath_);
  if (const std::string why = store_->whyUnreadable(); !why.empty()) {
    PDXLog::report({.what = "notes", .where = notesDbPath_, .why = why});
    store_.reset();
    return false;
  }
  keys_ = PDXNoteStoreKeyData(*store_);
  if (!keys_.damage.empty() && !isForAnotherThread_)
    PDXLog::report({.what = "notes", .where = notesDbPath_, .why = "Z_PRIMARYKEY: " + keys_.damage});
  columns_.emplace(*store_, keys_);
  return true;
}

/// Devices keep these indexes. A store that has lost them would be searched from end to end for each note.
void PDXIOS9NoteDatabaseReader::addMissingIndex_(const char* table, const char* column) const {
  auto found = store_->prepare(
      "SELECT 1 FROM pragma_index_list(?1) l JOIN pragma_index_info(l.name) i WHERE i.seqno = 0 AND i.name = "
      "?2");
  found.bind(1, std::string_view(table));
  found.bind(2, std::string_view(column));
  if (found.step()) return;
  const std::string names = std::string(table) + " (" + column + ")";
  store_->run("CREATE INDEX \"" + std::string(table) + "_" + column + "_ADDED\" ON " + names);
}

std::vector<PDXIOS9NoteDetail> PDXIOS9NoteDatabaseReader::getAllNotes() {
  auto notes = getNotesArray();
  std::stable_sort(notes.begin(), notes.end(), comesBefore);
  return notes;
}

std::vector<PDXIOS9NoteDetail> PDXIOS9NoteDatabaseReader::getNotesArray() {
  if (!connectToDataSource_()) return {};
  auto notes = loadNotesAndLinkWithAccounts_(getDictionaryOfAccounts_());
  if (!notes.empty()) {
    linkNotesWithFolders_(notes, getDictionaryOfFolders_());
    loadNoteSummaries_(notes);
  }
  newerNoteCount_ = notes.size();
  if (legacyPath_.empty()) return notes;
  for (PDXIOS9NoteDetail& note : getNonAppleAccountNotes_()) notes.push_back(std::move(note));
  return notes;
}

/// Reads on around damage, which the log then tells.
void PDXIOS9NoteDatabaseReader::readObjects_(
    const std::string& columns, const std::string& condition, const std::string& what,
    const std::function<void(const PDXSQLiteStatement&)>& use) const {
  const auto outcome = PDXReachableRows::forEach(
      *store_,
      {.table = "ZICCLOUDSYNCINGOBJECT",
       .select = "SELECT Z_PK, " + columns + " FROM ZICCLOUDSYNCINGOBJECT WHERE " + condition,
       .number = "Z_PK"},
      use);
  if (!outcome.isWhole() && !outcome.isInterrupted)
    PDXLog::report({.what = what, .where = notesDbPath_, .why = outcome.why});
}

PDXIOS9NoteDatabaseReader::Accounts PDXIOS9NoteDatabaseReader::getDictionaryOfAccounts_() const {
  Accounts accounts;
  readObjects_("ZNAME, ZIDENTIFIER", "Z_ENT == " + std::to_string(keys_.accountKey), "accounts of notes",
               [&](const PDXSQLiteStatement& row) {
                 accounts[row.int64(0)] = {row.int64(0), row.text(1), row.text(2)};
               });
  return accounts;
}

std::vector<PDXIOS9NoteDetail> PDXIOS9NoteDatabaseReader::loadNotesAndLinkWithAccounts_(
    const Accounts& accounts) const {
  std::vector<PDXIOS9NoteDetail> notes;
  readObjects_(columns_->modification + ", " + columns_->creation + ", ZTITLE1, " + columns_->account,
               "Z_ENT == " + std::to_string(keys_.noteKey) + " AND " + columns_->isKept + " AND " +
                   columns_->isOpen + " AND ZTITLE1 IS NOT NULL",
               "notes", [&](const PDXSQLiteStatement& row) {
                 PDXIOS9NoteDetail& note = notes.emplace_back();
                 note.noteId = row.int64(0);
                 note.title = row.text(3);
                 note.creationDate = dateAt(row, 2, note.title);
                 note.lastModified = dateAt(row, 1, note.title);
                 const auto account = accounts.find(row.int64(4));
                 if (account != accounts.end()) note.accountDetail = account->second;
               });
  return notes;
}

PDXIOS9NoteDatabaseReader::Folders PDXIOS9NoteDatabaseReader::getDictionaryOfFolders_() const {
  Folders folders;
  readObjects_("ZTITLE2, ZIDENTIFIER",
               "Z_ENT == " + std::to_string(keys_.folderKey) + " AND " + columns_->isKept, "folders of notes",
               [&](const PDXSQLiteStatement& row) {
                 folders[row.int64(0)] = {row.int64(0), row.text(1), row.text(2)};
               });
  return folders;
}

void PDXIOS9NoteDatabaseReader::linkNotesWithFolders_(std::vector<PDXIOS9NoteDetail>& notes,
                                                      const Folders& folders) const {
  const auto folderOfNote = PDXNoteStoreColumns::foldersOfNotes(*store_, keys_);
  for (PDXIOS9NoteDetail& note : notes) {
    const auto row = folderOfNote.find(note.noteId);
    const auto folder = row == folderOfNote.end() ? folders.end() : folders.find(row->second);
    if (folder != folders.end()) note.folderDetail = folder->second;
  }
}

void PDXIOS9NoteDatabaseReader::loadNoteSummaries_(std::vector<PDXIOS9NoteDetail>& notes) {
  PDXIOS9NoteDataReader::Body body;
  std::size_t size = 0;
  for (PDXIOS9NoteDetail& note : notes) {
    const auto blob = getBlobDataForNote_(note.noteId);
    if (wasInterrupted_) return;
    if (!blob) continue;
    note.summary = PDXIOS9NoteDataReader::readNoteText(*blob, body);
    note.body = body.why.empty() ? PDXNoteBody::read : PDXNoteBody::unreadable;
    if (!body.why.empty()) PDXLog::report({.what = "body of a note", .where = note.title, .why = body.why});
    shortenBeyond(kMostSummaries, size, note);
  }
}

/// Nothing when the store holds none.
std::optional<PDXBytes> PDXIOS9NoteDatabaseReader::getBlobDataForNote_(std::int64_t noteId) {
  if (!blobs_) {
    addMissingIndex_("ZICNOTEDATA", "ZNOTE");
    blobs_.emplace(store_->prepare("SELECT ZDATA FROM ZICNOTEDATA WHERE ZNOTE == ?"));
    if (!blobs_->isValid())
      PDXLog::report({.what = "bodies of notes", .where = notesDbPath_, .why = blobs_->error()});
  }
  blobs_->bind(1, noteId);
  PDXBytes blob;
  if (blobs_->step()) blob = blobs_->blob(0);
  wasInterrupted_ = blobs_->wasInterrupted();
  if (blobs_->failed() && !wasInterrupted_)
    PDXLog::report({.what = "bodies of notes", .where = notesDbPath_, .why = blobs_->error()});
  blobs_->reset();
  return blob.empty() ? std::nullopt : std::optional(std::move(blob));
}

void PDXIOS9NoteDatabaseReader::extractMediaForNote(PDXIOS9NoteDetail& note) {
  if (note.mediaExtracted || !connectToDataSource_()) return;
  note.mediaExtracted = true;
  const auto blob = getBlobDataForNote_(note.noteId);
  PDXIOS9NoteDataReader::Body body;
  PDXIOS9NoteDataReader::readBody(blob.value_or(PDXBytes()), body);
  if (!body.content.empty()) note.content = std::move(body.content);
  if (deviceBackup_ == nullptr) return;
  connectToFiles_();
  extraction_->getMediaForNote(note);
  extraction_->getRemainderForNote(note, body.bytes);
}

void PDXIOS9NoteDatabaseReader::connectToFiles_() {
  if (extraction_ != nullptr) return;
  if (files_ == nullptr) getFilesInNotesDomain();
  if (attachmentFolder_.empty())
    attachmentFolder_ = PDXFiles::joined(PDXDeviceData::TemporaryExtractPath(), "attachments");
  extraction_ = std::make_unique<PDXNoteMediaExtraction>(*store_, *columns_, *deviceBackup_, *files_,
                                                         attachmentFolder_, stop_);
}

void PDXIOS9NoteDatabaseReader::getFilesInNotesDomain() {
  if (deviceBackup_ != nullptr) files_ = std::make_shared<PDXNoteFiles>(PDXNoteFiles::of(*deviceBackup_));
  // Readers for other threads, which share the store, find the indexes made.
  if (!connectToDataSource_()) return;
  for (const char* column : {"ZIDENTIFIER", "ZNOTE", "ZPARENTATTACHMENT"})
    addMissingIndex_("ZICCLOUDSYNCINGOBJECT", column);
}

std::vector<PDXIOS9NoteDetail> PDXIOS9NoteDatabaseReader::getNonAppleAccountNotes_() const {
  std::vector<PDXIOS9NoteDetail> notes;
  const PDXSQLiteDatabase store(legacyPath_);
  if (const std::string why = store.whyUnreadable(); !why.empty()) {
    PDXLog::report({.what = "notes", .where = legacyPath_, .why = why});
    return notes;
  }
  if (!PDXSQLiteHelper::doesDatabaseContainTable(store, "ZNOTE")) {
    // The oldest layout knows no accounts, so nothing of it is another account's.
    if (!PDXSQLiteHelper::doesDatabaseContainTable(store, "Note"))
      PDXSQLiteHelper::reportMissingTables(store, {"ZNOTE"}, "notes", legacyPath_);
    return notes;
  }
  const bool hasStore =
      PDXSQLiteHelper::doesDatabaseContainTableWithColumnNamed(store, "ZACCOUNT", "ZDEFAULTSTORE");
  const auto outcome =
      PDXReachableRows::forEach(store, legacyQuery(hasStore ? "ZDEFAULTSTORE" : "Z_PK"),
                                [&](const PDXSQLiteStatement& row) { notes.push_back(legacyNoteOf(row)); });
  if (!outcome.isWhole() && !outcome.isInterrupted)
    PDXLog::report({.what = "notes", .where = legacyPath_, .why = outcome.why});
  return notes;
}

PDXDate PDXIOS9NoteDatabaseReader::dateFromDatabaseLong(std::int64_t seconds) {
  return PDXDates::fromReferenceSeconds(seconds);
}
