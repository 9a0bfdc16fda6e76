#include "music/MusicLibraryFile.h"

#include "backup/DeviceData.h"
#include "music/MusicIOSDeviceDataReader.h"
#include "platform/Crypto.h"
#include "platform/Files.h"
#include "platform/Log.h"
#include "platform/Text.h"

namespace {

constexpr const char* kLog = "-wal";

std::string libraryPath(const std::string& mediaFolder) {
  return mediaFolder + MusicIOSDeviceDataReader::wantedFolder() + "/" +
         MusicIOSDeviceDataReader::wantedFiles().front();
}

/// The copy's path in a folder of its own, in which no log of another library lies.
std::string freshCopyPath(const std::string& name) {
  const std::string folder = PDXFiles::joined(PDXDeviceData::TemporaryExtractPath(), "music");
  PDXFiles::removeTree(folder);
  PDXFiles::makePrivateFolder(folder);
  return PDXFiles::joined(folder, name);
}

std::string finished(const std::string& copy, const PDXFiles::CopyResult& copied, const std::string& where) {
  const std::string why = copied ? PDXSQLiteDatabase::completeCutFile(copy) : copied.why;
  if (!why.empty()) PDXLog::report({.what = "music", .where = where, .why = why});
  return copied ? copy : "";
}

}  // namespace

namespace PDXMusicLibraryFile {

std::optional<std::string> mediaFolder(PDXDeviceData& deviceData) {
  for (const char* folder : {"Media/", ""}) {
    const std::string path = libraryPath(folder);
    const std::string identifier = sha_1(std::string(kDomain) + "-" + path);
    if (!deviceData.storedFile(PDXBackupFile(path, identifier, kDomain)).path.empty()) return folder;
  }
  return std::nullopt;
}

bool reportIfLost(PDXDeviceData& deviceData) {
  if (mediaFolder(deviceData)) return false;
  return deviceData.reportIfLost(libraryPath("Media/"), kDomain) ||
         deviceData.reportIfLost(libraryPath(""), kDomain);
}

std::string copyOfBackup(PDXDeviceData& deviceData) {
  const auto folder = mediaFolder(deviceData);
  if (!folder) return "";
  const std::string path = libraryPath(*folder);
  const std::string copy = freshCopyPath(MusicIOSDeviceDataReader::wantedFiles().front());
  const auto copied = deviceData.copyOfFileByRelativePathInDomain(path, kDomain, copy);
  if (copied && deviceData.holdsFileByRelativePathInDomain(path + kLog, kDomain))
    deviceData.copyOfFileByRelativePathInDomain(path + kLog, kDomain, copy + kLog);
  return finished(copy, copied, path);
}

std::string copyOfFile(const std::string& path) {
  const std::string copy = freshCopyPath(std::string(PDXText::lastPathComponent(path)));
  const auto copied = PDXFiles::copy(path, copy);
  if (copied && PDXFiles::isRegularFile(path + kLog)) PDXFiles::copy(path + kLog, copy + kLog);
  return finished(copy, copied, path);
}

}  // namespace PDXMusicLibraryFile
