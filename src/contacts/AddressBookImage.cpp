#include "contacts/AddressBookImage.h"

#include "contacts/ContactEntry.h"
#include "platform/Graphemes.h"
#include "platform/Images.h"

namespace {

/// Keeps the two letters of scripts that join theirs apart, and takes no room itself.
constexpr const char* kNonJoiner = "\u200C";

}  // namespace

std::optional<PDXFacePicture>
PDXAddressBookImage::generateAddressBookImageWithFirstNameSecondNameContactImageSize(
    const std::string& firstName, const std::string& secondName, const PDXBytes& contactImage, int size,
    const std::string& colourOf) {
  if (!contactImage.empty()) return PDXFaces::fromPicture(contactImage, size);
  std::string letters = PDXGraphemes::first(firstName);
  if (!secondName.empty()) letters += kNonJoiner + PDXGraphemes::first(secondName);
  return PDXFaces::fromLetters(letters, colourOf.empty() ? firstName + " " + secondName : colourOf, size);
}

PDXBytes PDXAddressBookImage::pictureOf(const PDXContactEntry& contact) {
  PDXBytes picture = contact.picture.bytes();
  if (picture.size() > 1 && PDXImages::extensionFor(picture).empty()) {
    PDXBytes behindFirst(picture.begin() + 1, picture.end());
    if (!PDXImages::extensionFor(behindFirst).empty()) return behindFirst;
  }
  return picture;
}
