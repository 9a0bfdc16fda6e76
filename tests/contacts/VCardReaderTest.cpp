#include "contacts/VCardReader.h"

#include "contacts/ContactVCardGenerator.h"
#include "contacts/ContactsDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

std::string or_(const std::optional<std::string>& text) { return text.value_or("-"); }

/// Contacts as text: name parts in brackets, then what else there is.
std::string listed(const std::vector<PDXContactEntry>& contacts) {
  std::string text;
  for (const auto& c : contacts) {
    text += (text.empty() ? "" : " / ") + or_(c.fullName);
    if (c.familyName || c.givenName) text += " [" + or_(c.familyName) + "|" + or_(c.givenName) + "]";
    for (const auto& n : c.nicknames) text += " ~" + n.name;
    for (const auto& n : c.phoneNumbers) {
      text += " tel" + std::to_string(n.location) + (n.isCell ? "c" : "") + (n.isFax ? "f" : "") +
              (n.isVoice ? "v" : "") + ":" + n.address();
    }
    for (const auto& e : c.emailAddresses) {
      text += " mail" + std::to_string(e.location) + (e.isPreferred ? "!" : "") + ":" + e.address();
    }
    for (const auto& a : c.postalAddresses) {
      text += " adr" + std::to_string(a.location) + ":" + or_(a.streetAddress) + "," + or_(a.locality) + "," +
              or_(a.country);
    }
    for (const auto& o : c.organisations) text += " org:" + o;
    if (c.note) text += " note:" + *c.note;
    if (c.url) text += " url:" + *c.url;
    if (c.birthday) text += " born:" + PDXDateFormatter("yyyy-MM-dd").text(*c.birthday);
    const PDXBytes picture = c.picture.bytes();
    if (!picture.empty()) text += " picture:" + std::string(picture.begin(), picture.end());
  }
  return text;
}

std::string read(const std::string& bytes) {
  return listed(PDXVCardReader::readContactsFromVCardBytes(bytes));
}

/// A card of that version around `lines`.
std::string card(const std::string& version, const std::string& lines) {
  return "BEGIN:VCARD\r\nVERSION:" + version + "\r\n" + lines + "\r\nEND:VCARD\r\n";
}

std::string utf16(const std::string& ascii, bool isBigEndian, bool hasMark) {
  std::string bytes = hasMark ? (isBigEndian ? "\xFE\xFF" : "\xFF\xFE") : "";
  for (const char c : ascii) bytes += isBigEndian ? std::string{'\0', c} : std::string{c, '\0'};
  return bytes;
}

TEST(VCardReader, ReadsEachVersionsForms) {
  const struct {
    const char* fault;
    std::string bytes;
    std::string expected;
  } cases[] = {
      {"folded, grouped and labelled",
       card("3.0",
            "N:Lee;Ann;;;\r\nFN:Ann\r\n  Lee\r\nitem1.TEL:1\r\nitem1.X-ABLabel:_$!<WorkFax>!$_\r\n"
            "TEL;type=CELL;type=VOICE;type=pref:2\r\nitem2.EMAIL;type=INTERNET:a@b.c\r\n"
            "item2.X-ABLabel:School\r\nitem3.ADR;type=HOME:;;1 High St\\nFlat 3;Port\\; Old;;;UK"),
       "Ann Lee [Lee|Ann] tel2f:1 tel0cv:2 mail1:a@b.c adr1:1 High St;Flat 3,Port; Old,UK"},
      {"version 2.1 folds in front of a blank, and has bare words",
       card("2.1", "FN:Ann\r\n Lee\r\nTEL;WORK;CELL:1\r\nEMAIL;PREF;INTERNET:a@b.c\r\nNOTE:C:\\new, x\\;y"),
       "Ann Lee tel2c:1 mail0!:a@b.c note:C:\\new, x;y"},
      {"quoted-printable over several lines, with a coded semicolon",
       card("2.1",
            "N;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:M=C3=BC=\r\nller=3B;J=C3=\r\n=B6rg;;;\r\n"
            "NOTE;ENCODING=QUOTED-PRINTABLE:a=0D=0Ab=zz="),
       "Jörg Müller; [Müller;|Jörg] note:a\r\nb=zz="},
      {"encodings",
       card("2.1", "FN;CHARSET=ISO-8859-1:M\xFCller\r\nNOTE;CHARSET=Shift_JIS:\x95\x5C") +
           card("2.1", "FN:M\xFCller") + card("2.1", "FN;CHARSET=nonsense:M\xC3\xBCller"),
       "Müller note:表 / Müller / Müller"},
      {"version 4.0",
       card("4.0",
            "FN:Ann\r\nTEL;VALUE=uri;TYPE=\"cell,home\":tel:+44-7\r\nEMAIL;PREF=1:a@b.c\r\n"
            "BDAY:19800506\r\nPHOTO:data:image/png;base64,aGk="),
       "Ann tel1c:+44-7 mail0!:a@b.c born:1980-05-06 picture:hi"},
      {"pictures in folded and in bare lines",
       card("2.1", "FN:A\r\nPHOTO;JPEG;ENCODING=BASE64:\r\n aG\r\n k=\r\n\r\nTEL:1") +
           card("3.0", "FN:B\r\nPHOTO;ENCODING=b;TYPE=JPEG:aG\r\nk=\r\nTEL:2") +
           card("3.0", "FN:C\r\nPHOTO;ENCODING=b:!!\r\nPHOTO;VALUE=uri:http://x/y.jpg"),
       "A tel0:1 picture:hi / B tel0:2 picture:hi / C"},
      {"lists, repeated fields and days without a year",
       card("3.0",
            "N:;;;;\r\nNICKNAME:,Bob\\, Sr.,Bobby\r\nORG:Acme\\; Co;Sales\r\nORG:Two\r\nURL:a\r\nURL:b\r\n"
            "BDAY:--0506\r\nBDAY;X-APPLE-OMIT-YEAR=1604:1604-05-06\r\nEMAIL:\r\nTEL: "),
       "- ~Bob, Sr. ~Bobby org:Acme; Co org:Two url:a"},
      {"a quoted colon in a parameter, and one that nobody closes",
       card("4.0", "FN;X=\"a:b\":Ann\r\nNOTE;X=\"a:b"), "Ann note:b"},
      {"UTF-16", utf16(card("3.0", "FN:Ann"), false, true), "Ann"},
      {"UTF-16, bigger byte first, without a mark", utf16(card("3.0", "FN:Ann"), true, false), "Ann"},
      {"UTF-8 with a mark", "\xEF\xBB\xBF" + card("3.0", "FN:Ann"), "Ann"},
      {"line ends of all kinds, any case", "begin:vcard\rfn:Ann\ntel;Type=Cell:1\r\nend:vcard",
       "Ann tel0c:1"},
  };
  for (const auto& c : cases) EXPECT_EQ(read(c.bytes), c.expected) << c.fault;
}

