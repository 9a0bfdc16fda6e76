#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "app/cli/Command.h"
#include "app/cli/InfoText.h"
#include "app/cli/OpenedBackup.h"
#include "app/cli/Options.h"
#include "app/export/BackupJson.h"
#include "app/export/ContentKinds.h"
#include "app/export/ExportReport.h"

namespace {

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
    const PDXProblemCollector problems;
    const auto deviceData = found->openForOverview();
    found->warnOfState();
    // An encrypted one's cannot be told without the password.
    if (!found->information().IsEncrypted()) deviceData->hasReadableManifest();  // Says in the log when not.
    if (json_) {
      printJson(*found, *deviceData, problems);
    } else {
      printInfoText(context.console, *found, *deviceData);
    }
    for (const PDXProblem& problem : problems.problems()) PDXConsole::problem(problem);
    return problems.problems().empty() ? PDXExitStatus::done : PDXExitStatus::incomplete;
  }

 private:
  static void printJson(const PDXOpenedBackup& found, PDXDeviceData& deviceData,
                        const PDXProblemCollector& problems) {
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
    document["problems"] = PDXBackupJson::problems(problems.problems());
    std::fputs(PDXBackupJson::text(document).c_str(), stdout);
  }

  PDXBackupOptions backupOptions_;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<PDXCommand> makeInfoCommand() { return std::make_unique<InfoCommand>(); }
