#include "messages/ConversationExporterUtilities.h"

#include <re2/re2.h>

#include <algorithm>
#include <atomic>

#include "backup/DeviceData.h"
#include "contacts/ContactImageRetriever.h"
#include "contacts/ContactsDatabase.h"
#include "messages/SharedLocation.h"
#include "platform/FileName.h"
#include "platform/Files.h"
#include "platform/Images.h"
#include "platform/Localisation.h"
#include "platform/LocationPicture.h"
#include "platform/Text.h"
#include "platform/UprightPicture.h"

namespace {

/// "((?:(?:https?|ftp):\/\/)?([\w_-]+(?:(?:\.[\w_-]+)+))([\w.,@?^=%&:/~+#-]*[\w@?^=%&/~+#-])?)" in a dialect
/// where \w means ASCII only, so its letters, marks, digits and connectors are spelled out.
#define PDX_WORD R"(\p{L}\p{M}\p{Nd}\p{Pc})"
const RE2& webAddress() {
  static const RE2 expression(R"(((?:(?:https?|ftp)://)?(?:[)" PDX_WORD R"(_-]+(?:(?:\.[)" PDX_WORD
                              R"(_-]+)+))(?:[)" PDX_WORD R"(.,@?^=%&:/~+#-]*[)" PDX_WORD
                              R"(@?^=%&/~+#-])?))");
  return expression;
}
#undef PDX_WORD

std::string link(std::string_view address, bool disableLinks) {
  std::string text(address);
  if (disableLinks) return "<span style=\"text-decoration:underline;\">" + text + "</span>";
  const std::string target = text.starts_with("http") ? text : "http://" + text;
  return "<a href=\"" + target + "\">" + text + "</a>";
}

std::string letterFor(std::int32_t value, const std::vector<std::string>& letters) {
  return value >= 0 && static_cast<std::size_t>(value) < letters.size()
             ? letters[static_cast<std::size_t>(value)]
             : "";
}

std::string dayPart(const char* prefix, const std::optional<PDXDate>& date) {
  return date ? prefix + PDXDateFormatter("yyy-MM-dd").text(*date) + "-" : "";
}

/// A face as the page's media folder keeps it; "" when it cannot be written.
std::string saveFace(const PDXMessageParticipant& participant, const std::string& folder,
                     std::size_t number) {
  const auto face = PDXContactImageRetriever::defaultRetriever().pngOfFace(
      {.name = participant.name(),
       .address = participant.address(),
       .profileImagePath = participant.profileImagePath,
       .profileImageDomain = participant.profileImageDomain});
  if (!face || !PDXFiles::makeFolders(folder)) return "";
  PDXAtomicFile file(
      PDXFiles::freePath(PDXFiles::joined(folder, "Contact " + std::to_string(number) + ".png")));
  file.append({reinterpret_cast<const char*>(face->data()), face->size()});
  return file.commit() ? file.path() : "";
}

}  // namespace

std::string PDXConversationExporterUtilities::temporaryMessageDirectory() {
  return PDXFiles::joined(PDXDeviceData::TemporaryExtractPath(), "message_temp");
}

void PDXConversationExporterUtilities::appendTextToFileHandle(std::string_view text, PDXAtomicFile& file) {
  file.append(text);
}

std::string PDXConversationExporterUtilities::determineSavePathForConversationOptionsExtensionIsCached(
    const PDXMessagesConversation& conversation, PDXConversationExportOptions& options,
    const std::string& extension, bool* isCached) {
  if (!options.path.empty()) return options.path;
  options.isPreview = true;
  const std::string folder = PDXFiles::joined(temporaryMessageDirectory(), "preview");
  PDXFiles::makeFolders(folder);
  const std::string name = createFilenameForConversationWithExportOptions(conversation, options);
  std::string path = PDXFiles::joined(folder, PDXFileName::safeWithExtension(name + "." + extension));
  if (isCached != nullptr) *isCached = PDXFiles::exists(path);
  return path;
}

