#include "samples/DeviceLists.h"

#include <string_view>
#include <utility>

#include "platform/Crypto.h"
#include "platform/Text.h"

namespace {

using List = PDXPropertyList;

/// An upper-case identifier in the form of a UUID that depends on the device and `use` only.
std::string identifierFor(const PDXSampleDevice& device, std::string_view use) {
  const std::string digits = PDXText::uppercased(sha_1(device.identifier + std::string(use)));
  return digits.substr(0, 8) + "-" + digits.substr(8, 4) + "-4" + digits.substr(13, 3) + "-A" +
         digits.substr(17, 3) + "-" + digits.substr(20, 12);
}

List::Array namesOf(const std::vector<std::string>& applications) {
  return {applications.begin(), applications.end()};
}

List::Dictionary lockdownOf(const PDXSampleDevice& device) {
  return {{"BuildVersion", device.buildVersion},
          {"DeviceName", device.name},
          {"ProductType", device.productType},
          {"ProductVersion", device.productVersion},
          {"SerialNumber", device.serialNumber},
          {"UniqueDeviceID", device.identifier},
          {"com.apple.mobile.data_sync",
           List::Dictionary{{"Contacts", List::Dictionary{{"AccountNames", List::Array{"Cloud", "Work"}}}}}}};
}

List::Dictionary applicationsOf(const PDXSampleDevice& device) {
  List::Dictionary applications;
  for (const std::string& bundle : device.applications) {
    applications.emplace_back(bundle, List::Dictionary{{"CFBundleIdentifier", bundle},
                                                       {"CFBundleVersion", "1.0"},
                                                       {"ContainerContentClass", "Data/Application"},
                                                       {"Path", "/var/containers/Bundle/Application/" +
                                                                    identifierFor(device, bundle)}});
  }
  return applications;
}

}  // namespace

namespace PDXSampleDeviceLists {

PDXPropertyList info(const PDXSampleDevice& device) {
  List::Dictionary entries = {{"Applications", List::Dictionary{}},
                              {"Build Version", device.buildVersion},
                              {"Device Name", device.name},
                              {"Display Name", device.name},
                              {"GUID", sha_1(device.identifier).substr(0, 32)},
                              {"ICCID", "8944000000000000000"},
                              {"IMEI", "000000000000000"},
                              {"Installed Applications", namesOf(device.applications)},
                              {"Last Backup Date", device.backupDate},
                              {"Phone Number", device.phoneNumber},
                              {"Product Name", device.productName},
                              {"Product Type", device.productType},
                              {"Product Version", device.productVersion},
                              {"Serial Number", device.serialNumber},
                              {"Target Identifier", device.identifier},
                              {"Target Type", "Device"},
                              {"Unique Identifier", PDXText::uppercased(device.identifier)},
                              {"macOS Version", "14.3.1"}};
  return entries;
}

PDXPropertyList status(const PDXSampleDevice& device) {
  return List::Dictionary{{"BackupState", "new"},
                          {"Date", device.backupDate},
                          {"IsFullBackup", true},
                          {"SnapshotState", "finished"},
                          {"Version", device.backupVersion},
                          {"UUID", identifierFor(device, "status")}};
}

PDXPropertyList manifest(const PDXSampleDevice& device, const PDXSampleLock& lock) {
  List::Dictionary entries = {{"Applications", applicationsOf(device)},
                              {"BackupKeyBag", lock.keyBag},
                              {"Date", device.backupDate},
                              {"IsEncrypted", lock.isEncrypted},
                              {"Lockdown", lockdownOf(device)},
                              {"SystemDomainsVersion", device.systemDomainsVersion},
                              {"Version", device.manifestVersion},
                              {"WasPasscodeSet", true}};
  if (!lock.manifestKey.empty()) entries.emplace_back("ManifestKey", lock.manifestKey);
  return entries;
}

}  // namespace PDXSampleDeviceLists
