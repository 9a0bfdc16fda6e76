#include "messages/MessageRowCounts.h"

#include <fmt/format.h>

#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

/// The current layout: chat 1 with two participants, chat 2 with one, chat 3 with a handle that is not there,
/// chat 4 with none.
PDXSampleDatabase current() {
  return PDXSampleDatabase()
      .table("chat", "ROWID INTEGER PRIMARY KEY")
      .table("handle", "ROWID INTEGER PRIMARY KEY, id")
      .table("chat_handle_join", "chat_id, handle_id")
      .table("chat_message_join", "chat_id, message_id")
      .table("message", "ROWID INTEGER PRIMARY KEY, text")
      .sql("INSERT INTO chat VALUES (1), (2), (3), (4)")
      .sql("INSERT INTO handle VALUES (7, 'ann'), (8, 'bob')")
      .sql("INSERT INTO chat_handle_join VALUES (1, 7), (1, 8), (2, 8), (3, 99)");
}

PDXSampleDatabase withBodiesFilesAndDeleted() {
  return current()
      .sql("ALTER TABLE message ADD COLUMN attributedBody")
      .table("attachment", "ROWID INTEGER PRIMARY KEY, filename")
      .table("message_attachment_join", "message_id, attachment_id")
      .table("chat_recoverable_message_join", "chat_id, message_id");
}

PDXSampleDatabase groups(const std::string& suffix) {
  return PDXSampleDatabase()
      .table("message" + suffix, "ROWID INTEGER PRIMARY KEY, group_id, madrid_handle, madrid_roomname")
      .table("msg_group" + suffix, "ROWID INTEGER PRIMARY KEY")
      .table("group_member" + suffix, "group_id, address")
      .table("msg_pieces" + suffix, "message_id")
      .sql("INSERT INTO msg_group" + suffix + " VALUES (1), (2), (3)")
      .sql("INSERT INTO group_member" + suffix + " VALUES (1, 'ann'), (1, 'bob'), (2, 'ann')");
}

class MessageRowCounts : public testing::Test {
 protected:
  std::string counted(const PDXSampleDatabase& database) const {
    PDXMessagesConversation second;
    second.setConversationId(2);
    second.setMadridHandle("room");
    const PDXSQLiteDatabase opened(database.writeTo(folder_ / "sms.db"));
    const auto counts = PDXMessageRowCounts::of(opened, {&second});
    if (!counts) return "nothing";
    EXPECT_EQ(counts->rows, counts->expected - counts->repeated + counts->withoutContent + counts->notWanted +
                                counts->withoutParticipants + counts->recentlyDeleted +
                                counts->inNoConversation);
    return fmt::format(
        "{} rows: {} expected, {} repeated, {} empty, {} unwanted, {} alone, {} deleted, {} lost",
        counts->rows, counts->expected, counts->repeated, counts->withoutContent, counts->notWanted,
        counts->withoutParticipants, counts->recentlyDeleted, counts->inNoConversation);
  }

  PDXTestFolder folder_;
};

