#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/Date.h"

/// What the user chose for an export.
struct PDXConversationExportOptions {
  /// The output is for the application's own preview: attachments stay where they are and links do nothing.
  bool isPreview = false;

  bool includeMessageContactNumber = false;  ///< The sender's address beside the sender's name.
  bool includeContactImages = false;         ///< Pictures of the participants.
  bool onlyShowMessagesMatchingSearch = false;

  std::int32_t messageOrder = 0;   ///< 0 oldest first, anything else newest first.
  std::int32_t exportLayout = 0;   ///< 1 compact, anything else bubbles.
  std::int32_t fontSizeStyle = 1;  ///< An index into PDXMessageFontSizes.

  /// An attachment that a browser would open as a page gets ".txt" behind its name, since a page reads what
  /// lies around it and asks others for more.
  bool savesPagesAsText = false;

  std::string path;       ///< The output file; "" for a preview.
  std::string mediaPath;  ///< The folder for attachments; "" for the one beside the page.

  std::optional<PDXDate> startDate;
  std::optional<PDXDate> endDate;  ///< Within the last day that is taken in.
  std::string searchTerm;
};

/// Font sizes in points.
struct PDXMessageFontSizes {
  /// @param style  0 to 3, small to extra large; any other leaves all sizes at 0.
  explicit PDXMessageFontSizes(std::int32_t style = 1);

  std::int32_t textSize = 0;
  std::int32_t headerSize = 0;
  std::int32_t subTextSize = 0;
};
