#pragma once

class PDXConsole;
class PDXDeviceData;
class PDXOpenedBackup;

/// What `info` says of a backup, and `make` of the one that it made.
void printInfoText(const PDXConsole& console, const PDXOpenedBackup& found, PDXDeviceData& deviceData);
