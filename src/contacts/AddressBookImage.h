#pragma once

#include <optional>
#include <string>

#include "platform/FacePicture.h"

struct PDXContactEntry;

/// Draws the small round pictures that stand beside people. Safe on any thread.
class PDXAddressBookImage {
 public:
  /// The picture, cut round; without one the names' first characters on a disc.
  /// @param firstName     what stands first on the disc; its first character is drawn.
  /// @param secondName    what stands behind it; may be empty.
  /// @param contactImage  a picture's file as stored; empty for none.
  /// @param size          width and height in pixels.
  /// @param colourOf      the disc's colour is the same wherever this is: the whole name, say. Empty for the
  ///                      two names.
  /// @return nothing when there is a picture and it cannot be read.
  static std::optional<PDXFacePicture> generateAddressBookImageWithFirstNameSecondNameContactImageSize(
      const std::string& firstName, const std::string& secondName, const PDXBytes& contactImage, int size,
      const std::string& colourOf = "");

  /// The bytes of a contact's picture from where they begin: some stores put a byte in front of them.
  static PDXBytes pictureOf(const PDXContactEntry& contact);
};
