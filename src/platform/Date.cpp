#include "platform/Date.h"

#include <fmt/format.h>
#include <unicode/basictz.h>
#include <unicode/datefmt.h>
#include <unicode/gregocal.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/tztrans.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <iterator>
#include <map>
#include <utility>
#include <vector>

namespace {

using std::chrono::floor;
using std::chrono::milliseconds;
using std::chrono::minutes;

constexpr std::int64_t kMinutesADay = 24 * 60;

UDate icuDate(PDXDate date) {
  return static_cast<double>(floor<milliseconds>(date.time_since_epoch()).count());
}

PDXDate fromIcu(UDate date) {
  constexpr double kLimit = 9.2e15;  // Milliseconds that still fit a PDXDate.
  return PDXDate(milliseconds(static_cast<std::int64_t>(std::clamp(date, -kLimit, kLimit))));
}

/// A proleptic Gregorian calendar: the device knows no Julian dates.
icu::GregorianCalendar makeCalendar() {
  UErrorCode status = U_ZERO_ERROR;
  icu::GregorianCalendar calendar(status);
  calendar.setGregorianChange(-9.2e15, status);
  // Where the clock goes back over midnight a day begins the first time that it shows 0:00.
  calendar.setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
  return calendar;
}

void toStartOfDay(icu::Calendar& calendar) {
  for (const auto field : {UCAL_HOUR_OF_DAY, UCAL_MINUTE, UCAL_SECOND, UCAL_MILLISECOND})
    calendar.set(field, 0);
}

/// A day's two ends.
struct Day {
  PDXDate begin = PDXDate::max();
  PDXDate end = PDXDate::min();
  bool isPlain = false;            ///< Its clock runs through without a shift.
  std::vector<std::string> texts;  ///< What a formatter writes for it, part by part.

  /// Whether the date certainly lies in this day. A day when the clock is put back may have moments of the
  /// day before between its ends, so it holds none.
  bool holds(PDXDate date) const { return isPlain && begin <= date && date < end; }
};

Day dayOf(icu::GregorianCalendar& calendar, PDXDate date) {
  UErrorCode status = U_ZERO_ERROR;
  calendar.setTime(icuDate(date), status);
  toStartOfDay(calendar);
  Day day;
  day.begin = fromIcu(calendar.getTime(status));
  calendar.add(UCAL_DATE, 1, status);
  toStartOfDay(calendar);
  day.end = fromIcu(calendar.getTime(status));
  day.isPlain = day.end - day.begin == minutes(kMinutesADay);
  return day;
}

/// The days met so far. The messages of a phone fall on a few thousand, and conversation after conversation
/// comes back to them, while a calendar takes its time to say where a day begins.
class KnownDays {
 public:
  /// The date's day. Valid until the next call.
  /// @param fill  is called for a new day.
  template <typename Fill>
  const Day& of(PDXDate date, Fill fill) {
    if (current_->holds(date)) return *current_;
    const auto behind = days_.upper_bound(date);
    if (behind != days_.begin() && std::prev(behind)->second.holds(date)) {
      current_ = &std::prev(behind)->second;
      return *current_;
    }
    constexpr std::size_t kMost = 10'000;
    if (days_.size() >= kMost) days_.clear();
    Day day = dayOf(calendar_, date);
    fill(day);
    current_ = &(days_[day.begin] = std::move(day));
    return *current_;
  }

