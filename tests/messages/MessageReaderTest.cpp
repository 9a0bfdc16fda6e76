#include "messages/MessageReader.h"

#include "backup/DeviceData.h"
#include "contacts/ContactsDatabase.h"
#include "samples/BackupFolder.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

/// A backup whose chats have these addresses, with one message each.
class MessageReader : public testing::Test {
 protected:
  ~MessageReader() override { PDXContactsDatabase::clear(); }

  std::unique_ptr<PDXDeviceData> backupWithChats(const std::vector<std::string>& addresses,
                                                 bool withStore = true) {
    auto store =
        PDXSampleDatabase()
            .table("chat", "ROWID INTEGER PRIMARY KEY")
            .table("handle", "ROWID INTEGER PRIMARY KEY, id, service")
            .table("chat_handle_join", "chat_id INTEGER, handle_id INTEGER")
            .table("chat_message_join", "chat_id INTEGER, message_id INTEGER")
            .table("message",
                   "ROWID INTEGER PRIMARY KEY, handle_id INTEGER, text, subject, date INTEGER, date_read, "
                   "date_delivered, service, is_from_me")
            .table("message_attachment_join", "message_id, attachment_id");
    int id = 0;
    for (const std::string& address : addresses) {
      ++id;
      store = store.row("chat", id)
                  .row("handle", id, address, "SMS")
                  .row("chat_handle_join", id, id)
                  .row("chat_message_join", id, id)
                  .row("message", id, id, "Grüße from " + address, "subject " + address, 600000000 + id);
    }
    const auto book = PDXSampleDatabase()
                          .table("ABPerson",
                                 "ROWID INTEGER PRIMARY KEY, First, Middle, Last, Prefix, Suffix, "
                                 "Organization, JobTitle, Note")
                          .table("ABMultiValue", "UID, record_id, property, label, value")
                          .table("ABMultiValueLabel", "value")
                          .row("ABPerson", 1, "Zoe", nullptr, "O'Hara")
                          .row("ABMultiValue", 1, 1, 3, nullptr, "07700 900123");
    PDXSampleBackupFolder backup(folder_ / "phone");
    if (withStore) backup.addFileFrom("HomeDomain", "Library/SMS/sms.db", store.writeTo(folder_ / "sms.db"));
    backup.addFileFrom("HomeDomain", "Library/AddressBook/AddressBook.sqlitedb",
                       book.writeTo(folder_ / "book.db"));
    EXPECT_TRUE(backup.finish()) << backup.error();
    PDXDeviceData::setCustomBackupPath(folder_.path());
    return std::make_unique<PDXDeviceData>("phone");
  }

  static std::string titles(const std::vector<PDXMessagesConversation*>& conversations) {
    std::string text;
    for (const auto* conversation : conversations) text += conversation->title() + "\n";
    return text;
  }

  PDXTestFolder folder_;
};

TEST_F(MessageReader, SortsNamesBeforeNumbersAndKnowsContacts) {
  const auto device = backupWithChats({"0123", "bob", "+447700900123", "Alice", "+4477", "bob10", "bob9"});
  PDXMessageReader reader;
  ASSERT_TRUE(reader.loadConversationsFromDeviceData(device.get()));
  EXPECT_EQ(titles(reader.allConversations()), "Alice\nbob\nbob9\nbob10\nZoe O'Hara\n+4477\n0123\n");
  EXPECT_EQ(reader.standardConversations().size(), 7U);
  EXPECT_TRUE(reader.whatsAppConversations().empty());
  EXPECT_FALSE(reader.loadConversationsFromDeviceData(nullptr));
}

TEST_F(MessageReader, WithoutAMessagesStoreThereIsNothing) {
  const auto device = backupWithChats({}, false);
  PDXMessageReader reader;
  EXPECT_FALSE(reader.loadConversationsFromDeviceData(device.get()));
  EXPECT_TRUE(reader.allConversations().empty());
}

TEST_F(MessageReader, ThreadsComeOnlyFromListedConversations) {
  const auto device = backupWithChats({"ann"});
  PDXMessageReader reader;
  ASSERT_TRUE(reader.loadConversationsFromDeviceData(device.get()));
  const PDXMessagesConversation& ann = *reader.allConversations().front();
  const auto thread = reader.messageThreadForConversationFilterOptions(ann, PDXDateFilterOptions());
  ASSERT_TRUE(thread);
  EXPECT_EQ(thread->messages.size(), 1U);
  EXPECT_FALSE(thread->filterOptions.hasDateRange());
  const PDXDate late = PDXDates::fromReferenceSeconds(700000000);
  EXPECT_TRUE(
      reader.messageThreadForConversationFilterOptions(ann, PDXDateFilterOptions(late))->messages.empty());
  EXPECT_FALSE(reader.messageThreadForConversationFilterOptions(PDXMessagesConversation(), {}));
  EXPECT_TRUE(reader.conversationIsInDateRangeEndDateOrMatchesSearchTerm(ann, late, {}, "ANN"));
  EXPECT_FALSE(reader.conversationIsInDateRangeEndDateOrMatchesSearchTerm(ann, late, {}, "bob"));
}

TEST_F(MessageReader, ExportsWhatHoldsTheTermOrAllWhenTheTitleDoes) {
  const auto device = backupWithChats({"o'hara", "bob"});
  PDXMessageReader reader;
  ASSERT_TRUE(reader.loadConversationsFromDeviceData(device.get()));
  const struct {
    const char* title;
    const char* term;
    std::size_t expected;
  } cases[] = {
      {"bob", "", 1},           {"bob", "GRÜSSE", 0}, {"bob", "GRÜßE", 1}, {"bob", "Subject", 1},
      {"bob", "o'hara", 0},     {"bob", "BOB", 1},    {"bob", "%", 0},     {"o'hara", "o'hara", 1},
      {"o'hara", "from o'", 1}, {"o'hara", "x", 0},
  };
  for (const auto& c : cases) {
    for (const auto* conversation : reader.allConversations()) {
      if (conversation->title() != c.title) continue;
      const auto messages = PDXMessageReader::messagesForExport(*conversation->conversationDBReader,
                                                                *conversation, {}, {}, c.term);
      EXPECT_EQ(messages.size(), c.expected) << c.title << " " << c.term;
    }
  }
}

}  // namespace
