#include "app/export/MusicExport.h"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "app/export/FreeSpace.h"
#include "backup/DeviceData.h"
#include "music/MusicLibraryFile.h"
#include "music/PlaylistM3UGenerator.h"
#include "music/TrackCSVGenerator.h"
#include "music/TrackName.h"
#include "platform/FileName.h"
#include "platform/Files.h"
#include "platform/JsonText.h"
#include "platform/Text.h"

namespace {

constexpr const char* kFolder = "Music";
constexpr const char* kMediaRoot = "/var/mobile/Media/";
constexpr std::string_view kExtension = ".m3u8";

/// Where the files of tracks are, in the backup and in the export.
class TrackFiles {
 public:
  /// @param folder  where the export keeps them.
  TrackFiles(PDXDeviceData& deviceData, std::string folder)
      : deviceData_(deviceData), folder_(std::move(folder)) {
    const auto files = deviceData.listedFiles();
    if (!files) return;
    for (const PDXBackupFile& file : *files) {
      if (file.domain == PDXMusicLibraryFile::kDomain) listed_.insert(file.relativePath);
    }
  }

  /// A file that the backup holds.
  struct Held {
    std::string backupPath;  ///< In the media domain.
    std::string path;        ///< Below the folder of the export.
  };

  /// Null when the backup does not hold it.
  const Held* held(const std::string& filePath) {
    if (const auto known = held_.find(filePath); known != held_.end()) return &known->second;
    if (listed_.empty()) return nullptr;
    for (const char* folder : {"Media/", ""}) {
      const std::string path = folder + filePath;
      if (!listed_.contains(path)) continue;
      if (!deviceData_.holdsFileByRelativePathInDomain(path, PDXMusicLibraryFile::kDomain)) continue;
      return &held_.try_emplace(filePath, Held{path, freePath(filePath)}).first->second;
    }
    return nullptr;
  }

  /// As the table names it; "" when the track has no file.
  std::string nameOf(const TrackItem& track) {
    if (!track.filePath) return "";
    const Held* file = held(*track.filePath);
    return file != nullptr ? file->path : kMediaRoot + *track.filePath;
  }

  /// How many files of the tracks that were asked for the backup holds.
  std::size_t heldCount() const { return held_.size(); }

 private:
  enum class Kind { file, folder };

  /// The device's path, each part of it made safe. Nothing stands where something else does, nor where a
  /// folder of another file or a list of ours has to be.
  std::string freePath(const std::string& filePath) {
    const std::size_t slash = filePath.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : freeFolder(filePath.substr(0, slash)) + "/";
    const std::string name = PDXFileName::safeWithExtension(filePath.substr(slash + 1));
    const std::string type(PDXText::pathExtension(name));
    const std::string stem = type.empty() ? name : name.substr(0, name.size() - type.size() - 1);
    return freeOf(folder + stem, type.empty() ? "" : "." + type, Kind::file);
  }

  std::string freeFolder(const std::string& devicePath) {
    constexpr int kMostParts = 12;  // A path that the file system refuses would end the whole export.
    std::string path;
    std::size_t begin = 0;
    for (int i = 0; i < kMostParts && begin <= devicePath.size(); ++i) {
      const std::size_t end = std::min(devicePath.find('/', begin), devicePath.size());
      const auto [known, isNew] = folders_.try_emplace(devicePath.substr(0, end));
      if (isNew) {
        const std::string part = PDXFileName::safe(devicePath.substr(begin, end - begin));
        if (!path.empty()) path += '/';
        path += part;
        known->second = freeOf(path, "", Kind::folder);
      }
      path = known->second;
      begin = end + 1;
    }
    return path;
  }

  std::string freeOf(const std::string& stem, const std::string& ending, Kind kind) {
    // The search goes on behind the last counter given out: thousands of names may differ in their cut ends.
    unsigned& counter = counters_[PDXText::caseFolded(stem + ending)];
    for (;; ++counter) {
      std::string path = withCounter(stem, counter, ending);
      const std::string folded = PDXText::caseFolded(path);
      if (isOfOurs(folded) || isOfOthers(path, kind)) continue;
      const auto [place, isNew] = taken_.try_emplace(folded, kind);
      if (isNew || (kind == Kind::folder && place->second == kind)) return path;
    }
  }

  /// The last part of the path, counter and ending included, is a safe name.
  static std::string withCounter(const std::string& stem, unsigned counter, const std::string& ending) {
    if (counter == 0) return stem + ending;
    const std::size_t name = stem.rfind('/') + 1;
    return stem.substr(0, name) + PDXFileName::counted(stem.substr(name) + ending, counter, !ending.empty());
  }

  bool isOfOthers(const std::string& path, Kind kind) const {
    const std::string place = PDXFiles::joined(folder_, path);
    return kind == Kind::file ? PDXFiles::isTaken(place) : PDXFiles::freeFolder(place) != place;
  }

  /// Whether a table or a playlist of the export may have that name.
  static bool isOfOurs(const std::string& folded) {
    return folded.find('/') == std::string::npos && (folded == "tracks.csv" || folded.ends_with(kExtension));
  }