 private:
  const Day none_{};
  const Day* current_ = &none_;
  std::map<PDXDate, Day> days_;  ///< By their beginning.
  icu::GregorianCalendar calendar_ = makeCalendar();
};

bool isLetter(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }
bool isDayField(char16_t c) {
  return std::u16string_view(u"GyYuUrQqMLwWdDFgEec").find(c) != std::u16string_view::npos;
}
bool isMinuteField(char16_t c) {
  return std::u16string_view(u"abBhHKkm").find(c) != std::u16string_view::npos;
}

/// A pattern cut where fields of the day meet fields of the time of day.
struct PatternPart {
  bool isTime = false;
  icu::UnicodeString pattern;
};

/// The parts of a pattern in order; empty when it has fields finer than a minute, or of the time zone.
std::vector<PatternPart> partsOf(const icu::UnicodeString& pattern) {
  std::vector<PatternPart> parts(1);
  bool quoted = false;
  bool any = false;
  for (std::int32_t i = 0; i < pattern.length(); ++i) {
    const char16_t c = pattern[i];
    if (c == u'\'') quoted = !quoted;
    if (!quoted && isLetter(c)) {
      const bool time = isMinuteField(c);
      if (!time && !isDayField(c)) return {};
      if (any && time != parts.back().isTime) parts.emplace_back();
      parts.back().isTime = time;
      any = true;
    }
    parts.back().pattern += c;
  }
  return parts;
}

std::string utf8(const icu::UnicodeString& text) {
  std::string result;
  return text.toUTF8String(result);
}

/// One part of a pattern; that of a time with the texts it gave, one for each minute of a day.
struct FormattedPart {
  bool isTime = false;
  std::unique_ptr<icu::SimpleDateFormat> format;
  std::array<std::string, kMinutesADay> minuteTexts;
};

}  // namespace

namespace PDXDates {

PDXDate fromReferenceSeconds(std::int64_t seconds) {
  constexpr std::int64_t kLimit = 9'000'000'000'000;
  return kReference + std::chrono::seconds(std::clamp(seconds, -kLimit, kLimit));
}

std::optional<PDXDate> fromReferenceFraction(double seconds) {
  constexpr PDXDate kFirst = std::chrono::sys_days(std::chrono::year(1) / 1 / 1);
  constexpr PDXDate kBehind = std::chrono::sys_days(std::chrono::year(10000) / 1 / 1);
  constexpr double kFar = 1e12;
  if (!(std::abs(seconds) < kFar)) return std::nullopt;
  const PDXDate date =
      kReference + std::chrono::round<std::chrono::microseconds>(std::chrono::duration<double>(seconds));
  return date >= kFirst && date < kBehind ? std::optional(date) : std::nullopt;
}

std::int64_t referenceSeconds(PDXDate date) {
  return std::chrono::duration_cast<std::chrono::seconds>(date - kReference).count();
}

PDXDate startOfDay(PDXDate date) {
  auto calendar = makeCalendar();
  return dayOf(calendar, date).begin;
}

PDXDate startOfNextDay(PDXDate date) {
  auto calendar = makeCalendar();
  return dayOf(calendar, date).end;
}

std::optional<PDXDate> fromDayText(std::string_view text) {
  const auto number = [text](std::size_t at, std::size_t count) {
    int value = -1;
    const char* end = text.data() + at + count;
    const auto result = std::from_chars(text.data() + at, end, value);
    return result.ec == std::errc() && result.ptr == end && text[at] != '-' ? value : -1;
  };
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') return std::nullopt;
  const int year = number(0, 4);
  const int month = number(5, 2);
  const int day = number(8, 2);
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  if (year < 1 || month < 0 || day < 0 || !date.ok()) return std::nullopt;

  auto calendar = makeCalendar();
  UErrorCode status = U_ZERO_ERROR;
  calendar.clear();
  calendar.set(year, month - 1, day);
  const PDXDate moment = fromIcu(calendar.getTime(status));
  if (U_FAILURE(status)) return std::nullopt;
  return moment;
}

std::string isoText(PDXDate date) {
  const auto day = floor<std::chrono::days>(date);
  const std::chrono::year_month_day ymd(day);
  const std::chrono::hh_mm_ss time(date - day);
  std::string text = "0000-00-00T00:00:00";
  // Lists have a date or two in each row: this is written out for speed.
  const auto put = [&text](std::size_t at, std::size_t digits, std::int64_t value) {
    for (std::size_t i = digits; i-- > 0; value /= 10) text[at + i] = static_cast<char>('0' + value % 10);
  };
  put(5, 2, static_cast<unsigned>(ymd.month()));
  put(8, 2, static_cast<unsigned>(ymd.day()));
  put(11, 2, time.hours().count());
  put(14, 2, time.minutes().count());
  put(17, 2, time.seconds().count());
  const int year = static_cast<int>(ymd.year());
  if (year >= 0 && year <= 9999) {
    put(0, 4, year);
  } else {
    text.replace(0, 4, fmt::format("{:04}", year));
  }
  if (time.subseconds().count() != 0) {
    const std::size_t end = text.size();
    text += ".000000";
    put(end + 1, 6, time.subseconds().count());
    text.erase(text.find_last_not_of('0') + 1);
  }
  text += 'Z';
  return text;
}

}  // namespace PDXDates

