#include "samples/SampleTexts.h"

namespace {

using PDXSampleTexts::Texts;

constexpr std::string_view kEnglish[] = {
    "Are you on your way?|Just leaving now, ten minutes|👍",
    "Did you remember the bread?|I did not. Going back.|You're a hero 🥖",
    "What time does it start?|Half past seven, doors at seven|Perfect, see you there",
    "Happy birthday!! 🎂🎉|Thank you so much! 😊|Cake later?|Obviously",
    "Can you send me the photos from Sunday?|Sure, tonight when I'm back on wifi",
    "I don't think I'll make it tonight, sorry|No worries, we'll do it next week",
    "The train is late again 🙄|How late?|\"Approximately\" 35 minutes|Tea is in the pot when you get here",
    "How was the interview?|Good, I think! They'll call on Friday|Fingers crossed 🤞",
    "Is the shop open on Mondays?|Only from 12:30 to 5|OK then after lunch",
    "The cat is on the roof|Again?|He looks very pleased with himself 😼",
    "Have you read the last chapter yet?|Don't tell me anything!!|My lips are sealed 🤐",
    "It's 3.5 km to the lake, bring good shoes|And swimming things?|If you're brave. It's March.",
    "I found your scarf, the green one|Oh brilliant, I looked everywhere for it",
    "Do we need anything else for Saturday?|Lemons, ice & about 20 glasses|I can bring the glasses",
    "Could you water the tomatoes for us?|Of course, as last year?|Yes please, and eat as many as you like 🍅",
    "I'm at the door|Which door?|Yours|Oh!",
    "Look at the moon right now|Wow|I know",
    "Meeting moved to 14:00, room 2 <-- not room 1|Thanks, I'd have gone to room 1",
    "What's the wifi password at your place?|It's on the fridge|The fridge says \"buy milk\"|Other side",
    "Thank you for dinner, it was wonderful ❤️|So good to see you both. Come again soon!",
    "Snow! ❄️|Proper snow or London snow?|Proper. School's closed.",
    "Can I borrow the drill?|It's in the shed, help yourself. Mind the spider|What spider",
    "We won!!! ⚽️|No way, what was the score?|4–3, in the last minute",
    "Running 5 min late|OK",
    "Good night 🌙|Night night x",
    "ok|👌",
    "Did the parcel come?|Yes, it's with the neighbours at no. 7",
    "How do you make that soup?|Onion, 2 carrots, 1/2 l stock, blend|And the secret?|Butter.",
    "There are 3 places left on the Thursday course, shall I book?|Yes! For me & Nora please|Done ✅",
    "Flight lands at 18:05|I'll be at arrivals with a silly sign|Please don't|Too late, it has glitter ✨"};

constexpr std::string_view kGerman[] = {
    "Kommst du heute Abend?|Ja, aber erst um acht|Schön, ich koche was",
    "Hast du die Schlüssel?|Nein, die hängen neben der Tür|Gefunden, danke!",
    "Frohe Ostern euch allen 🐣|Danke, euch auch! Grüße an Oma",
    "Der Zug fällt aus 😩|Schon wieder? Ich hole dich ab|Du bist die Beste"};

constexpr std::string_view kFrench[] = {
    "Tu es bien arrivée ?|Oui, il fait très beau ici ☀️|Profite bien, à bientôt !",
    "On se retrouve où ?|Au café, près de la gare|D’accord, à tout à l’heure",
    "Ça va mieux ?|Un peu, merci. Où est passé l'été ?|Il revient en août, paraît-il"};

constexpr std::string_view kGreek[] = {
    "Καλημέρα! Πώς είσαι;|Πολύ καλά, εσύ;|Όλα καλά ☀️",
    "Θα έρθεις το Σάββατο;|Ναι, γύρω στις οκτώ|Τέλεια, σε περιμένουμε"};

constexpr std::string_view kRussian[] = {
    "Привет! Ты уже дома?|Да, только что пришла|Отлично, позвоню через час",
    "С днём рождения! 🎉|Спасибо большое!|Ждём тебя в гости"};

constexpr std::string_view kArabic[] = {
    "صباح الخير، كيف حالك؟|بخير، شكراً لك|نلتقي في الساعة 7:30 إن شاء الله",
    "هل وصلت الصور؟|نعم، جميلة جداً 😍"};

constexpr std::string_view kHebrew[] = {"בוקר טוב! מה שלומך?|הכול טוב, תודה|נתראה בערב בשעה 20:15",
                                        "איפה נפגשים?|ליד הים, כמו תמיד 🌊"};

constexpr std::string_view kHindi[] = {
    "नमस्ते! आप कैसे हैं?|मैं ठीक हूँ, धन्यवाद|शाम को चाय पर मिलते हैं "
    "☕️",
    "क्या तुम घर पहुँच गए?|हाँ, अभी पहुँचा"};

constexpr std::string_view kThai[] = {"สวัสดีครับ สบายดีไหม|สบายดีค่ะ ขอบคุณ|เจอกันเย็นนี้นะ",
                                      "กินข้าวหรือยัง|ยังเลย หิวมาก 🍜"};

constexpr std::string_view kChinese[] = {"你到家了吗？|刚到，今天好累|早点休息吧 😴",
                                         "周末一起去爬山吧|好啊，几点出发？|早上八点，老地方见"};

constexpr std::string_view kJapanese[] = {
    "お疲れさま！今どこ？|駅に着いたところです|了解、改札で待ってるね 🚉",
    "明日のランチ、空いてる？|うん、12時でどう？|オッケー！"};

constexpr std::string_view kKorean[] = {"잘 도착했어?|응, 방금 왔어|다행이다 😊",
                                        "내일 몇 시에 볼까?|두 시쯤 어때?|좋아, 거기서 봐"};

}  // namespace

namespace PDXSampleTexts {

Texts dialogues(Language language) {
  static constexpr Texts kAll[kLanguageCount] = {kEnglish, kGerman, kFrench, kGreek,   kRussian,  kArabic,
                                                 kHebrew,  kHindi,  kThai,   kChinese, kJapanese, kKorean};
  return kAll[static_cast<std::size_t>(language)];
}

}  // namespace PDXSampleTexts
