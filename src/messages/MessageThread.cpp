#include "messages/MessageThread.h"

#include <algorithm>

#include "platform/Text.h"

namespace {

template <typename Test>
bool anyPiece(const std::vector<PDXMessageDetail>& messages, Test test) {
  return std::any_of(messages.begin(), messages.end(), [&](const PDXMessageDetail& message) {
    return std::any_of(message.messagePieces.begin(), message.messagePieces.end(), test);
  });
}

}  // namespace

bool PDXMessageThread::hasReceivedMessages() const {
  return std::any_of(messages.begin(), messages.end(),
                     [](const PDXMessageDetail& message) { return message.direction == 0; });
}

bool PDXMessageThread::hasAttachments() const {
  return anyPiece(messages, [](const PDXMessagePiece& piece) { return !piece.isText(); });
}

bool PDXMessageThread::hasImages() const {
  return anyPiece(messages, [](const PDXMessagePiece& piece) { return piece.isImage(); });
}

bool PDXMessageThread::hasHeicAttachments() const {
  return anyPiece(messages, [](const PDXMessagePiece& piece) {
    return PDXText::lowercased(PDXText::pathExtension(piece.contentLocation)) == "heic";
  });
}
