#include "app/export/ContentKinds.h"

#include <algorithm>

#include "backup/BackupNavigation.h"
#include "backup/DeviceData.h"
#include "music/MusicLibraryFile.h"

namespace PDXContentKinds {

const std::vector<PDXContentKind>& all() {
  static const std::vector<PDXContentKind> kinds = {
      {"messages", "Messages", {PDXFeature::Messages}, true},
      {"whatsapp", "WhatsApp", {PDXFeature::WhatsAppChats}, false},
      {"contacts", "Contacts", {PDXFeature::AddressBook}, true},
      {"calendars", "Calendars", {PDXFeature::Calendar}, true},
      {"notes", "Notes", {PDXFeature::NoteStore, PDXFeature::LegacyNotes}, true},
      {"calls", "Calls", {PDXFeature::CallHistoryStore, PDXFeature::CallHistoryLegacy}, true},
      {"bookmarks", "Bookmarks", {PDXFeature::SafariBookmarks, PDXFeature::ChromeBookmarks}, true},
      {"music", "Music", {}, true},
      {"blocked", "Blocked numbers", {PDXFeature::BlockedNumbers}, true, true},
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

}  // namespace PDXContentKinds
