#include <cstddef>
#include <cstdint>
#include <string_view>

#include "contacts/ContactGoogleCSVGenerator.h"
#include "contacts/ContactVCardGenerator.h"
#include "contacts/VCardReader.h"
#include "messages/SharedLocation.h"

/// Any bytes as a file of cards: what is read must also be fit to be written.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const auto contacts = PDXVCardReader::readContactsFromVCardBytes(bytes);
  for (const PDXContactEntry& contact : contacts) PDXContactVCardGenerator::generateFromContact(contact);
  PDXContactGoogleCSVGenerator::generateForContacts(contacts);
  PDXSharedLocation::fromVCard(bytes);
  return 0;
}