  PDXDeviceData& deviceData_;
  std::string folder_;
  std::unordered_set<std::string> listed_;
  std::unordered_map<std::string, Held> held_;
  std::unordered_map<std::string, std::string> folders_;  ///< By the device's paths.
  std::unordered_map<std::string, unsigned> counters_;    ///< By the folded path without one.
  std::unordered_map<std::string, Kind> taken_;           ///< By the folded path.
};

class Writer {
 public:
  Writer(PDXDeviceData& deviceData, const PDXMusicLibrary& library, const PDXExportOptions& options,
         PDXKindReport& kind, PDXExportReport& report, std::stop_token stop)
      : deviceData_(deviceData),
        library_(library),
        options_(options),
        folder_(PDXFiles::freeFolder(PDXFiles::joined(options.outputFolder, kFolder))),
        kind_(kind),
        report_(report),
        stop_(std::move(stop)),
        files_(deviceData, folder_) {
    names_.reserve(library.tracks.size());
    for (const TrackItem& track : library.tracks) names_.push_back(files_.nameOf(track));
    if (!options.withFiles) kind_.entries->notCopied = files_.heldCount();
  }

  bool writeTable() {
    PDXAtomicFile file(PDXFiles::freePath(PDXFiles::joined(folder_, "Tracks.csv")));
    file.append(PDXTrackCSVGenerator::header());
    PDXLocalTimes times;
    std::string row;
    for (std::size_t i = 0; i < library_.tracks.size(); ++i) {
      row.clear();
      PDXTrackCSVGenerator::appendRow(row, library_.tracks[i], names_[i], times);
      file.append(row);
    }
    return commit(file, "Tracks as a table", library_.tracks.size());
  }

  bool writePlaylists() {
    const auto placeFor = [&](const std::string& name) {
      return PDXFiles::joined(folder_, name) + std::string(kExtension);
    };
    PDXUniqueFileNames fileNames(kExtension.size(),
                                 [&](const std::string& name) { return PDXFiles::isTaken(placeFor(name)); });
    for (const PDXMusicLibrary::Playlist& playlist : library_.playlists) {
      PDXAtomicFile file(placeFor(fileNames.nameFor(playlist.playlist.name)));
      file.append(PDXPlaylistM3UGenerator::beginning(playlist.playlist));
      std::string entry;
      for (const std::size_t place : playlist.tracks) {
        entry.clear();
        PDXPlaylistM3UGenerator::appendTrack(entry, library_.tracks[place], inExport(place));
        file.append(entry);
      }
      const std::string& title = playlist.playlist.name;
      if (!commit(file, title.empty() ? "Untitled" : title, playlist.tracks.size())) return false;
    }
    return true;
  }

  bool copyFiles(const PDXProgressSink& progress) {
    kind_.entries->files = 0;
    if (const auto room = roomForFiles(); !room) {
      report_.noteUnwritten(kind_, folder_, room);
      return false;
    }
    std::unordered_set<std::string> done;
    for (std::size_t i = 0; i < library_.tracks.size(); ++i) {
      const TrackItem& track = library_.tracks[i];
      if (track.filePath && done.insert(*track.filePath).second && !copyFile(track)) return false;
      if (progress) progress(kFolder, i + 1, library_.tracks.size());
    }
    return true;
  }

 private:
  using Outcome = PDXFiles::CopyResult::Outcome;

  /// The path of a track's file below the playlist's folder; "" when the backup does not hold it. The
  /// device's own path may lead anywhere on the computer where the playlist is played.
  std::string inExport(std::size_t place) {
    const TrackItem& track = library_.tracks[place];
    return track.filePath && files_.held(*track.filePath) != nullptr ? names_[place] : "";
  }

  PDXFiles::CopyResult roomForFiles() {
    std::vector<std::string> paths;
    std::unordered_set<std::string> done;
    for (const TrackItem& track : library_.tracks) {
      const TrackFiles::Held* held = track.filePath ? files_.held(*track.filePath) : nullptr;
      if (held == nullptr || !done.insert(held->backupPath).second) continue;
      // What is there already is replaced.
      if (!PDXFiles::exists(PDXFiles::joined(folder_, held->path))) paths.push_back(held->backupPath);
    }
    return PDXFreeSpace(deviceData_, options_, PDXMusicLibraryFile::kDomain).roomFor(paths, "");
  }

  bool copyFile(const TrackItem& track) {
    const std::string what = "file of a track";
    const std::string where = PDXTrackName::shown(track);
    const TrackFiles::Held* held = files_.held(*track.filePath);
    if (held == nullptr) {
      kind_.missing.push_back(
          {.what = what, .where = where, .why = "the backup does not hold " + *track.filePath});
      return !stop_.stop_requested();
    }
    const std::string target = PDXFiles::joined(folder_, held->path);
    const auto copied = deviceData_.copyOfFileByRelativePathInDomain(
        held->backupPath, PDXMusicLibraryFile::kDomain, target, stop_);
    if (copied) {
      ++*kind_.entries->files;
    } else if (copied.outcome == Outcome::writeFailed || copied.outcome == Outcome::notMade) {
      report_.noteUnwritten(kind_, target, copied);
    } else if (copied.outcome != Outcome::stopped) {
      kind_.unreadable.push_back({.what = what, .where = where, .why = copied.why});
    }
    return goesOn();
  }

