#include "app/export/NotesExport.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "app/export/FreeSpace.h"
#include "backup/BackupNavigation.h"
#include "backup/DeviceData.h"
#include "notes/LegacyNoteDatabaseReader.h"
#include "platform/FileName.h"
#include "platform/Files.h"
#include "platform/Text.h"
#include "platform/Workers.h"

namespace {

constexpr const char* kFolder = "Notes";
constexpr std::string_view kAttachments = " - Attachments";
constexpr const char* kNoAccount = "No Account";
constexpr const char* kNoFolder = "No Folder";

using Problems = std::vector<PDXProblem>;

const std::string& titleOf(const PDXAnyNote& note) {
  return std::visit([](const auto& of) -> const std::string& { return of.title; }, note);
}

/// The folders and files of notes. Each account and folder has one of its own, whatever others are called.
class Names {
 public:
  /// @param folder  of all notes.
  explicit Names(std::string folder) : folder_(std::move(folder)) {}

  /// The path below the folder, without extension.
  std::string nameFor(const PDXAnyNote& note) {
    return std::visit([&](const auto& of) { return nameFor(of.accountDetail, of.folderDetail, of.title); },
                      note);
  }

 private:
  struct Folder {
    std::string name;
    std::unique_ptr<PDXUniqueFileNames> notes;
  };
  struct Account {
    std::string name;
    std::unique_ptr<PDXUniqueFileNames> folderNames;
    std::map<std::pair<std::int64_t, std::string>, Folder> folders;
  };

  std::string nameFor(const std::optional<PDXNoteAccountDetail>& account,
                      const std::optional<PDXNoteFolderDetail>& folder, const std::string& title) {
    const auto id = account ? std::pair(account->accountId, account->name + "/" + account->identifier)
                            : std::pair(std::int64_t{-1}, std::string());
    Account& ofAccount = accounts_[id];
    if (ofAccount.name.empty()) {
      ofAccount.name = accountNames_.nameFor(account ? account->name : kNoAccount);
      ofAccount.folderNames = folderNamesIn(PDXFiles::joined(folder_, ofAccount.name));
    }
    const auto folderId =
        folder ? std::pair(folder->folderId, folder->name) : std::pair(std::int64_t{-1}, std::string());
    Folder& ofFolder = ofAccount.folders[folderId];
    const std::string path = ofAccount.name + "/";
    if (ofFolder.name.empty()) {
      ofFolder.name = ofAccount.folderNames->nameFor(folder ? folder->name : kNoFolder);
      ofFolder.notes = noteNamesIn(PDXFiles::joined(folder_, path + ofFolder.name));
    }
    return path + ofFolder.name + "/" + ofFolder.notes->nameFor(title);
  }

  /// A folder of somebody else's is shared; a file or a link has to be kept clear of.
  static bool isBlocked(const std::string& folder) { return PDXFiles::freeFolder(folder) != folder; }

  static std::unique_ptr<PDXUniqueFileNames> folderNamesIn(const std::string& folder) {
    return std::make_unique<PDXUniqueFileNames>(
        0, [folder](const std::string& name) { return isBlocked(PDXFiles::joined(folder, name)); });
  }

  /// All that a note may ever have beside it, so that its name is the same in every format.
  static std::unique_ptr<PDXUniqueFileNames> noteNamesIn(const std::string& folder) {
    return std::make_unique<PDXUniqueFileNames>(kAttachments.size(), [folder](const std::string& name) {
      const std::string path = PDXFiles::joined(folder, name);
      return PDXFiles::isTaken(path + ".html") || PDXFiles::isTaken(path + ".txt") ||
             PDXFiles::isTaken(path + std::string(kAttachments));
    });
  }