std::string PDXConversationExporterUtilities::createFilenameForConversationWithExportOptions(
    const PDXMessagesConversation& conversation, const PDXConversationExportOptions& options) {
  const std::string title = conversation.title();
  std::string name = title.empty() ? "Conversation" : cleanFileName(title);
  name += "_" + dayPart("S-", options.startDate) + dayPart("E-", options.endDate);
  if (options.includeMessageContactNumber) name += "CN";
  if (options.includeContactImages) name += "CI";
  name += letterFor(options.messageOrder, {"ON", "NO"});
  name += letterFor(options.exportLayout, {"LS", "LC"});
  name += letterFor(options.fontSizeStyle, {"FS", "FM", "FL", "FX"});
  if (options.onlyShowMessagesMatchingSearch) name += "MS";
  return name + "_" + std::to_string(conversation.conversationId());
}

std::string PDXConversationExporterUtilities::cleanFileName(const std::string& name) {
  return PDXFileName::cleaned(name);
}

std::string PDXConversationExporterUtilities::getReadStatusTextForMessage(const PDXMessageDetail& message) {
  if (message.readStatus == 2) return PDXLocalised("Delivered");
  return message.readStatus == 3 ? PDXLocalised("Read") : "";
}

const PDXMessageParticipant* PDXParticipantCache::find(const std::string& address,
                                                       const PDXMessagesConversation& conversation) {
  const auto [known, isNew] = found_.try_emplace(address, nullptr);
  if (!isNew) return known->second;
  if (!std::exchange(isReady_, true)) makeReady_(conversation);
  const auto sameText = byText_.find(address);
  if (sameText != byText_.end()) {
    known->second = sameText->second;
  } else if (const auto place = byNumber_.firstEqualTo(address)) {
    known->second = &conversation.participants[*place];
  }
  return known->second;
}

void PDXParticipantCache::makeReady_(const PDXMessagesConversation& conversation) {
  for (const PDXMessageParticipant& participant : conversation.participants) {
    byText_.try_emplace(participant.address(), &participant);
    byNumber_.add(participant.address());
  }
}

const PDXMessageParticipant*
PDXConversationExporterUtilities::determineParticipantFromAddressInConversationWithCache(
    const std::string& address, const PDXMessagesConversation& conversation, PDXParticipantCache& cache) {
  return cache.find(address, conversation);
}

std::string PDXConversationExporterUtilities::
    determineParticipantNameFromAddressInConversationWithCacheIncludeContactNumber(
        const std::string& address, const PDXMessagesConversation& conversation, PDXParticipantCache& cache,
        bool includeContactNumber) {
  const PDXMessageParticipant* participant =
      determineParticipantFromAddressInConversationWithCache(address, conversation, cache);
  if (participant == nullptr) return address;
  const bool withNumber = includeContactNumber && !address.empty() && isCharacterDigit(address[0]);
  if (!withNumber) return participant->name();
  return participant->name().empty() ? address : participant->name() + " (" + address + ")";
}

std::string PDXConversationExporterUtilities::getImageForParticipantWithOptionsAndCache(
    const PDXMessageParticipant& participant, const PDXConversationExportOptions& options,
    std::unordered_map<std::string, std::string>& cache) {
  const auto [known, isNew] = cache.try_emplace(participant.address());
  if (isNew) known->second = saveFace(participant, options.mediaPath, cache.size());
  return known->second;
}

std::string PDXConversationExporterUtilities::relativePathForMediaPath(const std::string& path) {
  if (path.empty()) return "";
  const std::string folder = PDXFiles::folderOf(path);
  return PDXFiles::joined(PDXText::lastPathComponent(folder), PDXText::lastPathComponent(path));
}

std::vector<PDXMessageDetail> PDXConversationExporterUtilities::filterMessagesForSearchTerm(
    const std::vector<PDXMessageDetail>& messages, const std::string& searchTerm) {
  std::vector<PDXMessageDetail> matching;
  std::copy_if(messages.begin(), messages.end(), std::back_inserter(matching),
               [&](const PDXMessageDetail& message) { return message.contains(searchTerm); });
  return matching;
}

