#include "messages/MessageDetail.h"

#include <algorithm>

#include "platform/Text.h"

bool PDXMessagePiece::isText() const {
  return PDXText::lowercased(contentType).find("text") != std::string::npos;
}

bool PDXMessagePiece::isImage() const {
  return PDXText::lowercased(contentType).find("image") != std::string::npos;
}

bool PDXMessageDetail::contains(std::string_view searchTerm) const {
  if (searchTerm.empty() || message.empty()) return false;
  if (PDXText::containsIgnoringCase(message, searchTerm)) return true;
  return std::any_of(messagePieces.begin(), messagePieces.end(), [&](const PDXMessagePiece& piece) {
    return piece.isText() && PDXText::containsIgnoringCase(piece.contentLocation, searchTerm);
  });
}