  std::string folder_;
  PDXUniqueFileNames accountNames_{
      0, [this](const std::string& name) { return isBlocked(PDXFiles::joined(folder_, name)); }};
  std::map<std::pair<std::int64_t, std::string>, Account> accounts_;
};

/// One note and the path of its files, without extension.
struct Task {
  PDXAnyNote* note;
  std::string name;
};

struct Result {
  std::string path;  ///< Of the page, or else of the text; "" when nothing is written.
  bool isTargetLost = false;
  std::vector<std::pair<std::string, PDXFiles::CopyResult>> unwritten;  ///< By the paths of files.
  std::size_t attachments = 0;
  Problems missing;
  Problems unreadable;
  Problems savedAsText;
  Problems notTurned;
  Problems unreached;
};

/// A body that was never downloaded is nothing that the backup holds.
void addAbsentBody(const PDXIOS9NoteDetail& note, Result& result) {
  if (note.body == PDXNoteBody::absent)
    result.missing.push_back(
        {.what = "body", .where = "text", .why = "it was never downloaded to the device"});
}

PDXProblem savedAsText(const std::string& name) {
  return {.what = "attachment saved as text", .where = name, .why = PDXFileName::kWhySavedAsText};
}

/// Renames what a browser would open as a page, and takes out of the text what no page may hold.
void makeHarmless(PDXIOS9NoteDetail& note, Problems& renamed) {
  for (PDXNoteContent& content : note.content) {
    if (auto* line = std::get_if<PDXTextNoteContent>(&content)) {
      if (line->textData.find('\0') != std::string::npos)
        line->textData = PDXText::replacedAll(line->textData, std::string_view("\0", 1), "\uFFFD");
      continue;
    }
    auto& piece = std::get<PDXMediaNoteContent>(content);
    if (!piece.hasFile() || !PDXFileName::isPage(PDXFileName::safe("1." + piece.fileType))) continue;
    renamed.push_back(savedAsText(piece.exportName + "." + piece.fileType));
    piece.fileType += PDXFileName::kTextExtension;
  }
}

/// The task's files. Says in the result what cannot be written.
class Writer {
 public:
  Writer(const PDXExportOptions& options, const Task& task, Result& result, std::stop_token stop)
      : options_(options), path_(task.name), result_(result), stop_(std::move(stop)) {}

  void write(PDXIOS9NoteDetail& note) {
    makeHarmless(note, result_.savedAsText);
    // A text has no place for pictures, so they lie where those of its page would: nothing is lost.
    writeAttachments(note);
    if (options_.writesHtml && goesOn())
      writeFile(pagePath(), note.pageForPathTitle(pagePath(), note.title, nullptr, stop_), note);
    if (options_.writesText) writeFile(path_ + ".txt", note.plainTextRepresentation(), note);
    addAbsentBody(note, result_);
    result_.missing.insert(result_.missing.end(), note.missing.begin(), note.missing.end());
    result_.unreadable = std::move(note.unreadable);
    result_.notTurned = std::move(note.notTurned);
    result_.unreached = std::move(note.unreached);
  }

  void write(const PDXLegacyNoteDetail& note) {
    if (options_.writesHtml) writeFile(pagePath(), note.htmlRepresentationWithTitle(note.title), note);
    if (options_.writesText) writeFile(path_ + ".txt", note.plainTextRepresentation(), note);
    result_.unreached = note.unreached;
  }

 private:
  std::string pagePath() const { return path_ + ".html"; }

  bool goesOn() const { return !result_.isTargetLost && !stop_.stop_requested(); }

  /// Whether the file is there.
  bool isDone(const std::string& path, const PDXFiles::CopyResult& written) {
    if (written) return true;
    result_.unwritten.emplace_back(path, written);
    if (written.outcome == PDXFiles::CopyResult::Outcome::writeFailed) result_.isTargetLost = true;
    return false;
  }

  template <typename Note>
  void writeFile(const std::string& path, const std::string& text, const Note& note) {
    if (!goesOn()) return;
    PDXAtomicFile file(path);
    file.append(text);
    const bool isWritten = file.commit();
    if (!isDone(path, file.result()) || !isWritten) return;
    if (note.lastModified) PDXFiles::setLastModified(path, *note.lastModified);
    if (result_.path.empty()) result_.path = path;
  }

