#include "app/cli/Password.h"

#include <cstdlib>

#include "app/cli/Console.h"
#include "platform/Terminal.h"

namespace {

constexpr int kTries = 3;
constexpr const char* kVariable = "POCKETDEX_PASSWORD";

std::string_view textOf(const PDXSecret& secret) {
  return {reinterpret_cast<const char*>(secret.data()), secret.size()};
}

PDXExitStatus says(const std::string& text, PDXExitStatus status) {
  PDXConsole::error(text);
  return status;
}

/// Says what came of a password. `source` names where it came from.
PDXExitStatus judged(const PDXDeviceDataEncryption::Trial& trial, const std::string& backup,
                     const std::string& source) {
  switch (trial.unlocking) {
    case PDXUnlocking::opened:
      return PDXExitStatus::done;
    case PDXUnlocking::stopped:
      return PDXExitStatus::interrupted;
    case PDXUnlocking::damagedKeybag:
      return says("the key bag of " + backup + " is damaged (" + trial.why +
                      "), so that no password opens it; use another copy of the backup",
                  PDXExitStatus::noBackup);
    case PDXUnlocking::noPassword:
      return says("the password in " + source + " is empty: " + backup + " is encrypted and needs its own",
                  PDXExitStatus::password);
    case PDXUnlocking::wrongPassword:
      break;
  }
  return says("the password in " + source + " is wrong for " + backup +
                  ": it is the one that was set for the backups of this device",
              PDXExitStatus::password);
}

/// Asks on the terminal.
PDXExitStatus unlockByPrompt(PDXDeviceData& deviceData, const std::stop_token& stop) {
  for (int attempt = 1; attempt <= kTries; ++attempt) {
    const auto password = PDXTerminal::readHidden("Password of the backup: ", stop);
    if (stop.stop_requested()) return PDXExitStatus::interrupted;
    if (!password) break;
    const auto trial = deviceData.unlock(textOf(*password), stop);
    const bool isWorthAnother =
        trial.unlocking == PDXUnlocking::wrongPassword || trial.unlocking == PDXUnlocking::noPassword;
    if (!isWorthAnother || attempt == kTries) return judged(trial, deviceData.backupPath(), "the last try");
    PDXConsole::error(trial.unlocking == PDXUnlocking::noPassword ? "nothing was typed; try again"
                                                                  : "that password is wrong; try again");
  }
  return says("no password was given for " + deviceData.backupPath(), PDXExitStatus::password);
}

}  // namespace

PDXExitStatus unlockBackup(PDXDeviceData& deviceData, const std::string& passwordFile,
                           const std::stop_token& stop) {
  if (!deviceData.IsEncrypted()) return PDXExitStatus::done;
  const std::string& backup = deviceData.backupPath();
  if (passwordFile == "-" && PDXTerminal::isThere()) return unlockByPrompt(deviceData, stop);
  if (!passwordFile.empty()) {
    const std::string source = passwordFile == "-" ? "standard input" : passwordFile;
    const auto password = PDXTerminal::firstLineOf(passwordFile, stop);
    if (stop.stop_requested()) return PDXExitStatus::interrupted;
    if (!password) return says("cannot read the password from " + source, PDXExitStatus::usage);
    return judged(deviceData.unlock(textOf(*password), stop), backup, source);
  }
  if (const char* password = std::getenv(kVariable)) {
    return judged(deviceData.unlock(password, stop), backup, kVariable);
  }
  if (PDXTerminal::isThere()) return unlockByPrompt(deviceData, stop);
  const auto trial = deviceData.unlock("", stop);
  if (trial.unlocking == PDXUnlocking::damagedKeybag) return judged(trial, backup, "");
  return says(backup + " is encrypted: give its password with --password-file FILE or in " + kVariable,
              PDXExitStatus::password);
}
