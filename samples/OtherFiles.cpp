#include "samples/OtherFiles.h"

#include <string_view>

#include "platform/PropertyList.h"
#include "samples/Pictures.h"

namespace {

using List = PDXPropertyList;

constexpr int kPhotographs = 12;

List::Dictionary blockedNumber(const char* number) {
  return {{"__kCMFItemPhoneNumberCountryCodeKey", "gb"},
          {"__kCMFItemPhoneNumberUnformattedKey", number},
          {"__kCMFItemTypeKey", 0},
          {"__kCMFItemVersionKey", 1}};
}

List::Dictionary blockedAddress(const char* address) {
  return {{"__kCMFItemEmailUnformattedKey", address}, {"__kCMFItemTypeKey", 1}, {"__kCMFItemVersionKey", 1}};
}

/// The second and third number belong to contacts, the third in another spelling than on its card; the
/// fourth, again spelled differently, has written messages.
List blockList() {
  return List::Dictionary{
      {"__kCMFBlockListStoreTopLevelKey",
       List::Dictionary{{"__kCMFBlockListStoreArrayKey",
                         List::Array{blockedNumber("+447700900991"), blockedNumber("+447700900123"),
                                     blockedNumber("07700 900106"), blockedNumber("07700900871"),
                                     blockedAddress("prizes@example.net")}},
                        {"__kCMFBlockListStoreRevisionKey", 5},
                        {"__kCMFBlockListStoreRevisionTimestampKey", kSampleNow - std::chrono::days(20)},
                        {"__kCMFBlockListStoreTypeKey", "com.apple.cmfsyncagent.storedata"},
                        {"__kCMFBlockListStoreVersionKey", 1}}}};
}

struct Preferences {
  std::string_view file;
  List::Dictionary entries;
};

std::vector<Preferences> preferences() {
  return {{"com.apple.springboard", {{"SBIconVisibility", true}, {"SBLanguageRestart", false}}},
          {"com.apple.MobileSMS", {{"KeepMessageForDays", 365}, {"ReadReceiptsEnabled", true}}},
          {"com.apple.mobilephone", {{"LastSelectedTab", 2}}},
          {"com.apple.AppStore", {{"LastLaunch", kSampleNow - std::chrono::days(3)}}},
          {"com.apple.Maps", {{"LastViewedLatitude", 50.26}, {"LastViewedLongitude", -5.05}}},
          {"com.apple.camera", {{"CameraLastMode", 0}, {"CameraGrid", true}}},
          {"com.apple.mobiletimer", {{"Alarms", List::Array{"06:45", "07:30"}}}},
          {"com.apple.weather", {{"Cities", List::Array{"Port Averil", "Stonebridge"}}}},
          {"com.apple.preferences.sounds", {{"ringtone", "system:Harbour"}, {"vibrate", true}}},
          {".GlobalPreferences", {{"AppleLanguages", List::Array{"en-GB"}}, {"AppleLocale", "en_GB"}}}};
}

struct TextFile {
  const char* domain;
  const char* path;
  const char* text;
};

constexpr TextFile kTextFiles[] = {
    {"AppDomain-com.example.travelbook", "Documents/Saltmarsh 2023.txt",
     "Saltmarsh, August\n\nBoat at 11:20.\n"},
    {"AppDomain-com.example.travelbook", "Documents/Ann's list.txt", "Tent\nStove\nGreen scarf\n"},
    {"AppDomain-com.example.travelbook", "Documents/Routes/Lake.gpx",
     "<?xml version=\"1.0\"?>\n<gpx version=\"1.1\" creator=\"travelbook\"><wpt lat=\"50.26\" "
     "lon=\"-5.05\"/></gpx>\n"},
    {"AppDomain-com.example.travelbook", "Library/Application Support/index.json",
     "{\"trips\":[\"Saltmarsh\",\"Lake\"]}\n"},
    {"AppDomain-com.example.recipes", "Documents/Soup.md",
     "# Soup\n\nOnion, two carrots, ½ l stock. Patience & butter.\n"},
    {"AppDomain-com.example.recipes", "Documents/Crêpes à la crème.md",
     "# Crêpes\n\n250 g flour, 4 eggs, ½ l milk\n"},
    {"AppDomain-com.example.recipes", "Library/Caches/.keep", ""},
    {"AppDomainGroup-group.com.example.travelbook", "shared.json", "{\"lastTrip\":\"Saltmarsh\"}\n"},
    {"AppDomainPlugin-com.example.travelbook.widget", "Documents/state.json", "{\"size\":\"small\"}\n"},
    {"HomeDomain", "Library/Keyboard/en-dynamic.lm/words.txt", "saltmarsh\ncauseway\navocet\n"},
    {"HomeDomain", "Library/Safari/Tabs.json", "[\"https://www.example.com/\"]\n"},
    {"SystemPreferencesDomain", "SystemConfiguration/note.txt", "en0\n"},
    {"RootDomain", "Library/Preferences/marker", "1\n"}};

}  // namespace

namespace PDXSampleOtherFiles {

std::vector<std::string> applications() { return {"com.example.travelbook", "com.example.recipes"}; }

void addPreferences(PDXSampleBackupFolder& folder) {
  const std::string prefix = "Library/Preferences/";
  for (const Preferences& list : preferences()) {
    folder.addFile("HomeDomain", prefix + std::string(list.file) + ".plist", List(list.entries).binary());
  }
  folder.addFile("HomeDomain", prefix + "com.apple.cmfsyncagent.plist", blockList().binary());
  for (const std::string& bundle : applications()) {
    folder.addFile("AppDomain-" + bundle, prefix + bundle + ".plist",
                   List(List::Dictionary{{"HasLaunchedBefore", true}}).binary());
  }
}

void addPhotographs(PDXSampleBackupFolder& folder, std::uint64_t seed, const std::stop_token& stop) {
  for (int i = 0; i < kPhotographs && !stop.stop_requested(); ++i) {
    const auto scene = static_cast<PDXSamplePictures::Scene>(i % 4);
    const PDXRaster picture =
        PDXSamplePictures::scene(scene, 640, 480, seed * 100 + static_cast<std::uint64_t>(i));
    const auto file = PDXImages::encoded(picture, PDXPictureFormat::jpeg);
    const std::string name = "Media/DCIM/100APPLE/IMG_" + std::to_string(2041 + i) + ".JPG";
    if (file) folder.addFile("CameraRollDomain", name, *file, kSampleNow - std::chrono::days(200 - 15 * i));
  }
}

void addApplications(PDXSampleBackupFolder& folder) {
  for (const TextFile& file : kTextFiles) folder.addFile(file.domain, file.path, std::string_view(file.text));
  folder.addLink("AppDomain-com.example.travelbook", "Library/Shared", "../Documents/Routes");
  folder.addLink("HomeDomain", "Library/Logs", "/var/logs");
  folder.addFolder("HomeDomain", "Library/Voicemail");
  folder.addFolder("MediaDomain", "Library/SMS/StickerCache");
}

}  // namespace PDXSampleOtherFiles