/// Long date and short time of a message differ in their day and in their minute only, so both texts are kept
/// apart and joined: formatting a million messages one by one would cost more than reading them.
struct PDXDateFormatter::State {
  std::unique_ptr<icu::SimpleDateFormat> whole;
  std::vector<FormattedPart> parts;
  KnownDays days;

  explicit State(std::unique_ptr<icu::SimpleDateFormat> format) : whole(std::move(format)) {
    icu::UnicodeString pattern;
    whole->toPattern(pattern);
    for (const PatternPart& part : partsOf(pattern)) {
      FormattedPart& made = parts.emplace_back();
      made.isTime = part.isTime;
      made.format.reset(static_cast<icu::SimpleDateFormat*>(whole->clone()));
      made.format->applyPattern(part.pattern);
    }
  }

  static std::string format(const icu::SimpleDateFormat& with, PDXDate date) {
    icu::UnicodeString text;
    return utf8(with.format(icuDate(date), text));
  }

  std::vector<std::string> dayTexts(PDXDate date) const {
    std::vector<std::string> texts;
    for (const FormattedPart& part : parts) texts.push_back(part.isTime ? "" : format(*part.format, date));
    return texts;
  }

  std::string text(PDXDate date) {
    if (parts.empty()) return format(*whole, date);
    const Day& day = days.of(date, [&](Day& fresh) { fresh.texts = dayTexts(date); });
    if (!day.holds(date)) return format(*whole, date);  // When the clock is put forward or back.
    const auto minute = static_cast<std::size_t>(floor<minutes>(date - day.begin).count());
    constexpr std::size_t kUsualLength = 48;
    std::string result;
    result.reserve(kUsualLength);
    for (std::size_t i = 0; i < parts.size(); ++i) {
      if (!parts[i].isTime) {
        result += day.texts[i];
        continue;
      }
      std::string& known = parts[i].minuteTexts[minute];
      if (known.empty()) known = format(*parts[i].format, date);
      result += known;
    }
    return result;
  }
};

namespace {

std::unique_ptr<icu::SimpleDateFormat> styleFormat(PDXDateFormatter::Style style) {
  const bool withTime = style == PDXDateFormatter::Style::longDateShortTime;
  std::unique_ptr<icu::DateFormat> made(
      withTime ? icu::DateFormat::createDateTimeInstance(icu::DateFormat::kLong, icu::DateFormat::kShort)
               : icu::DateFormat::createDateInstance(icu::DateFormat::kLong));
  if (dynamic_cast<icu::SimpleDateFormat*>(made.get()) != nullptr) {
    return std::unique_ptr<icu::SimpleDateFormat>(static_cast<icu::SimpleDateFormat*>(made.release()));
  }
  UErrorCode status = U_ZERO_ERROR;
  return std::make_unique<icu::SimpleDateFormat>(withTime ? u"yyyy-MM-dd HH:mm" : u"yyyy-MM-dd", status);
}

std::unique_ptr<icu::SimpleDateFormat> patternFormat(const std::string& pattern) {
  UErrorCode status = U_ZERO_ERROR;
  return std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString::fromUTF8(pattern), status);
}

}  // namespace

PDXDateFormatter::PDXDateFormatter(Style style) : state_(std::make_unique<State>(styleFormat(style))) {}
PDXDateFormatter::PDXDateFormatter(const std::string& pattern)
    : state_(std::make_unique<State>(patternFormat(pattern))) {}
PDXDateFormatter::~PDXDateFormatter() = default;
PDXDateFormatter::PDXDateFormatter(PDXDateFormatter&&) noexcept = default;
PDXDateFormatter& PDXDateFormatter::operator=(PDXDateFormatter&&) noexcept = default;

std::string PDXDateFormatter::text(PDXDate date) { return state_->text(date); }

struct PDXDayCalendar::State {
  KnownDays days;
};

