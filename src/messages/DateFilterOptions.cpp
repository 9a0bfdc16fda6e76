#include "messages/DateFilterOptions.h"

bool PDXDateFilterOptions::isDateInRange(const std::optional<PDXDate>& date) const {
  if (!date) return false;
  if (!startDate) return true;
  const PDXDate now = std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
  return *date >= dateWithOutTime_(*startDate) && *date <= dateWithOutTime_(endDate.value_or(now));
}
