#include "device/BackupTool.h"

#include <cstdlib>
#include <string_view>

#include "device/DeviceBackup.h"
#include "platform/Preferences.h"
#include "platform/Process.h"
#include "platform/Text.h"

namespace {

constexpr const char* kVariable = "POCKETDEX_BACKUP_TOOL";
constexpr const char* kPreference = "BackupTool";
constexpr const char* kInstall =
    "install the package libimobiledevice-utils (apt install libimobiledevice-utils)";

std::string valueOf(const char* variable) {
  const char* value = std::getenv(variable);
  return value == nullptr ? "" : value;
}

/// A tool that somebody chose is never replaced by another.
std::optional<PDXBackupTool> chosen(const std::string& path, const std::string& where, std::string& why) {
  const std::string found = path.find('/') == std::string::npos ? PDXProcess::find(path) : path;
  if (!found.empty() && PDXProcess::isExecutable(found)) {
    const bool isAdapted = PDXText::lastPathComponent(found) == "idevicebackup2";
    return PDXBackupTool{
        .path = found, .kind = isAdapted ? PDXBackupTool::Kind::idevicebackup2 : PDXBackupTool::Kind::system};
  }
  why = where + " names \"" + path + "\", which is no program that can be run; correct it or take it away";
  return std::nullopt;
}

/// What a short-lived program writes; nothing when it fails.
std::optional<std::string> outputOf(const std::vector<std::string>& command) {
  constexpr std::size_t kMost = std::size_t{1} << 20;
  std::string output;
  const auto result = PDXProcess::run(command, [&](std::string_view piece) {
    output.append(piece.substr(0, kMost - std::min(kMost, output.size())));
  });
  return result.succeeded() ? std::optional(output) : std::nullopt;
}

std::vector<std::string> linesOf(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = PDXText::trimmed(text.substr(0, end));
    if (!line.empty()) lines.emplace_back(line);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

}  // namespace

std::vector<std::string> PDXBackupTool::commandFor(const std::string& deviceID,
                                                   const std::string& root) const {
  if (kind == Kind::idevicebackup2) return {path, "--udid", deviceID, "backup", root};
  return {path, "--backup", "--target", deviceID, "--root", root};
}

std::optional<PDXBackupTool> PDXBackupTool::find(std::string& why) {
  if (const std::string path = valueOf(kVariable); !path.empty()) return chosen(path, kVariable, why);
  if (const std::string path = PDXPreferences::get(kPreference); !path.empty())
    return chosen(path, std::string("the preference ") + kPreference, why);
  const std::string system = PDXDeviceBackup::AppleMobileDeviceBackupExecutablePath();
  if (PDXProcess::isExecutable(system)) return PDXBackupTool{.path = system, .kind = Kind::system};
  const std::string adapted = PDXProcess::find("idevicebackup2");
  if (!adapted.empty()) return PDXBackupTool{.path = adapted, .kind = Kind::idevicebackup2};
  why = std::string("there is no program here that makes backups: ") + kInstall + ", or name one in " +
        kVariable;
  return std::nullopt;
}

std::optional<std::vector<PDXConnectedDevice>> connectedDevices(std::string& why) {
  const std::string lister = PDXProcess::find("idevice_id");
  if (lister.empty()) {
    why = std::string("cannot list devices: idevice_id is not here; ") + kInstall;
    return std::nullopt;
  }
  const auto list = outputOf({lister, "--list"});
  if (!list) {
    why = "cannot list devices: " + lister + " failed; look whether usbmuxd runs";
    return std::nullopt;
  }
  std::vector<PDXConnectedDevice> devices;
  for (const std::string& line : linesOf(*list)) {
    const auto names = linesOf(outputOf({lister, line}).value_or(""));
    devices.push_back({.deviceID = line, .name = names.empty() ? "" : names.front()});
  }
  return devices;
}
