#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "contacts/PhoneNumberComparison.h"
#include "messages/ConversationExportOptions.h"
#include "messages/MessageDetail.h"
#include "messages/MessagesConversation.h"

class PDXAtomicFile;
class PDXDeviceData;

/// The participants of one conversation by their addresses, made ready with the first question.
class PDXParticipantCache {
 public:
  /// The participant with the same text, or else the first that is equal as a phone number. Null when there
  /// is none.
  const PDXMessageParticipant* find(const std::string& address, const PDXMessagesConversation& conversation);

  /// The number of addresses that were asked for, found or not.
  std::size_t size() const { return found_.size(); }

 private:
  void makeReady_(const PDXMessagesConversation& conversation);

  bool isReady_ = false;
  std::unordered_map<std::string_view, const PDXMessageParticipant*> byText_;
  PDXNumberIndex byNumber_;
  std::unordered_map<std::string, const PDXMessageParticipant*> found_;
};

/// What the exporters of conversations share: where an export goes and how it is named, how a sender is
/// named, what a read status says, how links are made, and how an attachment is found in the backup.
class PDXConversationExporterUtilities {
 public:
  /// The application's scratch folder for message previews.
  static std::string temporaryMessageDirectory();

  /// Appends UTF-8 text at the end of the file.
  static void appendTextToFileHandle(std::string_view text, PDXAtomicFile& file);

  /// The options' path; without one the export is a preview, which the options are told, and the path is in
  /// the preview folder, named after everything that changes its content.
  /// @param isCached  receives whether a preview of that name is there already; may be null.
  static std::string determineSavePathForConversationOptionsExtensionIsCached(
      const PDXMessagesConversation& conversation, PDXConversationExportOptions& options,
      const std::string& extension, bool* isCached);

  /// The preview's name without extension, e.g. "Ann_S-2021-03-04-CNONLSFM_17".
  static std::string createFilenameForConversationWithExportOptions(
      const PDXMessagesConversation& conversation, const PDXConversationExportOptions& options);

  /// `name` with "_" in place of the characters that file names may not hold, trimmed.
  static std::string cleanFileName(const std::string& name);

  /// "Delivered", "Read" or "", localised.
  static std::string getReadStatusTextForMessage(const PDXMessageDetail& message);

  /// The participant of that address: the one with the same text, or else the first that is equal as a phone
  /// number (all e-mail addresses are, so the text comes first). Null when there is none.
  static const PDXMessageParticipant* determineParticipantFromAddressInConversationWithCache(
      const std::string& address, const PDXMessagesConversation& conversation, PDXParticipantCache& cache);

  /// The participant's name, followed by the address in brackets when asked for and it begins with a digit;
  /// an address without a participant stands for itself. "" for a participant without a name.
  static std::string determineParticipantNameFromAddressInConversationWithCacheIncludeContactNumber(
      const std::string& address, const PDXMessagesConversation& conversation, PDXParticipantCache& cache,
      bool includeContactNumber);

  /// Saves the participant's face into the media folder: the picture of the chat or of the address book, or
  /// drawn initials. Chat pictures come from the backup that PDXContactImageRetriever was given.
  /// @param cache  faces saved so far, by address.
  /// @return its path; "" when it cannot be written.
  static std::string getImageForParticipantWithOptionsAndCache(
      const PDXMessageParticipant& participant, const PDXConversationExportOptions& options,
      std::unordered_map<std::string, std::string>& cache);

  /// A media file's path relative to the page: its last two components.
  static std::string relativePathForMediaPath(const std::string& path);

  /// The messages that hold the term, as their `contains` tells.
  static std::vector<PDXMessageDetail> filterMessagesForSearchTerm(
      const std::vector<PDXMessageDetail>& messages, const std::string& searchTerm);

  /// Where the backup keeps a file of the messages store: the location without "/var/mobile/" and without
  /// "~" and "/" at both ends.
  static std::string getBackupPathForStandardLocation(const std::string& location);

  /// A readable copy of such a file; "" when the backup does not hold it.
  /// @param domain  "" for "MediaDomain".
  static std::string standardFileAtLocationDomainDeviceData(const std::string& location,
                                                            const std::string& domain,
                                                            PDXDeviceData& deviceData);

  /// A temporary copy of a picture, turned upright as its metadata tells, in the scratch folder
  /// "rotatedImages" under a name that no other has. Remove it with `deleteTemporaryFile`.
  /// @param why  receives one line on failure; may be null.
  /// @return its path; "" when the picture cannot be read.
  static std::string rotateImageAtPath(const std::string& path, std::string* why = nullptr);

  /// The path for a picture that is not finished yet, in the same folder; nothing lies there.
  static std::string temporaryPicture();

  static void deleteTemporaryFile(const std::string& path);

  /// Writes the HEIC picture at `heic` as an upright JPEG to `jpeg`, which may be the same file. Files whose
  /// name or type says HEIC and that are JPEG inside do as well.
  /// @param why  receives one line on failure; may be null.
  /// @return false when the picture cannot be read; nothing is written then.
  static bool convertHeicImageToJpeg(const std::string& heic, const std::string& jpeg,
                                     std::string* why = nullptr);

  /// Draws a picture of the place that a shared location's card names, and saves it as a PNG. No map is asked
  /// for: nothing of ours uses the network.
  /// @param vcfPath      a readable copy of the card.
  /// @param destination  where the picture goes; an older one is replaced.
  /// @param label        receives the place's name; empty when the card gives none.
  /// @return nothing when the card names no place, or the picture cannot be drawn; else why it could not be
  ///         written, "" when it was.
  static std::optional<std::string> getVCFLocationMapDestinationLabel(const std::string& vcfPath,
                                                                      const std::string& destination,
                                                                      std::string& label);

  /// `text` (already escaped) with every web address in it made a link, or only underlined.
  static std::string formatUrlsInTextDisableLinks(std::string_view text, bool disableLinks);

  static bool isCharacterDigit(char c) { return c >= '0' && c <= '9'; }

 private:
  /// The coordinates of the card's map link in degrees, latitude and longitude.
  static std::optional<std::pair<double, double>> getLatitudeLongitudeFromVCFLabel_(
      const std::string& vcfPath, std::string& label);

  static bool addressIsEqualToAddress_(std::string_view a, std::string_view b);
};
