#include "samples/Messages.h"

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

#include "platform/Files.h"
#include "samples/Attachments.h"
#include "samples/AttributedText.h"
#include "samples/Chatter.h"
#include "samples/MessageStore.h"
#include "samples/Random.h"
#include "samples/Script.h"

namespace {

using std::chrono::seconds;
using std::chrono::sys_seconds;
using Kind = PDXSampleScriptLine::Kind;

constexpr sys_seconds kNow = std::chrono::floor<seconds>(kSampleNow);

/// Devices counted seconds before this day, and nanoseconds since.
constexpr sys_seconds kNanosecondsSince = std::chrono::sys_days(std::chrono::year(2017) / 9 / 19);

/// From then on the device writes a text only in its attributed form, with few exceptions.
constexpr sys_seconds kBodiesAloneSince = std::chrono::sys_days(std::chrono::year(2022) / 3 / 10);

constexpr int kSendFailed = 22;
constexpr int kLikedReaction = 2001;

/// A store with more messages has more conversations, within limits.
std::size_t conversationsFor(std::int64_t messages) {
  const std::int64_t few = std::clamp<std::int64_t>(messages / 50, 16, 40);
  return static_cast<std::size_t>(std::min<std::int64_t>(few + messages / 2000, 500));
}

/// What the store holds of one conversation.
struct Chat {
  std::int64_t row = 0;
  std::vector<std::int64_t> handles;
  std::string roomName;
  std::string_view service;
  std::string lastGuid;
  std::string_view lastText;
};

/// Fills one store, message after message in the order of their time.
class Writer {
 public:
  Writer(PDXSampleBackupFolder& folder, const std::string& path, std::uint64_t seed)
      : folder_(folder), store_(path), random_(seed, 5), seed_(seed) {}

  void addConversations(const std::vector<PDXSampleConversation>& conversations) {
    for (const PDXSampleConversation& conversation : conversations) addConversation_(conversation);
  }

  void add(const PDXSampleChatter::Line& line) {
    Chat& chat = chats_[line.conversation];
    PDXSampleMessage message = made_(chat, line.sender, line.time, line.pause);
    message.text = line.text;
    const bool canReact = chat.service == "iMessage" && !chat.lastGuid.empty() && !chat.lastText.empty();
    if (canReact && random_.isOneIn(25)) return react_(chat, message);
    if (message.isFromMe && random_.isOneIn(150)) fail_(message);
    put_(chat, message);
    chat.lastText = line.text;
  }

  void add(const PDXSampleScriptLine& line) {
    Chat& chat = chats_[static_cast<std::size_t>(line.where)];
    PDXSampleMessage message = made_(chat, line.sender, line.time, seconds(50));
    if (line.text != nullptr) message.text = line.text;
    message.subject = line.subject;
    message.hasAttachments = !line.attachments.front().empty();
    if (line.kind == Kind::liked) return react_(chat, message);
    apply_(line.kind, chat, message);
    const std::int64_t row = put_(chat, message);
    chat.lastText = message.text.value_or("");
    const auto guids = PDXSampleAttributedText::attachmentGuids(chat.lastText, message.guid);
    for (std::size_t i = 0; i < guids.size(); ++i) {
      addAttachment_(PDXSampleAttachments::named(line.attachments.at(i)), row, guids[i], message, line.time);
    }
  }

  /// "" when the store is whole, else why not.
  std::string finish() { return store_.finish() ? "" : store_.error(); }

 private:
  void addConversation_(const PDXSampleConversation& conversation) {
    Chat chat;
    chat.service = conversation.isSms ? "SMS" : "iMessage";
    if (conversation.isGroup)
      chat.roomName = "chat" + std::to_string(100000000000000000 + random_.below(800000000000000000));
    const std::string& address = conversation.isGroup ? chat.roomName : conversation.addresses.front();
    chat.row =
        store_.addChat({address, conversation.isGroup, chat.service, conversation.name}, random_.guid());
    for (const std::string& participant : conversation.addresses) {
      chat.handles.push_back(handle_(participant, chat.service));
      store_.addParticipant(chat.row, chat.handles.back());
    }
    chats_.push_back(std::move(chat));
  }

