#include "app/cli/OpenedBackup.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "app/cli/Console.h"
#include "app/cli/Password.h"
#include "app/export/NearestNames.h"
#include "backup/BackupLocations.h"
#include "platform/Files.h"
#include "platform/FolderIdentity.h"
#include "platform/Text.h"

namespace {

std::vector<std::string> backupsIn(const std::string& folder) {
  std::vector<std::string> names = PDXFiles::list(folder);
  std::erase_if(names, [&](const std::string& name) {
    return !PDXBackupInformation::isBackupFolder(PDXFiles::joined(folder, name));
  });
  return names;
}

std::string joinedNames(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

/// The folder of the only backup whose identifier begins so; "" and a line on standard error otherwise.
std::string pathForIdentifier(const std::string& identifier) {
  const std::string folder = PDXBackupLocations::activeBackupDirectory();
  const std::vector<std::string> all = backupsIn(folder);
  std::vector<std::string> matching = all;
  std::erase_if(matching,
                [&](const std::string& name) { return !PDXText::startsWithIgnoringCase(name, identifier); });
  if (std::find(matching.begin(), matching.end(), identifier) != matching.end()) matching = {identifier};
  if (matching.size() == 1) return PDXFiles::joined(folder, matching.front());
  if (matching.empty()) {
    PDXConsole::error("there is no backup \"" + identifier + "\": it is no folder, and no identifier in " +
                      folder + nearestNamesHint(identifier, all));
  } else {
    PDXConsole::error("several backups begin with \"" + identifier + "\": " + joinedNames(matching) +
                      "; give more of the identifier");
  }
  return "";
}

/// The folder that the command line names; "" and a line on standard error when there is none.
std::string pathFor(const std::string& nameOrPath) {
  if (PDXFiles::isFolder(nameOrPath)) {
    std::string path = PDXFiles::absolute(nameOrPath);
    if (PDXBackupInformation::isBackupFolder(path)) return path;
    PDXConsole::error(nameOrPath +
                      " is not a backup: it holds no Manifest.db, Info.plist or other list of one; "
                      "give the folder that does");
    return "";
  }
  if (!PDXFiles::exists(nameOrPath) && nameOrPath.find('/') == std::string::npos && !nameOrPath.empty()) {
    return pathForIdentifier(nameOrPath);
  }
  PDXConsole::error("there is no backup at \"" + nameOrPath + "\": " +
                    (PDXFiles::exists(nameOrPath) ? "it is not a folder" : "there is no such folder"));
  return "";
}

}  // namespace

PDXOpenedBackup::PDXOpenedBackup(std::string path)
    : path_(std::move(path)), information_(PDXBackupInformation::ofFolder(path_)) {}

std::optional<PDXOpenedBackup> PDXOpenedBackup::find(const std::string& nameOrPath, PDXExitStatus& status) {
  status = PDXExitStatus::noBackup;
  std::string path = pathFor(nameOrPath);
  if (path.empty()) return std::nullopt;
  status = PDXExitStatus::done;
  return PDXOpenedBackup(std::move(path));
}

std::unique_ptr<PDXDeviceData> PDXOpenedBackup::openForOverview() const {
  PDXDeviceData::setCustomBackupPath(PDXFiles::folderOf(path_));
  return std::make_unique<PDXDeviceData>(std::string(PDXText::lastPathComponent(path_)));
}

std::unique_ptr<PDXDeviceData> PDXOpenedBackup::open(const PDXBackupOptions& options,
                                                     const std::stop_token& stop,
                                                     PDXExitStatus& status) const {
  auto deviceData = openForOverview();
  deviceData->setReadOnly(options.readOnly);
  const PDXExitStatus unlocked = unlockBackup(*deviceData, options.passwordFile, stop);
  if (unlocked == PDXExitStatus::done) return deviceData;
  status = unlocked;
  return nullptr;
}

void PDXOpenedBackup::warnOfState() const {
  for (const auto& list : information_.unreadableLists()) {
    PDXConsole::error("warning: " + PDXFiles::joined(path_, list.name) + " " + list.why +
                      "; what it says of the backup is not known");
  }
  if (!information_.isUnfinished()) return;
  PDXConsole::error("warning: this backup was not finished (its state is \"" + information_.snapshotState() +
                    "\"); some of the device's content may not be in it");
}

bool PDXOpenedBackup::refusesOutput(const std::string& folder) const {
  std::string why;
  if (PDXFolderIdentity::isWithin(folder, path_)) {
    why = "it lies in the backup, which is never changed; choose another folder";
  } else if (PDXFolderIdentity::isWithin(path_, folder)) {
    why = "the backup lies in it, which is never changed; choose another folder, beside the backup say";
  } else if (const std::string other = PDXBackupInformation::backupAround(folder); !other.empty()) {
    why = "it lies in another backup, " + other + ", which is never changed; choose another folder";
  } else if (const std::string detour = PDXFolderIdentity::detourTo(folder, path_); !detour.empty()) {
    why = detour + " leads to the backup, which is never changed; remove it, or choose another folder";
  }
  if (why.empty()) return false;
  PDXConsole::error("cannot write to " + folder + ": " + why);
  return true;
}
