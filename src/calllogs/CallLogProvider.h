#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The service that carried a call.
class PDXCallLogProvider {
 public:
  enum Type : std::int32_t { Unknown = 0, Phone = 1, FaceTime = 2, WhatsApp = 3, Snapchat = 4, Skype = 5 };

  PDXCallLogProvider() = default;
  explicit PDXCallLogProvider(const std::string& rawString) { setCallLogProviderTypeRawString(rawString); }

  /// As the store has it, e.g. "com.apple.Telephony"; "" when it does not tell.
  /// Source: ZCALLRECORD.ZSERVICE_PROVIDER.
  const std::string& callLogProviderTypeRawString() const { return rawString_; }

  /// Decides type and type string as well.
  void setCallLogProviderTypeRawString(const std::string& rawString);

  /// For people, its first letter in upper case: "Phone", "FaceTime", "Snapchat", else what follows the last
  /// dot of the raw string, or "Unknown".
  std::string callLogProviderTypeString() const;

  std::int32_t callLogProviderType() const { return type_; }

  /// The type of a service, whatever it is called.
  static Type determineProviderType(std::string_view rawString);

 private:
  std::string rawString_;
  std::string typeString_ = "Unknown";
  Type type_ = Unknown;
};