TEST(VCardReader, ReadsOnPastWhatIsBroken) {
  const std::string ann = card("3.0", "FN:Ann");
  const struct {
    const char* fault;
    std::string bytes;
    std::string expected;
  } cases[] = {
      {"nothing", "", ""},
      {"no card", "hello\r\nFN:Ann\r\n", ""},
      {"no end, then another card", "BEGIN:VCARD\r\nFN:Bob\r\n" + ann, "Bob / Ann"},
      {"no end, then padding", "BEGIN:VCARD\r\nFN:Bob" + std::string(3, '\3') + std::string(16, '\0'), "Bob"},
      {"padding behind the end", ann.substr(0, ann.size() - 2) + std::string(9, '\t') + std::string(16, '\0'),
       "Ann"},
      {"bytes between and behind", "x\r\n" + ann + "\xFF\xFE junk\r\nTEL:9\r\n" + ann + "TEL:9", "Ann / Ann"},
      {"an agent's card inside",
       card("2.1", "FN:Ann\r\nAGENT:\r\n" + card("2.1", "FN:Agent\r\nAGENT:\r\n" + ann) + "TEL:1"),
       "Ann tel0:1"},
      {"quoted-printable that runs into the end",
       "BEGIN:VCARD\r\nFN;ENCODING=QUOTED-PRINTABLE:Bob=\r\nEND:VCARD\r\n" + ann, "Bob= / Ann"},
      {"cards that say nothing", card("3.0", "N:;;;;\r\nPRODID:x") + ann, "Ann"},
      {"lines without a colon", card("3.0", "FN\r\n;;;\r\n:\r\n.:\r\nFN:Ann"), "Ann"},
      {"our own words for a missing name", PDXContactVCardGenerator::generateFromContact({}) + ann, "Ann"},
  };
  for (const auto& c : cases) EXPECT_EQ(read(c.bytes), c.expected) << c.fault;
}

TEST(VCardReader, HostileCardsAreLinear) {
  // Each takes hours where a look goes back to the beginning for every character.
  const std::size_t many = 1 << 20;
  std::string nested;
  for (std::size_t i = 0; i < many / 8; ++i) nested += "AGENT:\nBEGIN:VCARD\n";
  std::string folds;
  for (std::size_t i = 0; i < many; ++i) folds += "\n x";
  EXPECT_EQ(read("BEGIN:VCARD\n" + nested), "");
  EXPECT_EQ(read(card("3.0", "NOTE:" + folds)).size(), many + std::string("- note:").size());
  EXPECT_EQ(read(card("3.0", "TEL" + std::string(many, ';') + ":1")), "- tel0:1");
  EXPECT_EQ(read(card("3.0", "NICKNAME:Bob" + std::string(many, ','))).substr(0, 6), "- ~Bob");
  EXPECT_EQ(read(card("3.0", std::string(many, '"') + "TEL:1\r\nFN:Ann")), "Ann");
}

TEST(VCardReader, ReadsAFolderInTheOrderOfNames) {
  const PDXTestFolder folder;
  folder.write("people/b.vcf", card("3.0", "FN:Bob"));
  folder.write("people/a.VCF", card("3.0", "FN:Ann\r\nTEL:5550199") + card("3.0", "FN:Cid"));
  folder.write("people/notes.txt", card("3.0", "FN:Nobody"));
  PDXContactsDatabase::loadContactsFromFolderPath(folder / "people");
  EXPECT_EQ(listed(PDXContactsDatabase::contacts()), "Ann tel0:5550199 / Cid / Bob");
  EXPECT_EQ(PDXContactsDatabase::getFullNameOfConactWithAddress("555-0199"), "Ann");
  PDXContactsDatabase::clear();
}

}  // namespace