TEST_F(MessageRowCounts, EveryRowCountsOnceWhereverItIs) {
  const struct {
    const char* sort;
    PDXSampleDatabase database;
    const char* expected;
  } cases[] = {
      {"no store", PDXSampleDatabase().table("song", "title"), "nothing"},
      {"in a wanted chat, one of them empty",
       current()
           .sql("INSERT INTO message VALUES (5, 'a'), (6, ''), (9, NULL)")
           .sql("INSERT INTO chat_message_join VALUES (1, 9), (1, 5), (1, 6), (1, 77)"),
       "3 rows: 2 expected, 0 repeated, 1 empty, 0 unwanted, 0 alone, 0 deleted, 0 lost"},
      {"in two chats: two that are wanted, one, or none of them",
       current()
           .sql("INSERT INTO chat VALUES (5)")
           .sql("INSERT INTO chat_handle_join VALUES (5, 7)")
           .sql("INSERT INTO message VALUES (1, 'a'), (2, 'b'), (3, 'c'), (4, 'd')")
           .sql(
               "INSERT INTO chat_message_join VALUES (1, 1), (5, 1), (1, 2), (2, 2), (2, 3), (4, 3), (3, 4), "
               "(4, 4)"),
       "4 rows: 3 expected, 1 repeated, 0 empty, 1 unwanted, 1 alone, 0 deleted, 0 lost"},
      {"in no chat, or one that is not there",
       current()
           .sql("INSERT INTO message VALUES (1, 'a'), (2, 'b')")
           .sql("INSERT INTO chat_message_join VALUES (44, 2)"),
       "2 rows: 0 expected, 0 repeated, 0 empty, 0 unwanted, 1 alone, 0 deleted, 1 lost"},
      {"deleted, and deleted in one chat only",
       withBodiesFilesAndDeleted()
           .sql("INSERT INTO message VALUES (1, 'a', NULL), (2, 'b', NULL)")
           .sql("INSERT INTO chat_recoverable_message_join VALUES (1, 1), (1, 2)")
           .sql("INSERT INTO chat_message_join VALUES (1, 2)"),
       "2 rows: 1 expected, 0 repeated, 0 empty, 0 unwanted, 0 alone, 1 deleted, 0 lost"},
      {"with a body, an empty one, a file, and a file that never came",
       withBodiesFilesAndDeleted()
           .sql("INSERT INTO message VALUES (1, NULL, x'04'), (2, NULL, x''), (3, NULL, NULL), (4, NULL, "
                "NULL)")
           .sql("INSERT INTO attachment VALUES (1, '~/a.jpg'), (2, NULL)")
           .sql("INSERT INTO message_attachment_join VALUES (3, 1), (4, 2)")
           .sql("INSERT INTO chat_message_join VALUES (1, 1), (1, 2), (1, 3), (1, 4)"),
       "4 rows: 2 expected, 0 repeated, 2 empty, 0 unwanted, 0 alone, 0 deleted, 0 lost"},
      {"groups", groups("").sql("INSERT INTO message (group_id) VALUES (1), (1), (2), (3), (4), (NULL)"),
       "6 rows: 2 expected, 0 repeated, 0 empty, 1 unwanted, 1 alone, 0 deleted, 2 lost"},
      {"handles and rooms, one row also in a group",
       groups("")
           .table("madrid_chat", "chat_identifier")
           .sql("INSERT INTO madrid_chat VALUES ('ann'), ('room')")
           .sql("INSERT INTO message (group_id, madrid_handle, madrid_roomname) VALUES (1, 'ann', ''), "
                "(0, 'ann', NULL), (0, 'ann', 'room'), (0, 'bob', NULL)"),
       "4 rows: 3 expected, 1 repeated, 0 empty, 1 unwanted, 0 alone, 0 deleted, 1 lost"},
      {"migrated tables alone: there is no table of messages", groups("_legacy"), "nothing"},
  };
  for (const auto& c : cases) EXPECT_EQ(counted(c.database), c.expected) << c.sort;
}

TEST_F(MessageRowCounts, TellsDamagedBodiesFromTexts) {
  const PDXSQLiteDatabase store(
      withBodiesFilesAndDeleted()
          .sql("INSERT INTO message VALUES (1, NULL, x'04'), (2, 'b', x'04'), (3, NULL, x'04'), (4, NULL, "
               "x'04')")
          .sql("INSERT INTO attachment VALUES (1, '~/a.jpg')")
          .sql("INSERT INTO message_attachment_join VALUES (3, 1)")
          .sql("INSERT INTO chat_message_join VALUES (1, 1), (1, 2), (1, 3)")
          .writeTo(folder_ / "sms.db"));
  const auto believed = PDXMessageRowCounts::of(store, {});
  ASSERT_TRUE(believed);
  EXPECT_EQ(believed->expected, 3U);
  EXPECT_EQ(believed->damagedText, 0U);
  const auto read = PDXMessageRowCounts::of(store, {}, PDXMessageRowCounts::Bodies::read);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->expected, 2U) << "a text or a file beside the body stands on the page";
  EXPECT_EQ(read->damagedText, 1U);
  EXPECT_EQ(read->inNoConversation, 1U);
}

TEST_F(MessageRowCounts, AddsMigratedTables) {
  const auto database = current()
                            .table("message_legacy", "ROWID INTEGER PRIMARY KEY, group_id")
                            .sql("INSERT INTO message VALUES (1, 'a')")
                            .sql("INSERT INTO message_legacy VALUES (1, 1), (2, 1)");
  EXPECT_EQ(counted(database),
            "3 rows: 0 expected, 0 repeated, 0 empty, 0 unwanted, 0 alone, 0 deleted, 3 lost");
}

}  // namespace
