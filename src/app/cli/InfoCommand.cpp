#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "app/cli/Command.h"
#include "app/cli/OpenedBackup.h"
#include "app/cli/Options.h"
#include "app/export/BackupJson.h"
#include "app/export/ContentKinds.h"

namespace {

const char* generationName(std::int32_t typeVersion) {
  switch (typeVersion) {
    case 3:
      return "current (Manifest.db)";
    case 2:
      return "older (Manifest.mbdb)";
    default:
      return "unknown";
  }
}

class InfoCommand final : public PDXCommand {
 public:
  void addOptions(CLI::App& app) override {
    backupOptions_.addTo(app);
    app.add_flag("--json", json_, "One JSON document");
  }

  PDXExitStatus run(PDXCommandContext& context) override {
    PDXExitStatus status = PDXExitStatus::done;
    const auto found = PDXOpenedBackup::find(backupOptions_.backup, status);
    if (!found) return status;
    const auto deviceData = found->openForOverview();
    found->warnOfState();
    if (json_) {
      printJson(*found, *deviceData);
    } else {
      printText(context.console, *found, *deviceData);
    }
    return PDXExitStatus::done;
  }

 private:
  static void printText(const PDXConsole& console, const PDXOpenedBackup& found, PDXDeviceData& deviceData) {
    const PDXBackupInformation& information = found.information();
    const auto orUnknown = [](const std::string& text) { return text.empty() ? "unknown" : text; };
    console.line("Backup:     " + found.path());
    console.line("Identifier: " + orUnknown(information.identifier()));
    console.line("Device:     " + orUnknown(information.deviceName()) + " (" +
                 orUnknown(information.productType()) + ")");
    console.line("System:     " + orUnknown(information.Version()));
    console.line(std::string("Manifest:   ") + generationName(deviceData.backupTypeVersion()));
    console.line(std::string("Encrypted:  ") + (information.IsEncrypted() ? "yes" : "no"));
    console.line("Made:       " + dateText(information));
    for (const PDXContentKind& kind : PDXContentKinds::all()) {
      if (!PDXContentKinds::isHeldBy(deviceData, kind)) continue;
      console.line("Holds:      " + kind.name + (kind.isBuilt ? "" : " (not built yet)"));
    }
  }

  static std::string dateText(const PDXBackupInformation& information) {
    PDXDateFormatter formatter(PDXDateFormatter::Style::longDateShortTime);
    return information.lastBackupDate() ? formatter.text(*information.lastBackupDate()) : "unknown";
  }

  static void printJson(const PDXOpenedBackup& found, PDXDeviceData& deviceData) {
    const PDXBackupInformation& information = found.information();
    auto document = PDXBackupJson::document("info", information);
    auto& backup = document["backup"];
    backup["path"] = found.path();
    backup["productType"] = information.productType();
    backup["manifestVersion"] = information.manifestVersion();
    backup["backupTypeVersion"] = deviceData.backupTypeVersion();
    backup["snapshotState"] = information.snapshotState();
    if (information.lastBackupDate())
      backup["lastBackupDate"] = PDXDates::isoText(*information.lastBackupDate());
    for (const PDXContentKind& kind : PDXContentKinds::all()) {
      document["items"].push_back({{"kind", kind.name},
                                   {"held", PDXContentKinds::isHeldBy(deviceData, kind)},
                                   {"built", kind.isBuilt}});
    }
    std::fputs(PDXBackupJson::text(document).c_str(), stdout);
  }

  PDXBackupOptions backupOptions_;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<PDXCommand> makeInfoCommand() { return std::make_unique<InfoCommand>(); }