  /// The page then shows those that are there.
  void writeAttachments(PDXIOS9NoteDetail& note) {
    if (const auto room = roomFor(note); !room) {
      isDone(pagePath(), room);
      return;
    }
    PDXUniqueFileNames names(32);
    for (PDXNoteContent& content : note.content) {
      auto* piece = std::get_if<PDXMediaNoteContent>(&content);
      if (piece == nullptr || !piece->hasFile() || !goesOn()) continue;
      names.nameFor(piece->exportName);
      const std::string target = piece->exportPathForPage(pagePath());
      if (isDone(target, PDXFiles::copy(piece->fileName, target, stop_))) {
        ++result_.attachments;
      } else {
        piece->fileName.clear();
      }
    }
    for (const PDXNoteExtraFile& extra : note.extraFiles) writeExtra(extra, names);
  }

  /// Whether all of them fit, before the first of them is copied.
  PDXFiles::CopyResult roomFor(const PDXIOS9NoteDetail& note) const {
    std::uint64_t needed = 0;
    for (const PDXNoteContent& content : note.content) {
      const auto* piece = std::get_if<PDXMediaNoteContent>(&content);
      if (piece != nullptr && piece->hasFile()) needed += PDXFiles::sizeOf(piece->fileName).value_or(0);
    }
    for (const PDXNoteExtraFile& extra : note.extraFiles) needed += PDXFiles::sizeOf(extra.path).value_or(0);
    return PDXFreeSpace::roomFor(needed, PDXFiles::temporary(),
                                 PDXMediaNoteContent::attachmentFolderForPage(pagePath()), options_);
  }

  void writeExtra(const PDXNoteExtraFile& extra, PDXUniqueFileNames& names) {
    if (!goesOn()) return;
    const std::string_view type = PDXText::pathExtension(PDXText::lastPathComponent(extra.path));
    std::string_view stem = extra.name;
    if (!type.empty() && stem.ends_with("." + std::string(type))) stem.remove_suffix(type.size() + 1);
    const std::string folder = PDXMediaNoteContent::attachmentFolderForPage(pagePath());
    std::string file = names.nameFor(stem, type);
    if (PDXFileName::isPage(file)) {
      file += PDXFileName::kTextExtension;
      result_.savedAsText.push_back(savedAsText(extra.name));
    }
    const std::string target = PDXFiles::freePath(PDXFiles::joined(folder, file));
    PDXFiles::makeFolders(folder);
    if (isDone(target, PDXFiles::copy(extra.path, target, stop_))) ++result_.attachments;
  }

  const PDXExportOptions& options_;
  std::string path_;
  Result& result_;
  std::stop_token stop_;
};

/// Takes the tasks in order, each worker with a reader and a folder for attachments of its own.
class Workers {
 public:
  Workers(const PDXNoteList& list, const PDXExportOptions& options, const PDXProgressSink& progress,
          const std::stop_token& stop)
      : list_(list),
        options_(options),
        progress_(progress),
        stopWithUser_(stop, [this] { stop_.request_stop(); }) {}

  std::vector<Result> run(const std::vector<Task>& tasks) {
    results_.resize(tasks.size());
    if (list_.reader != nullptr && !tasks.empty()) list_.reader->getFilesInNotesDomain();
    const auto count = static_cast<unsigned>(std::min<std::size_t>(options_.jobs, tasks.size()));
    PDXWorkers::run(
        count, [&](unsigned worker) { work(tasks, worker); }, [this] { stop_.request_stop(); });
    return std::move(results_);
  }

 private:
  void work(const std::vector<Task>& tasks, unsigned worker) {
    const std::string folder =
        PDXFiles::joined(PDXDeviceData::TemporaryExtractPath(), "attachments/" + std::to_string(worker));
    const auto reader = list_.reader == nullptr ? nullptr : list_.reader->forAnotherThread(folder);
    if (reader != nullptr) reader->setStop(stop_.get_token());
    for (std::size_t i = next_++; i < tasks.size() && !stop_.stop_requested(); i = next_++) {
      exportTask(tasks[i], reader.get(), results_[i]);
      PDXFiles::removeTree(folder);
      if (results_[i].isTargetLost) stop_.request_stop();
      const std::lock_guard guard(progressLock_);
      if (progress_) progress_(kFolder, ++done_, tasks.size());
    }
  }

