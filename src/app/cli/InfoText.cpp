#include "app/cli/InfoText.h"

#include "app/cli/Console.h"
#include "app/cli/OpenedBackup.h"
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

std::string dateText(const PDXBackupInformation& information) {
  PDXDateFormatter formatter(PDXDateFormatter::Style::longDateShortTime);
  return information.lastBackupDate() ? formatter.text(*information.lastBackupDate()) : "unknown";
}

}  // namespace

void printInfoText(const PDXConsole& console, const PDXOpenedBackup& found, PDXDeviceData& deviceData) {
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
