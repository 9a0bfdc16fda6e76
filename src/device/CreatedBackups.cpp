#include "device/CreatedBackups.h"

#include <chrono>
#include <mutex>
#include <nlohmann/json.hpp>

#include "platform/Files.h"
#include "platform/Text.h"

namespace {

using Json = nlohmann::ordered_json;

std::mutex& lock() {
  static std::mutex theLock;
  return theLock;
}

std::string textOf(const nlohmann::json& item, const char* key) {
  const auto found = item.find(key);
  return found != item.end() && found->is_string() ? found->get<std::string>() : "";
}

/// Nothing when there is a list and it is none of ours.
std::optional<std::vector<PDXCreatedBackups::Entry>> stored() {
  std::vector<PDXCreatedBackups::Entry> entries;
  const std::string path = PDXCreatedBackups::listPath();
  if (!PDXFiles::exists(path)) return entries;
  const auto bytes = PDXFiles::read(path, std::uint64_t{16} << 20);
  // Without the order of keys, which takes a look at each of them for every further one.
  const auto list = bytes ? nlohmann::json::parse(*bytes, nullptr, false) : nlohmann::json();
  if (!list.is_array()) return std::nullopt;
  for (const nlohmann::json& item : list) {
    if (!item.is_object() || textOf(item, "path").empty()) continue;
    entries.push_back({textOf(item, "path"), textOf(item, "application"), textOf(item, "date")});
  }
  return entries;
}

}  // namespace

std::string PDXCreatedBackups::listPath() {
  return PDXFiles::joined(PDXFiles::userData(), "Lantern Byte/Created Backups.json");
}

bool PDXCreatedBackups::addBackupAtPathForApplication(const std::string& path,
                                                      const std::string& application) {
  const std::lock_guard guard(lock());
  auto entries = stored();
  if (!entries) {
    PDXFiles::rename(listPath(), listPath() + ".damaged");
    entries.emplace();
  }
  const std::string folder = PDXText::valid(PDXFiles::absolute(path));
  std::erase_if(*entries, [&](const Entry& entry) { return entry.path == folder; });
  const auto now = std::chrono::time_point_cast<std::chrono::seconds>(std::chrono::system_clock::now());
  entries->push_back({folder, PDXText::valid(application), PDXDates::isoText(now)});
  Json list = Json::array();
  for (const Entry& entry : *entries)
    list.push_back({{"path", entry.path}, {"application", entry.application}, {"date", entry.date}});
  if (!PDXFiles::makeFolders(PDXFiles::folderOf(listPath()))) return false;
  PDXAtomicFile file(listPath());
  file.append(list.dump(2) + "\n");
  return file.commit();
}

std::vector<PDXCreatedBackups::Entry> PDXCreatedBackups::all() {
  const std::lock_guard guard(lock());
  return stored().value_or(std::vector<Entry>());
}
