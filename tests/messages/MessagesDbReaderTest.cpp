#include "messages/MessagesDbReader.h"

#include <fmt/format.h>

#include "messages/MessageReader.h"
#include "platform/Log.h"
#include "samples/AttributedText.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

using namespace std::chrono_literals;

/// The current layout, without rows.
PDXSampleDatabase store() {
  return PDXSampleDatabase()
      .table("chat", "ROWID INTEGER PRIMARY KEY, guid")
      .table("handle", "ROWID INTEGER PRIMARY KEY, id, service")
      .table("chat_handle_join", "chat_id INTEGER, handle_id INTEGER")
      .table("chat_message_join", "chat_id INTEGER, message_id INTEGER")
      .table("message",
             "ROWID INTEGER PRIMARY KEY, handle_id INTEGER, text, subject, date INTEGER, date_read INTEGER, "
             "date_delivered INTEGER, service, is_from_me INTEGER, is_sent INTEGER, is_delivered INTEGER, "
             "is_read "
             "INTEGER")
      .table("attachment", "ROWID INTEGER PRIMARY KEY, filename, mime_type")
      .table("message_attachment_join", "message_id INTEGER, attachment_id INTEGER");
}

/// A chat with one handle.
PDXSampleDatabase withChat(const PDXSampleDatabase& database, int chat, int handle, const char* address) {
  return database.row("chat", chat, "g")
      .row("handle", handle, address, "iMessage")
      .row("chat_handle_join", chat, handle);
}

PDXSampleDatabase withMessage(PDXSampleDatabase database, int chat, int id, const char* text,
                              std::int64_t date = 600000000) {
  return std::move(database)
      .row("message", id, 1, text, nullptr, date, 0, 0, "SMS", 0, 1, 1, 1)
      .row("chat_message_join", chat, id);
}

std::string listed(const PDXConversationList& conversations) {
  std::string text;
  for (const auto& conversation : conversations) {
    text += fmt::format("{}|{}|{}|{}\n", conversation->title(), conversation->conversationIdArrayString(),
                        conversation->messageCount, conversation->lastUpdated);
  }
  return text;
}

std::string shown(const PDXMessageDetail& message) {
  std::string text = fmt::format("{} {} {} {}", message.rowId, message.direction == 1 ? "sent" : "received",
                                 message.readStatus, message.time ? PDXDates::isoText(*message.time) : "-");
  for (const PDXMessagePiece& piece : message.messagePieces) {
    text += fmt::format(" [{}:{}:{}]", piece.contentType, piece.partId, piece.contentLocation);
  }
  return text + "\n";
}

std::string shown(const std::vector<PDXMessageDetail>& messages) {
  std::string text;
  for (const auto& message : messages) text += shown(message);
  return text;
}

class MessagesDbReader : public testing::Test {
 protected:
  PDXMessagesDbReader reader(const PDXSampleDatabase& database) const {
    return {database.writeTo(folder_ / "sms.db"), "", ""};
  }

  PDXTestFolder folder_;
};

TEST_F(MessagesDbReader, ListsChatsWithHandlesAndMessages) {
  auto database = withChat(withChat(withChat(store(), 1, 1, "+442"), 2, 2, "bob"), 3, 3, "alice");
  database = database.row("chat", 4, "no handle").row("chat_handle_join", 2, 3);
  database = withMessage(withMessage(withMessage(database, 1, 10, "a", 7), 1, 11, "b", 9), 2, 12, "c", 3);
  database = withMessage(database, 4, 13, "d");
  EXPECT_EQ(listed(reader(database).getConversationList()),
            "bob, |'2'|1|0\n"
            "+442|'1'|2|600000000\n")
      << "chat 3 has no message, chat 4 no handle; names come before numbers";
}

TEST_F(MessagesDbReader, MergesChatsOfOneTitle) {
  auto database = withChat(withChat(withChat(store(), 5, 1, "ann"), 2, 2, "Ann"), 9, 3, "ann");
  database = database.row("message", 1, 1, "x", nullptr, 50).row("chat_message_join", 5, 1);
  database = database.row("message", 2, 3, "y", nullptr, 70).row("chat_message_join", 9, 2);
  database = database.row("message", 3, 2, "z", nullptr, 60).row("chat_message_join", 2, 3);
  EXPECT_EQ(listed(reader(database).getConversationList()),
            "Ann|'2'|1|60\n"
            "ann|'5','9'|1|70\n");
}

