#include <fmt/format.h>

#include "messages/MessagesDbReader.h"
#include "platform/PropertyList.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

std::string shown(const std::vector<PDXMessageDetail>& messages) {
  std::string text;
  for (const auto& message : messages) {
    text += fmt::format("{} {} {} {}", message.rowId, message.direction, PDXDates::isoText(*message.time),
                        message.message);
    for (const auto& piece : message.messagePieces) {
      text += fmt::format(" [{}:{}:{}]", piece.contentType, piece.partId, piece.contentLocation);
    }
    text += "\n";
  }
  return text;
}

PDXBytes listOf(const PDXPropertyList& value) { return value.binary(); }

/// The group layout under its own names, or those after a migration.
PDXSampleDatabase groups(const std::string& suffix) {
  return PDXSampleDatabase()
      .table("msg_group" + suffix, "ROWID INTEGER PRIMARY KEY")
      .table("group_member" + suffix, "group_id, address")
      .table("message" + suffix, "ROWID INTEGER PRIMARY KEY, group_id, flags, text, date INTEGER")
      .table("msg_pieces" + suffix, "message_id, data, part_id, content_type, content_loc")
      .row("msg_group" + suffix, 3)
      .row("group_member" + suffix, 3, "ann")
      .row("group_member" + suffix, 3, "bob")
      .row("message" + suffix, 1, 3, 2, "hello", 1300000000)
      .row("message" + suffix, 2, 3, 3, nullptr, 1300000060)
      .row("message" + suffix, 3, 3, 3, "look", 1300000120)
      .row("msg_pieces" + suffix, 2, "words", 0, "text/plain", "text_0.txt")
      .row("msg_pieces" + suffix, 2, nullptr, 1, "image/jpeg", "IMG_1")
      .row("msg_pieces" + suffix, 2, nullptr, 2, "video/3gpp", "clip")
      .row("msg_pieces" + suffix, 2, nullptr, 3, "application/smil", "layout")
      .row("msg_pieces" + suffix, 3, nullptr, 0, "image/png", "shot");
}

constexpr const char* kGroupMessages =
    "1 0 2011-03-13T07:06:40Z hello\n"
    "2 1 2011-03-13T07:07:40Z  [text/plain:0:words] [image/jpeg:1:IMG_1-1.jpg] "
    "[video/3gpp:2:clip-2.3gp.3gp]\n"
    "3 1 2011-03-13T07:08:40Z look [image/png:0:shot-0]\n";

TEST(GroupLayout, ReadsBothSetsOfTables) {
  const PDXTestFolder folder;
  for (const std::string suffix : {"", "_legacy"}) {
    PDXMessagesDbReader reader(groups(suffix).writeTo(folder / "sms.db"), "", "");
    const auto conversations = reader.getConversationList();
    ASSERT_EQ(conversations.size(), 1U);
    EXPECT_EQ(conversations[0]->title(), "ann, ");
    EXPECT_EQ(conversations[0]->participants.size(), 2U);
    EXPECT_EQ(shown(reader.getMessagesFromConversationWithStartDateAndEndDate(*conversations[0], {}, {})),
              kGroupMessages);
  }
}

TEST(GroupLayout, ComparesRangesInTheOtherEpochUnlessEverythingIsWanted) {
  const PDXTestFolder folder;
  PDXMessagesDbReader reader(groups("").writeTo(folder / "sms.db"), "", "");
  const auto conversations = reader.getConversationList();
  const auto& conversation = *conversations[0];
  using namespace std::chrono_literals;
  const PDXDate from = std::chrono::sys_days(2011y / 3 / 13) + 7h + 7min;
  const PDXDate to = from + 1min;
  EXPECT_EQ(shown(reader.getMessagesFromConversationWithStartDateAndEndDate(conversation, from, to)), "");
  EXPECT_EQ(reader.everyMessageOfConversation(conversation, from, to).size(), 1U);
  const auto all = reader.everyMessageOfConversation(conversation, {}, {});
  ASSERT_EQ(all.size(), 3U);
  EXPECT_EQ(all[2].messagePieces.size(), 2U) << "a text beside a picture is shown too";
  EXPECT_EQ(all[2].messagePieces[0].contentLocation, "look");
  EXPECT_FALSE(reader.conversationIsInDateRangeEndDateOrMatchesSearchTerm(conversation, {}, {}, "hello"))
      << "the statement for a store that was not migrated does not compile";
  PDXMessagesDbReader migrated(groups("_legacy").writeTo(folder / "migrated.db"), "", "");
  EXPECT_TRUE(migrated.conversationIsInDateRangeEndDateOrMatchesSearchTerm(conversation, {}, {}, "hello"));
}