  std::int64_t handle_(const std::string& address, std::string_view service) {
    std::int64_t& row = handles_[{address, std::string(service)}];
    if (row == 0) row = store_.addHandle(address, service);
    return row;
  }

  /// A message without content, with the marks that a device leaves on one that went its usual way.
  PDXSampleMessage made_(const Chat& chat, int sender, sys_seconds time, seconds pause) {
    PDXSampleMessage message;
    message.chat = chat.row;
    message.guid = random_.guid();
    message.service = chat.service;
    message.roomName = chat.roomName;
    message.replyToGuid = chat.lastGuid;
    message.date = stamp_(time);
    message.isFromMe = sender == PDXSampleScriptLine::kMe;
    const sys_seconds later = time + seconds(random_.below(static_cast<std::uint64_t>(pause.count())));
    if (message.isFromMe) {
      markSent_(message, chat, later);
    } else {
      markReceived_(message, time, later);
      if (!chat.handles.empty()) message.handle = chat.handles[static_cast<std::size_t>(sender)];
    }
    return message;
  }

  void markSent_(PDXSampleMessage& message, const Chat& chat, sys_seconds later) {
    message.isSent = true;
    if (chat.roomName.empty()) message.handle = chat.handles.front();
    if (chat.service == "SMS") return;
    message.isDelivered = !random_.isOneIn(10);
    if (message.isDelivered) message.dateDelivered = stamp_(later);
    message.isRead = message.isDelivered && chat.roomName.empty() && random_.isOneIn(2);
    if (message.isRead) message.dateRead = stamp_(later);
  }

  /// A received message has no delivery date, except for some; it has been read unless it is new.
  void markReceived_(PDXSampleMessage& message, sys_seconds time, sys_seconds later) {
    message.isDelivered = true;
    if (random_.isOneIn(12)) message.dateDelivered = message.date;
    message.isRead = time < kNow - std::chrono::days(2);
    if (message.isRead) message.dateRead = stamp_(later);
  }

  static void fail_(PDXSampleMessage& message) {
    message.isSent = false;
    message.isDelivered = false;
    message.isRead = false;
    message.dateDelivered = 0;
    message.dateRead = 0;
    message.error = kSendFailed;
  }

  void apply_(Kind kind, Chat& chat, PDXSampleMessage& message) {
    switch (kind) {
      case Kind::notSent:
        return fail_(message);
      case Kind::orphan:
        message.chat = 0;
        return;
      case Kind::deleted:
        message.dateDeleted = stamp_(kNow - std::chrono::hours(30));
        return;
      case Kind::renamed:
        message.groupTitle = *message.text;
        return makeEvent_(message, 2);
      case Kind::added:
        message.otherHandle = chat.handles.back();
        return makeEvent_(message, 1);
      case Kind::left:
        return makeEvent_(message, 3);
      case Kind::message:
      case Kind::liked:
        return;
    }
  }

  static void makeEvent_(PDXSampleMessage& message, int itemType) {
    message.text.reset();
    message.itemType = itemType;
  }

  /// A reaction is a message of its own, whose text older devices show.
  void react_(const Chat& chat, PDXSampleMessage& message) {
    const std::string text = "Liked “" + std::string(chat.lastText) + "”";
    message.text = text;
    message.associatedGuid = "p:0/" + chat.lastGuid;
    message.associatedType = kLikedReaction;
    add_(message);
  }

  std::int64_t put_(Chat& chat, const PDXSampleMessage& message) {
    if (message.chat != 0 && message.itemType == 0 && message.dateDeleted == 0) chat.lastGuid = message.guid;
    return add_(message);
  }

  /// Adds the attributed form of the text, as far as the system of the message's time knew it.
  std::int64_t add_(PDXSampleMessage message) {
    static const std::int64_t kBodiesAlone = PDXDates::referenceSeconds(kBodiesAloneSince) * 1'000'000'000;
    const bool isInNanoseconds = message.date > std::numeric_limits<std::int32_t>::max();
    if (isInNanoseconds && message.text && !message.text->empty()) {
      message.attributedBody = PDXSampleAttributedText::archived(*message.text, message.guid);
      if (message.date >= kBodiesAlone && ++newest_ % 8 != 0) message.text.reset();
    }
    return store_.addMessage(message);
  }

