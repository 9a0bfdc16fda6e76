#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "app/export/RowAccount.h"
#include "app/export/StoreAccount.h"
#include "platform/Files.h"
#include "platform/Log.h"

/// One page or file that an export wrote.
struct PDXExportedItem {
  std::string title;
  std::string path;  ///< Relative to the output folder, "/" between components.
  std::size_t messages = 0;
  std::size_t attachments = 0;
  std::size_t entries = 0;  ///< Of files that hold many of one kind: calls, events.
};

/// What became of the rows of a table, which are counted by SQL on their own, apart from the reader.
struct PDXContactRows {
  std::string table;

  /// All rows; nothing when the store cannot tell.
  std::optional<std::size_t> found;

  std::size_t written = 0;
  std::size_t merged = 0;    ///< Part of what another row made.
  std::size_t filtered = 0;  ///< Left out because they do not match.
  std::size_t empty = 0;     ///< Left out because they say nothing.
  std::size_t unreadable = 0;

  /// Rows of which nobody knows what became; 0 when all is well, and when the rows could not be counted.
  std::int64_t unaccounted() const;
};

/// What an export says of notes beyond what all kinds have.
struct PDXNotesReport {
  /// What became of the rows of the stores; nothing when they could not be counted.
  std::optional<PDXRowAccount> rows;

  std::vector<std::string> locked;    ///< Titles of notes that a password locks.
  std::vector<PDXProblem> unreached;  ///< Parts of written notes that their pages do not show; no failure.
};

/// What an export says of kinds that are written as a few files of many entries, such as calls.
struct PDXEntriesReport {
  std::string one;  ///< What people call an entry, "call".
  std::string many;
  std::size_t written = 0;

  /// Those of the written that only hold others; nothing where there are no such.
  std::optional<std::size_t> folders = {};

  /// What became of the rows of the store; nothing when they could not be counted, or not all was written.
  std::optional<PDXRowAccount> rows;

  std::optional<std::size_t> files = {};  ///< Copied beside them; nothing when nobody asked for files.
  std::size_t notCopied = 0;              ///< Files that the backup holds and nobody asked for.

  /// "3 calls", and of entries with folders among them "10 bookmarks in 9 folders".
  /// @param entries  all that are written, or those of one of the files.
  std::string textOf(std::size_t entries) const;

  /// "2 calls left out: 2 filtered"; "" when there are none.
  std::string leftOutText() const;

  /// "2 files of tracks are in the backup: --with-files copies them"; "" when there are none.
  std::string notCopiedText() const;
};

/// What became of one content kind.
struct PDXKindReport {
  std::string kind;   ///< As the command names it, e.g. "messages".
  std::string title;  ///< As people call it, e.g. "Messages".

  std::size_t found = 0;  ///< Conversations that the store holds.
  /// What became of the store's messages. Nothing when they could not be counted.
  std::optional<PDXRowAccount> messageRows;

  std::size_t filtered = 0;  ///< Conversations left out because nothing in them matches.
  std::vector<PDXExportedItem> written;

  std::vector<PDXProblem> missing;      ///< What the backup never held; no failure.
  std::size_t neverDownloaded = 0;      ///< Attachments that the store lists without a file name; no failure.
  std::vector<PDXProblem> unreadable;   ///< What it holds and could not be read.
  std::vector<PDXProblem> savedAsText;  ///< Attachments that a browser would open as a page; no failure.
  std::vector<PDXProblem> notTurned;    ///< Pictures written whole, but as they lay; no failure.

  /// Files that could not be made, while others could: the rest is there.
  std::vector<PDXProblem> unwritten;

  /// For kinds that are written as whole files of entries; nothing for conversations.
  std::optional<PDXContactRows> rows;

  std::optional<std::size_t> pictures;  ///< Faces written; of contacts only, when asked for.

  std::optional<PDXNotesReport> notes;  ///< Of notes only.

  std::optional<PDXEntriesReport> entries;  ///< Of such kinds only; `found` and `filtered` count entries.

  /// One for each store that the kind was read from.
  std::vector<PDXStoreAccount> accounts;

  /// Where the log tells of damage in a store, rows that are missing from its account could not be read.
  void settleAccounts(const std::vector<PDXProblem>& problems);

  std::size_t messageCount() const;
  std::size_t attachmentCount() const;

 private:
  void dropFigures_();
};

/// The whole of an export.
struct PDXExportReport {
  /// `refused`: the output folder is not for this export; see PDXOutputFolder.
  enum class Outcome { done, stopped, unwritable, refused } outcome = Outcome::done;
  std::string unwritablePath;  ///< The output that could not be written.
  std::string why;             ///< And why, or why it was refused.

  std::string startPage;  ///< Its path.

  /// Whether the export came to its end, with whatever it could not read.
  bool hasEnded = false;

  /// Others' files in the output folder that have a name that ours would have got; they stay.
  std::vector<std::string> inTheWay;

  std::vector<PDXKindReport> kinds;
  std::vector<PDXProblem> problems;  ///< Said in the log while the export ran.
  std::vector<std::string> notHeld;  ///< Kinds that were asked for by name and that the backup does not hold.

  /// Kinds that the backup holds, nobody named and the filters say nothing about: left out.
  std::vector<std::string> notConcerned;

  std::vector<std::string> notBuilt;  ///< Kinds that the backup holds and this version cannot export yet.

  /// Whether everything that the backup holds of the kinds was read and written.
  bool isComplete() const;

  /// Whether nothing has ended the export yet.
  bool goesOn() const { return outcome == Outcome::done; }

  /// Takes note of a file that could not be written. One that cannot be made is named in its kind and the
  /// export goes on; a target that is full or lost ends it.
  void noteUnwritten(PDXKindReport& kind, const std::string& path, const PDXFiles::CopyResult& failure);

  /// Puts a file in its place, or takes note of why not. Whether it is there.
  bool commit(PDXAtomicFile& file, PDXKindReport& kind);
};

/// Listens to the log while it lives, and keeps what was said.
class PDXProblemCollector {
 public:
  PDXProblemCollector();
  ~PDXProblemCollector();
  PDXProblemCollector(const PDXProblemCollector&) = delete;
  PDXProblemCollector& operator=(const PDXProblemCollector&) = delete;

  /// What was said so far, sorted, so that the number of threads makes no difference; each problem once.
  std::vector<PDXProblem> problems() const;

 private:
  mutable std::mutex lock_;
  std::vector<PDXProblem> problems_;
  PDXLog::Listener before_;
};
