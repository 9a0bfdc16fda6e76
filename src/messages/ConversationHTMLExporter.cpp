#include "messages/ConversationHTMLExporter.h"

#include <algorithm>
#include <utility>

#include "backup/DeviceData.h"
#include "messages/ConversationHtmlStyle.h"
#include "messages_embedded.h"
#include "platform/Crypto.h"
#include "platform/FileName.h"
#include "platform/Localisation.h"
#include "platform/Text.h"
#include "platform/UprightPicture.h"

namespace {

using Utilities = PDXConversationExporterUtilities;

/// Formatters and calendars are costly to make, and know more days the longer they are in use. They live as
/// long as their thread: an export makes hundreds of exporters.
PDXDateFormatter& messageLineFormatter() {
  thread_local PDXDateFormatter formatter(PDXDateFormatter::Style::longDateShortTime);
  return formatter;
}

PDXDateFormatter& dateStampFormatter() {
  thread_local PDXDateFormatter formatter(PDXDateFormatter::Style::longDate);
  return formatter;
}

PDXDayCalendar& dayCalendar() {
  thread_local PDXDayCalendar calendar;
  return calendar;
}

/// The messages in the order of the page, by time; one without a time is the earliest.
std::vector<const PDXMessageDetail*> ordered(const std::vector<PDXMessageDetail>& messages,
                                             bool oldestFirst) {
  std::vector<const PDXMessageDetail*> order;
  order.reserve(messages.size());
  for (const PDXMessageDetail& message : messages) order.push_back(&message);
  const auto isBefore = [oldestFirst](const auto* a, const auto* b) {
    return oldestFirst ? a->time < b->time : b->time < a->time;
  };
  // Readers mostly hand them over so.
  if (!std::is_sorted(order.begin(), order.end(), isBefore))
    std::stable_sort(order.begin(), order.end(), isBefore);
  return order;
}

constexpr std::string_view kCloudNotesPrefix = POCKETDEX_CLOUD_NOTES_PREFIX;

bool has(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

/// The sentence that tells a page's date range; "" without one.
std::string rangeSentence(const PDXConversationExportOptions& options) {
  if (!options.startDate && !options.endDate) return "";
  PDXDateFormatter day("dd MMM yyyy");
  const auto text = [&day](const std::optional<PDXDate>& date) { return day.text(*date); };
  if (!options.startDate) {
    return PDXLocalised("Displaying Messages sent/received before %@.", {text(options.endDate)});
  }
  if (!options.endDate)
    return PDXLocalised("Displaying Messages sent/received since %@.", {text(options.startDate)});
  return PDXLocalised("Displaying Messages sent/received between %@ and %@.",
                      {text(options.startDate), text(options.endDate)});
}

std::string noMessagesBox(bool isPreview) {
  std::string html = "<div class=\"noMessagesInDateRange\">\r\n<strong>" +
                     PDXLocalised("No messages are available within the dates you have selected.") +
                     "</strong>\r\n";
  if (isPreview) {
    html += "<p>" +
            PDXLocalised(
                "Click the \"Select Date Range\" button to change the date range or show all messages in the "
                "conversation.") +
            "</p>\r\n";
  }
  return html + "</div>\r\n<br/><br/>";
}

/// The title that a shared note's address carries behind "#", words joined by "_"; "" when it has none.
std::string noteTitle(const std::string& link) {
  const std::size_t hash = link.find('#');
  if (hash == std::string::npos) return "";
  return PDXText::replacedAll(PDXText::percentDecoded(std::string_view(link).substr(hash + 1)), "_", " ");
}

/// Shows browsers early that a page is in UTF-8. The page's head does not tell them, and those that find out
/// by themselves look at the first few hundred kilobytes only.
constexpr const char* kEncodingHint = "<!-- UTF-8: \u00e4 \u00e9 \u03a9 \u0416 \u8a9e -->";

/// Whether all of a page's beginning is ASCII and something behind it is not.
bool needsEncodingHint(const std::vector<const PDXMessageDetail*>& messages, const std::string& aTime) {
  constexpr std::size_t kPlainBeginning = std::size_t{64} << 10;
  if (!PDXText::isAscii(aTime)) return false;
  std::size_t size = 0;
  for (const PDXMessageDetail* message : messages) {
    if (!PDXText::isAscii(message->message) || !PDXText::isAscii(message->subject))
      return size > kPlainBeginning;
    size += message->message.size() + message->subject.size();
  }
  return false;
}

std::string bold(const std::string& text) { return "<span style=\"font-weight:bold;\">" + text + "</span>"; }

bool isJpeg(const std::string& type) { return has(type, "image/jpeg") || has(type, "image/jpg"); }

bool isHeic(const std::string& type, const std::string& location) {
  const std::string extension = PDXText::lowercased(PDXText::pathExtension(location));
  return has(type, "image/hei") || (has(type, "image/") && (extension == "heic" || extension == "heif"));
}

/// The path below "Library/SMS/" of a location that begins in another way than the usual two.
std::string pathBelowMessages(const std::string& location) {
  const std::size_t start = location.find("Library/SMS/");
  return start == std::string::npos ? "" : location.substr(start);
}

}  // namespace

PDXConversationHTMLExporter::PDXConversationHTMLExporter(PDXDeviceData& deviceData, std::int32_t iOSVersion)
    : deviceData_(deviceData),
      iOSVersion_(iOSVersion),
      messageLineFormatter_(messageLineFormatter()),
      dateStampFormatter_(dateStampFormatter()),
      calendar_(dayCalendar()),
      sentText_(PDXLocalised("Sent")),
      receiveText_(PDXLocalised("Receive")) {}

PDXConversationExportResult PDXConversationHTMLExporter::exportConversationMessagesWithOptions(
    const PDXMessagesConversation& conversation, const std::vector<PDXMessageDetail>& messages,
    PDXConversationExportOptions options) {
  using Outcome = PDXConversationExportResult::Outcome;
  result_ = {};
  result_.pagePath = Utilities::determineSavePathForConversationOptionsExtensionIsCached(
      conversation, options, "html", nullptr);
  if (options.mediaPath.empty()) {
    const std::string stem = result_.pagePath.substr(0, result_.pagePath.rfind('.'));
    options.mediaPath = stem + " Media";
  }
  PDXAtomicFile file(result_.pagePath);
  Utilities::appendTextToFileHandle("<!DOCTYPE html>\r\n", file);
  writeHTMLHeaderWithTitleMessageCountOptionsFileHandle(conversation.title(), messages.size(), options, file);
  writeHTMLForMessagesConversationOptionsFileHandle(messages, conversation, options, file);
  writeHTMLFooterToFileHandleOptions(file, options);

  // Only an empty folder can be removed so: it was made for an attachment that then was not there.
  if (attachmentCounter_ == 0) PDXFiles::remove(options.mediaPath);
  if (result_.outcome != Outcome::written) return result_;
  if (stop_.stop_requested()) {
    result_.outcome = Outcome::stopped;
  } else if (!file.commit()) {
    const auto failure = file.result();
    const bool isOfPage = failure.outcome == PDXFiles::CopyResult::Outcome::notMade;
    result_.outcome = isOfPage ? Outcome::notMade : Outcome::unwritable;
    result_.unwritten.emplace_back(file.path(), failure);
  }
  return result_;
}

void PDXConversationHTMLExporter::writeHTMLHeaderWithTitleMessageCountOptionsFileHandle(
    const std::string& title, std::size_t messageCount, const PDXConversationExportOptions& options,
    PDXAtomicFile& file) {
  std::string html =
      "<HTML>\r\n<HEAD>\r\n<meta http-equip=\"Content-Type\" content=\"text/html; charset=utf-8\" />" +
      htmlStyleStringWithOptions(options) + "</HEAD>\r\n<BODY" +
      (options.isPreview ? " oncontextmenu=\"return false;\"" : "") + ">\r\n<H1>" +
      PDXLocalised("Conversation with %@", {escapeHTMLSpecialCharacters(title)}) + "</H1>\r\n" +
      PDXLocalised("Contains %lu messages", {std::to_string(messageCount)});
  if (const std::string range = rangeSentence(options); !range.empty()) html += "<br/>\r\n" + range;
  Utilities::appendTextToFileHandle(html + "\r\n<hr size=1 noshade/>", file);
}

void PDXConversationHTMLExporter::writeHTMLForMessagesConversationOptionsFileHandle(
    const std::vector<PDXMessageDetail>& messages, const PDXMessagesConversation& conversation,
    const PDXConversationExportOptions& options, PDXAtomicFile& file) {
  if (messages.empty()) Utilities::appendTextToFileHandle(noMessagesBox(options.isPreview), file);
  lastDay_.reset();
  const auto order = ordered(messages, options.messageOrder == 0);
  std::string html =
      order.empty() || !needsEncodingHint(order, timeText_(*order.back())) ? "" : kEncodingHint;
  Utilities::appendTextToFileHandle(html, file);
  for (const PDXMessageDetail* message : order) {
    if (stop_.stop_requested() || !file.error().empty()) return;
    html.clear();
    appendMessage_(html, *message, conversation, options);
    if (result_.outcome != PDXConversationExportResult::Outcome::written) return;
    Utilities::appendTextToFileHandle(html, file);
    result_.neverDownloaded += static_cast<std::size_t>(message->attachmentsNeverDownloaded);
    ++result_.messages;
    if (delegate_ != nullptr) delegate_->onExporterProgressTotal(result_.messages, messages.size());
  }
}

void PDXConversationHTMLExporter::writeHTMLFooterToFileHandleOptions(PDXAtomicFile& file,
                                                                     const PDXConversationExportOptions&) {
  Utilities::appendTextToFileHandle("<hr size=1 noshade/>\r\n</BODY>\r\n</HTML>", file);
}

std::string PDXConversationHTMLExporter::htmlStyleStringWithOptions(
    const PDXConversationExportOptions& options) const {
  return "<style type='text/css'>\r\n" + PDXConversationHtmlStyle::rules(options) + "</style>\r\n";
}

void PDXConversationHTMLExporter::appendMessage_(std::string& html, const PDXMessageDetail& message,
                                                 const PDXMessagesConversation& conversation,
                                                 const PDXConversationExportOptions& options) {
  appendDateStamp_(html, message);
  if (message.direction == 1) {
    appendHTMLForSentMessageConversationType(html, message, conversation.conversationType);
  } else {
    appendHTMLForReceivedMessageConversationOptions(html, message, conversation, options);
  }
  if (message.containsMessagePieces()) {
    appendStandardMessageHTMLForMessageOptions(html, message, options);
  } else {
    appendText_(html, message.message, options);
  }
  html += "</div>\r\n";
}

void PDXConversationHTMLExporter::appendText_(std::string& html, std::string_view text,
                                              const PDXConversationExportOptions& options) const {
  const std::string escaped = escapeHTMLSpecialCharacters(text);
  // Every address has a dot inside: a look for one spares most messages a copy.
  const bool mayHaveAddress = escaped.find('.') != std::string::npos;
  if (mayHaveAddress) {
    html += Utilities::formatUrlsInTextDisableLinks(escaped, options.isPreview);
  } else {
    html += escaped;
  }
}

void PDXConversationHTMLExporter::appendDateStamp_(std::string& html, const PDXMessageDetail& message) {
  if (!message.time) return;
  const PDXDate day = calendar_.startOfDay(*message.time);
  if (lastDay_ == day) return;
  lastDay_ = day;
  html += "<center><div class=\"dateStamp\">" + dateStampFormatter_.text(*message.time) + "</div></center>";
}

void PDXConversationHTMLExporter::appendHTMLForSentMessageConversationType(std::string& html,
                                                                           const PDXMessageDetail& message,
                                                                           EConversationType type) {
  html.append("<div class='messageinfo sent'>").append(sentText_).append(" - ").append(timeText_(message));
  if (type == EConversationTypeWhatsApp) {
    html += " - WhatsApp</div><div class='message sent'>";
    return;
  }
  const bool isMadrid = message.isMadrid.value_or(false);
  html += isMadrid ? " - (iMessage)" : " - (SMS)";
  if (const std::string& status = statusText_(message); !status.empty()) html.append(" - ").append(status);
  html += isMadrid ? "</div><div class='message sent imessage'>" : "</div><div class='message sent'>";
}

const std::string& PDXConversationHTMLExporter::statusText_(const PDXMessageDetail& message) {
  const auto [known, isNew] = statusTexts_.try_emplace(message.readStatus);
  if (isNew) known->second = Utilities::getReadStatusTextForMessage(message);
  return known->second;
}

void PDXConversationHTMLExporter::appendHTMLForReceivedMessageConversationOptions(
    std::string& html, const PDXMessageDetail& message, const PDXMessagesConversation& conversation,
    const PDXConversationExportOptions& options) {
  const std::string name = senderName_(message, conversation, options);
  html.append("<div class='messageinfo receive'>").append(receiveText_).append(" -");
  if (!name.empty()) html.append(" ").append(escapeHTMLSpecialCharacters(name)).append(" -");
  html.append(" ").append(timeText_(message)).append(" - ");
  if (conversation.conversationType == EConversationTypeWhatsApp) {
    html += "WhatsApp</div>";
  } else {
    html += message.isMadrid.value_or(false) ? "(iMessage)</div>" : "(SMS)</div>";
  }
  if (options.includeContactImages) html += faceElement_(message.messageAddress, name, conversation, options);
  html += "<div class='message receive'>";
}

/// The sender's face as an image element; "" for one who is no participant. The same for each of the sender's
/// messages, so it is made once.
const std::string& PDXConversationHTMLExporter::faceElement_(const std::string& address,
                                                             const std::string& name,
                                                             const PDXMessagesConversation& conversation,
                                                             const PDXConversationExportOptions& options) {
  const auto [known, isNew] = faceElements_.try_emplace(address);
  const auto* participant = !isNew ? nullptr
                                   : Utilities::determineParticipantFromAddressInConversationWithCache(
                                         address, conversation, participants_);
  if (participant == nullptr) return known->second;
  const std::string image =
      Utilities::getImageForParticipantWithOptionsAndCache(*participant, options, contactImages_);
  if (!image.empty()) {
    known->second = "<img class=\"contactImage\" src=\"" +
                    PDXText::pathForHtmlLink(Utilities::relativePathForMediaPath(image)) + "\" alt=\"" +
                    PDXText::escapedForHtmlAttribute(name) + "\" Width=\"48\" Height=\"48\" border=\"0\" />";
  }
  return known->second;
}

std::string PDXConversationHTMLExporter::senderName_(const PDXMessageDetail& message,
                                                     const PDXMessagesConversation& conversation,
                                                     const PDXConversationExportOptions& options) {
  std::string name =
      Utilities::determineParticipantNameFromAddressInConversationWithCacheIncludeContactNumber(
          message.messageAddress, conversation, participants_, options.includeMessageContactNumber);
  // With one other party the heading says who wrote. In a group only the address tells unknown senders apart.
  const bool isGroup = conversation.participants.size() > 1;
  return name.empty() && isGroup ? message.messageAddress : name;
}

std::string PDXConversationHTMLExporter::timeText_(const PDXMessageDetail& message) {
  return message.time ? messageLineFormatter_.text(*message.time) : "";
}

void PDXConversationHTMLExporter::appendStandardMessageHTMLForMessageOptions(
    std::string& html, const PDXMessageDetail& message, const PDXConversationExportOptions& options) {
  if (!message.subject.empty()) html += bold(escapeHTMLSpecialCharacters(message.subject)) + "<br/>";
  for (const PDXMessagePiece& piece : message.messagePieces) {
    appendPiece_(html, piece, options);
    if (result_.outcome != PDXConversationExportResult::Outcome::written) return;
  }
}

void PDXConversationHTMLExporter::appendPiece_(std::string& html, const PDXMessagePiece& piece,
                                               const PDXConversationExportOptions& options) {
  const std::string type = PDXText::lowercased(piece.contentType);
  if (has(type, "text") && !piece.isFile) {
    appendText_(html, piece.contentLocation, options);
    html += "<br/>\r\n";
  } else if (has(type, "text") && has(type, "vcard")) {
    appendVCardHTMLVCardLocationOptions(html, piece.contentLocation, options);
  } else if (has(type, "text") && has(type, "vlocation")) {
    appendVLocationHTMLVLocationPathOptions(html, piece.contentLocation, options);
  } else if (has(type, "image/")) {
    appendStandardImageHTMLTypeLocationOptions(html, type, piece.contentLocation, options);
  } else if (has(type, "video/")) {
    appendStandardVideoHTMLLocationOptions(html, piece.contentLocation, options);
  } else if (type == "ic_note" && !piece.isFile) {
    appendNoteHTMLLocationOptions(html, piece.contentLocation, options);
  } else {
    appendStandardAttachmentHTMLTypeLocationOptions(html, type, piece.contentLocation, options);
  }
}

void PDXConversationHTMLExporter::appendStandardImageHTMLTypeLocationOptions(
    std::string& html, const std::string& type, const std::string& location,
    const PDXConversationExportOptions& options) {
  const auto path = copyAttachment_(location, options, html, type);
  if (!path) return;
  const std::string image = "<img src='" + *path + "' width='179px'/>";
  html += options.isPreview ? image : "<a href='" + *path + "' border=0>" + image + "</a>";
  html += "\r\n<br/>\r\n";
}

void PDXConversationHTMLExporter::appendStandardVideoHTMLLocationOptions(
    std::string& html, const std::string& location, const PDXConversationExportOptions& options) {
  if (options.isPreview) {
    html += imageToImageStringImageTypeExtensionAdditionalTags_(PDXMessagePictures::messagesMovie_png, "png",
                                                                "") +
            "<br/>\r\n" + bold("Video content cannot be previewed.") +
            "<br />Content will be saved when copying as HTML.\r\n";
    return;
  }
  if (const auto path = copyAttachment_(location, options, html)) {
    html +=
        "<video src='" + *path + "' controls style=\"max-width:100%;max-height:480px;\"></video><br/>\r\n";
  }
}

void PDXConversationHTMLExporter::appendStandardAttachmentHTMLTypeLocationOptions(
    std::string& html, const std::string&, const std::string& location,
    const PDXConversationExportOptions& options) {
  const std::string name = escapeHTMLSpecialCharacters(PDXText::lastPathComponent(location));
  if (options.isPreview) {
    html += bold("Attachment cannot be previewed.") + "<br />\"" + name +
            "\" will be saved when copying as HTML.\r\n";
    return;
  }
  if (const auto path = copyAttachment_(location, options, html)) {
    html += "<strong><a href='" + *path + "'>Attachment: " + name + ". Click here to open.</a></strong>\r\n";
  }
}

void PDXConversationHTMLExporter::appendNoteHTMLLocationOptions(std::string& html,
                                                                const std::string& location,
                                                                const PDXConversationExportOptions& options) {
  const std::string title = noteTitle(location);
  const std::string heading = title.empty() ? "A note was shared." : escapeHTMLSpecialCharacters(title);
  const std::string box = imageToImageStringImageTypeExtensionAdditionalTags_(
                              PDXMessagePictures::SharedNote_png, "png",
                              "Width=\"48\" Height=\"48\" style=\"float:left; margin-right:8px;\"") +
                          "<span style=\"font-weight:bold; margin-top:4px; display:inline-block;\">" +
                          heading + "</span><br /><span style=\"color:#666;\">iCloud Note</span>";
  const bool isLink = !options.isPreview && location.starts_with(kCloudNotesPrefix);
  html += !isLink ? box + "\r\n"
                  : "<a href=\"" + PDXText::escapedForHtmlAttribute(location) + "\">" + box + "</a>\r\n";
}

std::optional<std::string> PDXConversationHTMLExporter::copyAttachment_(
    const std::string& location, const PDXConversationExportOptions& options, std::string& html,
    const std::string& imageType) {
  using Outcome = PDXFiles::CopyResult::Outcome;
  if (options.isPreview) {
    const std::string copy = Utilities::standardFileAtLocationDomainDeviceData(location, "", deviceData_);
    return PDXText::pathForHtmlLink(Utilities::relativePathForMediaPath(copy));
  }
  PDXFiles::makeFolders(options.mediaPath);
  std::string file = mediaFileFor_(location, options);
  const bool isSavedAsText = options.savesPagesAsText && PDXFileName::isPage(file);
  if (isSavedAsText) file = PDXFiles::freePath(file.append(PDXFileName::kTextExtension));
  // A picture gets its name only when it is upright: one that was not rotated yet looks like a finished one.
  const bool isPicture = isHeic(imageType, location) || isJpeg(imageType);
  const auto copied = isPicture ? putPicture_(file, imageType, location) : copyToMediaFolder_(location, file);
  if (copied) {
    ++attachmentCounter_;
    ++result_.attachments;
    if (isSavedAsText) {
      result_.savedAsText.push_back(
          {.what = "attachment saved as text", .where = location, .why = PDXFileName::kWhySavedAsText});
    }
    return PDXText::pathForHtmlLink(Utilities::relativePathForMediaPath(file));
  }
  if (copied.outcome == Outcome::writeFailed || copied.outcome == Outcome::notMade) {
    noteUnwritten_(location, file, copied, html);
  } else {
    noteMissing_(location, copied, html);
  }
  return std::nullopt;
}

std::string PDXConversationHTMLExporter::mediaFileFor_(const std::string& location,
                                                       const PDXConversationExportOptions& options) const {
  const std::string number = std::to_string(attachmentCounter_ + 1);
  const std::string extension(PDXText::pathExtension(location));
  const std::string name =
      PDXFileName::safeWithExtension(extension.empty() ? number : number + "." + extension);
  return PDXFiles::freePath(PDXFiles::joined(options.mediaPath, name));
}

/// Writes a picture upright to `file`, and a HEIC one as a JPEG, whose path `file` then is. It stays as it is
/// when that fails.
PDXFiles::CopyResult PDXConversationHTMLExporter::putPicture_(std::string& file, const std::string& type,
                                                              const std::string& location) {
  using Outcome = PDXFiles::CopyResult::Outcome;
  const std::string stored = Utilities::temporaryPicture();
  auto copied = copyToMediaFolder_(location, stored);
  if (copied.outcome == Outcome::writeFailed) {
    noteNotTurned_(location, "there is no room for it in the scratch folder: " + copied.why);
    return copyToMediaFolder_(location, file);
  }
  if (!copied) return copied;
  std::string why;
  std::string upright = stored;
  if (isHeic(type, location)) {
    const std::string jpeg = PDXFiles::freePath(
        PDXFiles::joined(PDXFiles::folderOf(file), std::to_string(attachmentCounter_ + 1) + ".jpg"));
    if (Utilities::convertHeicImageToJpeg(stored, jpeg, &why)) {
      file = jpeg;
      upright.clear();
    }
  } else if (!PDXUprightPicture::isUpright(stored)) {
    if (std::string rotated = Utilities::rotateImageAtPath(stored, &why); !rotated.empty()) upright = rotated;
  }
  if (!why.empty()) noteNotTurned_(location, why);
  if (!upright.empty()) copied = PDXFiles::copy(upright, file, stop_.get_token());
  if (upright != stored) Utilities::deleteTemporaryFile(upright);
  Utilities::deleteTemporaryFile(stored);
  return copied;
}

void PDXConversationHTMLExporter::noteNotTurned_(const std::string& location, const std::string& why) {
  result_.notTurned.push_back({.what = "picture could not be turned", .where = location, .why = why});
}

PDXFiles::CopyResult PDXConversationHTMLExporter::copyToMediaFolder_(const std::string& location,
                                                                     const std::string& destination) {
  const std::string path = Utilities::getBackupPathForStandardLocation(location);
  auto copied =
      deviceData_.copyOfFileByRelativePathInDomain(path, "MediaDomain", destination, stop_.get_token());
  const std::string other = pathBelowMessages(location);
  if (copied.outcome != PDXFiles::CopyResult::Outcome::noSource || other.empty() || other == path)
    return copied;
  return deviceData_.copyOfFileByRelativePathInDomain(other, "MediaDomain", destination, stop_.get_token());
}

void PDXConversationHTMLExporter::noteMissing_(const std::string& location,
                                               const PDXFiles::CopyResult& result, std::string& html) {
  if (result.outcome == PDXFiles::CopyResult::Outcome::stopped) return;
  const bool isMissing = result.outcome == PDXFiles::CopyResult::Outcome::noSource;
  const std::string name(PDXText::lastPathComponent(location));
  (isMissing ? result_.missing : result_.unreadable)
      .push_back({.what = "attachment", .where = location, .why = result.why});
  html += bold(PDXLocalised(
              isMissing ? "Attachment \"%@\" is not in the backup." : "Attachment \"%@\" could not be read.",
              {escapeHTMLSpecialCharacters(name)})) +
          "<br/>\r\n";
}

/// A target that is full or lost ends the page; one file that cannot be made there costs its place only.
void PDXConversationHTMLExporter::noteUnwritten_(const std::string& location, const std::string& path,
                                                 const PDXFiles::CopyResult& failure, std::string& html) {
  result_.unwritten.emplace_back(path, failure);
  if (failure.outcome == PDXFiles::CopyResult::Outcome::writeFailed)
    result_.outcome = PDXConversationExportResult::Outcome::unwritable;
  const std::string name(PDXText::lastPathComponent(location));
  html += bold(PDXLocalised("Attachment \"%@\" could not be saved.", {escapeHTMLSpecialCharacters(name)})) +
          "<br/>\r\n";
}

std::string PDXConversationHTMLExporter::escapeHTMLSpecialCharacters(std::string_view text) {
  return PDXText::escapedForHtml(text);
}

std::string PDXConversationHTMLExporter::imageToImageStringImageTypeExtensionAdditionalTags_(
    std::string_view image, const std::string& extension, const std::string& additionalTags) {
  return "<img src=\"data:image/" + extension + ";base64," + base64(image) + "\" border=0 " + additionalTags +
         "/>";
}
