#include "backup/BackupLocations.h"

#include <algorithm>
#include <atomic>

#include "platform/Files.h"
#include "platform/Preferences.h"
#include "platform/Text.h"

namespace {

constexpr const char* kExternalPreference = "ExternalBackupDirectory";

struct State {
  std::int32_t type = 0;
  std::string deviceBackupPath;
  std::atomic<bool> isBackupInProgress = false;  ///< Cleared by the thread that makes the backup.
};

State& state() {
  static State theState;
  return theState;
}

bool isUserVolume(const std::string& volume) {
  const auto& prefixes = PDXMountedVolumes::prefixes();
  return std::any_of(prefixes.begin(), prefixes.end(), [&](const std::string& prefix) {
    return PDXText::startsWithIgnoringCase(volume, prefix);
  });
}

}  // namespace

void PDXBackupLocations::setActiveBackupDirectoryType(std::int32_t type) { state().type = type; }

std::int32_t PDXBackupLocations::activeBackupDirectoryType() { return state().type; }

std::string PDXBackupLocations::activeBackupDirectory() {
  if (state().type == 1) return systemBackupDirectory();
  if (state().type == 2 && isExternalBackupDirectoryValid()) return externalBackupDirectory();
  return applicationBackupDirectory();
}

std::string PDXBackupLocations::applicationBackupDirectory() {
  const std::string folder = PDXFiles::joined(PDXFiles::userData(), "Lantern Byte/MobileSync/Backup");
  return PDXFiles::makeFolders(folder) ? folder : "";
}

std::string PDXBackupLocations::systemBackupDirectory() {
  const std::string folder =
      PDXFiles::joined(PDXFiles::home(), "Library/Application Support/MobileSync/Backup");
  return PDXFiles::isFolder(folder) ? folder : "";
}

std::string PDXBackupLocations::activeDeviceBackupPath() { return state().deviceBackupPath; }

void PDXBackupLocations::setActiveDeviceBackupPath(const std::string& path) {
  state().deviceBackupPath = path;
}

std::string PDXBackupLocations::externalBackupDirectory() { return PDXPreferences::get(kExternalPreference); }

bool PDXBackupLocations::setExternalBackupDirectory(const std::string& folder) {
  return isExternalBackupDirectoryValid(folder) && PDXPreferences::set(kExternalPreference, folder);
}

bool PDXBackupLocations::isExternalBackupDirectoryValid() {
  return isExternalBackupDirectoryValid(externalBackupDirectory());
}

bool PDXBackupLocations::isExternalBackupDirectoryValid(const std::string& folder,
                                                        const PDXMountedVolumes& volumes) {
  if (folder.empty() || !PDXFiles::isFolder(folder)) return false;
  const auto mounted = volumes.paths();
  return std::any_of(mounted.begin(), mounted.end(), [&](const std::string& volume) {
    return isUserVolume(volume) && PDXText::startsWithIgnoringCase(folder, volume);
  });
}

bool PDXBackupLocations::isBackupInProgress() { return state().isBackupInProgress; }

void PDXBackupLocations::setIsBackupInProgress(bool isInProgress) {
  state().isBackupInProgress = isInProgress;
}
