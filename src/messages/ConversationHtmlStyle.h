#pragma once

#include <string>

#include "messages/ConversationExportOptions.h"

namespace PDXConversationHtmlStyle {

/// The rules of a conversation page's style sheet for the options' layout, font sizes and contact pictures;
/// every rule ends with "\r\n".
std::string rules(const PDXConversationExportOptions& options);

}  // namespace PDXConversationHtmlStyle
