#include "app/export/ContentKinds.h"

#include <algorithm>

#include "backup/BackupNavigation.h"
#include "backup/DeviceData.h"
#include "music/MusicLibraryFile.h"

namespace PDXContentKinds {

const std::vector<PDXContentKind>& all() {
  static const std::vector<PDXContentKind> kinds = {
      {.name = "messages",
       .title = "Messages",
       .features = {PDXFeature::Messages},
       .isBuilt = true,
       .takesRange = true,
       .takesSearch = true},
      {.name = "whatsapp",
       .title = "WhatsApp",
       .features = {PDXFeature::WhatsAppChats},
       .isBuilt = false,
       .takesRange = true,
       .takesSearch = true},
      {.name = "contacts",
       .title = "Contacts",
       .features = {PDXFeature::AddressBook},
       .isBuilt = true,
       .takesSearch = true},
      {.name = "calendars",
       .title = "Calendars",
       .features = {PDXFeature::Calendar},
       .isBuilt = true,
       .takesRange = true},
      {.name = "notes",
       .title = "Notes",
       .features = {PDXFeature::NoteStore, PDXFeature::LegacyNotes},
       .isBuilt = true,
       .takesSearch = true},
      {.name = "calls",
       .title = "Calls",
       .features = {PDXFeature::CallHistoryStore, PDXFeature::CallHistoryLegacy},
       .isBuilt = true,
       .takesRange = true},
      {.name = "bookmarks",
       .title = "Bookmarks",
       .features = {PDXFeature::SafariBookmarks, PDXFeature::ChromeBookmarks},
       .isBuilt = true,
       .takesSearch = true},
      {.name = "music", .title = "Music", .features = {}, .isBuilt = true},
      {.name = "blocked",
       .title = "Blocked numbers",
       .features = {PDXFeature::BlockedNumbers},
       .isBuilt = true,
       .isListOnly = true},
  };
  return kinds;
}

const PDXContentKind* named(const std::string& name) {
  const auto found =
      std::find_if(all().begin(), all().end(), [&](const PDXContentKind& kind) { return kind.name == name; });
  return found == all().end() ? nullptr : &*found;
}

bool isHeldBy(PDXDeviceData& deviceData, const PDXContentKind& kind) {
  if (kind.name == "music") return PDXMusicLibraryFile::mediaFolder(deviceData).has_value();
  return std::any_of(kind.features.begin(), kind.features.end(),
                     [&](int feature) { return deviceData.holdsFeature(feature); });
}

bool reportLostFiles(PDXDeviceData& deviceData, const PDXContentKind& kind) {
  bool isLost = kind.name == "music" && PDXMusicLibraryFile::reportIfLost(deviceData);
  for (const int feature : kind.features) isLost = deviceData.reportIfLost(feature) || isLost;
  return isLost;
}

}  // namespace PDXContentKinds
