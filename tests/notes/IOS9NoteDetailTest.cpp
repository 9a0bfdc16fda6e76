#include "notes/IOS9NoteDetail.h"

#include "tests/support/TestFolder.h"

namespace {

PDXNoteContent line(const std::string& text) { return PDXTextNoteContent{.textData = text}; }

PDXMediaNoteContent media(int format, const std::string& file) {
  PDXMediaNoteContent piece;
  piece.contentFormat = format;
  piece.exportName = "1";
  piece.fileName = file;
  piece.fileType = "jpg";
  return piece;
}

PDXMediaNoteContent video(const std::string& file) {
  PDXMediaNoteContent piece = media(PDXNoteContentFormat::Video, file);
  piece.fileType = "mov";
  piece.previewPath = "/tmp/poster.png";
  piece.mediaData = PDXNoteMediaData{.mediaId = 3, .orientation = 0, .height = 240.4, .width = 320.6};
  return piece;
}

constexpr const char* kHead =
    "\r\n\t<style>\r\n\t\timg{max-width:100%;margin-top:10px;}\r\n\t</style>\r\n<body>";

TEST(IOS9NoteDetail, WritesPages) {
  const struct {
    const char* fault;
    std::vector<PDXNoteContent> content;
    std::string body;
  } cases[] = {
      {"nothing", {}, ""},
      {"lines, an empty one, markup",
       {line("a & b"), line(""), line("<i>")},
       "\r\n\t<p>a & b\r\n\t<br/>\r\n\t<br/>\r\n\t<br/>\r\n\t&lt;i&gt;</p>"},
      {"a place ends the paragraph",
       {line("a"), PDXMediaNoteContent(), line("b")},
       "\r\n\t<p>a</p>\r\n\t<p>b</p>"},
      {"only a place", {PDXMediaNoteContent()}, ""},
      {"a picture, and one without file",
       {media(2, "/tmp/a b#.jpg"), media(4, "")},
       "\r\n\t<p><img src=\"/tmp/a b%23.jpg\" />\r\n\t<br/>\r\n\t<br/></p>"},
      {"a video",
       {video("/tmp/v.mov")},
       "\r\n\t<p><video controls=\"controls\" width=\"321\" height=\"240\" src=\"/tmp/v.mov\"><img "
       "src=\"/tmp/poster.png\" /><br />(Video not supported in this browser).</video></p>"},
  };
  for (const auto& c : cases) {
    PDXIOS9NoteDetail note;
    note.content = c.content;
    EXPECT_EQ(note.htmlRepresentationWithTitle("a <b> & \"c\""),
              "<!DOCTYPE HTML>\r\n<html>\n<head>\r\n\t<title>a &lt;b&gt; &amp; &quot;c&quot;</title>" +
                  std::string(kHead) + c.body + "\r\n</body>\r\n</html>")
        << c.fault;
  }
}

TEST(IOS9NoteDetail, ExportsAttachmentsBesideThePage) {
  const PDXTestFolder folder;
  const std::string picture = folder.write("scratch/p.jpg", "picture");
  const std::string film = folder.write("scratch/v.mov", "film");
  PDXIOS9NoteDetail note;
  note.content = {line("a"), media(2, picture), video(film), media(3, ""), PDXMediaNoteContent(), line("")};
  std::get<PDXMediaNoteContent>(note.content[2]).exportName = "2";
  const std::string page = folder / "50% a.html #1.html";
  ASSERT_EQ(note.htmlExportToPathTitle(page, std::nullopt), std::nullopt);
  const std::string attachments = "50%25 a.html %231 - Attachments/";
  EXPECT_EQ(fileText(page),
            "<!DOCTYPE HTML>\r\n<html>\n<head>\r\n\t<title></title>" + std::string(kHead) +
                "\r\n\t<p>a<br/>\r\n\t<img src=\"" + attachments + "1.jpg\" /><br/>\r\n\t" +
                "<video controls=\"controls\" width=\"321\" height=\"240\" src=\"" + attachments +
                "2.mov\"></video><br/>\r\n\t<br/></p>\r\n\t<p><br/></p>\r\n</body>\r\n</html>");
  EXPECT_EQ(fileText(folder / "50% a.html #1 - Attachments/1.jpg"), "picture");
  EXPECT_EQ(fileText(folder / "50% a.html #1 - Attachments/2.mov"), "film");

  folder.write("scratch/p.jpg", "another");
  ASSERT_EQ(note.htmlExportToPathTitle(page, std::nullopt), std::nullopt);
  EXPECT_EQ(fileText(folder / "50% a.html #1 - Attachments/1.jpg"), "picture") << "what is there stays";
}

TEST(IOS9NoteDetail, KeepsHostileTypesInsideTheFolder) {
  const PDXTestFolder folder;
  PDXMediaNoteContent piece = media(2, folder.write("scratch/p", "picture"));
  for (const std::string& type :
       std::vector<std::string>{"/../../../../outside", "", "..", std::string(300, 'x')}) {
    piece.fileType = type;
    const std::string target = piece.exportPathForPage(folder / "page.html");
    EXPECT_EQ(PDXFiles::folderOf(target), folder / "page - Attachments") << type;
    EXPECT_NE(piece.htmlExportAtPath(folder / "page.html"), "<br/>") << type;
    EXPECT_EQ(fileText(target), "picture") << type;
  }
}

TEST(IOS9NoteDetail, TrimsItsPlainText) {
  PDXIOS9NoteDetail note;
  note.content = {line(""), line(" a"), media(2, "x"), line("b "), line("")};
  EXPECT_EQ(note.plainTextRepresentation(), "a\n\nb");
}

}  // namespace
