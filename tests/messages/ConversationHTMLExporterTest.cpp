#include "messages/ConversationHTMLExporter.h"

#ifdef __linux__
#include <sys/inotify.h>
#endif
#include <unistd.h>

#include <array>

#include "backup/DeviceData.h"
#include "platform/UprightPicture.h"
#include "samples/BackupFolder.h"
#include "samples/Pictures.h"
#include "tests/support/TestFolder.h"

namespace {

using namespace std::chrono_literals;

/// What ICU puts between a time and "AM" or "PM".
const std::string kThin = "\u202F";

/// A backup with a few attachments, a conversation with Ann, and where its page goes.
class ConversationHTMLExporter : public testing::Test {
 protected:
  ConversationHTMLExporter() {
    PDXSampleBackupFolder backup(folder_ / "phone");
    for (const char* name : {"a.JPG", "Ann's notes.pdf", "clip.mp4", "words.txt", "x<y.png"}) {
      backup.addFile("MediaDomain", "Library/SMS/Attachments/" + std::string(name), std::string_view(name));
    }
    const auto sign = PDXImages::encoded(PDXSamplePictures::signpost(32, 16), PDXPictureFormat::jpeg);
    for (const char* name : {"side.jpeg", "photo.HEIC"}) {
      backup.addFile("MediaDomain", "Library/SMS/Attachments/" + std::string(name),
                     PDXSamplePictures::markedAs(*sign, 6));
    }
    backup.addMissingFile("MediaDomain", "Library/SMS/Attachments/gone.jpg");
    EXPECT_TRUE(backup.finish()) << backup.error();
    PDXDeviceData::setCustomBackupPath(folder_.path());
    device_ = std::make_unique<PDXDeviceData>("phone");
    conversation_.conversationGroupName = "Ann & Bob";
    conversation_.participants.emplace_back("", "").setAddress("ann@example.com");
    PDXFiles::makeFolders(folder_ / "out");
    options_.path = folder_ / "out/Ann's #1.html";
  }

  static PDXMessageDetail message(std::string text, std::optional<PDXDate> time, int direction = 1) {
    PDXMessageDetail detail;
    detail.direction = direction;
    detail.time = time;
    detail.message = text;
    detail.messageAddress = direction == 1 ? "" : "ann@example.com";
    detail.messagePieces.emplace_back("text", 0, std::move(text));
    return detail;
  }

  static PDXMessageDetail attachment(const std::string& type, const std::string& location) {
    PDXMessageDetail detail;
    detail.direction = 1;
    detail.messagePieces.emplace_back(type, 0, location).isFile = true;
    return detail;
  }

  /// The page; its head up to the first line of messages cut off.
  std::string page(const std::vector<PDXMessageDetail>& messages) {
    PDXConversationHTMLExporter exporter(*device_, 17);
    result_ = exporter.exportConversationMessagesWithOptions(conversation_, messages, options_);
    const std::string html = fileText(result_.pagePath);
    const std::string rule = "<hr size=1 noshade/>";
    const std::size_t begin = html.find(rule) + rule.size();
    return html.substr(begin, html.rfind(rule) - begin);
  }

