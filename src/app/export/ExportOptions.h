#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "messages/ConversationExportOptions.h"
#include "platform/Date.h"
#include "platform/Files.h"

/// What an export takes and how it writes it.
struct PDXExportOptions {
  std::string outputFolder;

  /// Whether to write into a folder of somebody else's, beside what is there.
  bool isForced = false;

  /// As the command names them, e.g. "messages"; empty for every kind that the backup holds.
  std::vector<std::string> kinds;

  std::optional<PDXDate> startDate;  ///< The first moment that is taken in.
  std::optional<PDXDate> endDate;    ///< The first moment of the last day, all of which is taken in.
  std::string searchTerm;

  /// Titles of the only conversations to take; empty for all.
  std::vector<std::string> conversations;

  /// Layout, order, fonts, contact numbers and pictures. Paths, dates and term come from here above.
  PDXConversationExportOptions page;

  bool writesHtml = true;   ///< Pages.
  bool writesText = false;  ///< Plain texts; of notes.

  /// A media library to read in place of the backup's own; "" for that.
  std::string libraryFile;

  bool withFiles = false;  ///< The tracks' files as well.

  /// The faces of the contacts, as files beside their cards.
  bool writesContactPictures = false;

  /// Bytes that copies may take in the output folder, nothing when nobody can tell; empty to ask the system.
  std::function<std::optional<std::uint64_t>()> freeBytes;

  /// Worker threads, at least one.
  unsigned jobs = 1;

  /// The first moment behind the range; nothing without an end.
  std::optional<PDXDate> behindEnd() const {
    return endDate ? std::optional(PDXDates::startOfNextDay(*endDate)) : std::nullopt;
  }

  /// Where a file of the export goes, given its path below the output folder: there, or under the next free
  /// name when somebody else's file is there.
  std::string placeOf(const std::string& path) const {
    return PDXFiles::freePath(PDXFiles::joined(outputFolder, path));
  }

  /// The path below the output folder of a file in it, for links and the report.
  std::string relative(const std::string& place) const { return place.substr(outputFolder.size() + 1); }

  bool hasFilter() const { return startDate || endDate || !searchTerm.empty(); }
};

/// Is told how far the work has come; called from the workers' threads, one call at a time.
using PDXProgressSink = std::function<void(const std::string& what, std::size_t done, std::size_t total)>;
