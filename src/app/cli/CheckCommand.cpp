#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <nlohmann/json.hpp>
#include <thread>

#include "app/check/BackupCheck.h"
#include "app/cli/Command.h"
#include "app/cli/OpenedBackup.h"
#include "app/cli/Options.h"
#include "app/export/BackupJson.h"

namespace {

using Json = nlohmann::ordered_json;

class CheckCommand final : public PDXCommand {
 public:
  void addOptions(CLI::App& app) override {
    backupOptions_.addTo(app);
    app.add_option("--jobs", jobs_, "Worker threads")->check(CLI::Range(1U, 256U));
    app.add_flag("--json", json_, "One JSON document");
  }

  PDXExitStatus run(PDXCommandContext& context) override {
    PDXExitStatus status = PDXExitStatus::done;
    const auto found = PDXOpenedBackup::find(backupOptions_.backup, status);
    const auto deviceData = found ? found->open(backupOptions_, context.stop, status) : nullptr;
    if (deviceData == nullptr) return status;
    found->warnOfState();
    PDXBackupCheck check(*deviceData, jobs_);
    const auto progress = [&context](std::size_t done, std::size_t total) {
      context.console.progress("Files", done, total);
    };
    const PDXCheckResult result = check.run(progress, context.stop);
    context.console.endProgress();
    if (result.wasStopped) return PDXExitStatus::interrupted;
    if (json_) {
      printJson(found->information(), result);
    } else {
      printText(context.console, result);
    }
    const bool isWell = result.findings.empty() && !found->information().isUnfinished();
    return isWell ? PDXExitStatus::done : PDXExitStatus::incomplete;
  }

 private:
  static void printText(const PDXConsole& console, const PDXCheckResult& result) {
    for (const PDXCheckFinding& finding : result.findings) {
      console.line(fmt::format("{}: {}{}: {}", PDXCheckFinding::nameOf(finding.kind),
                               finding.domain.empty() ? "" : finding.domain + " ", finding.relativePath,
                               finding.why));
    }
    console.note(
        fmt::format("{} files listed, {} databases among them checked; {}", result.files, result.databases,
                    result.findings.empty() ? "all is well"
                                            : fmt::format("{} {} found", result.findings.size(),
                                                          result.findings.size() == 1 ? "fault" : "faults")));
  }

  static void printJson(const PDXBackupInformation& information, const PDXCheckResult& result) {
    Json document = PDXBackupJson::document("check", information);
    document["files"] = result.files;
    document["databases"] = result.databases;
    for (const PDXCheckFinding& finding : result.findings) {
      document["items"].push_back({{"finding", PDXCheckFinding::nameOf(finding.kind)},
                                   {"fileId", finding.fileId},
                                   {"domain", finding.domain},
                                   {"relativePath", finding.relativePath},
                                   {"why", finding.why}});
    }
    std::fputs(PDXBackupJson::text(document).c_str(), stdout);
  }

  PDXBackupOptions backupOptions_;
  unsigned jobs_ = std::max(1U, std::thread::hardware_concurrency());
  bool json_ = false;
};

}  // namespace

std::unique_ptr<PDXCommand> makeCheckCommand() { return std::make_unique<CheckCommand>(); }
