#include "backup/BackupInformation.h"

#include <algorithm>
#include <initializer_list>
#include <utility>

#include "backup/DeviceData.h"
#include "backup/UnfinishedMark.h"
#include "platform/Files.h"
#include "platform/FolderIdentity.h"
#include "platform/PropertyList.h"
#include "platform/Text.h"

namespace {

std::string firstNotEmpty(std::initializer_list<std::string> texts) {
  for (const std::string& text : texts) {
    if (!text.empty()) return text;
  }
  return "";
}

/// "abc" of "abc-20230101-120000".
std::string withoutDate(const std::string& name) {
  constexpr std::string_view kForm = "-dddddddd-dddddd";
  if (name.size() <= kForm.size()) return name;
  const std::size_t begin = name.size() - kForm.size();
  for (std::size_t i = 0; i < kForm.size(); ++i) {
    const char c = name[begin + i];
    if (kForm[i] == '-' ? c != '-' : c < '0' || c > '9') return name;
  }
  return name.substr(0, begin);
}

std::optional<PDXDate> dateOf(const PDXPropertyList& list, const char* key) {
  const PDXPropertyList* value = list.find(key);
  return value == nullptr || value->date() == nullptr ? std::nullopt : std::optional(*value->date());
}

}  // namespace

PDXBackupInformation::PDXBackupInformation(const std::string& deviceId) {
  identifier_ = deviceId;
  readFolder_(PDXDeviceData::FullBackupPath());
}

PDXBackupInformation PDXBackupInformation::ofFolder(const std::string& folder) {
  PDXBackupInformation information;
  information.identifier_ = PDXText::lastPathComponent(folder);
  information.readFolder_(folder);
  return information;
}

bool PDXBackupInformation::isBackupFolder(const std::string& folder) {
  for (const char* name : {"Manifest.db", "Manifest.mbdb", "Manifest.plist", "Info.plist", "Status.plist"}) {
    if (PDXFiles::isRegularFile(PDXFiles::joined(folder, name))) return true;
  }
  return false;
}

std::string PDXBackupInformation::backupAround(const std::string& path) {
  const auto hasAny = [](const std::string& folder, std::initializer_list<const char*> names) {
    return std::any_of(names.begin(), names.end(), [&](const char* name) {
      return PDXFiles::isRegularFile(PDXFiles::joined(folder, name));
    });
  };
  for (const std::string& folder : PDXFolderIdentity::foldersAround(path)) {
    if (hasAny(folder, {"Manifest.db", "Manifest.mbdb"}) &&
        hasAny(folder, {"Manifest.plist", "Info.plist", "Status.plist"}))
      return folder;
  }
  return "";
}

PDXPropertyList PDXBackupInformation::listIn_(const std::string& folder, const char* name) {
  const std::string path = PDXFiles::joined(folder, name);
  auto list = PDXPropertyList::parseFile(path);
  if (!list && !PDXFiles::isMissing(path)) {
    unreadableLists_.push_back(
        {name, PDXFiles::isLink(path) ? "is a link, which a backup never contains" : "is damaged"});
  }
  return list ? std::move(*list) : PDXPropertyList();
}

void PDXBackupInformation::readFolder_(const std::string& folder) {
  const PDXPropertyList info = listIn_(folder, "Info.plist");
  const PDXPropertyList manifest = listIn_(folder, "Manifest.plist");
  const PDXPropertyList status = listIn_(folder, "Status.plist");
  const PDXPropertyList* lockdown = manifest.find("Lockdown");
  const PDXPropertyList device = lockdown == nullptr ? PDXPropertyList() : *lockdown;

  isEncrypted_ = manifest.flag("IsEncrypted");
  version_ = firstNotEmpty({info.text("Product Version"), device.text("ProductVersion")});
  deviceName_ =
      firstNotEmpty({info.text("Device Name"), info.text("Display Name"), device.text("DeviceName")});
  productType_ = firstNotEmpty({info.text("Product Type"), device.text("ProductType")});
  deviceIdentifier_ = firstNotEmpty({info.text("Unique Identifier"), device.text("UniqueDeviceID"),
                                     withoutDate(std::string(PDXText::lastPathComponent(folder)))});
  identifier_ = firstNotEmpty({info.text("Unique Identifier"), identifier_});
  lastBackupDate_ = dateOf(info, "Last Backup Date");
  if (!lastBackupDate_) lastBackupDate_ = dateOf(status, "Date");
  manifestVersion_ = status.text("Version");
  snapshotState_ = status.text("SnapshotState");
  if (!isUnfinished() && PDXUnfinishedMark::isSet(folder)) snapshotState_ = "unfinished";
}
