#include "backup/BackupNavigation.h"

#include "platform/Crypto.h"

namespace {

struct Feature {
  int number;
  const char* domain;  ///< Null for the home domain, whose entries carry none.
  const char* path;
  const char* identifier;
};

constexpr const char* kWhatsApp = "AppDomainGroup-group.net.whatsapp.WhatsApp.shared";
constexpr const char* kChrome = "AppDomain-com.google.chrome.ios";

constexpr Feature kFeatures[] = {
    {PDXFeature::AddressBook, nullptr, "Library/AddressBook/AddressBook.sqlitedb",
     "31bb7ba8914766d4ba40d6dfb6113c8b614be442"},
    {PDXFeature::Calendar, nullptr, "Library/Calendar/Calendar.sqlitedb",
     "2041457d5fe04d39d0ab481178355df6781e6858"},
    {PDXFeature::LegacyNotes, nullptr, "Library/Notes/notes.sqlite",
     "ca3bc056d4da0bbf88b5fb3be254f3b7147e639c"},
    {PDXFeature::NoteStore, "AppDomainGroup-group.com.apple.notes", "NoteStore.sqlite",
     "4f98687d8ab0d6d1a371110e6b7300f6e465bef2"},
    {PDXFeature::Messages, nullptr, "Library/SMS/sms.db", "3d0d7e5fb2ce288813306e4d4636395e047a3d28"},
    {PDXFeature::Voicemail, nullptr, "Library/Voicemail/voicemail.db",
     "992df473bbb9e132f4b3b6e4d33f72171e97bc7a"},
    {PDXFeature::AddressBookImages, nullptr, "Library/AddressBook/AddressBookImages.sqlitedb",
     "cd6702cea29fe89cf280a76794405adb17f9a0ee"},
    {PDXFeature::CallHistoryLegacy, "WirelessDomain", "Library/CallHistory/call_history.db",
     "2b2b0084a1bc3a5ac8c27afdf14afb42c61a19ca"},
    {PDXFeature::SafariBookmarks, nullptr, "Library/Safari/Bookmarks.db",
     "d1f062e2da26192a6625d968274bfda8d07821e4"},
    {PDXFeature::SafariHistory, nullptr, "Library/Safari/History.plist",
     "1d6740792a2b845f4c1e6220c43906d7f0afe8ab"},
    {PDXFeature::MessagesPreferences, nullptr, "Library/Preferences/com.apple.MobileSMS.plist",
     "7ff7fe545440ab72b1570232d0ed81b84a5334dd"},
    {PDXFeature::WhatsAppChats, kWhatsApp, "ChatStorage.sqlite", "7c7fba66680ef796b916b067077cc246adacf01d"},
    {PDXFeature::WhatsAppContacts, kWhatsApp, "Contacts.sqlite", "ec50dd986a0f35953e40f6ca9602ad78173e254f"},
    {PDXFeature::CallHistoryStore, nullptr, "Library/CallHistoryDB/CallHistory.storedata",
     "5a4935c78a5255723f707230a451d79c540d2741"},
    {PDXFeature::BlockedNumbers, nullptr, "Library/Preferences/com.apple.cmfsyncagent.plist",
     "87e0d90ff42cd4c7453134571403103fb97af437"},
    {PDXFeature::CalendarSecondary, nullptr, "Library/Calendar/Calendar.sqlitedb",
     "2041457d5fe04d39d0ab481178355df6781e6858"},
    {PDXFeature::WhatsAppContactsV2, kWhatsApp, "ContactsV2.sqlite",
     "b8548dc30aa1030df0ce18ef08b882cf7ab5212f"},
    {PDXFeature::ChromeBookmarks, kChrome, "Library/Application Support/Google/Chrome/Default/Bookmarks",
     "b86f9316192b192e83486aa27aeafd54f4d12cbb"},
    {PDXFeature::ChromeHistory, kChrome, "Library/Application Support/Google/Chrome/Default/History",
     "faf971ce92c3ac508c018dce1bef2a8b8e9838f1"},
};

}  // namespace

PDXBackupNavigation::PDXBackupNavigation() {
  for (const Feature& feature : kFeatures) {
    PDXBackupFile file(feature.path, feature.identifier);
    if (feature.domain != nullptr) file.domain = feature.domain;
    featureKeyFiles_.emplace(feature.number, std::move(file));
  }
}

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigation::GetFilesByFeatureType(int feature) {
  const auto found = featureKeyFiles_.find(feature);
  if (found == featureKeyFiles_.end()) return std::nullopt;
  PDXBackupFile& keyFile = found->second;
  keyFile.isKeyFile = true;
  return std::vector{keyFile, createSiblingFileFromParentFileWithAppendix_(keyFile, "-wal"),
                     createSiblingFileFromParentFileWithAppendix_(keyFile, "-shm")};
}

std::optional<PDXBackupFile> PDXBackupNavigation::GetFileByRelativePathInDomain(const std::string&,
                                                                                const std::string&) {
  return std::nullopt;
}

std::optional<PDXBackupFile> PDXBackupNavigation::findFile(const std::string& path,
                                                           const std::string& domain) {
  return GetFileByRelativePathInDomain(path, domain);
}

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigation::GetFilesByDomain(const std::string&) {
  return std::nullopt;
}

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigation::GetAllFiles() { return std::nullopt; }

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigation::regularFiles() { return std::nullopt; }

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigation::listedFiles() { return std::nullopt; }

std::optional<std::vector<std::string>> PDXBackupNavigation::GetAllDomainNames() { return std::nullopt; }

std::optional<std::vector<PDXBackupFile>> PDXBackupNavigation::GetSubFolderContentInDomain(
    const std::optional<std::string>&, const std::string&) {
  return std::nullopt;
}

PDXBytes PDXBackupNavigation::GetEncryptionKeyForFileId(const std::string&) { return {}; }

PDXBackupFile PDXBackupNavigation::createSiblingFileFromParentFileWithAppendix_(const PDXBackupFile& parent,
                                                                                const std::string& appendix) {
  const std::string path = parent.relativePath + appendix;
  PDXBackupFile sibling(path, sha_1(path));
  sibling.domain = parent.domain;
  return sibling;
}

std::optional<PDXBackupFile> PDXBackupNavigationFileHash::GetFileByRelativePathInDomain(
    const std::string& path, const std::string& domain) {
  return PDXBackupFile(path, sha_1(path + domain), domain);
}
