#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "messages/ConversationExportOptions.h"
#include "messages/ConversationExporterUtilities.h"
#include "messages/MessageDetail.h"
#include "messages/MessagesConversation.h"
#include "platform/Date.h"
#include "platform/Files.h"
#include "platform/Log.h"

class PDXDeviceData;

/// Is told how far an export has come. Called on the exporting thread.
class PDXConversationExporterDelegate {
 public:
  virtual ~PDXConversationExporterDelegate() = default;

  /// Once per message.
  virtual void onExporterProgressTotal(std::size_t progress, std::size_t total) = 0;
};

/// What became of a page.
struct PDXConversationExportResult {
  /// A page that is not written has its reason in `unwritten`: its target is full or lost (`unwritable`), or
  /// only this page cannot be made (`notMade`).
  enum class Outcome { written, stopped, unwritable, notMade } outcome = Outcome::written;
  std::string pagePath;

  std::size_t messages = 0;             ///< Messages on the page.
  std::size_t attachments = 0;          ///< Attachment files copied.
  std::size_t neverDownloaded = 0;      ///< Attachments that the store lists without a file name.
  std::vector<PDXProblem> missing;      ///< Attachments that the backup does not hold.
  std::vector<PDXProblem> unreadable;   ///< Attachments that it holds and that could not be read.
  std::vector<PDXProblem> savedAsText;  ///< Attachments that a browser would open as a page.
  std::vector<std::pair<std::string, PDXFiles::CopyResult>>
      unwritten;  ///< By the paths of files of the page.
  std::vector<PDXProblem>
      notTurned;  ///< Pictures copied as they are, since they could not be turned upright.
};

/// Writes one conversation as one HTML page, with its attachments in a folder beside it that bears the page's
/// name with " Media" appended. One exporter, one conversation, one thread.
///
/// Errors: none leave it; see the result. The page appears whole or not at all.
class PDXConversationHTMLExporter {
 public:
  /// @param deviceData  where attachments come from; must outlive the exporter.
  /// @param iOSVersion  the device's major system version; 0 when unknown.
  PDXConversationHTMLExporter(PDXDeviceData& deviceData, std::int32_t iOSVersion);

  /// The device's major system version; 0 when unknown.
  std::int32_t iOSVersion() const { return iOSVersion_; }

  void setDelegate(PDXConversationExporterDelegate* delegate) { delegate_ = delegate; }

  /// Asks a running export to stop; the page then is not written. From any thread.
  void terminate() { stop_.request_stop(); }

  /// Writes the page for these messages. The options' path names it (its folder must exist); without one it
  /// is a preview in the scratch folder.
  PDXConversationExportResult exportConversationMessagesWithOptions(
      const PDXMessagesConversation& conversation, const std::vector<PDXMessageDetail>& messages,
      PDXConversationExportOptions options);

  void writeHTMLHeaderWithTitleMessageCountOptionsFileHandle(const std::string& title,
                                                             std::size_t messageCount,
                                                             const PDXConversationExportOptions& options,
                                                             PDXAtomicFile& file);
  void writeHTMLForMessagesConversationOptionsFileHandle(const std::vector<PDXMessageDetail>& messages,
                                                         const PDXMessagesConversation& conversation,
                                                         const PDXConversationExportOptions& options,
                                                         PDXAtomicFile& file);
  void writeHTMLFooterToFileHandleOptions(PDXAtomicFile& file, const PDXConversationExportOptions& options);

  /// The page's style sheet, with its element.
  std::string htmlStyleStringWithOptions(const PDXConversationExportOptions& options) const;

  void appendHTMLForSentMessageConversationType(std::string& html, const PDXMessageDetail& message,
                                                EConversationType type);
  void appendHTMLForReceivedMessageConversationOptions(std::string& html, const PDXMessageDetail& message,
                                                       const PDXMessagesConversation& conversation,
                                                       const PDXConversationExportOptions& options);
  void appendStandardMessageHTMLForMessageOptions(std::string& html, const PDXMessageDetail& message,
                                                  const PDXConversationExportOptions& options);
  void appendStandardImageHTMLTypeLocationOptions(std::string& html, const std::string& type,
                                                  const std::string& location,
                                                  const PDXConversationExportOptions& options);
  void appendStandardVideoHTMLLocationOptions(std::string& html, const std::string& location,
                                              const PDXConversationExportOptions& options);
  void appendStandardAttachmentHTMLTypeLocationOptions(std::string& html, const std::string& type,
                                                       const std::string& location,
                                                       const PDXConversationExportOptions& options);
  void appendNoteHTMLLocationOptions(std::string& html, const std::string& location,
                                     const PDXConversationExportOptions& options);

