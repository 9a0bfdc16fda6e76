#include <gtest/gtest.h>

#include "contacts/ContactsDatabase.h"
#include "messages/ConversationExportOptions.h"
#include "messages/DateFilterOptions.h"
#include "messages/MessageThread.h"
#include "messages/MessagesConversation.h"
#include "platform/PropertyList.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

using std::chrono::hours;
using namespace std::chrono_literals;

/// An address book whose search table names the addresses.
std::string addressBook(const PDXTestFolder& folder) {
  return PDXSampleDatabase()
      .table("ABPersonFullTextSearch_content", "c0First, c1Last, c6Organization, c16Phone, c17Email")
      .row("ABPersonFullTextSearch_content", "Ann", nullptr, nullptr, "+441111 1111", nullptr)
      .row("ABPersonFullTextSearch_content", nullptr, nullptr, "Cid Ltd", nullptr, "cid@example.com")
      .writeTo(folder / "AddressBook.sqlitedb");
}

TEST(MessagesConversation, TitleNamesParticipantsInOrder) {
  const PDXTestFolder folder;
  const std::string book = addressBook(folder);
  const struct {
    std::vector<std::string> addresses;
    const char* groupName;
    const char* expected;
  } cases[] = {
      {{}, "", "No Participants"},
      {{"+441111"}, "The club", "The club"},
      {{"+441111", "+442222", "cid@example.com"}, "", "Ann, , Cid Ltd"},
      {{"+442222", "+441111"}, "", "+442222, Ann"},
      {{"+442222", "+443333"}, "", "+442222, "},
      {{"", "+441111"}, "", "Ann"},
  };
  for (const auto& c : cases) {
    PDXMessagesConversation conversation;
    conversation.conversationGroupName = c.groupName;
    for (const auto& address : c.addresses)
      conversation.participants.emplace_back(book, "").setAddress(address);
    EXPECT_EQ(conversation.title(), c.expected);
  }
}

TEST(MessagesConversation, MergesIdsAndHandles) {
  PDXMessagesConversation first;
  first.setConversationId(12);
  first.lastUpdated = 5;
  PDXMessagesConversation second;
  second.setConversationId(40);
  second.lastUpdated = 9;
  PDXMessagesConversation third;
  third.setMadridHandle("+441111");
  EXPECT_TRUE(first.mergeWithConversation(second));
  EXPECT_TRUE(first.mergeWithConversation(third));
  EXPECT_EQ(first.conversationIdArrayString(), "'12','40'");
  EXPECT_EQ(first.madridHandleArray, std::vector<std::string>{"+441111"});
  EXPECT_EQ(first.lastUpdated, 9U);
  EXPECT_TRUE(second.isMerged && third.isMerged && !first.isMerged);
  EXPECT_EQ(PDXMessagesConversation().conversationIdArrayString(), "");
}

TEST(MessagesConversation, AddressKeepsItsLastFiveCharacters) {
  PDXMessagesConversation conversation;
  for (const auto& [given, kept] :
       {std::pair("+447700900123", "00123"), {"1234", "1234"}, {"añœé語x", "ñœé語x"}}) {
    conversation.setAddress(given);
    EXPECT_EQ(conversation.address(), kept);
  }
}

TEST(MessagesConversation, FindsParticipantsByNumber) {
  PDXMessagesConversation conversation;
  for (const char* address : {"", "ann@example.com", "+447700900123"}) {
    conversation.participants.emplace_back("", "").setAddress(address);
  }
  EXPECT_EQ(conversation.participantForAddress("07700900123"), &conversation.participants[2]);
  EXPECT_EQ(conversation.participantForAddress(""), nullptr);
  EXPECT_EQ(conversation.participantForAddress("07700900124"), nullptr);
}

