#pragma once

#include <optional>

#include "platform/Date.h"

/// A range of days in the environment's time zone; without a start date it holds every date.
class PDXDateFilterOptions {
 public:
  PDXDateFilterOptions() = default;
  explicit PDXDateFilterOptions(std::optional<PDXDate> start, std::optional<PDXDate> end = std::nullopt)
      : startDate(start), endDate(end) {}

  /// Whether there is a start date.
  bool hasDateRange() const { return startDate.has_value(); }

  /// Whether the date lies between the midnights that begin the start day and the end day (today, without an
  /// end date), both included: what happens later on the end day lies outside. A missing date never does.
  bool isDateInRange(const std::optional<PDXDate>& date) const;

  std::optional<PDXDate> startDate;
  std::optional<PDXDate> endDate;

  /// The date's day without the time of day.
  static PDXDate dateWithOutTime_(PDXDate date) { return PDXDates::startOfDay(date); }
};
