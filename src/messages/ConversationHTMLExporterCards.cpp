// The pieces of a message that are cards: a shared contact or a shared place.
#include <atomic>

#include "backup/DeviceData.h"
#include "contacts/VCardReader.h"
#include "messages/ConversationHTMLExporter.h"
#include "platform/FileName.h"
#include "platform/Text.h"

namespace {

using Utilities = PDXConversationExporterUtilities;

std::string boldLine(const std::string& text) {
  return "<span style=\"font-weight:bold;\">" + PDXText::escapedForHtml(text) + "</span><br/>\r\n";
}

/// What a card's file is named after and the page shows first.
std::string nameOf(const PDXContactEntry& contact) {
  if (contact.searchReference) return *contact.searchReference;
  if (contact.hasPhoneNumbers()) return contact.phoneNumbers.front().address();
  return contact.hasEmailAddresses() ? contact.emailAddresses.front().address() : "Contact";
}

std::string contactHtml(const PDXContactEntry& contact) {
  std::string html = boldLine(nameOf(contact));
  for (const auto& number : contact.phoneNumbers) {
    html += PDXText::escapedForHtml(number.address()) + "<br/>\r\n";
  }
  for (const auto& email : contact.emailAddresses) {
    html += PDXText::escapedForHtml(email.address()) + "<br/>\r\n";
  }
  return html;
}

/// A name in the scratch folder that no other thread uses: cards in conversations all have the same few
/// names.
std::string scratchPath() {
  static std::atomic<unsigned> counter = 0;
  return PDXFiles::joined(PDXDeviceData::TemporaryExtractPath(),
                          "card " + std::to_string(++counter) + ".vcf");
}

/// A scratch file that goes when the page has what it needs of it.
struct ScratchFile {
  explicit ScratchFile(std::string file) : path(std::move(file)) {}
  ~ScratchFile() {
    if (!path.empty()) PDXFiles::remove(path);
  }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  std::string path;
};

}  // namespace

void PDXConversationHTMLExporter::appendVCardHTMLVCardLocationOptions(
    std::string& html, const std::string& vCardLocation, const PDXConversationExportOptions& options) {
  const ScratchFile card(readableCard_(vCardLocation, html));
  if (card.path.empty()) return;
  const auto contacts = PDXVCardReader::readContactsFromVCardFile(card.path);
  if (contacts.empty()) {
    appendStandardAttachmentHTMLTypeLocationOptions(html, "text/vcard", vCardLocation, options);
    return;
  }
  if (!options.isPreview && !saveCard_(card.path, nameOf(contacts.front()), vCardLocation, options, html))
    return;
  html += contactHtml(contacts.front());
}

void PDXConversationHTMLExporter::appendVLocationHTMLVLocationPathOptions(
    std::string& html, const std::string& vLocationPath, const PDXConversationExportOptions& options) {
  const ScratchFile card(readableCard_(vLocationPath, html));
  if (card.path.empty()) return;
  PDXFiles::makeFolders(options.mediaPath);
  const std::string picture = PDXFiles::freePath(
      PDXFiles::joined(options.mediaPath, std::to_string(attachmentCounter_ + 1) + ".png"));
  std::string label;
  const auto failure = Utilities::getVCFLocationMapDestinationLabel(card.path, picture, label);
  if (!failure) {
    appendStandardAttachmentHTMLTypeLocationOptions(html, "text/x-vlocation", vLocationPath, options);
    return;
  }
  if (!failure->empty()) {
    // A target that is full refuses the next file as well, and is told from this one by that.
    return noteUnwritten_(vLocationPath, picture, {PDXFiles::CopyResult::Outcome::notMade, *failure}, html);
  }
  ++attachmentCounter_;
  ++result_.attachments;
  if (!label.empty()) html += boldLine(label);
  const std::string path = PDXText::pathForHtmlLink(Utilities::relativePathForMediaPath(picture));
  const std::string image = "<img src='" + path + "' width='320px'/>";
  html += options.isPreview ? image + "\r\n<br/>\r\n"
                            : "<a href='" + path + "' border=0>" + image + "</a>\r\n<br/>\r\n";
  html += boldLine("You shared your location in this message.");
}

/// A copy to look into, since the name in the media folder follows from what is in the file; "" when there is
/// none, which the page then says.
std::string PDXConversationHTMLExporter::readableCard_(const std::string& location, std::string& html) {
  std::string path = scratchPath();
  const auto copied = copyToMediaFolder_(location, path);
  if (copied) return path;
  if (copied.outcome == PDXFiles::CopyResult::Outcome::writeFailed) {
    noteUnwritten_(location, path, copied, html);
  } else {
    noteMissing_(location, copied, html);
  }
  return "";
}

/// Copies a card into the media folder under its owner's name. Whether it is there.
bool PDXConversationHTMLExporter::saveCard_(const std::string& card, const std::string& name,
                                            const std::string& location,
                                            const PDXConversationExportOptions& options, std::string& html) {
  PDXFiles::makeFolders(options.mediaPath);
  const std::string file =
      PDXFileName::safeWithExtension(std::to_string(attachmentCounter_ + 1) + " - " + name + ".vcf");
  const std::string path = PDXFiles::freePath(PDXFiles::joined(options.mediaPath, file));
  const auto copied = PDXFiles::copy(card, path, stop_.get_token());
  if (copied.outcome == PDXFiles::CopyResult::Outcome::stopped) return false;
  if (!copied) {
    noteUnwritten_(location, path, copied, html);
    return false;
  }
  ++attachmentCounter_;
  ++result_.attachments;
  return true;
}
