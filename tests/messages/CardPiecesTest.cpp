#include "backup/DeviceData.h"
#include "messages/ConversationHTMLExporter.h"
#include "messages/SharedLocation.h"
#include "platform/Images.h"
#include "samples/BackupFolder.h"
#include "tests/support/TestFolder.h"

namespace {

std::string card(const std::string& lines) {
  return "BEGIN:VCARD\r\nVERSION:3.0\r\n" + lines + "\r\nEND:VCARD\r\n";
}

/// A backup whose attachments are the cards given, and a page of messages that share them.
class CardPieces : public testing::Test {
 protected:
  /// The page's lines of messages, without the boxes around them.
  std::string page(const std::vector<std::pair<std::string, std::string>>& cards, const char* type) {
    PDXFiles::removeTree(folder_ / "phone");
    PDXSampleBackupFolder backup(folder_ / "phone");
    std::vector<PDXMessageDetail> messages(1);
    messages[0].direction = 1;
    for (const auto& [name, bytes] : cards) {
      const std::string path = "Library/SMS/Attachments/" + name;
      if (bytes.empty()) {
        backup.addMissingFile("MediaDomain", path);
      } else {
        backup.addFile("MediaDomain", path, std::string_view(bytes));
      }
      messages[0].messagePieces.emplace_back(type, 0, "~/" + path).isFile = true;
    }
    EXPECT_TRUE(backup.finish()) << backup.error();
    PDXDeviceData::setCustomBackupPath(folder_.path());
    PDXDeviceData device("phone");
    PDXFiles::makeFolders(folder_ / "out");
    result_ =
        PDXConversationHTMLExporter(device, 17).exportConversationMessagesWithOptions({}, messages, options_);
    const std::string html = fileText(result_.pagePath);
    const std::string begin = "<div class='message sent'>";
    const std::size_t start = html.find(begin) + begin.size();
    return html.substr(start, html.rfind("</div>") - start);
  }

  std::vector<std::string> media() const { return PDXFiles::list(folder_ / "out/Ann Media"); }

  PDXTestFolder folder_;
  PDXConversationExportOptions options_ = [this] {
    PDXConversationExportOptions options;
    options.path = folder_ / "out/Ann.html";
    return options;
  }();
  PDXConversationExportResult result_;
};

TEST_F(CardPieces, ContactsAreShownAndKept) {
  const std::string siobhan = card("FN:Siobhán <O'C>/x\r\nTEL:1 & 2\r\nTEL:3\r\nEMAIL:s@b.c");
  EXPECT_EQ(
      page({{"a.vcf", siobhan}, {"b.vcf", card("TEL:55")}, {"bad.vcf", "no card"}, {"gone.vcf", ""}},
           "text/vcard"),
      "<span style=\"font-weight:bold;\">Siobhán &lt;O'C&gt;/x</span><br/>\r\n1 &amp; 2<br/>\r\n3<br/>\r\n"
      "s@b.c<br/>\r\n<span style=\"font-weight:bold;\">55</span><br/>\r\n55<br/>\r\n"
      "<strong><a href='Ann Media/3.vcf'>Attachment: bad.vcf. Click here to open.</a></strong>\r\n"
      "<span style=\"font-weight:bold;\">Attachment \"gone.vcf\" is not in the backup.</span><br/>\r\n");
  EXPECT_EQ(media(), (std::vector<std::string>{"1 - Siobhán _O'C__x.vcf", "2 - 55.vcf", "3.vcf"}));
  EXPECT_EQ(fileText(folder_ / "out/Ann Media/1 - Siobhán _O'C__x.vcf"), siobhan);
  EXPECT_EQ(result_.attachments, 3U);
  EXPECT_EQ(result_.missing.size(), 1U);
  EXPECT_TRUE(PDXFiles::list(folder_ / "Pocketdex").empty()) << "scratch copies go at once";
}

TEST_F(CardPieces, PlacesAreDrawnWithoutANetwork) {
  const std::string place = card(
      "FN:Current Location\r\nitem1.URL;type=pref:https://m.example/?ll=50.26\\,-5.05&q=50.26\\,-5.05\r\n"
      "item1.X-ABLabel:map url");
  EXPECT_EQ(page({{"CL.loc.vcf", place}, {"bad.vcf", card("FN:x\r\nURL:https://m.example/?ll=95,1")}},
                 "text/x-vlocation"),
            "<span style=\"font-weight:bold;\">Current Location</span><br/>\r\n"
            "<a href='Ann Media/1.png' border=0><img src='Ann Media/1.png' width='320px'/></a>\r\n<br/>\r\n"
            "<span style=\"font-weight:bold;\">You shared your location in this message.</span><br/>\r\n"
            "<strong><a href='Ann Media/2.vcf'>Attachment: bad.vcf. Click here to open.</a></strong>\r\n");
  EXPECT_EQ(media(), (std::vector<std::string>{"1.png", "2.vcf"}));
  const auto picture = PDXFiles::read(folder_ / "out/Ann Media/1.png");
  ASSERT_TRUE(picture);
  EXPECT_EQ(PDXImages::extensionFor(*picture), "png");
  page({{"CL.loc.vcf", place}}, "text/x-vlocation");
  EXPECT_EQ(PDXFiles::read(folder_ / "out/Ann Media/1.png"), picture) << "the same bytes again";
}

TEST_F(CardPieces, PreviewsShowContactsAndCopyNothing) {
  options_.path.clear();
  EXPECT_EQ(page({{"a.vcf", card("FN:Ann")}}, "text/x-vcard"),
            "<span style=\"font-weight:bold;\">Ann</span><br/>\r\n");
  EXPECT_EQ(result_.attachments, 0U);
}

TEST(SharedLocation, ReadsTheFormsOfAddresses) {
  const struct {
    const char* lines;
    const char* expected;
  } cases[] = {
      {"URL:https://m.example/?ll=50.26\\,-5.05&q=Old%20Harbour+Caf%C3%A9", "Old Harbour Café 50.26 -5.05"},
      {"FN:Home\r\nURL:https://m.example/?q=1.5%2C+2", "Home 1.5 2"},
      {"URL:https://m.example/\r\nURL:https://m.example/x?a=1&coordinate=-3,4", " -3 4"},
      {"GEO:1;2", " 1 2"},
      {"GEO:geo:1,2", " 1 2"},
      {"URL:https://m.example/?ll=nan,inf", "none"},
      {"URL:https://m.example/?ll=1e999,2", "none"},
      {"URL:https://m.example/?ll=1&ll=", "none"},
      {"URL:?ll", "none"},
      {"FN:x", "none"},
  };
  for (const auto& c : cases) {
    const auto location = PDXSharedLocation::fromVCard(card(c.lines));
    std::ostringstream text;
    if (location) text << location->label << " " << location->latitude << " " << location->longitude;
    EXPECT_EQ(location ? text.str() : "none", c.expected) << c.lines;
  }
}

}  // namespace
