#include "app/cli/Options.h"

#include <CLI/CLI.hpp>

#include "app/export/ContentKinds.h"
#include "app/export/NearestNames.h"
#include "platform/Files.h"

namespace {

std::string dayMistake(const std::string& text) {
  return PDXDates::fromDayText(text) ? "" : "\"" + text + "\" is no date: write it as YYYY-MM-DD";
}

std::string builtKinds() {
  std::string names;
  for (const PDXContentKind& kind : PDXContentKinds::all()) {
    if (kind.isBuilt) names += (names.empty() ? "" : ", ") + kind.name;
  }
  return names;
}

}  // namespace

void PDXBackupOptions::addTo(CLI::App& app) {
  app.add_option("BACKUP", backup, "The backup's folder, or its identifier")->required();
  app.add_option("--password-file", passwordFile,
                 "The file whose first line is the password of an encrypted backup; - is standard input")
      ->type_name("FILE");
  app.add_flag("--read-only", readOnly, "Never write into the backup's folder");
}

void PDXRangeOptions::addTo(CLI::App& app) {
  app.add_option("--from", from, "Only from this day on (YYYY-MM-DD)")->check(dayMistake);
  app.add_option("--until", until, "Only up to this day, which is taken in (YYYY-MM-DD)")->check(dayMistake);
  app.add_option("--search", search, "Only what holds this text");
}

std::optional<std::string> PDXRangeOptions::mistake() const {
  if (startDate() && endDate() && *endDate() < *startDate()) {
    return "--until " + until + " lies before --from " + from + ": nothing can match";
  }
  return std::nullopt;
}

std::optional<std::string> PDXRangeOptions::mistakeFor(const PDXContentKind& kind) const {
  if (!kind.takesRange && (!from.empty() || !until.empty()))
    return "--from and --until say nothing about " + kind.name + ": leave them out";
  if (!kind.takesSearch && !search.empty())
    return "--search does not apply to " + kind.name + ": leave it out";
  return std::nullopt;
}

void PDXMusicOptions::addTo(CLI::App& app) {
  app.add_option("--library", library, "A media library outside the backup; for music")->type_name("FILE");
}

std::optional<std::string> PDXMusicOptions::mistake(bool takesMusic) const {
  if (library.empty()) return std::nullopt;
  if (!takesMusic) return "--library is for music: name it, or leave it out";
  if (PDXFiles::isRegularFile(library)) return std::nullopt;
  return "there is no file " + library + ": name a MediaLibrary.sqlitedb after --library";
}

std::optional<std::string> kindMistake(const std::string& kind) {
  const PDXContentKind* known = PDXContentKinds::named(kind);
  if (known != nullptr && known->isBuilt) return std::nullopt;
  if (known != nullptr) return "\"" + kind + "\" is not built yet: this version reads " + builtKinds();
  std::vector<std::string> names;
  for (const PDXContentKind& each : PDXContentKinds::all()) names.push_back(each.name);
  return "there is no content kind \"" + kind + "\"" + nearestNamesHint(kind, names);
}

std::optional<std::string> exportKindMistake(const std::string& kind) {
  if (auto mistake = kindMistake(kind)) return mistake;
  if (!PDXContentKinds::named(kind)->isListOnly) return std::nullopt;
  return "\"" + kind + "\" can be listed but not exported: use `pocketdex list`";
}
