#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// A moment, in UTC.
using PDXDate = std::chrono::sys_time<std::chrono::microseconds>;

/// Calendar and clock in the environment's time zone.
namespace PDXDates {

/// 2001-01-01 00:00:00 UTC, from which the device's databases count.
inline constexpr PDXDate kReference = std::chrono::sys_days(std::chrono::year(2001) / 1 / 1);

/// The moment `seconds` after 2001-01-01 00:00:00 UTC; stops at the ends of what a PDXDate can hold.
PDXDate fromReferenceSeconds(std::int64_t seconds);

/// The same with a fraction. Nothing for what is no date of a calendar: no number, infinite, or outside the
/// years 1 to 9999, which other programs cannot read.
std::optional<PDXDate> fromReferenceFraction(double seconds);

/// Whole seconds since 2001-01-01 00:00:00 UTC, the fraction dropped.
std::int64_t referenceSeconds(PDXDate date);

/// The first moment of the date's day.
PDXDate startOfDay(PDXDate date);

/// The first moment of the day after the date's day.
PDXDate startOfNextDay(PDXDate date);

/// The first moment of a day written "YYYY-MM-DD"; nothing when the text is none or the day does not exist.
std::optional<PDXDate> fromDayText(std::string_view text);

/// ISO 8601 in UTC, e.g. "2020-01-06T10:40:00Z", with a fraction only when there is one.
std::string isoText(PDXDate date);

}  // namespace PDXDates

/// Turns dates into text in the environment's locale and time zone, as ICU writes them. Making one is
/// costly and asking it is cheap: it keeps the texts of days and minutes. One formatter, one thread.
class PDXDateFormatter {
 public:
  enum class Style {
    longDateShortTime,  ///< e.g. "January 6, 2020 at 10:40 AM"
    longDate,           ///< e.g. "January 6, 2020"
  };

  explicit PDXDateFormatter(Style style);

  /// @param pattern  in Unicode's date field symbols, e.g. "dd MMM yyyy".
  explicit PDXDateFormatter(const std::string& pattern);

  ~PDXDateFormatter();
  PDXDateFormatter(PDXDateFormatter&&) noexcept;
  PDXDateFormatter& operator=(PDXDateFormatter&&) noexcept;

  std::string text(PDXDate date);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// Tells days apart in the environment's time zone, quickly for days that come again. One calendar, one
/// thread.
class PDXDayCalendar {
 public:
  PDXDayCalendar();
  ~PDXDayCalendar();
  PDXDayCalendar(PDXDayCalendar&&) noexcept;
  PDXDayCalendar& operator=(PDXDayCalendar&&) noexcept;

  /// The first moment of the date's day.
  PDXDate startOfDay(PDXDate date);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// Writes moments as ISO 8601 in the environment's time zone, e.g. "2020-01-06T11:40:00+01:00", in whole
/// seconds, and quickly. One writer, one thread.
class PDXLocalTimes {
 public:
  PDXLocalTimes();
  ~PDXLocalTimes();
  PDXLocalTimes(PDXLocalTimes&&) noexcept;
  PDXLocalTimes& operator=(PDXLocalTimes&&) noexcept;

  std::string text(PDXDate date);

 private:
  struct State;
  std::unique_ptr<State> state_;
};
