#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/Date.h"

namespace CLI {
class App;
}
struct PDXContentKind;

/// Which backup, and how to open it. Shared by every subcommand that opens one.
struct PDXBackupOptions {
  std::string backup;

  /// The deciphered manifest of an encrypted backup stays out of the backup's folder. Nothing else of ours
  /// writes there.
  bool readOnly = false;

  /// Holds the password in its first line; "-" is standard input, "" none.
  std::string passwordFile;

  void addTo(CLI::App& app);
};

/// What to take of the content.
struct PDXRangeOptions {
  std::string from;
  std::string until;
  std::string search;

  void addTo(CLI::App& app);

  /// The first moment of each day; nothing where none was given.
  std::optional<PDXDate> startDate() const { return PDXDates::fromDayText(from); }
  std::optional<PDXDate> endDate() const { return PDXDates::fromDayText(until); }

  /// What is wrong with the dates taken together; nothing when all is well. Each alone was checked in
  /// parsing.
  std::optional<std::string> mistake() const;

  /// The same for options that say nothing about a kind that was asked for by name.
  std::optional<std::string> mistakeFor(const PDXContentKind& kind) const;
};

/// Where to look for music.
struct PDXMusicOptions {
  std::string library;  ///< A media library outside the backup; "" for the backup's own.

  void addTo(CLI::App& app);

  /// What is wrong with the option; nothing when all is well.
  std::optional<std::string> mistake(bool takesMusic) const;
};

/// Nothing when `kind` names a content kind that this version can read, else one line that says why not.
std::optional<std::string> kindMistake(const std::string& kind);

/// The same for a kind that is to be exported: some can be listed only.
std::optional<std::string> exportKindMistake(const std::string& kind);
