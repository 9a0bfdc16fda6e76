#include "app/cli/Listing.h"
#include "backup/BackupNavigation.h"
#include "backup/DeviceData.h"
#include "contacts/BlockedNumberReader.h"

PDXListing listBlocked(const PDXListRequest& request) {
  const std::string addressBook = request.deviceData.databaseOfFeature(PDXFeature::AddressBook);
  const std::string list = request.deviceData.GetFilesByFeatureType(PDXFeature::BlockedNumbers);
  PDXListing listing;
  for (const PDXBlockedNumber& blocked :
       PDXBlockedNumberReader::getBlockedNumbersFromPListContactsDatabase(list, addressBook)) {
    listing.items.push_back({{"number", blocked.number},
                             {"contactName", jsonOf(blocked.contactName)},
                             {"knownVariations", jsonOf(blocked.knownVariations)}});
    listing.lines.push_back(!blocked.contactName.value_or("").empty()
                                ? blocked.number + " (" + *blocked.contactName + ")"
                                : blocked.number);
  }
  listing.summary = countedEntries(listing.lines.size(), "blocked number", "blocked numbers");
  return listing;
}
