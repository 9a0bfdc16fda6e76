#include "platform/TimeZone.h"

#include <unicode/timezone.h>

#include <memory>

std::string PDXTimeZone::name() {
  const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createDefault());
  icu::UnicodeString id;
  std::string text;
  return zone->getID(id).toUTF8String(text);
}