  void exportTask(const Task& task, PDXIOS9NoteDatabaseReader* reader, Result& result) const {
    Writer writer(options_, task, result, stop_.get_token());
    if (const auto* legacy = std::get_if<PDXLegacyNoteDetail>(task.note)) return writer.write(*legacy);
    auto& note = std::get<PDXIOS9NoteDetail>(*task.note);
    reader->extractMediaForNote(note);
    if (stop_.stop_requested()) return;
    writer.write(note);
    note.content = {};
  }

  const PDXNoteList& list_;
  const PDXExportOptions& options_;
  const PDXProgressSink& progress_;
  std::stop_source stop_;
  std::stop_callback<std::function<void()>> stopWithUser_;
  std::vector<Result> results_;
  std::atomic<std::size_t> next_ = 0;
  std::mutex progressLock_;
  std::size_t done_ = 0;
};

/// The problem with the note's title in front of the place.
void append(Problems& target, const Problems& problems, const std::string& title) {
  for (PDXProblem problem : problems) {
    problem.where = title + ": " + problem.where;
    target.push_back(std::move(problem));
  }
}

void addTo(PDXKindReport& kind, PDXExportReport& report, const Task& task, const Result& result,
           const PDXExportOptions& options) {
  for (const auto& [path, failure] : result.unwritten) report.noteUnwritten(kind, path, failure);
  if (result.path.empty()) return;
  const std::string& title = titleOf(*task.note);
  kind.written.push_back({.title = title,
                          .path = options.relative(result.path),
                          .messages = 0,
                          .attachments = result.attachments});
  append(kind.missing, result.missing, title);
  append(kind.unreadable, result.unreadable, title);
  append(kind.savedAsText, result.savedAsText, title);
  append(kind.notTurned, result.notTurned, title);
  append(kind.notes->unreached, result.unreached, title);
}

PDXRowAccount accountOf(const PDXNoteRowCounts& counts, std::size_t written, std::size_t filtered) {
  const std::vector<PDXRowAccount::Reason> leftOut = {
      {"locked", counts.locked.size()},
      {"marked for deletion", counts.deleted},
      {"without title", counts.untitled},
      {"of the device's own account in the older store", counts.inOwnAccount},
      {"without text in the older store", counts.withoutBody},
      {"filtered", filtered}};
  PDXRowAccount account{
      .rows = counts.rows, .repeated = counts.repeated, .leftOut = leftOut, .unaccounted = 0};
  account.unaccounted = static_cast<std::int64_t>(counts.rows + counts.repeated) -
                        static_cast<std::int64_t>(written + account.leftOutRows());
  return account;
}

bool isOfOlderStore(const PDXAnyNote& note) {
  const auto* newer = std::get_if<PDXIOS9NoteDetail>(&note);
  return newer == nullptr || newer->isOfOlderStore;
}

PDXStoreAccount accountOf(const std::string& store, const std::optional<PDXNoteRowCounts>& counts,
                          std::size_t written, std::size_t filtered) {
  const auto rows = counts ? std::optional(accountOf(*counts, written, filtered)) : std::nullopt;
  return PDXStoreAccount::of(store, rows, written);
}

/// One for each store that the backup has.
std::vector<PDXStoreAccount> accountsOf(const PDXNoteList& list, const std::vector<Task>& tasks,
                                        const std::vector<Result>& results) {
  struct {
    std::size_t found = 0;
    std::size_t taken = 0;
    std::size_t written = 0;
  } newer, older;
  for (const PDXAnyNote& note : list.notes) ++(isOfOlderStore(note) ? older : newer).found;
  for (std::size_t i = 0; i < tasks.size(); ++i) {
    auto& sums = isOfOlderStore(*tasks[i].note) ? older : newer;
    ++sums.taken;
    sums.written += results[i].path.empty() ? 0 : 1;
  }
  std::vector<PDXStoreAccount> accounts;
  if (list.hasNewer)
    accounts.push_back(
        accountOf("NoteStore.sqlite", list.newerCounts, newer.written, newer.found - newer.taken));
  if (list.hasOlder)
    accounts.push_back(accountOf("notes.sqlite", list.olderCounts, older.written, older.found - older.taken));
  return accounts;
}

}  // namespace

