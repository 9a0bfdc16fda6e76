#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "calllogs/CallLogEntry.h"
#include "calllogs/CallLogParticipant.h"
#include "calllogs/CallLogProvider.h"

/// The people of one call, or of all calls with the same people.
class PDXCallLogParticipantGroup {
 public:
  std::vector<PDXCallLogParticipant> participants;

  /// Of the newer store; the older one finds calls by their address.
  /// Source: ZCALLRECORD.Z_PK.
  std::vector<std::int64_t> participantGroupCallIds;

  /// Of the first call. The others may have come by another.
  PDXCallLogProvider provider;

  std::optional<PDXDate> mostRecentDate;
  std::optional<PDXDate> mostEarliestDate;

  /// The addresses, separated by commas.
  std::string participantGroupAddressesString() const;

  /// The names, separated by commas.
  std::string participantGroupNameString() const;

  /// E.g. "(1,2,3)".
  std::string participantGroupCallIdsString() const;

  /// The names, each once, sorted, joined with ", "; "" for callers who withheld their number.
  std::string displayName() const;

  /// Whether the device blocks any of the participants.
  bool isBlocked() const;

  /// Whether nobody in it has a name.
  bool isNamedByAddress() const;
};

/// The calls of one group, by date.
struct PDXCallLog {
  PDXCallLog() = default;
  explicit PDXCallLog(PDXCallLogParticipantGroup group) : participantGroup(std::move(group)) {}

  PDXCallLogParticipantGroup participantGroup;
  std::vector<PDXCallLogEntry> entries;

  /// What to call the group where people read it: its names; for a stranger the address, with the name that
  /// the device wrote down with a call, if any; "Unknown caller" for withheld numbers.
  std::string title() const;

  /// Sorts the entries by date, those without one first, and marks the last when the group is blocked.
  void arrange();
};