PDXDayCalendar::PDXDayCalendar() : state_(std::make_unique<State>()) {}
PDXDayCalendar::~PDXDayCalendar() = default;
PDXDayCalendar::PDXDayCalendar(PDXDayCalendar&&) noexcept = default;
PDXDayCalendar& PDXDayCalendar::operator=(PDXDayCalendar&&) noexcept = default;

PDXDate PDXDayCalendar::startOfDay(PDXDate date) {
  return state_->days.of(date, [](Day&) {}).begin;
}

namespace {

/// How long a clock keeps one distance from UTC.
struct ClockSpan {
  PDXDate begin = PDXDate::min();
  PDXDate end = PDXDate::max();
  std::chrono::seconds offset{0};

  bool holds(PDXDate date) const { return begin <= date && date < end; }
};

void appendDigits(std::string& text, std::int64_t value, int count) {
  std::array<char, 4> digits{};
  for (int i = count; i-- > 0; value /= 10)
    digits[static_cast<std::size_t>(i)] = static_cast<char>('0' + value % 10);
  text.append(digits.data(), static_cast<std::size_t>(count));
}

void appendClock(std::string& text, std::chrono::seconds ofDay) {
  appendDigits(text, ofDay.count() / 3600, 2);
  text += ':';
  appendDigits(text, ofDay.count() / 60 % 60, 2);
}

}  // namespace

struct PDXLocalTimes::State {
  std::unique_ptr<icu::TimeZone> zone{icu::TimeZone::createDefault()};
  std::map<PDXDate, ClockSpan> spans;  ///< By their beginning.
  ClockSpan current{PDXDate::max(), PDXDate::min()};

  ClockSpan spanOf(PDXDate date) const {
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t raw = 0;
    std::int32_t saving = 0;
    zone->getOffset(icuDate(date), false, raw, saving, status);
    ClockSpan span;
    span.offset = std::chrono::duration_cast<std::chrono::seconds>(milliseconds(raw + saving));
    const auto* changes = dynamic_cast<const icu::BasicTimeZone*>(zone.get());
    if (changes == nullptr) return {date, date + std::chrono::microseconds(1), span.offset};
    icu::TimeZoneTransition change;
    if (changes->getPreviousTransition(icuDate(date), true, change)) span.begin = fromIcu(change.getTime());
    if (changes->getNextTransition(icuDate(date), false, change)) span.end = fromIcu(change.getTime());
    return span;
  }

  std::chrono::seconds offsetAt(PDXDate date) {
    if (current.holds(date)) return current.offset;
    const auto behind = spans.upper_bound(date);
    if (behind == spans.begin() || !std::prev(behind)->second.holds(date)) {
      const ClockSpan fresh = spanOf(date);
      current = spans[fresh.begin] = fresh;
    } else {
      current = std::prev(behind)->second;
    }
    return current.offset;
  }
};

PDXLocalTimes::PDXLocalTimes() : state_(std::make_unique<State>()) {}
PDXLocalTimes::~PDXLocalTimes() = default;
PDXLocalTimes::PDXLocalTimes(PDXLocalTimes&&) noexcept = default;
PDXLocalTimes& PDXLocalTimes::operator=(PDXLocalTimes&&) noexcept = default;

std::string PDXLocalTimes::text(PDXDate date) {
  const std::chrono::seconds offset = state_->offsetAt(date);
  const auto local = floor<std::chrono::seconds>(date) + offset;
  const auto day = floor<std::chrono::days>(local);
  const std::chrono::year_month_day ymd(day);
  const std::chrono::seconds ofDay = local - day;
  std::string text;
  text.reserve(sizeof "2020-01-06T11:40:00+01:00");
  // An offset can lead out of the years that have four digits, into the years 0 and 10000.
  appendDigits(text, std::clamp(static_cast<int>(ymd.year()), 0, 9999), 4);
  text += '-';
  appendDigits(text, static_cast<unsigned>(ymd.month()), 2);
  text += '-';
  appendDigits(text, static_cast<unsigned>(ymd.day()), 2);
  text += 'T';
  appendClock(text, ofDay);
  text += ':';
  appendDigits(text, ofDay.count() % 60, 2);
  text += offset.count() < 0 ? '-' : '+';
  appendClock(text, std::chrono::abs(offset));
  return text;
}
