#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "app/cli/Command.h"
#include "app/cli/Listing.h"
#include "app/cli/OpenedBackup.h"
#include "app/cli/Options.h"
#include "app/export/BackupJson.h"
#include "app/export/ContentKinds.h"
#include "app/export/ExportReport.h"

namespace {

constexpr PDXListedKind kKinds[] = {{"messages", listMessages},   {"contacts", listContacts},
                                    {"calendars", listCalendars}, {"notes", listNotes},
                                    {"calls", listCalls},         {"bookmarks", listBookmarks},
                                    {"music", listMusic},         {"blocked", listBlocked}};

const PDXListedKind& kindNamed(const std::string& name) {
  return *std::find_if(std::begin(kKinds), std::end(kKinds),
                       [&](const PDXListedKind& kind) { return kind.name == name; });
}

class ListCommand final : public PDXCommand {
 public:
  void addOptions(CLI::App& app) override {
    backupOptions_.addTo(app);
    app.add_option("KIND", kind_,
                   "What to list: messages, contacts, calendars, notes, calls, bookmarks, music, blocked")
        ->required();
    app.add_flag("--json", json_, "One JSON document");
    range_.addTo(app);
    music_.addTo(app);
  }

  PDXExitStatus run(PDXCommandContext& context) override {
    if (const auto mistake = mistakeInOptions()) {
      PDXConsole::error(*mistake);
      return PDXExitStatus::usage;
    }
    PDXExitStatus status = PDXExitStatus::done;
    const auto found = PDXOpenedBackup::find(backupOptions_.backup, status);
    const auto deviceData = found ? found->open(backupOptions_, context.stop, status) : nullptr;
    return deviceData == nullptr ? status : list(context, found->information(), *deviceData);
  }

 private:
  std::optional<std::string> mistakeInOptions() const {
    if (auto mistake = kindMistake(kind_)) return mistake;
    if (auto mistake = range_.mistakeFor(*PDXContentKinds::named(kind_))) return mistake;
    if (auto mistake = music_.mistake(kind_ == "music")) return mistake;
    return range_.mistake();
  }

  PDXExitStatus list(PDXCommandContext& context, const PDXBackupInformation& information,
                     PDXDeviceData& deviceData) const {
    const PDXProblemCollector problems;
    if (music_.library.empty()) {
      const PDXContentKind& kind = *PDXContentKinds::named(kind_);
      const bool isLost = PDXContentKinds::reportLostFiles(deviceData, kind);
      if (!PDXContentKinds::isHeldBy(deviceData, kind)) return saysNotHeld(information, isLost, problems);
    }
    PDXListing listing = kindNamed(kind_).list({deviceData, range_, context.stop, music_.library, json_});
    if (context.stop.stop_requested()) return PDXExitStatus::interrupted;
    if (json_) {
      printJson(information, std::move(listing), problems.problems());
    } else {
      for (const std::string& line : listing.lines) context.console.line(line);
      context.console.note(listing.summary);
    }
    for (const PDXProblem& problem : problems.problems()) PDXConsole::problem(problem);
    return problems.problems().empty() ? PDXExitStatus::done : PDXExitStatus::incomplete;
  }

  PDXExitStatus saysNotHeld(const PDXBackupInformation& information, bool isLost,
                            const PDXProblemCollector& problems) const {
    if (json_) printJson(information, {}, problems.problems());
    // A manifest that cannot be read does not tell.
    if (!isLost && problems.problems().empty()) PDXConsole::error("the backup holds no " + kind_);
    for (const PDXProblem& problem : problems.problems()) PDXConsole::problem(problem);
    return PDXExitStatus::incomplete;
  }

  void printJson(const PDXBackupInformation& information, PDXListing listing,
                 const std::vector<PDXProblem>& problems) const {
    auto document = PDXBackupJson::document(kind_.c_str(), information);
    document["items"] = std::move(listing.items);
    if (listing.more.is_object()) document.update(listing.more);
    document["problems"] = PDXBackupJson::problems(problems);
    std::string text = PDXBackupJson::text(document);
    // No text of the document can hold this: quotes inside one are escaped.
    constexpr std::string_view kEmpty = "\"items\": [";
    if (!listing.itemsText.empty()) text.insert(text.find(kEmpty) + kEmpty.size(), listing.itemsText);
    std::fputs(text.c_str(), stdout);
  }

  PDXBackupOptions backupOptions_;
  std::string kind_;
  bool json_ = false;
  PDXRangeOptions range_;
  PDXMusicOptions music_;
};

}  // namespace

std::string countedEntries(std::size_t count, const char* one, const char* many) {
  return fmt::format("{} {}", count, count == 1 ? one : many);
}

std::unique_ptr<PDXCommand> makeListCommand() { return std::make_unique<ListCommand>(); }
