#include "platform/Date.h"

#include <gtest/gtest.h>
#include <unicode/datefmt.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

#include <memory>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using std::chrono::sys_days;

namespace {

/// Locale and time zone while it lives.
class Environment {
 public:
  Environment(const char* locale, const char* zone) : zone_(icu::TimeZone::createDefault()) {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale(locale), status);
    icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone(zone));
  }
  ~Environment() {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(locale_, status);
    icu::TimeZone::adoptDefault(zone_.release());
  }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  icu::Locale locale_;
  std::unique_ptr<icu::TimeZone> zone_;
};

PDXDate at(std::int64_t secondsSince1970) { return PDXDate(std::chrono::seconds(secondsSince1970)); }

std::string directly(const icu::DateFormat& format, PDXDate date) {
  icu::UnicodeString text;
  std::string result;
  format.format(static_cast<double>(date.time_since_epoch() / 1ms), text);
  return text.toUTF8String(result);
}

/// Moments on quiet days, around changes of the clock and long ago, in no helpful order.
std::vector<PDXDate> moments() {
  std::vector<PDXDate> dates;
  for (const std::int64_t begin : {1'577'836'800LL, 1'679'702'400LL, 1'698'364'800LL, 1'699'056'000LL,
                                   1'289'001'600LL, 1'696'032'000LL, 1'325'100'000LL}) {
    for (std::int64_t seconds = 0; seconds < 4 * 86'400; seconds += 1'747)
      dates.push_back(at(begin + seconds));
    for (std::int64_t seconds = 4 * 86'400; seconds > 0; seconds -= 26'111)
      dates.push_back(at(begin + seconds));
  }
  for (std::int64_t year = -400; year < 400; year += 7) dates.push_back(at(year * 31'556'952 - 1));
  return dates;
}

TEST(DateFormatter, WritesWhatTheLibraryWrites) {
  const std::vector<PDXDate> dates = moments();
  const struct {
    const char* locale;
    const char* zone;
  } cases[] = {{"en_US", "America/New_York"},  {"en_GB", "Europe/London"},
               {"de_DE", "Europe/Berlin"},     {"fr_FR", "Atlantic/Azores"},
               {"ja_JP", "Asia/Tokyo"},        {"ar_EG", "Africa/Cairo"},
               {"hi_IN", "Asia/Kolkata"},      {"en_US_POSIX", "UTC"},
               {"es_CU", "America/Havana"},    {"en_CA", "America/St_Johns"},
               {"ne_NP", "Asia/Kathmandu"},    {"en_AU", "Australia/Lord_Howe"},
               {"pt_BR", "America/Sao_Paulo"}, {"en_WS", "Pacific/Apia"},
               {"fa_IR", "Asia/Tehran"},       {"th_TH", "Asia/Bangkok"},
               {"ar_SA", "Asia/Riyadh"},       {"zh_Hant_TW", "Asia/Taipei"},
               {"ar_LB", "Asia/Beirut"},       {"ja_JP@calendar=japanese", "Asia/Tokyo"}};
  for (const auto& c : cases) {
    const Environment environment(c.locale, c.zone);
    const std::unique_ptr<icu::DateFormat> expected(
        icu::DateFormat::createDateTimeInstance(icu::DateFormat::kLong, icu::DateFormat::kShort));
    const std::unique_ptr<icu::DateFormat> expectedDate(
        icu::DateFormat::createDateInstance(icu::DateFormat::kLong));
    PDXDateFormatter formatter(PDXDateFormatter::Style::longDateShortTime);
    PDXDateFormatter dateFormatter(PDXDateFormatter::Style::longDate);
    for (const PDXDate date : dates) {
      ASSERT_EQ(formatter.text(date), directly(*expected, date))
          << c.locale << " " << c.zone << " " << PDXDates::isoText(date);
      ASSERT_EQ(dateFormatter.text(date), directly(*expectedDate, date)) << c.locale << " " << c.zone;
    }
  }
}

TEST(DateFormatter, WritesPatterns) {
  const Environment environment("en_US", "Europe/London");
  const struct {
    const char* pattern;
    const char* expected;
  } cases[] = {
      {"dd MMM yyyy", "06 Jan 2020"},
      {"HH:mm, d MMMM y", "10:40, 6 January 2020"},
      {"yyyy-MM-dd HH:mm:ss.SSS zzz", "2020-01-06 10:40:05.250 GMT"},
      {"h 'o''clock at Hd' a EEEE", "10 o'clock at Hd AM Monday"},
      {"", ""},
  };
  for (const auto& c : cases) {
    PDXDateFormatter formatter{std::string(c.pattern)};
    EXPECT_EQ(formatter.text(at(1'578'307'205) + 250ms), c.expected);
    EXPECT_EQ(formatter.text(at(1'578'307'205) + 250ms), c.expected) << "from what it kept";
  }
}

TEST(Dates, DaysBeginWhereTheClockSays) {
  const struct {
    const char* fault;
    const char* zone;
    PDXDate date;
    const char* begin;
    const char* next;
  } cases[] = {
      {"spring, 23 hours", "Europe/London", at(1'679'828'400), "2023-03-26T00:00:00Z",
       "2023-03-26T23:00:00Z"},
      {"autumn, 25 hours", "Europe/London", at(1'698'552'000), "2023-10-28T23:00:00Z",
       "2023-10-30T00:00:00Z"},
      {"midnight does not exist", "America/Sao_Paulo", at(1'541'340'000), "2018-11-04T03:00:00Z",
       "2018-11-05T02:00:00Z"},
      {"midnight comes twice, before the second", "America/Havana", at(1'699'158'600), "2023-11-05T04:00:00Z",
       "2023-11-06T05:00:00Z"},
      {"a day was left out", "Pacific/Apia", at(1'325'210'400), "2011-12-29T10:00:00Z",
       "2011-12-30T10:00:00Z"},
      {"odd offset", "Asia/Kathmandu", at(1'672'531'200), "2022-12-31T18:15:00Z", "2023-01-01T18:15:00Z"},
      {"before 1970", "UTC", at(-1), "1969-12-31T00:00:00Z", "1970-01-01T00:00:00Z"},
  };
  for (const auto& c : cases) {
    const Environment environment("en_US", c.zone);
    PDXDayCalendar days;
    EXPECT_EQ(PDXDates::isoText(PDXDates::startOfDay(c.date)), c.begin) << c.fault;
    EXPECT_EQ(PDXDates::isoText(PDXDates::startOfNextDay(c.date)), c.next) << c.fault;
    EXPECT_EQ(days.startOfDay(c.date + 24h), PDXDates::startOfDay(c.date + 24h)) << c.fault;
    EXPECT_EQ(PDXDates::isoText(days.startOfDay(c.date)), c.begin) << c.fault;
  }
}

TEST(Dates, ReadDays) {
  const Environment environment("en_US", "Europe/Berlin");
  const struct {
    const char* text;
    const char* expected;
  } cases[] = {{"2024-02-29", "2024-02-28T23:00:00Z"},
               {"2023-07-01", "2023-06-30T22:00:00Z"},
               {"1900-03-01", "1900-02-28T23:00:00Z"},
               {"2023-02-29", "none"},
               {"1900-02-29", "none"},
               {"2024-1-01", "none"},
               {"2024-13-01", "none"},
               {"2024-00-10", "none"},
               {"2024-01-00", "none"},
               {"0000-01-01", "none"},
               {"abcd-ef-gh", "none"},
               {"2024-01-1x", "none"},
               {"2024/01/01", "none"},
               {"-024-01-01", "none"},
               {"2024-+1-01", "none"},
               {"", "none"},
               {" 2024-01-01", "none"},
               {"2024-01-01 ", "none"}};
  for (const auto& c : cases) {
    const auto date = PDXDates::fromDayText(c.text);
    EXPECT_EQ(date ? PDXDates::isoText(*date) : "none", c.expected) << c.text;
  }
}

TEST(Dates, WriteIso) {
  EXPECT_EQ(PDXDates::isoText(sys_days(2020y / 1 / 6) + 10h + 40min), "2020-01-06T10:40:00Z");
  EXPECT_EQ(PDXDates::isoText(at(0) + 250ms), "1970-01-01T00:00:00.25Z");
  EXPECT_EQ(PDXDates::isoText(at(0) - 1us), "1969-12-31T23:59:59.999999Z");
  EXPECT_EQ(PDXDates::isoText(PDXDates::fromReferenceSeconds(-1)), "2000-12-31T23:59:59Z");
  EXPECT_EQ(PDXDates::referenceSeconds(sys_days(2023y / 1 / 1)), 694'224'000);
}

TEST(Dates, OverflowStopsAtTheEnds) {
  PDXDateFormatter formatter(PDXDateFormatter::Style::longDateShortTime);
  for (const std::int64_t seconds : {INT64_MAX, INT64_MIN}) {
    const PDXDate date = PDXDates::fromReferenceSeconds(seconds);
    EXPECT_EQ(date < PDXDates::kReference, seconds < 0);
    EXPECT_LE(PDXDates::startOfDay(date), date);
    EXPECT_NE(formatter.text(date), "");
    EXPECT_NE(PDXDates::isoText(date), "");
  }
}

}  // namespace
