#include "calllogs/CallLogProvider.h"

#include "platform/Text.h"

PDXCallLogProvider::Type PDXCallLogProvider::determineProviderType(std::string_view rawString) {
  if (rawString == "com.apple.Telephony") return Phone;
  if (rawString == "com.apple.FaceTime") return FaceTime;
  if (PDXText::containsIgnoringCase(rawString, "skype")) return Skype;
  if (PDXText::containsIgnoringCase(rawString, "whatsapp")) return WhatsApp;
  if (PDXText::containsIgnoringCase(rawString, "picaboo")) return Snapchat;
  return Unknown;
}

void PDXCallLogProvider::setCallLogProviderTypeRawString(const std::string& rawString) {
  rawString_ = rawString;
  const std::size_t dot = rawString.rfind('.');
  type_ = dot == std::string::npos ? Unknown : determineProviderType(rawString);
  typeString_ = dot == std::string::npos ? "Unknown" : rawString.substr(dot + 1);
  if (type_ == Phone) typeString_ = "Phone";
  if (type_ == Snapchat) typeString_ = "Snapchat";
}

std::string PDXCallLogProvider::callLogProviderTypeString() const {
  if (typeString_.empty()) return "";
  const std::size_t rest = PDXText::length(typeString_) - 1;
  const std::string_view tail = PDXText::lastCharacters(typeString_, rest);
  return PDXText::uppercased(typeString_.substr(0, typeString_.size() - tail.size())).append(tail);
}
