#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/Date.h"

class PDXCallLogNames;

/// Somebody who called or was called.
class PDXCallLogParticipant {
 public:
  std::vector<std::string> addresses;

  /// From the contacts, else from the preferences of the messages application. Who has no name there is named
  /// by the address, so that strangers stay apart; "" only without an address.
  std::string name;

  bool isContactBlocked = false;

  /// Whether it came from several addresses of one name.
  bool isMerged = false;

  /// Of the calls of these addresses; missing when no call of them has a date.
  std::optional<PDXDate> mostRecentDate;
  std::optional<PDXDate> mostEarliestDate;

  /// The first of the addresses; "" without any.
  std::string address() const { return addresses.empty() ? "" : addresses.front(); }

  /// Adds the address, and finds name and block by it.
  void setAddress(const std::string& address, PDXCallLogNames& names);

  /// Whether no source knows a name.
  bool isNamedByAddress() const { return name == address(); }

  /// Widens the dates so that they take in these.
  void takeInDates(const std::optional<PDXDate>& earliest, const std::optional<PDXDate>& latest);

  /// Adds the other's addresses and dates. The result is merged.
  void mergeWith(const PDXCallLogParticipant& other);
};
