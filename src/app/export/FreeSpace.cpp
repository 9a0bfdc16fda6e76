#include "app/export/FreeSpace.h"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_set>

#include "backup/DeviceData.h"

namespace {

std::string megabytes(std::uint64_t bytes) {
  return fmt::format("{:.1f} MB", static_cast<double>(bytes) / 1e6);
}

/// Bytes of the files directly in a folder.
std::uint64_t sizeOfFiles(const std::string& folder) {
  std::uint64_t size = 0;
  for (const std::string& name : PDXFiles::list(folder))
    size += PDXFiles::sizeOf(PDXFiles::joined(folder, name)).value_or(0);
  return size;
}

std::optional<std::uint64_t> freeBytes(const std::string& source, const PDXExportOptions& options) {
  if (options.freeBytes) return options.freeBytes();
  if (PDXFiles::mayShareBlocks(source, options.outputFolder)) return std::nullopt;
  return PDXFiles::freeBytes(options.outputFolder);
}

}  // namespace

PDXFreeSpace::PDXFreeSpace(PDXDeviceData& deviceData, const PDXExportOptions& options,
                           std::string_view domain)
    : options_(options), backup_(deviceData.backupPath()) {
  if (!freeBytes(backup_, options)) return;
  auto files = deviceData.listedFiles();
  if (!files) return;
  for (PDXBackupFile& file : *files) {
    if (file.domain == domain)
      files_[std::move(file.relativePath)] = {file.size.value_or(0), std::move(file.fileId)};
  }
}

PDXFiles::CopyResult PDXFreeSpace::roomFor(const std::vector<std::string>& paths,
                                           const std::string& folder) const {
  std::uint64_t listed = 0;
  std::vector<const Listed*> copied;
  for (const std::string& path : paths) {
    const auto file = files_.find(path);
    if (file == files_.end()) continue;
    listed += file->second.size;
    copied.push_back(&file->second);
  }
  if (roomFor(listed, backup_, folder, options_)) return {};
  // The manifest may say anything. What the backup folder has is what will be written.
  std::uint64_t stored = 0;
  for (const Listed* file : copied) stored += std::min(file->size, storedSize_(*file));
  return roomFor(stored, backup_, folder, options_);
}

PDXFiles::CopyResult PDXFreeSpace::roomFor(std::uint64_t needed, const std::string& source,
                                           const std::string& folder, const PDXExportOptions& options) {
  const auto free = needed == 0 ? std::nullopt : freeBytes(source, options);
  if (!free || needed <= *free) return {};
  needed -= std::min(needed, sizeOfFiles(folder));
  if (needed <= *free) return {};
  return {PDXFiles::CopyResult::Outcome::writeFailed,
          "its files need " + megabytes(needed) + ", and " + megabytes(*free) + " are free"};
}

std::uint64_t PDXFreeSpace::storedSize_(const Listed& file) const {
  const std::string flat = PDXFiles::joined(backup_, file.fileId);
  const std::string nested =
      PDXFiles::joined(PDXFiles::joined(backup_, file.fileId.substr(0, 2)), file.fileId);
  const auto size = PDXFiles::sizeOf(flat);
  return size ? *size : PDXFiles::sizeOf(nested).value_or(0);
}