TEST(MessageParticipant, AsksThePreferencesLast) {
  const PDXTestFolder folder;
  const std::string book = PDXSampleDatabase()
                               .table("ABPerson", "ROWID INTEGER PRIMARY KEY, First, Last, Organization")
                               .table("ABMultiValue", "UID, record_id, value")
                               .row("ABPerson", 7, "Dee", "Day", nullptr)
                               .row("ABMultiValue", 1, 7, "elsewhere")
                               .writeTo(folder / "book.db");
  const PDXBytes list =
      PDXPropertyList(
          PDXPropertyList::Dictionary{
              {"_im_ab_cache", PDXPropertyList::Dictionary{{"+445555_record_id", 7}, {"x_record_id", true}}}})
          .binary();
  const std::string preferences = folder.write("MobileSMS.plist", std::string(list.begin(), list.end()));
  PDXMessageParticipant participant(book, preferences);
  participant.setAddress("+445555");
  EXPECT_EQ(participant.name(), "Dee Day");
  EXPECT_TRUE(participant.isKnownContact());
  participant.setAddress("x");
  EXPECT_EQ(participant.name(), "") << "the earlier name must not stay";
  EXPECT_FALSE(participant.isKnownContact());
}

TEST(MessageDetail, ContainsLooksAtTextAndTextPieces) {
  PDXMessageDetail message;
  message.message = "Grüße";
  message.messagePieces.emplace_back("image/jpeg", 0, "photo.jpg");
  message.messagePieces.emplace_back("TEXT/plain", 1, "second part");
  EXPECT_TRUE(message.contains("GRÜSSE") || message.contains("GRÜßE"));
  EXPECT_TRUE(message.contains("Second"));
  EXPECT_FALSE(message.contains("photo"));
  EXPECT_FALSE(message.contains(""));
  message.message.clear();
  EXPECT_FALSE(message.contains("second")) << "without a text of its own";
}

TEST(DateFilterOptions, EndsAtTheEndDaysMidnight) {
  const PDXDate first = std::chrono::sys_days(2021y / 3 / 1);  // London keeps UTC in March.
  const PDXDate third = std::chrono::sys_days(2021y / 3 / 3);
  const PDXDateFilterOptions range(first + hours(15), third + hours(20));
  EXPECT_TRUE(range.isDateInRange(first));
  EXPECT_TRUE(range.isDateInRange(third));
  EXPECT_FALSE(range.isDateInRange(third + hours(10)));
  EXPECT_FALSE(range.isDateInRange(first - 1us));
  EXPECT_FALSE(range.isDateInRange(std::nullopt));
  const PDXDateFilterOptions open;
  EXPECT_TRUE(open.isDateInRange(first));
  const auto now = std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
  EXPECT_FALSE(PDXDateFilterOptions(first).isDateInRange(now + hours(48))) << "today is the end day";
  EXPECT_TRUE(PDXDateFilterOptions(first).isDateInRange(now - hours(48)));
}

TEST(MessageThread, TellsWhatItHolds) {
  const PDXMessagesConversation conversation;
  PDXMessageThread thread(conversation, {});
  thread.messages.resize(1);
  thread.messages[0].direction = 1;
  thread.messages[0].messagePieces.emplace_back("text", 0, "a");
  EXPECT_FALSE(thread.hasAttachments() || thread.hasImages() || thread.hasHeicAttachments());
  EXPECT_FALSE(thread.hasReceivedMessages());
  thread.messages[0].messagePieces.emplace_back("IMAGE/heic", 0, "~/a/IMG_1.HEIC");
  EXPECT_TRUE(thread.hasAttachments() && thread.hasImages() && thread.hasHeicAttachments());
}

TEST(MessageFontSizes, AnUnknownStyleHasNoSizes) {
  EXPECT_EQ(PDXMessageFontSizes().headerSize, 16);
  EXPECT_EQ(PDXMessageFontSizes(3).subTextSize, 14);
  const PDXMessageFontSizes unknown(7);
  EXPECT_EQ(unknown.textSize + unknown.headerSize + unknown.subTextSize, 0);
}

}  // namespace
