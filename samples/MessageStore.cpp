#include "samples/MessageStore.h"

#include <algorithm>

#include "samples_embedded.h"

namespace {

constexpr std::string_view kOwnNumber = "+447700900000";
constexpr std::string_view kAccount = "P:+447700900000";
constexpr std::string_view kAccountGuid = "5B0F2C5E-0001-4A00-A000-0000000000A1";
constexpr int kFinishedTransfer = 5;

constexpr std::string_view kChatColumns =
    "ROWID, guid, style, state, account_id, chat_identifier, service_name, room_name, account_login, "
    "last_addressed_handle, display_name, group_id, is_filtered, successful_query, original_group_id";
constexpr std::string_view kMessageColumns =
    "ROWID, guid, text, attributedBody, handle_id, subject, country, version, service, account, "
    "account_guid, error, date, "
    "date_read, date_delivered, is_delivered, is_finished, is_from_me, is_empty, is_read, is_sent, "
    "cache_has_attachments, cache_roomnames, was_data_detected, item_type, other_handle, group_title, "
    "group_action_type, associated_message_guid, associated_message_type, associated_message_range_length, "
    "destination_caller_id, reply_to_guid, part_count";
constexpr std::string_view kAttachmentColumns =
    "ROWID, guid, created_date, start_date, filename, uti, mime_type, transfer_state, is_outgoing, "
    "transfer_name, total_bytes, original_guid";

/// Speed over safety: a store that was not finished is thrown away.
constexpr const char* kBegin =
    "PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; PRAGMA cache_size=-131072; PRAGMA temp_store=MEMORY; "
    "BEGIN";

bool begin(const PDXSQLiteDatabase& database) {
  return database.run(std::string(PDXSampleStores::sms_sql)) && database.run(kBegin);
}

std::int64_t partsOf(const PDXSampleMessage& message) { return message.itemType == 0 ? 1 : 0; }

/// A reaction covers the whole text of the message that it is about.
std::int64_t coveredBy(const PDXSampleMessage& message) { return message.associatedType == 0 ? 0 : 1; }

}  // namespace

PDXSampleMessageStore::PDXSampleMessageStore(const std::string& path)
    : database_(path, PDXSQLiteAccess::create),
      isBegun_(begin(database_)),
      handles_(database_, "handle", "ROWID, id, country, service, uncanonicalized_id"),
      chats_(database_, "chat", kChatColumns),
      participants_(database_, "chat_handle_join", "chat_id, handle_id"),
      messages_(database_, "message", kMessageColumns),
      chatMessages_(database_, "chat_message_join", "chat_id, message_id, message_date"),
      deletedMessages_(database_, "chat_recoverable_message_join", "chat_id, message_id, delete_date"),
      attachments_(database_, "attachment", kAttachmentColumns),
      messageAttachments_(database_, "message_attachment_join", "message_id, attachment_id"),
      values_(database_, "kvtable", "key, value"),
      properties_(database_, "_SqliteDatabaseProperties", "key, value") {}

std::int64_t PDXSampleMessageStore::addHandle(std::string_view address, std::string_view service) {
  const std::string_view country = address.starts_with("+1") ? "us" : "gb";
  handles_.add({++lastHandle_, address, country, service, nullptr});
  return lastHandle_;
}

std::int64_t PDXSampleMessageStore::addChat(const PDXSampleChat& chat, const std::string& groupId) {
  constexpr auto text = PDXSampleTable::textOrNull;
  const std::string guid = std::string(chat.service) + (chat.isGroup ? ";+;" : ";-;") + chat.address;
  const std::string room = chat.isGroup ? chat.address : "";
  chats_.add({++lastChat_, guid, chat.isGroup ? 43 : 45, 3, kAccountGuid, chat.address, chat.service,
              text(room), kAccount, kOwnNumber, text(chat.name), groupId, 0, 1, groupId});
  return lastChat_;
}

void PDXSampleMessageStore::addParticipant(std::int64_t chat, std::int64_t handle) {
  participants_.add({chat, handle});
}

std::int64_t PDXSampleMessageStore::addMessage(const PDXSampleMessage& message) {
  constexpr auto text = PDXSampleTable::textOrNull;
  const PDXSampleTable::Value body = message.text ? PDXSampleTable::Value(*message.text) : nullptr;
  const PDXSampleTable::Value attributedBody =
      message.attributedBody.empty() ? PDXSampleTable::Value(nullptr) : &message.attributedBody;
  const bool isEmpty = message.text && message.text->empty();
  messages_.add({++lastMessage_,
                 message.guid,
                 body,
                 attributedBody,
                 message.handle,
                 text(message.subject),
                 "gb",
                 10,
                 message.service,
                 kAccount,
                 kAccountGuid,
                 message.error,
                 message.date,
                 message.dateRead,
                 message.dateDelivered,
                 message.isDelivered,
                 1,
                 message.isFromMe,
                 isEmpty,
                 message.isRead,
                 message.isSent,
                 message.hasAttachments,
                 text(message.roomName),
                 1,
                 message.itemType,
                 message.otherHandle,
                 text(message.groupTitle),
                 0,
                 text(message.associatedGuid),
                 message.associatedType,
                 coveredBy(message),
                 kOwnNumber,
                 text(message.replyToGuid),
                 partsOf(message)});
  if (message.dateDeleted != 0) {
    deletedMessages_.add({message.chat, lastMessage_, message.dateDeleted});
  } else if (message.chat != 0) {
    chatMessages_.add({message.chat, lastMessage_, message.date});
  }
  if (message.error != 0) {
    lastFailedMessage_ = lastMessage_;
    lastFailedDate_ = message.date;
  }
  return lastMessage_;
}

std::int64_t PDXSampleMessageStore::addAttachment(const PDXSampleAttachmentRow& attachment) {
  constexpr auto text = PDXSampleTable::textOrNull;
  const int state = attachment.filename.empty() ? 0 : kFinishedTransfer;
  attachments_.add({++lastAttachment_, attachment.guid, attachment.created, attachment.created,
                    text(attachment.filename), text(attachment.uti), text(attachment.mimeType), state,
                    attachment.isOutgoing, attachment.name, attachment.size, attachment.guid});
  messageAttachments_.add({attachment.message, lastAttachment_});
  return lastAttachment_;
}

bool PDXSampleMessageStore::finish() {
  properties_.add({"_ClientVersion", "17003"});
  if (lastFailedMessage_ != 0) {
    values_.add({"lastFailedMessageDate", lastFailedDate_});
    values_.add({"lastFailedMessageRowID", lastFailedMessage_});
  }
  const bool isWhole =
      !failed_() && database_.run(std::string(PDXSampleStores::sms_indexes_sql)) && database_.run("COMMIT");
  if (!isWhole) error_ = "messages: " + database_.error();
  return isWhole;
}

bool PDXSampleMessageStore::failed_() const {
  const PDXSampleTable* const tables[] = {
      &handles_,         &chats_,       &participants_,       &messages_, &chatMessages_,
      &deletedMessages_, &attachments_, &messageAttachments_, &values_,   &properties_};
  return !isBegun_ ||
         std::any_of(std::begin(tables), std::end(tables), [](const auto* table) { return table->failed(); });
}
