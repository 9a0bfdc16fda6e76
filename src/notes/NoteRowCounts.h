#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// How many notes a backup's stores hold, and how many of them a reader leaves out for which reason. Counted
/// by SQL, apart from the readers: what they do not see would be missing from their own count as well.
struct PDXNoteRowCounts {
  std::size_t rows = 0;
  std::size_t repeated = 0;         ///< Further notes that a row makes, as when it has two bodies.
  std::vector<std::string> locked;  ///< Titles of notes that a password locks; "" without one.
  std::size_t deleted = 0;          ///< Marked for deletion.
  std::size_t untitled = 0;
  std::size_t inOwnAccount =
      0;  ///< In the older store and of no other account: the newer store took them over.
  std::size_t withoutBody = 0;  ///< In the older store, without text.

  bool isNewerEmpty = false;  ///< Whether the newer store holds no note at all.

  /// Of PDXIOS9NoteDatabaseReader. Nothing when the newer store cannot be read.
  /// @param legacyPath  may be empty.
  static std::optional<PDXNoteRowCounts> ofStores(const std::string& notesDbPath,
                                                  const std::string& legacyPath);

  /// Of other accounts' notes in the older store alone. Nothing when it cannot be read.
  static std::optional<PDXNoteRowCounts> ofOlderStoreBesideNewer(const std::string& legacyPath);

  /// Of PDXLegacyNoteDatabaseReader. Nothing when the store cannot be read.
  static std::optional<PDXNoteRowCounts> ofLegacyStore(const std::string& path);
};
