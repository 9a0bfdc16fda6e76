#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"

/// How one system version lays out its note store.
struct PDXSampleNoteGeneration {
  int version;  ///< The first major version of the system that has it.

  // Numbers of the kinds of objects.
  int note;
  int noteData;
  int account;
  int folder;
  int media;
  int attachment;

  std::string_view accountColumn;  ///< The note's.
  std::string_view creationColumn;
  int accountColumns;   ///< The highest number behind a column ZACCOUNT.
  int creationColumns;  ///< The highest number behind a column ZCREATIONDATE.
  bool joinsFolders;    ///< Whether a table of its own says which note lies in which folder.
  bool hasGenerations;  ///< Whether a file's path has a folder for its generation.
};

/// One object of a note store. Which fields count depends on its kind.
struct PDXSampleNoteObject {
  enum class Kind { account, folder, note, attachment, media };

  Kind kind;
  std::int64_t row;
  std::string identifier;
  std::optional<std::string> title;  ///< Name of an account, folder, file or attachment.
  std::int64_t account = 0;          ///< Of a note; 0 for none.
  std::int64_t folder = 0;           ///< Of a note; 0 for none.
  std::int64_t owner = 0;            ///< The note of an attachment.
  std::int64_t media = 0;            ///< The file of an attachment; 0 for none.
  std::int64_t date = 0;             ///< Of a note, seconds since 2001.
  std::string type = {};             ///< Of an attachment.
  std::string generation = {};       ///< Of a file.
  std::int64_t width = 0;
  std::int64_t height = 0;
  bool isLocked = false;
  bool isDeleted = false;
  PDXBytes body = {};  ///< Of a note, packed; empty for none.
};

/// Writes note stores. The tables have the columns that tell the generations apart and those that readers ask
/// for; a device's have many more.
namespace PDXSampleNoteStore {

/// From the oldest to the newest.
const std::vector<PDXSampleNoteGeneration>& generations();

/// The newest that is not newer than the system's version.
const PDXSampleNoteGeneration& generationOf(int version);

/// "" on success, else why; the file must not exist.
std::string write(const std::string& path, const PDXSampleNoteGeneration& generation,
                  const std::vector<PDXSampleNoteObject>& objects);

}  // namespace PDXSampleNoteStore