  void addAttachment_(const PDXSampleAttachment& attachment, std::int64_t message, const std::string& guid,
                      const PDXSampleMessage& about, sys_seconds time) {
    PDXSampleAttachmentRow row;
    row.message = message;
    row.guid = guid;
    row.created = PDXDates::referenceSeconds(time);
    row.uti = attachment.uti;
    row.mimeType = attachment.mimeType;
    row.name = attachment.name;
    row.isOutgoing = about.isFromMe;
    if (attachment.kept != PDXSampleAttachment::Kept::notDownloaded) {
      const std::string path = pathFor_(attachment, row.guid);
      row.filename = (attachment.path == PDXSampleAttachment::Path::absolute ? "/var/mobile/" : "~/") + path;
      row.size = storeFile_(attachment, path);
    }
    store_.addAttachment(row);
  }

  std::string pathFor_(const PDXSampleAttachment& attachment, const std::string& guid) {
    static constexpr char kDigits[] = "0123456789abcdef";
    const std::uint64_t high = random_.below(16);
    const std::uint64_t low = random_.below(16);
    // The second folder repeats half of the first one's name in decimal.
    const std::string decimal = (low < 10 ? "0" : "") + std::to_string(low);
    return std::string("Library/SMS/Attachments/") + kDigits[high] + kDigits[low] + "/" + decimal + "/" +
           guid + "/" + std::string(attachment.name);
  }

  /// Puts the file where the backup keeps it, and answers its size.
  std::int64_t storeFile_(const PDXSampleAttachment& attachment, const std::string& path) {
    constexpr std::int64_t kTypicalSize = 2'345'678;
    if (attachment.kept == PDXSampleAttachment::Kept::notStored) {
      folder_.addMissingFile("MediaDomain", path, kTypicalSize);
    }
    if (attachment.make == nullptr) return kTypicalSize;
    const PDXBytes bytes = attachment.make(seed_);
    if (!bytes.empty()) folder_.addFile("MediaDomain", path, bytes);
    return static_cast<std::int64_t>(bytes.size());
  }

  std::int64_t stamp_(sys_seconds time) {
    const std::int64_t since = PDXDates::referenceSeconds(time);
    if (time < kNanosecondsSince) return since;
    return since * 1'000'000'000 + static_cast<std::int64_t>(random_.below(1'000'000'000));
  }

  PDXSampleBackupFolder& folder_;
  PDXSampleMessageStore store_;
  PDXSampleRandom random_;
  std::uint64_t seed_;
  std::int64_t newest_ = 0;
  std::vector<Chat> chats_;
  std::map<std::pair<std::string, std::string>, std::int64_t> handles_;
};

/// Everyday messages and scripted ones, in the order of their time. False when stopped.
bool addMessages(Writer& writer, PDXSampleChatter& chatter, const std::vector<PDXSampleScriptLine>& script,
                 const std::stop_token& stop) {
  auto line = script.begin();
  while (line != script.end() || !chatter.isOver()) {
    if (stop.stop_requested()) return false;
    if (chatter.isOver() || (line != script.end() && line->time <= chatter.current().time)) {
      writer.add(*line++);
    } else {
      writer.add(chatter.current());
      chatter.advance();
    }
  }
  return true;
}

}  // namespace

namespace PDXSampleMessages {

std::string write(PDXSampleBackupFolder& folder, const std::vector<PDXSamplePerson>& people,
                  std::int64_t count, std::uint64_t seed, const std::stop_token& stop) {
  const std::string path = PDXFiles::joined(folder.workFolder(), "sms.db");
  const auto conversations = PDXSampleConversations::all(people, conversationsFor(count), seed);
  const auto script = sampleScript(static_cast<std::size_t>(count));
  PDXSampleChatter chatter(conversations, count - static_cast<std::int64_t>(script.size()), seed);
  std::string why;
  {
    Writer writer(folder, path, seed);
    writer.addConversations(conversations);
    if (!addMessages(writer, chatter, script, stop)) return "stopped";
    why = writer.finish();
  }
  if (why.empty()) folder.takeFile("HomeDomain", "Library/SMS/sms.db", path);
  return why;
}

}  // namespace PDXSampleMessages
