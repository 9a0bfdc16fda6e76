#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Bytes.h"
#include "platform/Sqlite.h"
#include "samples/Table.h"

/// One row of the messages store. Dates are as the store keeps them: 0 is none.
struct PDXSampleMessage {
  std::int64_t chat = 0;    ///< 0 for none.
  std::int64_t handle = 0;  ///< Whose message it is; 0 for most of the owner's.
  std::string guid;
  std::optional<std::string_view> text;
  PDXBytes attributedBody;  ///< The text in the form of newer systems; empty for none.
  std::string_view subject;
  std::string_view service;
  std::string_view roomName;  ///< Of the group that holds it.
  std::int64_t date = 0;
  std::int64_t dateRead = 0;
  std::int64_t dateDelivered = 0;
  std::int64_t dateDeleted = 0;  ///< Moves the message to "recently deleted".
  bool isFromMe = false;
  bool isSent = false;
  bool isDelivered = false;
  bool isRead = false;
  bool hasAttachments = false;
  int error = 0;
  int itemType = 0;  ///< 0 message, 1 somebody joins, 2 new group name, 3 somebody leaves.
  std::int64_t otherHandle = 0;
  std::string_view groupTitle;
  std::string associatedGuid;
  int associatedType = 0;
  std::string replyToGuid;
};

/// One conversation of the messages store.
struct PDXSampleChat {
  std::string address;  ///< Of the other side, or of the group's room.
  bool isGroup = false;
  std::string_view service;
  std::string_view name;
};

/// One file that a message refers to.
struct PDXSampleAttachmentRow {
  std::int64_t message = 0;
  std::string guid;
  std::int64_t created = 0;  ///< Seconds since 2001.
  std::string filename;      ///< "" when the device never had the file.
  std::string_view uti;
  std::string_view mimeType;
  std::string_view name;
  std::int64_t size = 0;
  bool isOutgoing = false;
};

/// Writes a messages store in the layout of the system's version 17. Rows go in first and indexes follow at
/// the end, so that a million messages take seconds.
class PDXSampleMessageStore {
 public:
  /// @param path  must not exist.
  explicit PDXSampleMessageStore(const std::string& path);

  /// All answer the new row's number, from 1 in each table.
  std::int64_t addHandle(std::string_view address, std::string_view service);
  std::int64_t addChat(const PDXSampleChat& chat, const std::string& groupId);
  std::int64_t addMessage(const PDXSampleMessage& message);
  std::int64_t addAttachment(const PDXSampleAttachmentRow& attachment);

  void addParticipant(std::int64_t chat, std::int64_t handle);

  /// Closes the store with its indexes and triggers. False when anything has failed; see `error`.
  [[nodiscard]] bool finish();

  const std::string& error() const { return error_; }

 private:
  bool failed_() const;

  PDXSQLiteDatabase database_;
  bool isBegun_;
  PDXSampleTable handles_;
  PDXSampleTable chats_;
  PDXSampleTable participants_;
  PDXSampleTable messages_;
  PDXSampleTable chatMessages_;
  PDXSampleTable deletedMessages_;
  PDXSampleTable attachments_;
  PDXSampleTable messageAttachments_;
  PDXSampleTable values_;
  PDXSampleTable properties_;
  std::int64_t lastHandle_ = 0;
  std::int64_t lastChat_ = 0;
  std::int64_t lastMessage_ = 0;
  std::int64_t lastAttachment_ = 0;
  std::int64_t lastFailedMessage_ = 0;
  std::int64_t lastFailedDate_ = 0;
  std::string error_;
};