TEST(MadridLayout, FindsEverythingOnlyWhenAskedTo) {
  const std::string guid = "0A1B2C3D-0000-4000-8000-00000000000F";
  for (const std::string suffix : {"", "_legacy"}) {
    const PDXTestFolder folder;
    const auto database =
        PDXSampleDatabase()
            .table("madrid_chat" + suffix, "ROWID INTEGER PRIMARY KEY, chat_identifier, participants BLOB")
            .table("madrid_attachment" + suffix, "attachment_guid, filename, mime_type")
            .table("message" + suffix,
                   "ROWID INTEGER PRIMARY KEY, text, date INTEGER, madrid_handle, madrid_roomname, "
                   "madrid_date_delivered INTEGER, madrid_attachmentInfo BLOB")
            .row("madrid_chat" + suffix, 1, "+447700900123", listOf(PDXPropertyList::Array{"+447700900123"}))
            .row("madrid_chat" + suffix, 2, "chat77",
                 listOf(PDXPropertyList::Array{"cid@example.com", 5, "dee"}))
            .row("madrid_chat" + suffix, 3, "broken", PDXBytes{1, 2, 3})
            .row("message" + suffix, 1, "one", 340000000, "+447700900123", nullptr, 0)
            .row("message" + suffix, 2, "two", 340000060, "07700900123", nullptr, 340000061,
                 listOf(PDXPropertyList::Dictionary{{"x", PDXPropertyList::Array{guid, "no guid"}}}))
            .row("message" + suffix, 3, "another's", 340000070, "+15550000123", nullptr, 0)
            .row("message" + suffix, 4, "in the room", 340000080, "+447700900123", "chat77", 0)
            .row("madrid_attachment" + suffix, guid, "/var/mobile/Library/SMS/a.jpg", "image/jpeg");
    PDXMessagesDbReader reader(database.writeTo(folder / "sms.db"), "", "");
    const auto conversations = reader.getConversationList();
    ASSERT_EQ(conversations.size(), 3U);
    const auto& person = *conversations[2];
    const auto& room = *conversations[1];
    EXPECT_EQ(person.title(), "+447700900123");
    EXPECT_EQ(room.title(), "cid@example.com, ");
    EXPECT_EQ(conversations[0]->title(), "No Participants");
    EXPECT_TRUE(reader.getMessagesFromConversationWithStartDateAndEndDate(person, {}, {}).empty());
    EXPECT_EQ(shown(reader.everyMessageOfConversation(person, {}, {})),
              "1 0 2011-10-11T04:26:40Z one [text:0:one]\n"
              "2 1 2011-10-11T04:27:40Z two [text:0:two] [image/jpeg:0:Library/SMS/a.jpg]\n");
    EXPECT_EQ(shown(reader.everyMessageOfConversation(room, {}, {})),
              "4 0 2011-10-11T04:28:00Z in the room [text:0:in the room]\n");
    EXPECT_TRUE(reader.conversationIsInDateRangeEndDateOrMatchesSearchTerm(person, {}, {}, "one"));
    EXPECT_FALSE(reader.conversationIsInDateRangeEndDateOrMatchesSearchTerm(person, {}, {}, "three"));
  }
}

}  // namespace
