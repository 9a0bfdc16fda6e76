#include "samples/Script.h"

#include <algorithm>

namespace {

using Line = PDXSampleScriptLine;
using Kind = PDXSampleScriptLine::Kind;
using Role = PDXSampleRole;

constexpr int kMe = PDXSampleScriptLine::kMe;

constexpr std::chrono::sys_seconds at(int year, unsigned month, unsigned day, int hour, int minute) {
  return std::chrono::sys_days(std::chrono::year(year) / std::chrono::month(month) / std::chrono::day(day)) +
         std::chrono::hours(hour) + std::chrono::minutes(minute);
}

constexpr const char* kLong =
    "So, the whole story. We missed the first boat because Percy had gone back for the thermos, and the "
    "second "
    "one because the thermos leaked into the bag with the tickets. By then it was half past eleven, the tide "
    "was going out, and the man at the ferry steps said (I quote) \"there's always the causeway\".\n\nThere "
    "is "
    "not always the causeway. There is a causeway between 12:10 and 14:40, and it was 14:15. We walked very "
    "fast. The dog walked faster. At the far end a lady in a yellow coat gave us tea & the best scones I "
    "have "
    "ever eaten, and told us that the last boat back leaves at five, except on Sundays.\n\nIt was Sunday.\n\n"
    "To cut it short: we slept in the bird-watchers' hut, saw 3 avocets, 1 marsh harrier and approximately "
    "10,000 gulls, and came home on Monday with the post. Would absolutely do it again. 10/10. Photos follow "
    "as soon as I've found the charger…";

const Line kLines[] = {
    // What people send besides text.
    {at(2023, 8, 12, 17, 40), Role::ann, 0, "\uFFFC", Kind::message, {"harbour"}},
    {at(2023, 8, 12, 17, 43), Role::ann, kMe, "Look who's in the garden \uFFFC", Kind::message, {"upright"}},
    {at(2023, 8, 12, 18, 5), Role::ann, 0, "\uFFFCThe view from the top!", Kind::message, {"hills"}},
    {at(2023, 8, 14, 20, 15), Role::ann, kMe, "\uFFFC", Kind::message, {"screen"}},
    {at(2023, 8, 19, 9, 30), Role::bookClub, 1, "\uFFFC\uFFFC", Kind::message, {"large", "apostrophe"}},
    {at(2023, 8, 19, 9, 41), Role::bookClub, kMe, "\uFFFC C'était l'été…", Kind::message, {"accents"}},
    {at(2023, 9, 2, 14, 0), Role::mum, 0, "\uFFFC", Kind::message, {"clip"}},
    {at(2023, 9, 2, 14, 6), Role::mum, kMe, "Here is the plan for Saturday \uFFFC", Kind::message, {"pdf"}},
    {at(2023, 9, 3, 11, 20), Role::weekend, 1, "\uFFFC", Kind::message, {"card"}},
    {at(2023, 9, 3, 11, 25), Role::weekend, kMe, "\uFFFC", Kind::message, {"location"}},
    {at(2023, 9, 8, 16, 45), Role::mum, 0, "\uFFFC", Kind::message, {"text"}},
    {at(2023, 9, 9, 10, 0), Role::family, 2, "\uFFFC", Kind::message, {"signs"}},
    {at(2021, 7, 3, 12, 0), Role::family, 3, "\uFFFC", Kind::message, {"cloud"}},
    {at(2021, 7, 3, 12, 1), Role::family, 3, "\uFFFC Watch this", Kind::message, {"cloudClip"}},
    {at(2021, 7, 3, 12, 4), Role::family, 4, "And from the other side \uFFFC", Kind::message, {"lost"}},
    {at(2024, 3, 9, 21, 10), Role::ann, 0, "\uFFFC", Kind::message, {"pending"}},
    {at(2022, 11, 20, 8, 30), Role::mailFriend, 0, "\uFFFC", Kind::message, {"untyped"}},
    {at(2023, 9, 10, 10, 30),
     Role::siobhan,
     0,
     "\uFFFC\uFFFC\uFFFC\uFFFC\uFFFC\uFFFC\uFFFC\uFFFC The sign, held every way",
     Kind::message,
     {"turned1", "turned2", "turned3", "turned4", "turned5", "turned6", "turned7", "turned8"}},
    // A day ends between a message and its answer.
    {at(2024, 1, 12, 23, 58), Role::ann, kMe, "Are you still awake?"},
    {at(2024, 1, 13, 0, 3), Role::ann, 0, "Now I am 😴"},
    {at(2023, 12, 31, 23, 59), Role::family, kMe, "Almost!"},
    {at(2024, 1, 1, 0, 0), Role::family, 0, "Happy New Year! 🎆🥂"},
    {at(2024, 1, 1, 0, 2), Role::family, 5, "Happy New Year everyone"},
    {at(2023, 7, 21, 22, 57), Role::siobhan, 0, "Is it tomorrow yet where you are?"},
    {at(2023, 7, 21, 23, 4), Role::siobhan, kMe, "In four minutes, yes"},
    {at(2023, 7, 21, 23, 58), Role::siobhan, 0, "And now?"},
    {at(2023, 7, 22, 0, 3), Role::siobhan, kMe, "Also here. Good night!"},
    // Texts that mean something to a web page.
    {at(2024, 2, 1, 10, 0), Role::ann, kMe, "<b>not bold</b> & <script>alert('no')</script>"},
    {at(2024, 2, 1, 10, 1), Role::ann, 0, "It says &amp; on the page, and \"quotes\", and 'apostrophes'"},
    {at(2024, 2, 1, 10, 2), Role::ann, kMe, "don't … 3.5 … 5 > 3 < 4"},
    {at(2024, 2, 1, 10, 4), Role::ann, 0,
     "http://example.com/map?from=here&to=there#end and https://www.example.org/"},
    {at(2024, 2, 1, 10, 5), Role::ann, kMe,
     "Try example.net/tickets or (https://shop.example.com/a_(b)), it's cheaper."},
    {at(2024, 2, 1, 10, 6), Role::ann, 0, "www.example.com, right?"},
    {at(2024, 2, 1, 10, 8), Role::ann, kMe,
     "First line\nSecond line\n\n    indented after an empty one\tand a tab"},
    {at(2024, 2, 2, 8, 15), Role::siobhan, 0, kLong},
    {at(2024, 2, 2, 8, 40), Role::siobhan, kMe, ""},
    {at(2024, 2, 2, 8, 41), Role::siobhan, kMe,
     "👩‍👩‍👧‍👦 🏳️‍🌈 🇬🇷🇯🇵 👍🏽 🧑🏿‍🚀 ❤️‍🔥 "
     "1️⃣"},
    // What a device notes beside messages.
    {at(2022, 5, 1, 18, 0), Role::bookClub, 0, "Book club 📚", Kind::renamed},
    {at(2022, 5, 1, 18, 5), Role::bookClub, 0, "", Kind::added},
    {at(2022, 5, 2, 7, 30), Role::bookClub, 2, "", Kind::left},
    {at(2022, 5, 2, 7, 45), Role::bookClub, 1, "Shall we start with the short one?"},
    {at(2022, 5, 2, 7, 46), Role::bookClub, kMe, "", Kind::liked},
    {at(2024, 2, 14, 7, 0), Role::mum, kMe, "Happy birthday, Mum 💐"},
    {at(2024, 2, 14, 7, 30), Role::mum, 0, "", Kind::liked},
    {at(2024, 2, 20, 12, 0), Role::mum, kMe, "No signal in the tunnel", Kind::notSent},
    {at(2018, 6, 6, 9, 0), Role::annBySms, kMe, "Can you read this one?", Kind::notSent},
    {at(2023, 3, 3, 15, 0), Role::stranger, 0, "This one got lost on the way", Kind::orphan},
    {at(2024, 3, 1, 19, 0), Role::stranger, 0, "You have WON!! Click https://example.net/prize now",
     Kind::deleted},
    {at(2019, 6, 30, 20, 0), Role::empty, 0, "See you all at the lake 🏊"},
    {at(2019, 6, 30, 20, 5), Role::empty, kMe, "Can't wait"},
    {at(2018, 6, 5, 9, 30),
     Role::annBySms,
     0,
     "New phone, this is my number now",
     Kind::message,
     {},
     "Ann here"},
    {at(2023, 10, 1, 9, 0),
     Role::smsGroup,
     1,
     "Minutes < 2 pages, please",
     Kind::message,
     {},
     "Agenda & minutes"},
    {at(2023, 10, 1, 9, 20), Role::smsGroup, kMe, "Will do"},
    // Conversations with nobody from the address book.
    {at(2024, 3, 7, 11, 0), Role::shortCode, 0, "482 913 is your code. Never share it with anyone."},
    {at(2024, 3, 8, 7, 15), Role::mailStranger, 0,
     "Your parcel arrives between 10:00 and 12:00. Track: example.net/p/77"},
    {at(2024, 2, 28, 13, 0), Role::stranger, 0, "Hello, is the bicycle still for sale?"},
    {at(2024, 2, 28, 13, 20), Role::stranger, kMe, "Yes! £120, in Port Averil"},
    {at(2024, 2, 25, 10, 0), Role::strangers, 1, "Who is bringing the tent?"},
    {at(2024, 2, 25, 10, 2), Role::strangers, 2, "me"},
    {at(2024, 2, 25, 10, 9), Role::strangers, kMe, "Then I'll bring the stove"},
    {at(2024, 2, 26, 18, 30), Role::mailFriend, 0, "Schöne Grüße aus München! Ä Ö Ü ß"},
    {at(2024, 2, 26, 18, 33), Role::mailFriend, kMe,
     "Danke! Naïve question: où est le café? ¿Dónde? Łódź, Đà Nẵng"},
    // One conversation in many writings, two of them from right to left.
    {at(2024, 2, 10, 9, 0), Role::weekend, 0, "Γειά σου κόσμε"},
    {at(2024, 2, 10, 9, 1), Role::weekend, 1, "Привет, мир"},
    {at(2024, 2, 10, 9, 2), Role::weekend, kMe, "مرحبا بالعالم (hello) 123"},
    {at(2024, 2, 10, 9, 3), Role::weekend, 2, "שלום עולם, see example.org"},
    {at(2024, 2, 10, 9, 4), Role::weekend, 0, "नमस्ते दुनिया"},
    {at(2024, 2, 10, 9, 5), Role::weekend, kMe, "สวัสดีชาวโลก"},
    {at(2024, 2, 10, 9, 6), Role::weekend, 1, "你好，世界"},
    {at(2024, 2, 10, 9, 7), Role::weekend, 2, "こんにちは世界"},
    {at(2024, 2, 10, 9, 8), Role::weekend, kMe, "안녕하세요 세계"}};

}  // namespace

std::vector<PDXSampleScriptLine> sampleScript(std::size_t limit) {
  const std::size_t count = std::min(limit, std::size(kLines));
  std::vector<PDXSampleScriptLine> lines(std::begin(kLines), std::begin(kLines) + count);
  std::stable_sort(lines.begin(), lines.end(), [](const auto& a, const auto& b) { return a.time < b.time; });
  return lines;
}
