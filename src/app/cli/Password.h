#pragma once

#include <stop_token>
#include <string>

#include "app/cli/ExitStatus.h"
#include "backup/DeviceData.h"

/// Opens an encrypted backup with the password from where the person put it: the first line of a file ("-":
/// of standard input), else the environment variable POCKETDEX_PASSWORD, else a prompt on the terminal, which
/// allows three tries. A plain backup needs none.
/// @param passwordFile  "" when none was named.
/// @return `done`, or the status of a failure after one line on standard error.
PDXExitStatus unlockBackup(PDXDeviceData& deviceData, const std::string& passwordFile,
                           const std::stop_token& stop);
