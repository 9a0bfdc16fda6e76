#include "contacts/ContactImageRetriever.h"

#include <optional>
#include <utility>

#include "backup/DeviceData.h"
#include "contacts/AddressBookImage.h"
#include "contacts/ContactsDatabase.h"
#include "platform/FileName.h"
#include "platform/Files.h"
#include "platform/Graphemes.h"
#include "platform/Log.h"
#include "platform/Text.h"

namespace {

constexpr int kSize = 48;

/// Larger files are no picture of a face.
constexpr std::uint64_t kMostBytes = std::uint64_t{64} << 20;

std::string initialOf(std::string_view word) {
  const std::string character = PDXGraphemes::first(word);
  return character.empty() ? "?" : PDXText::uppercased(character);
}

/// Whether the word is a telephone number rather than a name.
bool isNumber(std::string_view word) {
  const std::string character = PDXGraphemes::first(word);
  return character == "+" || PDXGraphemes::isDigit(character);
}

/// First and second name as the drawing takes them: the initials' two characters, or all of them.
std::pair<std::string, std::string> namesOf(const std::string& initials) {
  const std::size_t first = initials.find(' ');
  if (first == std::string::npos) return {initials, ""};
  return {initials.substr(0, first), initials.substr(initials.rfind(' ') + 1)};
}

/// The face that a picture's bytes give; empty when they are no picture that can be read.
PDXFacePicture faceOf(const PDXBytes& picture) {
  if (picture.empty()) return {};
  auto face = PDXAddressBookImage::generateAddressBookImageWithFirstNameSecondNameContactImageSize(
      "", "", picture, kSize);
  return face.value_or(PDXFacePicture());
}

PDXFacePicture drawnFace(const std::string& initials, const std::string& colourOf) {
  const auto [first, second] = namesOf(initials);
  auto face = PDXAddressBookImage::generateAddressBookImageWithFirstNameSecondNameContactImageSize(
      first, second, {}, kSize, colourOf);
  return std::move(*face);
}

void reportUnreadable(const std::string& whose) {
  PDXLog::report({.what = "picture of a contact",
                  .where = whose,
                  .why = "it is cut, damaged, too large or no picture; initials stand in for it"});
}

/// The cache's folder; nobody else may look into it.
bool makeCache() { return PDXFiles::makePrivateFolder(PDXFiles::joined(PDXFiles::temporary(), "pocketdex")); }

}  // namespace

PDXContactImageRetriever& PDXContactImageRetriever::defaultRetriever() {
  static PDXContactImageRetriever theRetriever;
  return theRetriever;
}

std::string PDXContactImageRetriever::cachePath() {
  return PDXFiles::joined(PDXFiles::temporary(), "pocketdex/message_temp/cache");
}

void PDXContactImageRetriever::setDeviceData(PDXDeviceData* deviceData) {
  clearCache();
  deviceData_ = deviceData;
}

PDXFacePicture PDXContactImageRetriever::imageForContact(const PDXContactSummary& contact) {
  const std::lock_guard guard(lock_);
  const std::string identifier = createIdentifierForContact_(contact);
  const auto known = paths_.find(identifier);
  if (known != paths_.end() && PDXFiles::exists(known->second)) {
    auto kept = PDXFaces::fromPng(PDXFiles::read(known->second, kMostBytes).value_or(PDXBytes()));
    if (kept) return std::move(*kept);
  }
  PDXFacePicture face = lookUp_(contact, Reading::throughScratch);
  const std::string path = pathFor_(identifier, contact);
  if (!saveImageAsPngToPath(face, path)) paths_.erase(identifier);
  return face;
}

std::string PDXContactImageRetriever::imagePathForContact(const PDXContactSummary& contact) {
  imageForContact(contact);
  const std::lock_guard guard(lock_);
  const auto known = paths_.find(createIdentifierForContact_(contact));
  return known == paths_.end() ? "" : known->second;
}

/// Where the identifier's face is kept. Addresses that differ may clean to the same name.
std::string PDXContactImageRetriever::pathFor_(const std::string& identifier,
                                               const PDXContactSummary& contact) {
  std::string& path = paths_[identifier];
  if (!path.empty()) return path;
  const std::string address = contact.address.empty() ? "0" : cleanFileName_(contact.address);
  const std::string initials = cleanFileName_(createInitialsFromName_(contact.name));
  const std::string folder = PDXFiles::joined(cachePath(), PDXFileName::safe(address));
  const std::string name = PDXFiles::joined(folder, PDXFileName::safe(initials));
  path = name + ".png";
  for (int i = 1; !taken_.insert(PDXText::caseFolded(path)).second; ++i) {
    path = name + " (" + std::to_string(i) + ").png";
  }
  return path;
}

void PDXContactImageRetriever::clearCache() {
  const std::lock_guard guard(lock_);
  paths_.clear();
  taken_.clear();
  exported_.clear();
  // Somebody else's folder is left alone.
  if (PDXFiles::isFolder(cachePath()) && makeCache()) PDXFiles::removeTree(cachePath());
}