  /// A shared contact: its name, numbers and e-mail addresses, with the card in the media folder. Of several
  /// in one file the first is shown. A file that holds no contact is shown as any other.
  void appendVCardHTMLVCardLocationOptions(std::string& html, const std::string& vCardLocation,
                                           const PDXConversationExportOptions& options);

  /// A shared place, as a picture in the media folder; see getVCFLocationMapDestinationLabel. A file that
  /// names no place is shown as any other.
  void appendVLocationHTMLVLocationPathOptions(std::string& html, const std::string& vLocationPath,
                                               const PDXConversationExportOptions& options);

  /// "&", double quote, "<" and ">" as entities.
  static std::string escapeHTMLSpecialCharacters(std::string_view text);

  /// A picture inside the page, as an image element.
  static std::string imageToImageStringImageTypeExtensionAdditionalTags_(std::string_view image,
                                                                         const std::string& extension,
                                                                         const std::string& additionalTags);

 private:
  void appendMessage_(std::string& html, const PDXMessageDetail& message,
                      const PDXMessagesConversation& conversation,
                      const PDXConversationExportOptions& options);
  void appendPiece_(std::string& html, const PDXMessagePiece& piece,
                    const PDXConversationExportOptions& options);
  void appendText_(std::string& html, std::string_view text,
                   const PDXConversationExportOptions& options) const;
  void appendDateStamp_(std::string& html, const PDXMessageDetail& message);
  std::string senderName_(const PDXMessageDetail& message, const PDXMessagesConversation& conversation,
                          const PDXConversationExportOptions& options);
  const std::string& faceElement_(const std::string& address, const std::string& name,
                                  const PDXMessagesConversation& conversation,
                                  const PDXConversationExportOptions& options);
  const std::string& statusText_(const PDXMessageDetail& message);
  std::string timeText_(const PDXMessageDetail& message);
  std::optional<std::string> copyAttachment_(const std::string& location,
                                             const PDXConversationExportOptions& options, std::string& html,
                                             const std::string& imageType = "");
  std::string mediaFileFor_(const std::string& location, const PDXConversationExportOptions& options) const;
  PDXFiles::CopyResult putPicture_(std::string& file, const std::string& type, const std::string& location);
  void noteNotTurned_(const std::string& location, const std::string& why);
  PDXFiles::CopyResult copyToMediaFolder_(const std::string& location, const std::string& destination);
  std::string readableCard_(const std::string& location, std::string& html);
  bool saveCard_(const std::string& card, const std::string& name, const std::string& location,
                 const PDXConversationExportOptions& options, std::string& html);
  void noteUnwritten_(const std::string& location, const std::string& path,
                      const PDXFiles::CopyResult& failure, std::string& html);
  void noteMissing_(const std::string& location, const PDXFiles::CopyResult& result, std::string& html);

  PDXDeviceData& deviceData_;
  std::int32_t iOSVersion_;
  PDXDateFormatter& messageLineFormatter_;
  PDXDateFormatter& dateStampFormatter_;
  PDXDayCalendar& calendar_;
  const std::string sentText_;
  const std::string receiveText_;
  std::map<std::int32_t, std::string> statusTexts_;  ///< By read status, as far as asked for.
  std::optional<PDXDate> lastDay_;
  std::uint64_t attachmentCounter_ = 0;
  PDXParticipantCache participants_;
  std::unordered_map<std::string, std::string> contactImages_;
  std::unordered_map<std::string, std::string> faceElements_;  ///< By the sender's address.
  PDXConversationExporterDelegate* delegate_ = nullptr;
  std::stop_source stop_;
  PDXConversationExportResult result_;
};
