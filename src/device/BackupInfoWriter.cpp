#include "device/BackupInfoWriter.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "platform/Files.h"
#include "platform/PropertyList.h"

namespace {

using Dictionary = PDXPropertyList::Dictionary;

Dictionary olderEntries(const std::string& path) {
  const auto list = PDXPropertyList::parseFile(path);
  return list && list->dictionary() != nullptr ? *list->dictionary() : Dictionary();
}

void setEntry(Dictionary& entries, const char* key, PDXPropertyList value) {
  const auto known =
      std::find_if(entries.begin(), entries.end(), [&](const auto& entry) { return entry.first == key; });
  if (known == entries.end()) {
    entries.emplace_back(key, std::move(value));
  } else {
    known->second = std::move(value);
  }
}

void setText(Dictionary& entries, const char* key, const std::string& text) {
  if (!text.empty()) setEntry(entries, key, text);
}

}  // namespace

bool PDXBackupInfoWriter::GeneratePlistAtPathWithDeviceIDWithNameWithModelWithVersion(
    const std::string& path, const std::string& deviceID, const std::string& name, const std::string& model,
    const std::string& version) {
  Dictionary entries = olderEntries(path);
  setText(entries, "Device Name", name);
  setText(entries, "Display Name", name);
  const auto now = std::chrono::time_point_cast<std::chrono::seconds>(std::chrono::system_clock::now());
  setEntry(entries, "Last Backup Date", PDXDate(now));
  setText(entries, "Product Type", model);
  setText(entries, "Product Version", version);
  setText(entries, "Target Identifier", deviceID);
  setText(entries, "Target Type", "Device");
  setText(entries, "Unique Identifier", deviceID);
  const PDXBytes bytes = PDXPropertyList(std::move(entries)).xml();
  PDXAtomicFile file(path);
  file.append({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  return file.commit();
}