  /// Whether to go on.
  bool commit(PDXAtomicFile& file, const std::string& title, std::size_t entries) {
    if (stop_.stop_requested()) return false;
    if (report_.commit(file, kind_))
      kind_.written.push_back({.title = title, .path = options_.relative(file.path()), .entries = entries});
    return goesOn();
  }

  bool goesOn() const { return report_.goesOn() && !stop_.stop_requested(); }

  PDXDeviceData& deviceData_;
  const PDXMusicLibrary& library_;
  const PDXExportOptions& options_;
  std::string folder_;
  PDXKindReport& kind_;
  PDXExportReport& report_;
  std::stop_token stop_;
  TrackFiles files_;
  std::vector<std::string> names_;  ///< Of the tracks' files, as the table names them.
};

/// A readable copy of a playlist that the device keeps as a file; "" when the backup does not hold it.
std::string playlistFile(PDXDeviceData& deviceData, const std::string& libraryCopy, std::string path) {
  if (path.starts_with(kMediaRoot)) path.erase(0, std::string_view(kMediaRoot).size());
  while (path.starts_with('/')) path.erase(0, 1);
  std::string copy = PDXFiles::joined(PDXFiles::folderOf(libraryCopy), "playlist");
  for (const char* folder : {"Media/", ""}) {
    if (deviceData.copyOfFileByRelativePathInDomain(folder + path, PDXMusicLibraryFile::kDomain, copy))
      return copy;
  }
  return "";
}

PDXRowAccount accountOf(const PDXMusicLibrary& library) {
  PDXRowAccount account{
      .rows = *library.rows, .repeated = 0, .leftOut = {{"no music", library.noMusic}}, .unaccounted = 0};
  account.unaccounted = static_cast<std::int64_t>(account.rows) -
                        static_cast<std::int64_t>(library.noMusic + library.tracks.size());
  return account;
}

}  // namespace

std::optional<PDXMusicLibrary> PDXMusicExport::read(PDXDeviceData& deviceData,
                                                    const std::string& libraryFile) {
  const std::string copy = libraryFile.empty() ? PDXMusicLibraryFile::copyOfBackup(deviceData)
                                               : PDXMusicLibraryFile::copyOfFile(libraryFile);
  if (copy.empty()) return std::nullopt;
  return MusicIOSDeviceDataReader(
             copy, [&](const std::string& path) { return playlistFile(deviceData, copy, path); })
      .everything();
}

void PDXMusicExport::appendJson(std::string& json, const TrackItem& track) {
  PDXJsonObjectText object(json);
  object.text("identifier", std::string_view(track.identifier));
  object.text("name", std::string_view(track.name));
  object.text("album", std::string_view(track.album));
  object.text("artist", std::string_view(track.artist));
  object.text("albumArtist", std::string_view(track.albumArtist));
  object.text("genre", std::string_view(track.genre));
  object.number("year", track.year);
  object.number("trackCount", track.trackCount);
  object.number("trackNumber", track.trackNumber);
  object.number("diskCount", track.diskCount);
  object.number("diskNumber", track.diskNumber);
  object.number("duration", track.duration);
  object.number("size", track.size);
  object.date("dateAdded", track.dateAdded);
  object.date("datePlayed", track.datePlayed);
  object.number("playCount", track.playCount);
  object.number("rating", track.rating);
  object.text("filePath", track.filePath);
  object.flag("isAvailableOnDevice", track.isAvailableOnDevice);
  object.flag("isLiked", track.isLiked);
  object.flag("isExplicit", track.isExplicit);
  object.text("artworkPath", track.artworkPath);
}

PDXKindReport PDXMusicExport::run(PDXDeviceData& deviceData, const PDXExportOptions& options,
                                  PDXExportReport& report, const PDXProgressSink& progress,
                                  const std::stop_token& stop) {
  PDXKindReport kind;
  kind.kind = "music";
  kind.title = kFolder;
  kind.entries = PDXEntriesReport{.one = "track", .many = "tracks", .written = 0, .rows = {}};
  const std::string store = options.libraryFile.empty()
                                ? "MediaLibrary.sqlitedb"
                                : std::string(PDXText::lastPathComponent(options.libraryFile));
  kind.accounts = {PDXStoreAccount::of(store, std::nullopt, 0)};
  const auto library = read(deviceData, options.libraryFile);
  if (!library) return kind;
  kind.found = library->tracks.size();
  if (kind.found > 0 || !library->playlists.empty()) {
    Writer writer(deviceData, *library, options, kind, report, stop);
    if (!writer.writeTable() || !writer.writePlaylists()) return kind;
    if (options.withFiles && !writer.copyFiles(progress)) return kind;
  }
  kind.entries->written = library->tracks.size();
  if (library->rows) kind.entries->rows = accountOf(*library);
  kind.accounts = {PDXStoreAccount::of(store, kind.entries->rows, kind.entries->written)};
  return kind;
}