bool PDXContactImageRetriever::saveImageAsPngToPath(const PDXFacePicture& image, const std::string& path) {
  const auto png = PDXFaces::asPng(image);
  if (!png || (path.starts_with(cachePath()) && !makeCache())) return false;
  if (!PDXFiles::makeFolders(PDXFiles::folderOf(path))) return false;
  PDXAtomicFile file(path);
  file.append({reinterpret_cast<const char*>(png->data()), png->size()});
  return file.commit();
}

std::optional<PDXBytes> PDXContactImageRetriever::pngOfFace(const PDXContactSummary& contact) {
  constexpr std::size_t kMostKept = 4000;  // Some ten megabytes.
  const std::string person = createIdentifierForContact_(contact) + '\n' + contact.name + '\n' +
                             contact.profileImageDomain + '\n' + contact.profileImagePath;
  {
    const std::lock_guard guard(lock_);
    if (const auto known = exported_.find(person); known != exported_.end()) return known->second;
  }
  // Unlocked, so that other threads go on; two that look for one person find the same.
  auto png = PDXFaces::asPng(lookUp_(contact, Reading::aside));
  if (!png) return std::nullopt;
  const std::lock_guard guard(lock_);
  if (exported_.size() >= kMostKept) exported_.clear();
  exported_.try_emplace(person, *png);
  return png;
}

PDXFacePicture PDXContactImageRetriever::faceOfEntry(const PDXContactEntry& contact) {
  const std::string name = contact.fullName ? *contact.fullName : contact.organisation().value_or("");
  const PDXBytes picture = PDXAddressBookImage::pictureOf(contact);
  PDXFacePicture face = faceOf(picture);
  if (!face.empty()) return face;
  if (!picture.empty()) reportUnreadable(name);
  return drawnFace(createInitialsFromName_(name), name);
}

PDXFacePicture PDXContactImageRetriever::lookUp_(const PDXContactSummary& contact, Reading reading) const {
  bool isUnreadable = false;
  const auto faceOrNote = [&isUnreadable](const PDXBytes& picture) {
    PDXFacePicture face = faceOf(picture);
    isUnreadable = isUnreadable || (face.empty() && !picture.empty());
    return face;
  };
  for (const char* extension : {"thumb", "jpg"}) {
    PDXFacePicture face = faceOrNote(profileImage_(contact, extension, reading));
    if (!face.empty()) return face;
  }
  if (const auto* entry = PDXContactsDatabase::getContactWithAddress(contact.address)) {
    PDXFacePicture face = faceOrNote(PDXAddressBookImage::pictureOf(*entry));
    if (!face.empty()) return face;
  }
  if (isUnreadable && reading == Reading::aside)
    reportUnreadable(contact.name.empty() ? contact.address : contact.name);
  // People without a name are told apart by the colour of their numbers.
  return drawnFace(createInitialsFromName_(contact.name),
                   contact.name.empty() ? contact.address : contact.name);
}

/// The profile picture's file; empty when the contact or the backup has none.
PDXBytes PDXContactImageRetriever::profileImage_(const PDXContactSummary& contact, const char* extension,
                                                 Reading reading) const {
  if (deviceData_ == nullptr || contact.profileImagePath.empty() || contact.profileImageDomain.empty())
    return {};
  const std::string path = contact.profileImagePath + "." + extension;
  const std::string& domain = contact.profileImageDomain;
  const auto bytesOf = [](const std::string& file) {
    return file.empty() ? PDXBytes() : PDXFiles::read(file, kMostBytes).value_or(PDXBytes());
  };
  if (reading == Reading::throughScratch) {
    return bytesOf(deviceData_->IsEncrypted() ? deviceData_->GetFileByRelativePathInDomain(path, domain)
                                              : deviceData_->LocateFileByRelativePathInDomain(path, domain));
  }
  if (!makeCache()) return {};
  const std::string folder =
      PDXFiles::makeUniqueFolder(PDXFiles::joined(PDXFiles::temporary(), "pocketdex/profile-"));
  if (folder.empty()) return {};
  const std::string copy = PDXFiles::joined(folder, "picture");
  const bool isCopied{deviceData_->copyOfFileByRelativePathInDomain(path, domain, copy)};
  PDXBytes picture = isCopied ? bytesOf(copy) : PDXBytes();
  PDXFiles::removeTree(folder);
  return picture;
}

std::string PDXContactImageRetriever::createInitialsFromName_(const std::string& name) {
  const std::string_view trimmed = PDXText::trimmed(name);
  const std::size_t firstBlank = trimmed.find(' ');
  const bool isOneWord = firstBlank == std::string_view::npos;
  const std::string_view lastWord = isOneWord ? trimmed : trimmed.substr(trimmed.rfind(' ') + 1);
  if (isNumber(lastWord)) return "#";
  const std::string last = initialOf(lastWord);
  return isOneWord ? last : initialOf(trimmed.substr(0, firstBlank)) + " " + last;
}

std::string PDXContactImageRetriever::createIdentifierForContact_(const PDXContactSummary& contact) {
  const std::string address = contact.address.empty() ? "?" : PDXText::replacedAll(contact.address, ":", " ");
  return address + ":" + createInitialsFromName_(contact.name);
}

std::string PDXContactImageRetriever::cleanFileName_(const std::string& name) {
  return PDXFileName::cleaned(name);
}