PDXNoteList PDXNotesExport::read(PDXDeviceData& deviceData) {
  const std::string store = deviceData.databaseOfFeature(PDXFeature::NoteStore);
  const std::string legacy = deviceData.databaseOfFeature(PDXFeature::LegacyNotes);
  PDXNoteList list;
  list.reader = std::make_unique<PDXIOS9NoteDatabaseReader>(store, legacy);
  list.reader->setDeviceBackup(&deviceData);
  list.hasNewer = !store.empty();
  list.hasOlder = !legacy.empty();
  if (list.hasNewer) {
    list.counts = PDXNoteRowCounts::ofStores(store, legacy);
    list.newerCounts = PDXNoteRowCounts::ofStores(store, "");
    list.olderCounts = PDXNoteRowCounts::ofOlderStoreBesideNewer(legacy);
  }
  auto notes = list.reader->getAllNotes();
  // A device that never moved its notes may have an empty newer store all the same. One that cannot be
  // counted gives way only when not a single note of it can be read.
  const bool isNewerEmpty = list.reader->newerNoteCount() == 0 && (!list.counts || list.counts->isNewerEmpty);
  const bool livesInOlder = !legacy.empty() && isNewerEmpty;
  if (livesInOlder) {
    list.reader.reset();
    list.counts = list.olderCounts = PDXNoteRowCounts::ofLegacyStore(legacy);
    for (auto& note : PDXLegacyNoteDatabaseReader(legacy).getAllNotes())
      list.notes.emplace_back(std::move(note));
    return list;
  }
  for (auto& note : notes) list.notes.emplace_back(std::move(note));
  return list;
}

bool PDXNotesExport::matches(const PDXAnyNote& note, const std::string& search) {
  if (search.empty()) return true;
  const auto& [title, text] = std::visit(
      [](const auto& of) {
        if constexpr (std::is_same_v<std::decay_t<decltype(of)>, PDXLegacyNoteDetail>)
          return std::pair<const std::string&, const std::string&>(of.title, of.text);
        else
          return std::pair<const std::string&, const std::string&>(of.title, of.summary);
      },
      note);
  return PDXText::containsIgnoringCase(title, search) || PDXText::containsIgnoringCase(text, search);
}

PDXKindReport PDXNotesExport::run(PDXDeviceData& deviceData, const PDXExportOptions& options,
                                  PDXExportReport& report, const PDXProgressSink& progress,
                                  const std::stop_token& stop) {
  PDXNoteList list = read(deviceData);
  PDXKindReport kind;
  kind.kind = "notes";
  kind.title = "Notes";
  kind.found = list.notes.size();
  kind.notes.emplace();
  std::vector<Task> tasks;
  const std::string folder = PDXFiles::freeFolder(PDXFiles::joined(options.outputFolder, kFolder));
  Names names(folder);
  for (PDXAnyNote& note : list.notes) {
    std::string name = PDXFiles::joined(folder, names.nameFor(note));
    if (matches(note, options.searchTerm)) tasks.push_back({&note, std::move(name)});
  }
  kind.filtered = kind.found - tasks.size();
  const auto results = Workers(list, options, progress, stop).run(tasks);
  for (std::size_t i = 0; i < tasks.size(); ++i) addTo(kind, report, tasks[i], results[i], options);
  if (report.outcome == PDXExportReport::Outcome::done && !stop.stop_requested())
    kind.accounts = accountsOf(list, tasks, results);
  if (!list.counts) return kind;
  kind.notes->locked = list.counts->locked;
  const bool isWhole = report.outcome == PDXExportReport::Outcome::done && !stop.stop_requested();
  if (isWhole) kind.notes->rows = accountOf(*list.counts, kind.written.size(), kind.filtered);
  return kind;
}