std::string PDXConversationExporterUtilities::getBackupPathForStandardLocation(const std::string& location) {
  return std::string(PDXText::trimmedOf(PDXText::replacedAll(location, "/var/mobile/", ""), "~/"));
}

std::string PDXConversationExporterUtilities::standardFileAtLocationDomainDeviceData(
    const std::string& location, const std::string& domain, PDXDeviceData& deviceData) {
  return deviceData.GetFileByRelativePathInDomain(getBackupPathForStandardLocation(location),
                                                  domain.empty() ? "MediaDomain" : domain);
}

std::string PDXConversationExporterUtilities::rotateImageAtPath(const std::string& path, std::string* why) {
  const std::string copy = temporaryPicture();
  const auto failure = PDXUprightPicture::write(path, copy);
  if (failure && why != nullptr) *why = *failure;
  return failure ? "" : copy;
}

std::string PDXConversationExporterUtilities::temporaryPicture() {
  static std::atomic<unsigned> counter = 0;
  const std::string folder = PDXFiles::joined(PDXDeviceData::TemporaryExtractPath(), "rotatedImages");
  PDXFiles::makeFolders(folder);
  return PDXFiles::joined(folder, std::to_string(++counter) + ".jpg");
}

void PDXConversationExporterUtilities::deleteTemporaryFile(const std::string& path) {
  PDXFiles::remove(path);
}

bool PDXConversationExporterUtilities::convertHeicImageToJpeg(const std::string& heic,
                                                              const std::string& jpeg, std::string* why) {
  const auto failure = PDXUprightPicture::write(heic, jpeg);
  if (failure && why != nullptr) *why = *failure;
  return !failure;
}

std::string PDXConversationExporterUtilities::formatUrlsInTextDisableLinks(std::string_view text,
                                                                           bool disableLinks) {
  std::string result;
  result.reserve(text.size());
  std::size_t position = 0;
  // Every address has a dot inside: a look for one spares most messages the search.
  while (text.find('.', position) != std::string_view::npos) {
    re2::StringPiece match;
    const re2::StringPiece whole(text.data(), text.size());
    if (!webAddress().Match(whole, position, text.size(), RE2::UNANCHORED, &match, 1)) break;
    const auto start = static_cast<std::size_t>(match.data() - text.data());
    result.append(text.substr(position, start - position))
        .append(link({match.data(), match.size()}, disableLinks));
    position = start + match.size();
  }
  return result.append(text.substr(position));
}

std::optional<std::string> PDXConversationExporterUtilities::getVCFLocationMapDestinationLabel(
    const std::string& vcfPath, const std::string& destination, std::string& label) {
  const auto place = getLatitudeLongitudeFromVCFLabel_(vcfPath, label);
  const auto picture = place ? PDXImages::locationPicture(label, place->first, place->second) : std::nullopt;
  if (!picture) return std::nullopt;
  PDXAtomicFile file(destination);
  file.append({reinterpret_cast<const char*>(picture->data()), picture->size()});
  return file.commit() ? "" : file.error();
}

std::optional<std::pair<double, double>> PDXConversationExporterUtilities::getLatitudeLongitudeFromVCFLabel_(
    const std::string& vcfPath, std::string& label) {
  constexpr std::uint64_t kLargestCard = 1U << 20;
  const auto bytes = PDXFiles::read(vcfPath, kLargestCard);
  if (!bytes) return std::nullopt;
  const auto location =
      PDXSharedLocation::fromVCard({reinterpret_cast<const char*>(bytes->data()), bytes->size()});
  if (!location) return std::nullopt;
  label = location->label;
  return std::pair(location->latitude, location->longitude);
}

bool PDXConversationExporterUtilities::addressIsEqualToAddress_(std::string_view a, std::string_view b) {
  return PDXContactsDatabase::numberStringIsEqualToNumberString(a, b);
}