TEST_F(MessagesDbReader, TimesAndStatusesFollowTheRow) {
  const std::int64_t nanoseconds = 600000000123456789;
  auto database = withChat(store(), 1, 1, "ann");
  const struct {
    int fromMe, sent, delivered, read;
    std::int64_t date, dateRead, dateDelivered;
  } rows[] = {
      {0, 0, 0, 0, 600000000, 0, 0},
      {0, 1, 1, 1, nanoseconds, 0, 600000060},
      {0, 1, 1, 1, 600000000, 600000120, 0},
      {1, 0, 1, 1, 600000180, 1, 1},
      {1, 1, 0, 1, 600000180, 1, 1},
      {1, 1, 1, 1, 600000180, 600000200, 1},
      {1, 1, 1, 0, 600000180, 0, 1},
      {1, 1, 1, 0, 0, 0, 0},
      {1, 1, 1, 0, -5, 0, 0},
  };
  int id = 0;
  for (const auto& row : rows) {
    ++id;
    database = database
                   .row("message", id, 1, "t", nullptr, row.date, row.dateRead, row.dateDelivered, "SMS",
                        row.fromMe, row.sent, row.delivered, row.read)
                   .row("chat_message_join", 1, id);
  }
  auto made = reader(database);
  const auto conversations = made.getConversationList();
  const auto messages = made.getMessagesFromConversationWithStartDateAndEndDate(*conversations[0], {}, {});
  EXPECT_EQ(shown(messages),
            "8 sent 2 - [text:0:t]\n"
            "9 sent 2 - [text:0:t]\n"
            "1 received 0 2020-01-06T10:40:00Z [text:0:t]\n"
            "2 received 0 2020-01-06T10:41:00Z [text:0:t]\n"
            "3 received 0 2020-01-06T10:42:00Z [text:0:t]\n"
            "4 sent 4 2020-01-06T10:43:00Z [text:0:t]\n"
            "5 sent 1 2020-01-06T10:43:00Z [text:0:t]\n"
            "6 sent 3 2020-01-06T10:43:00Z [text:0:t]\n"
            "7 sent 2 2020-01-06T10:43:00Z [text:0:t]\n");
  EXPECT_EQ(messages[7].dateRead, PDXDates::fromReferenceSeconds(600000200));
  EXPECT_EQ(PDXMessagesDbReader::dateFromSeconds_(nanoseconds), PDXDates::fromReferenceSeconds(600000000));
}

TEST_F(MessagesDbReader, BuildsPiecesFromTextNotesAndAttachments) {
  const std::string link = "https://www.icloud.com/notes/0aBcD#Shopping";
  auto database = withChat(store(), 1, 1, "ann");
  const PDXSampleDatabase::Value texts[] = {std::string("\xEF\xBF\xBC"), nullptr, nullptr,
                                            link + " see this",          link,    std::string("")};
  int id = 0;
  for (const auto& text : texts) {
    ++id;
    database = std::holds_alternative<std::nullptr_t>(text)
                   ? database.row("message", id, 1)
                   : database.row("message", id, 1, std::get<std::string>(text));
    database = database.row("chat_message_join", 1, id);
  }
  database = database.row("attachment", 7, "~/Library/SMS/a.jpg", "image/jpeg")
                 .row("attachment", 8, "~/Library/SMS/b", nullptr)
                 .row("attachment", 9, nullptr, "image/png")
                 .row("message_attachment_join", 1, 7)
                 .row("message_attachment_join", 3, 8)
                 .row("message_attachment_join", 3, 9);
  auto made = reader(database);
  const auto conversations = made.getConversationList();
  const auto messages = made.everyMessageOfConversation(*conversations[0], {}, {});
  EXPECT_EQ(shown(messages),
            "1 received 0 - [text:0:] [image/jpeg:0:~/Library/SMS/a.jpg]\n"
            "3 received 0 - [:0:~/Library/SMS/b]\n"
            "4 received 0 - [ic_note:1:" +
                link +
                "] [text:0:see this]\n"
                "5 received 0 - [ic_note:1:" +
                link +
                "] [text:0:]\n"
                "6 received 0 - [text:0:]\n")
      << "a row with neither text nor attachment is no message";
  EXPECT_EQ(messages[1].attachmentsNeverDownloaded, 1);
}

