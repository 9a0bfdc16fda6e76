#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Date.h"

/// One call.
struct PDXCallLogEntry {
  enum Flags : std::int64_t { outgoing = 1, faceTime = 16 };

  /// Missing when the store has none, or one that no calendar has.
  /// Source: ZCALLRECORD.ZDATE or call.date, seconds since 2001 in UTC.
  std::optional<PDXDate> date;

  /// Seconds; 0 when nobody answered. Source: ZCALLRECORD.ZDURATION or call.duration.
  double duration = 0;

  /// Source: call.flags as it stands; of the newer store ZORIGINATED and ZFACE_TIME_DATA.
  std::int64_t flags = 0;

  /// All names of the group that the call belongs to, separated by commas. Filled with the list of one group;
  /// left empty in the list of all calls, where the group is at hand and may have a great many names.
  std::string name;

  /// The other side's number, e-mail address or handle; "" when it was withheld, or when there were several.
  /// In the list of all calls, several are separated by ", ". Source: ZCALLRECORD.ZADDRESS or call.address.
  std::string address;

  /// Where the number belongs, e.g. "Leeds"; "" when the store does not tell. Source: ZCALLRECORD.ZLOCATION.
  std::string location;

  /// Never told by a store.
  std::string state;

  /// Whether it is the last call of somebody whom the device blocks.
  bool isLastEntryBeforeBlock = false;

  /// The service that carried it, as stored. Source: ZCALLRECORD.ZSERVICE_PROVIDER.
  std::string provider;

  /// The name that the device wrote down with the call. Source: ZCALLRECORD.ZNAME or call.name.
  std::string recordedName;

  /// 0 of another application, 1 telephone, 8 FaceTime with picture, 16 without. Missing when not told.
  /// Source: ZCALLRECORD.ZCALLTYPE.
  std::optional<std::int64_t> callType;

  /// Whether somebody answered; missing when the store leaves it open, as it does for calls from the device
  /// that lasted no time. Source: ZCALLRECORD.ZANSWERED for calls to the device, else the duration.
  std::optional<bool> isAnswered;

  /// Whether the call was made from the device.
  bool isCallMade() const { return (flags & outgoing) != 0; }

  /// Whether somebody called and nobody answered.
  bool isMissed() const { return !isCallMade() && isAnswered == false; }

  /// The location, unless it is the device's own mark for "not found".
  std::string locationText() const;

  /// For people: "Phone", "FaceTime video", "FaceTime audio", "FaceTime", or the other application's name;
  /// "" when nothing tells.
  std::string kindText() const;
};
