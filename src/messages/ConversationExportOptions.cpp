#include "messages/ConversationExportOptions.h"

PDXMessageFontSizes::PDXMessageFontSizes(std::int32_t style) {
  constexpr std::int32_t kSizes[][3] = {{10, 14, 8}, {12, 16, 10}, {14, 18, 12}, {18, 22, 14}};
  if (style < 0 || style > 3) return;
  textSize = kSizes[style][0];
  headerSize = kSizes[style][1];
  subTextSize = kSizes[style][2];
}
