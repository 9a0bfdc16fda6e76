#pragma once

#include <optional>
#include <stop_token>
#include <string>

#include "app/export/ExportOptions.h"
#include "app/export/ExportReport.h"
#include "music/MusicIOSDeviceDataReader.h"

class PDXDeviceData;

namespace PDXMusicExport {

/// @param libraryFile  of a library outside the backup; "" for the backup's own.
/// Nothing when it cannot be read, which the log says.
std::optional<PDXMusicLibrary> read(PDXDeviceData& deviceData, const std::string& libraryFile);

/// Appends a track as a JSON object. Its keys are the record's field names.
void appendJson(std::string& json, const TrackItem& track);

/// Writes "Music/Tracks.csv", "Music/<playlist>.m3u8" for each playlist and, if asked for, the tracks' files
/// that the backup holds, in the folders in which the device has them. Paths in the playlists lead to them;
/// those of other files are the device's own.
/// @param report  receives the failure when one cannot be written.
PDXKindReport run(PDXDeviceData& deviceData, const PDXExportOptions& options, PDXExportReport& report,
                  const PDXProgressSink& progress, const std::stop_token& stop);

}  // namespace PDXMusicExport
