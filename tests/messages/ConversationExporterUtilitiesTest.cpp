#include "messages/ConversationExporterUtilities.h"

#include "platform/Files.h"
#include "tests/support/TestFolder.h"

namespace {

using Utilities = PDXConversationExporterUtilities;
using namespace std::chrono_literals;

PDXMessagesConversation conversationTitled(const std::string& title, std::int32_t id) {
  PDXMessagesConversation conversation;
  conversation.conversationGroupName = title;
  conversation.setConversationId(id);
  return conversation;
}

TEST(ConversationExporterUtilities, PreviewNamesTellEveryOption) {
  PDXConversationExportOptions options;
  options.startDate = std::chrono::sys_days(2021y / 3 / 4) + 12h;
  options.includeMessageContactNumber = true;
  EXPECT_EQ(Utilities::createFilenameForConversationWithExportOptions(conversationTitled("Ann", 17), options),
            "Ann_S-2021-03-04-CNONLSFM_17");
  options = {};
  options.endDate = std::chrono::sys_days(2021y / 12 / 31) + 12h;
  options.includeContactImages = true;
  options.messageOrder = 1;
  options.exportLayout = 1;
  options.fontSizeStyle = 9;
  options.onlyShowMessagesMatchingSearch = true;
  EXPECT_EQ(
      Utilities::createFilenameForConversationWithExportOptions(conversationTitled("A/B: C?", 2), options),
      "A_B_ C__E-2021-12-31-CINOLCMS_2");
}

TEST(ConversationExporterUtilities, WithoutAPathTheExportIsAPreview) {
  const PDXTestFolder folder;
  const auto conversation = conversationTitled("../../Ann", 3);
  PDXConversationExportOptions options;
  bool isCached = true;
  const std::string path = Utilities::determineSavePathForConversationOptionsExtensionIsCached(
      conversation, options, "html", &isCached);
  EXPECT_TRUE(options.isPreview);
  EXPECT_FALSE(isCached);
  EXPECT_EQ(path, folder / "Pocketdex/message_temp/preview/.._.._Ann_ONLSFM_3.html");
  folder.write("Pocketdex/message_temp/preview/.._.._Ann_ONLSFM_3.html", "");
  Utilities::determineSavePathForConversationOptionsExtensionIsCached(conversation, options, "html",
                                                                      &isCached);
  EXPECT_TRUE(isCached);
}

TEST(ConversationExporterUtilities, LinksFollowThePattern) {
  const struct {
    const char* text;
    const char* expected;
  } cases[] = {
      {"no link here", "no link here"},
      {"see https://example.com/a?b=1.",
       "see <a href=\"https://example.com/a?b=1\">https://example.com/a?b=1</a>."},
      {"example.org", "<a href=\"http://example.org\">example.org</a>"},
      {"ftp://example.org/x", "<a href=\"http://ftp://example.org/x\">ftp://example.org/x</a>"},
      {"costs 3.5", "costs <a href=\"http://3.5\">3.5</a>"},
      {"http://a.b/?x=1&amp;y=2", "<a href=\"http://a.b/?x=1&amp\">http://a.b/?x=1&amp</a>;y=2"},
      {"end.", "end."},
      {"a. b", "a. b"},
      {"bücher.example", "<a href=\"http://bücher.example\">bücher.example</a>"},
      {"(www.example.com)", "(<a href=\"http://www.example.com\">www.example.com</a>)"},
      {"a.b c.d", "<a href=\"http://a.b\">a.b</a> <a href=\"http://c.d\">c.d</a>"},
  };
  for (const auto& c : cases) EXPECT_EQ(Utilities::formatUrlsInTextDisableLinks(c.text, false), c.expected);
  EXPECT_EQ(Utilities::formatUrlsInTextDisableLinks("at a.b now", true),
            "at <span style=\"text-decoration:underline;\">a.b</span> now");
}

TEST(ConversationExporterUtilities, HostileTextsAreLinear) {
  // Either of these takes a backtracking matcher minutes.
  const std::string letters = std::string(2 << 20, 'a') + ".";
  EXPECT_EQ(Utilities::formatUrlsInTextDisableLinks(letters, false), letters);
  std::string dots = "a.b";
  for (int i = 0; i < 200'000; ++i) dots += ".,";
  EXPECT_EQ(Utilities::formatUrlsInTextDisableLinks(dots, true).substr(0, 52),
            "<span style=\"text-decoration:underline;\">a.b</span>.");
}

TEST(ConversationExporterUtilities, SendersAreNamedByTextBeforeNumber) {
  PDXMessagesConversation conversation;
  for (const char* address : {"+447700900123", "ann@example.com", "cid@example.com"}) {
    conversation.participants.emplace_back("", "").setAddress(address);
  }
  const auto& participants = conversation.participants;
  PDXParticipantCache cache;
  const auto found = [&](const std::string& address) {
    return Utilities::determineParticipantFromAddressInConversationWithCache(address, conversation, cache);
  };
  EXPECT_EQ(found("cid@example.com"), &participants[2])
      << "cleaned of all but digits, every e-mail address is equal";
  EXPECT_EQ(found("07700900123"), &participants[0]);
  EXPECT_EQ(found("07700900999"), nullptr);
  EXPECT_EQ(cache.size(), 3U);
  const auto name = [&](const std::string& address, bool withNumber) {
    return Utilities::determineParticipantNameFromAddressInConversationWithCacheIncludeContactNumber(
        address, conversation, cache, withNumber);
  };
  EXPECT_EQ(name("07700900999", false), "07700900999") << "nobody's address stands for itself";
  EXPECT_EQ(name("ann@example.com", true), "");
}

TEST(ConversationExporterUtilities, PathsOfAttachmentsAndMedia) {
  const std::pair<const char*, const char*> locations[] = {
      {"~/Library/SMS/Attachments/a/b c.jpg", "Library/SMS/Attachments/a/b c.jpg"},
      {"/var/mobile/Library/SMS/x~", "Library/SMS/x"},
      {"Library/SMS/x", "Library/SMS/x"},
      {"~/", ""},
  };
  for (const auto& [location, expected] : locations) {
    EXPECT_EQ(Utilities::getBackupPathForStandardLocation(location), expected);
  }
  EXPECT_EQ(Utilities::relativePathForMediaPath("/out/Messages/Ann Media/1.jpg"), "Ann Media/1.jpg");
  EXPECT_EQ(Utilities::relativePathForMediaPath(""), "");
}

}  // namespace
