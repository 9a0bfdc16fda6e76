#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "notes/LegacyNoteDetail.h"

/// Reads the notes of devices that never moved to the newer store.
///
/// Source: a local copy of "Library/Notes/notes.sqlite", in either of its two layouts.
/// Errors: none leave the reader. A file that is missing, damaged or of another kind gives an empty list;
/// rows read before the damage are kept. The log says why, once. Threads: one reader, one thread.
class PDXLegacyNoteDatabaseReader {
 public:
  /// @param notesDbPath  UTF-8 path; need not exist.
  explicit PDXLegacyNoteDatabaseReader(std::string notesDbPath);

  /// Every note that has a body, in the store's own order; empty when there are none.
  std::vector<PDXLegacyNoteDetail> getAllNotes() const;

  /// @param seconds  whole seconds since 2001-01-01 00:00:00 UTC; may be negative.
  static PDXDate dateFromDatabaseLong(std::int64_t seconds);

 private:
  std::string notesDbPath_;
};