TEST_F(MessagesDbReader, RangesMatchBothUnitsAndTermsGoIntoTheStatement) {
  auto database = withChat(store(), 1, 1, "ann");
  database = withMessage(database, 1, 1, "I don't", 100);
  database = withMessage(database, 1, 2, "50% off", 200'000'000'000);
  database = withMessage(database, 1, 3, "else", 300);
  auto made = reader(database);
  const auto conversations = made.getConversationList();
  const auto found = [&](std::optional<std::int64_t> from, std::optional<std::int64_t> to,
                         const std::optional<std::string>& term) {
    const auto date = [](const std::optional<std::int64_t>& seconds) {
      return seconds ? std::optional(PDXDates::fromReferenceSeconds(*seconds)) : std::nullopt;
    };
    std::string ids;
    const auto& conversation = *conversations[0];
    for (const auto& message : made.getMessagesFromConversationWithStartDateEndDateSearchTerm(
             conversation, date(from), date(to), term)) {
      ids += std::to_string(message.rowId);
    }
    EXPECT_EQ(
        made.conversationIsInDateRangeEndDateOrMatchesSearchTerm(conversation, date(from), date(to), term),
        !ids.empty());
    return ids;
  };
  EXPECT_EQ(found(100, 300, {}), "12") << "the end is not taken in";
  EXPECT_EQ(found(101, {}, {}), "32") << "by time: a small number is read as seconds";
  EXPECT_EQ(found({}, 200, {}), "13") << "without a start the third is also taken for nanoseconds";
  EXPECT_EQ(
      made.everyMessageOfConversation(*conversations[0], {}, PDXDates::fromReferenceSeconds(200)).size(), 1U);
  EXPECT_EQ(found({}, {}, "off"), "2");
  EXPECT_EQ(found(200, 201, "off"), "2");
  EXPECT_EQ(found({}, {}, "don't"), "") << "the quote ends the text in the statement";
  EXPECT_EQ(found({}, {}, "nowhere"), "");
}

TEST_F(MessagesDbReader, AMissingColumnOrAViewCostsOnlyItself) {
  auto database =
      PDXSampleDatabase()
          .table("chat", "ROWID INTEGER PRIMARY KEY")
          .table("handle", "ROWID INTEGER PRIMARY KEY, id, service")
          .table("chat_handle_join", "chat_id INTEGER, handle_id INTEGER")
          .table("chat_message_join", "chat_id INTEGER, message_id INTEGER")
          .table("message", "ROWID INTEGER PRIMARY KEY, handle_id, text, date INTEGER, is_from_me")
          .row("message", 1, 1, "hi", 600000000, 1)
          .row("chat_message_join", 1, 1);
  database = withChat(database.row("chat", std::int64_t{4294967297}), 1, 1, "ann")
                 .row("chat_handle_join", std::int64_t{4294967297}, 1);
  database = database.row("chat_message_join", std::int64_t{4294967297}, 1);
  auto made = reader(database);
  const auto conversations = made.getConversationList();
  ASSERT_EQ(conversations.size(), 1U) << "a number beyond 32 bits is another chat, not chat 1";
  EXPECT_EQ(conversations[0]->participants.size(), 1U);
  EXPECT_EQ(shown(made.everyMessageOfConversation(*conversations[0], {}, {})),
            "1 sent 0 2020-01-06T10:40:00Z [text:0:hi]\n");

  const auto view =
      store()
          .sql("DROP TABLE handle")
          .sql(
              "CREATE VIEW handle AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) "
              "SELECT i AS id, 'SMS' AS service FROM n");
  EXPECT_TRUE(reader(view.row("chat", 1).row("chat_handle_join", 1, 1)).getConversationList().empty());
}

TEST_F(MessagesDbReader, ExportsTextsThatOnlyTheAttributedBodyHolds) {
  const PDXBytes body = PDXSampleAttributedText::archived("\uFFFCGr\u00FC\u00DFe", "G");
  const PDXBytes link = PDXSampleAttributedText::archived("https://www.icloud.com/notes/0aB Plan", "G");
  const PDXBytes damaged(body.begin(), body.begin() + 100);
  const PDXBytes none;
  auto database = withChat(store(), 1, 1, "ann").sql("ALTER TABLE message ADD COLUMN attributedBody");
  int id = 0;
  const auto add = [&](auto text, const PDXBytes& attributed) {
    ++id;
    database = database.row("message", id, 1, text, nullptr, 600000000, 0, 0, "SMS", 0, 1, 1, 1, attributed)
                   .row("chat_message_join", 1, id);
  };
  add(nullptr, body);
  add("", body);
  add("plain", damaged);
  add(nullptr, link);
  add(nullptr, damaged);
  add("", damaged);
  add(nullptr, none);
  std::vector<PDXProblem> problems;
  const auto before = PDXLog::listen([&](const PDXProblem& problem) { problems.push_back(problem); });
  auto made = reader(database);
  const auto conversations = made.getConversationList();
  const auto messages = made.everyMessageOfConversation(*conversations[0], {}, {});
  const auto given = made.getMessagesFromConversationWithStartDateAndEndDate(*conversations[0], {}, {});
  const auto found = PDXMessageReader::messagesForExport(made, *conversations[0], {}, {}, "GR\u00DC\u00DFE");
  PDXLog::listen(before);

  const std::string head = " received 0 2020-01-06T10:40:00Z ";
  EXPECT_EQ(shown(messages), "1" + head + "[text:0:Gr\u00FC\u00DFe]\n2" + head +
                                 "[text:0:Gr\u00FC\u00DFe]\n3" + head + "[text:0:plain]\n4" + head +
                                 "[ic_note:1:https://www.icloud.com/notes/0aB] [text:0:Plan]\n6" + head +
                                 "[text:0:]\n");
  EXPECT_EQ(shown(given), "2" + head + "[text:0:]\n3" + head + "[text:0:plain]\n6" + head + "[text:0:]\n");
  EXPECT_EQ(found.size(), 2U);
  const PDXProblem expected = {
      .what = "message text",
      .where = "ann",
      .why = "the attributed bodies of 2 messages are damaged, the first of message 5"};
  EXPECT_EQ(problems, (std::vector{expected, expected})) << "once for each of the two exports";
}

TEST_F(MessagesDbReader, KeepsWhatCanBeReadOfADamagedStore) {
  auto database = withChat(store(), 1, 1, "ann");
  for (int id = 1; id <= 3000; ++id)
    database = withMessage(std::move(database), 1, id, "some words to fill pages");
  const std::string path = database.writeTo(folder_ / "sms.db");
  std::string bytes = fileText(path);
  const std::size_t damaged = bytes.find("some words to fill pages", bytes.size() / 2) / 4096 * 4096;
  bytes.replace(damaged, 4096, 4096, '\xA5');
  folder_.write("damaged.db", bytes);

  int reports = 0;
  const auto before = PDXLog::listen([&reports](const PDXProblem&) { ++reports; });
  PDXMessagesDbReader made(folder_ / "damaged.db", "", "");
  EXPECT_TRUE(made.loadMessages());
  const auto conversations = made.getConversationList();
  ASSERT_EQ(conversations.size(), 1U);
  const auto messages = made.everyMessageOfConversation(*conversations[0], {}, {});
  EXPECT_GT(messages.size(), 2800U);
  EXPECT_LT(messages.size(), 3000U);
  EXPECT_GT(reports, 0);

  const std::string whole = fileText(path);
  folder_.write("cut.db", whole.substr(0, whole.size() / 2 + 100));
  EXPECT_NE(PDXSQLiteDatabase::completeCutFile(folder_ / "cut.db"), "");
  EXPECT_EQ(PDXSQLiteDatabase::completeCutFile(path), "");
  PDXMessagesDbReader cut(folder_ / "cut.db", "", "");
  const auto left = cut.getConversationList();
  ASSERT_EQ(left.size(), 1U);
  EXPECT_GT(cut.everyMessageOfConversation(*left[0], {}, {}).size(), 500U);

  EXPECT_FALSE(PDXMessagesDbReader(folder_ / "none.db", "", "").loadMessages());
  EXPECT_TRUE(PDXMessagesDbReader(folder_.write("text.db", std::string(500, 'x')), "", "")
                  .getConversationList()
                  .empty());
  PDXLog::listen(before);
}

}  // namespace