  PDXTestFolder folder_;
  std::unique_ptr<PDXDeviceData> device_;
  PDXMessagesConversation conversation_;
  PDXConversationExportOptions options_;
  PDXConversationExportResult result_;
};

const PDXDate kBeforeMidnight = std::chrono::sys_days(2021y / 1 / 3) + 23h + 58min;

TEST_F(ConversationHTMLExporter, WritesHeadAndFootToTheByte) {
  options_.startDate = std::chrono::sys_days(2021y / 3 / 1) + 0h;
  options_.endDate = std::chrono::sys_days(2021y / 12 / 24) + 0h;
  page({});
  const std::string html = fileText(options_.path);
  EXPECT_TRUE(html.starts_with(
      "<!DOCTYPE html>\r\n<HTML>\r\n<HEAD>\r\n<meta http-equip=\"Content-Type\" content=\"text/html; "
      "charset=utf-8\" />"
      "<style type='text/css'>\r\nbody { margin:10; font-family:Verdana, Geneva, sans-serif; font-size:12px; "
      "text-align:left; line-height:16px; background-color:ffffff; }\r\n"));
  EXPECT_NE(
      html.find(
          "</style>\r\n</HEAD>\r\n<BODY>\r\n<H1>Conversation with Ann &amp; Bob</H1>\r\nContains 0 messages"
          "<br/>\r\nDisplaying Messages sent/received between 01 Mar 2021 and 24 Dec 2021."
          "\r\n<hr size=1 noshade/><div class=\"noMessagesInDateRange\">\r\n<strong>No messages are "
          "available within the dates you have selected.</strong>\r\n</div>\r\n<br/><br/>"
          "<hr size=1 noshade/>\r\n</BODY>\r\n</HTML>"),
      std::string::npos)
      << html;
}

TEST_F(ConversationHTMLExporter, StylesBothLayouts) {
  PDXConversationHTMLExporter exporter(*device_, 17);
  options_.exportLayout = 1;
  options_.fontSizeStyle = 3;
  options_.includeContactImages = true;
  const std::string compact = exporter.htmlStyleStringWithOptions(options_);
  for (const char* rule :
       {"body { margin:4; font-family:Verdana, Geneva, sans-serif; font-size:18px; text-align:left; "
        "line-height:22px; "
        "background-color:ffffff; }\r\n",
        ".messageinfo { font-size:14px; color:#000; margin-bottom:2px; padding:0px 0px 0px 6px; }\r\n"
        ".messageinfo.receive { margin-left:28px; }\r\n",
        ".message.receive { background:#e5e4e4; margin-left:28px; margin-right:5%; border:1px solid #e5e4e4; "
        "}\r\n"
        ".message.sent { margin-left:5%; margin-right:0px; border:1px solid #BFF343; }\r\n",
        ".dateStamp { text-align:center; color:gray; font-size:14px; border-bottom:1px solid gray; margin: "
        "8px 0px 4px "
        "0px; width:50%; }\r\n.statusMessage { text-align:center; color:gray; font-size:18px; margin:4px 0px "
        "4px 0px; "
        "}\r\n.contactImage { float:left; width:24px; height:24px; margin-top:-1px; "
        "background-color:#ECECEC; "
        "-webkit-border-radius:50%; -moz-border-radius:50%; border-radius:50%; }\r\n</style>\r\n"}) {
    EXPECT_NE(compact.find(rule), std::string::npos) << rule << "\n" << compact;
  }
  options_.exportLayout = 0;
  const std::string bubble = exporter.htmlStyleStringWithOptions(options_);
  EXPECT_NE(bubble.find(".messageinfo.receive { margin-left:72px; }\r\n"), std::string::npos);
  EXPECT_NE(bubble.find(
                ".statusMessage { text-align:center; color:gray; font-size:12px; margin:4px 0px 16px 0px; }"),
            std::string::npos);
}

TEST_F(ConversationHTMLExporter, WritesMessagesToTheByte) {
  auto received = message("<b>tea</b> at \"3.5\"?", kBeforeMidnight, 0);
  received.subject = "A & B";
  auto sent = message("", kBeforeMidnight + 5min);
  sent.isMadrid = true;
  sent.readStatus = 3;
  auto plain = message("later", kBeforeMidnight + 6min);
  plain.messagePieces.clear();
  EXPECT_EQ(
      page({sent, plain, received}),
      "<center><div class=\"dateStamp\">January 3, 2021</div></center>"
      "<div class='messageinfo receive'>Receive - January 3, 2021 at 11:58" +
          kThin +
          "PM - (SMS)</div>"
          "<div class='message receive'><span style=\"font-weight:bold;\">A &amp; B</span><br/>"
          "&lt;b&gt;tea&lt;/b&gt; at &quot;<a href=\"http://3.5&quot\">3.5&quot</a>;?<br/>\r\n</div>\r\n"
          "<center><div class=\"dateStamp\">January 4, 2021</div></center>"
          "<div class='messageinfo sent'>Sent - January 4, 2021 at 12:03" +
          kThin +
          "AM - (iMessage) - Read</div>"
          "<div class='message sent imessage'><br/>\r\n</div>\r\n"
          "<div class='messageinfo sent'>Sent - January 4, 2021 at 12:04" +
          kThin +
          "AM - (SMS)</div>"
          "<div class='message sent'>later</div>\r\n");
  options_.messageOrder = 1;
  const std::string newest = page({sent, received, message("no time", std::nullopt)});
  EXPECT_LT(newest.find("January 4"), newest.find("January 3"));
  EXPECT_NE(
      newest.find("<div class='messageinfo sent'>Sent -  - (SMS)</div><div class='message sent'>no time"),
      std::string::npos);
}

TEST_F(ConversationHTMLExporter, TellsUnknownSendersApartInAGroup) {
  conversation_.participants.emplace_back("", "").setAddress("+442222");
  EXPECT_NE(page({message("hi", kBeforeMidnight, 0)}).find("Receive - ann@example.com - January"),
            std::string::npos);
}

TEST_F(ConversationHTMLExporter, CopiesAttachmentsAndSaysWhichAreMissing) {
  const std::string media = folder_ / "out/Ann's #1 Media";
  const std::string folder = "Ann&#39;s %231 Media/";
  const std::string html =
      page({attachment("image/jpeg", "~/Library/SMS/Attachments/a.JPG"),
            attachment("image/jpeg", "~/Library/SMS/Attachments/gone.jpg"),
            attachment("", "/private/var/mobile/Library/SMS/Attachments/Ann's notes.pdf"),
            attachment("video/mp4", "/var/mobile/Library/SMS/Attachments/clip.mp4"),
            attachment("text/plain", "~/Library/SMS/Attachments/words.txt"),
            attachment("image/png", "~/Library/SMS/Attachments/no<where>.png")});
  const std::string bubble = "<div class='messageinfo sent'>Sent -  - (SMS)</div><div class='message sent'>";
  EXPECT_EQ(
      html,
      bubble + "<a href='" + folder + "1.JPG' border=0><img src='" + folder +
          "1.JPG' width='179px'/></a>\r\n<br/>\r\n</div>\r\n" + bubble +
          "<span style=\"font-weight:bold;\">Attachment \"gone.jpg\" is not in the backup.</span><br/>\r\n"
          "</div>\r\n" +
          bubble + "<strong><a href='" + folder +
          "2.pdf'>Attachment: Ann's notes.pdf. Click here to open.</a></strong>\r\n</div>\r\n" + bubble +
          "<video src='" + folder +
          "3.mp4' controls style=\"max-width:100%;max-height:480px;\"></video><br/>\r\n</div>\r\n" + bubble +
          "<strong><a href='" + folder +
          "4.txt'>Attachment: words.txt. Click here to open.</a></strong>\r\n</div>\r\n" + bubble +
          "<span style=\"font-weight:bold;\">Attachment \"no&lt;where&gt;.png\" is not in the "
          "backup.</span><br/>\r\n</div>\r\n");
  EXPECT_EQ(PDXFiles::list(media), (std::vector<std::string>{"1.JPG", "2.pdf", "3.mp4", "4.txt"}));
  EXPECT_EQ(fileText(media + "/2.pdf"), "Ann's notes.pdf");
  EXPECT_EQ(result_.attachments, 4U);
  ASSERT_EQ(result_.missing.size(), 2U);
  EXPECT_EQ(result_.missing[0].where, "~/Library/SMS/Attachments/gone.jpg");
  EXPECT_TRUE(result_.unreadable.empty());
}

TEST_F(ConversationHTMLExporter, LinksOnlyNotesOfTheService) {
  auto note = message("", std::nullopt);
  note.messagePieces = {{"ic_note", 1, "https://www.icloud.com/notes/0a#List"},
                        {"ic_note", 1, "javascript:alert(1)#List"}};
  const std::string html = page({note, attachment("ic_note", "javascript:alert(1)#Click")});
  EXPECT_NE(html.find("<a href=\"https://www.icloud.com/notes/0a#List\"><img"), std::string::npos);
  EXPECT_EQ(html.find("href=\"javascript"), std::string::npos) << html;
}

TEST_F(ConversationHTMLExporter, TurnsPicturesUprightAndSaysWhichItCannot) {
  options_.path = folder_ / "out/A.B.html";
  options_.mediaPath = folder_ / "out/A.B Media";
  const std::string html = page({attachment("image/jpeg", "~/Library/SMS/Attachments/side.jpeg"),
                                 attachment("image/heic", "~/Library/SMS/Attachments/photo.HEIC"),
                                 attachment("image/heic", "~/Library/SMS/Attachments/words.txt"),
                                 attachment("image/jpeg", "~/Library/SMS/Attachments/a.JPG")});
  EXPECT_EQ(PDXFiles::list(options_.mediaPath),
            (std::vector<std::string>{"1.jpeg", "2.jpg", "3.txt", "4.JPG"}));
  for (const char* name : {"/1.jpeg", "/2.jpg"}) {
    EXPECT_NE(html.find("<img src='A.B Media" + std::string(name) + "' "), std::string::npos);
    EXPECT_TRUE(PDXUprightPicture::isUpright(options_.mediaPath + name)) << name;
  }
  EXPECT_EQ(fileText(options_.mediaPath + "/3.txt"), "words.txt");
  EXPECT_EQ(result_.notTurned,
            (std::vector<PDXProblem>{{"picture could not be turned", "~/Library/SMS/Attachments/words.txt",
                                      "it is neither a JPEG nor a HEIC picture"},
                                     {"picture could not be turned", "~/Library/SMS/Attachments/a.JPG",
                                      "it is neither a JPEG nor a HEIC picture"}}));
  EXPECT_TRUE(PDXFiles::list(folder_ / "Pocketdex/rotatedImages").empty());
}

#ifdef __linux__
// A run that is killed leaves what has its name by then.
TEST_F(ConversationHTMLExporter, GivesPicturesTheirNamesOnceTheyAreUpright) {
  options_.mediaPath = folder_ / "out/media";
  PDXFiles::makeFolders(options_.mediaPath);
  const int watch = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  ASSERT_GE(::inotify_add_watch(watch, options_.mediaPath.c_str(), IN_CREATE | IN_MOVED_TO), 0);
  page({attachment("image/jpeg", "~/Library/SMS/Attachments/side.jpeg"),
        attachment("image/heic", "~/Library/SMS/Attachments/photo.HEIC"),
        attachment("image/heic", "~/Library/SMS/Attachments/words.txt"),
        attachment("video/mp4", "~/Library/SMS/Attachments/clip.mp4")});
  std::vector<std::string> named;
  alignas(inotify_event) std::array<char, 16384> events{};
  const ssize_t size = ::read(watch, events.data(), events.size());
  for (ssize_t at = 0; at < size;) {
    const auto* event = reinterpret_cast<const inotify_event*>(events.data() + at);
    if (event->name[0] != '.') named.emplace_back(event->name);
    at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
  }
  ::close(watch);
  EXPECT_EQ(named, (std::vector<std::string>{"1.jpeg", "2.jpg", "3.txt", "4.mp4"}));
}
#endif

TEST_F(ConversationHTMLExporter, LeavesNothingHalfDone) {
  page({attachment("image/png", "nowhere.png")});
  EXPECT_EQ(PDXFiles::list(folder_ / "out"), std::vector<std::string>{"Ann's #1.html"})
      << "no empty media folder";

  PDXConversationHTMLExporter stopped(*device_, 17);
  stopped.terminate();
  options_.path = folder_ / "out/stopped.html";
  using Outcome = PDXConversationExportResult::Outcome;
  const std::vector<PDXMessageDetail> messages{message("hi", kBeforeMidnight)};
  EXPECT_EQ(stopped.exportConversationMessagesWithOptions(conversation_, messages, options_).outcome,
            Outcome::stopped);
  options_.path = folder_ / "nowhere/page.html";
  const auto failed = PDXConversationHTMLExporter(*device_, 17)
                          .exportConversationMessagesWithOptions(conversation_, messages, options_);
  EXPECT_EQ(failed.outcome, Outcome::unwritable);
  ASSERT_EQ(failed.unwritten.size(), 1U);
  EXPECT_EQ(failed.unwritten[0].second.why, "No such file or directory");
  EXPECT_EQ(PDXFiles::list(folder_ / "out"), std::vector<std::string>{"Ann's #1.html"});
}

TEST_F(ConversationHTMLExporter, PreviewsCopyNothing) {
  options_.path.clear();
  auto note = message("", kBeforeMidnight);
  note.messagePieces = {{"ic_note", 1, "https://www.icloud.com/notes/0a#Caf%C3%A9_list"}};
  const std::string html =
      page({attachment("video/mp4", "~/a.mp4"), attachment("application/pdf", "~/b.pdf"), note});
  EXPECT_NE(
      html.find(
          "<span style=\"font-weight:bold;\">Video content cannot be previewed.</span><br />Content will be "
          "saved when copying as HTML.\r\n"),
      std::string::npos);
  EXPECT_NE(html.find("<br />\"b.pdf\" will be saved when copying as HTML.\r\n"), std::string::npos);
  EXPECT_NE(
      html.find(
          "display:inline-block;\">Café list</span><br /><span style=\"color:#666;\">iCloud Note</span>"),
      std::string::npos);
  EXPECT_EQ(html.find("<a href"), std::string::npos);
  EXPECT_FALSE(PDXFiles::exists(result_.pagePath.substr(0, result_.pagePath.rfind('.')) + " Media"));
}

TEST_F(ConversationHTMLExporter, ShowsBrowsersEarlyThatALongPageIsUtf8) {
  PDXConversationHTMLExporter exporter(*device_, 17);
  std::vector<PDXMessageDetail> messages(200, message(std::string(1000, 'x'), std::nullopt));
  EXPECT_EQ(page(messages).find("<!-- UTF-8"), std::string::npos);
  messages.push_back(message("é", std::nullopt));
  EXPECT_TRUE(page(messages).starts_with("<!-- UTF-8"));
}

TEST_F(ConversationHTMLExporter, ShowsOneFileForAllMessagesOfASender) {
  options_.includeContactImages = true;
  conversation_.participants.emplace_back("", "").setAddress("O'Neil & \"Co\"");
  PDXMessageDetail other = message("d", {}, 0);
  other.messageAddress = "O'Neil & \"Co\"";
  PDXMessageDetail gone = message("e", {}, 0);  // Left the group: no participant any more.
  gone.messageAddress = "5550199";
  const std::string html = page({message("a", {}, 0), message("b", {}, 1), message("c", {}, 0), other, gone});
  const std::string tag = "<img class=\"contactImage\" src=\"Ann&#39;s %231 Media/Contact ";
  const std::string end = "\" Width=\"48\" Height=\"48\" border=\"0\" /><div class='message receive'>";
  for (const char* text : {"a<br/>", "c<br/>"}) {
    EXPECT_NE(html.find(tag + "1.png\" alt=\"ann@example.com" + end + text), std::string::npos) << html;
  }
  EXPECT_NE(html.find(tag + "2.png\" alt=\"O&#39;Neil &amp; &quot;Co&quot;" + end + "d"), std::string::npos)
      << html;
  EXPECT_NE(html.find("(SMS)</div><div class='message receive'>e"), std::string::npos) << html;
  EXPECT_EQ(PDXFiles::list(folder_ / "out/Ann's #1 Media"),
            (std::vector<std::string>{"Contact 1.png", "Contact 2.png"}));
}

}  // namespace
