#include "calllogs/CallLogParticipant.h"

#include <algorithm>

#include "calllogs/CallLogNames.h"

void PDXCallLogParticipant::setAddress(const std::string& address, PDXCallLogNames& names) {
  if (std::find(addresses.begin(), addresses.end(), address) == addresses.end()) addresses.push_back(address);
  const PDXCallLogNames::Known& known = names.of(address);
  name = known.name.empty() ? address : known.name;
  isContactBlocked = known.isBlocked;
}

void PDXCallLogParticipant::takeInDates(const std::optional<PDXDate>& earliest,
                                        const std::optional<PDXDate>& latest) {
  if (earliest && (!mostEarliestDate || *earliest < *mostEarliestDate)) mostEarliestDate = earliest;
  if (latest && (!mostRecentDate || *latest > *mostRecentDate)) mostRecentDate = latest;
}

void PDXCallLogParticipant::mergeWith(const PDXCallLogParticipant& other) {
  addresses.insert(addresses.end(), other.addresses.begin(), other.addresses.end());
  takeInDates(other.mostEarliestDate, other.mostRecentDate);
  isContactBlocked = isContactBlocked || other.isContactBlocked;
  isMerged = true;
}
