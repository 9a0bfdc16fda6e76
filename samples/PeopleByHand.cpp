#include "samples/People.h"

namespace {

using PDXSampleTexts::Language;

constexpr const char* kMobile = "_$!<Mobile>!$_";
constexpr const char* kHome = "_$!<Home>!$_";
constexpr const char* kWork = "_$!<Work>!$_";
constexpr const char* kMain = "_$!<Main>!$_";

PDXSamplePerson person(const char* first, const char* last, const char* mobile) {
  PDXSamplePerson made;
  made.first = first;
  made.last = last;
  made.phones.push_back({kMobile, mobile});
  return made;
}

PDXSamplePerson organisation(const char* name, const char* phone, const char* email) {
  PDXSamplePerson made;
  made.organisation = name;
  made.phones.push_back({kMain, phone});
  made.emails.push_back({kWork, email});
  return made;
}

PDXSamplePerson speaker(const char* first, const char* last, const char* mobile, Language language) {
  PDXSamplePerson made = person(first, last, mobile);
  made.language = language;
  return made;
}

PDXSamplePerson ann() {
  PDXSamplePerson made = person("Ann", "Fletcher", "07700 900101");
  made.phones.push_back({kHome, "020 7946 0101"});
  made.emails = {{kHome, "ann.fletcher@example.com"}, {kWork, "a.fletcher@example.org"}};
  made.addresses = {
      {kHome, "12 Harbour Street\nFlat 3", "Port Averil", "", "PA1 2BX", "United Kingdom", "gb"}};
  made.nickname = "Annie";
  made.birthday = "-473860800.000000";
  made.note = "Met at the sailing club.\nAllergic to nuts!\n\nSpare key: under the blue pot.";
  made.url = "https://www.example.com/~ann";
  made.hasPicture = true;
  return made;
}

PDXSamplePerson doctor() {
  PDXSamplePerson made = person("Maria", "de la Cruz", "+1 (212) 555-0142");
  made.prefix = "Dr.";
  made.middle = "Elena";
  made.suffix = "Jr., MD";
  made.organisation = "Beacon Street Clinic";
  made.department = "Cardiology";
  made.jobTitle = "Consultant";
  made.phones.push_back({"_$!<WorkFAX>!$_", "+1 (212) 555-0143"});
  made.emails = {{kWork, "maria.delacruz@example.net"}};
  made.addresses = {{kWork, "400 Beacon Street", "Eastmere", "NY", "10001", "United States", "us"}};
  made.hasPicture = true;
  return made;
}

PDXSamplePerson ben() {
  PDXSamplePerson made = person("Ben <b>", "& Söhne", "+44 7700 900103");
  made.organisation = "<script>alert(\"Schreinerei\")</script>";
  made.note = "Ann & Percy's joiner; \"5 < 6\" &amp; <i>so on</i>";
  made.emails = {{kWork, "ben@example.org"}};
  return made;
}

PDXSamplePerson siobhan() {
  PDXSamplePerson made = person("Siobhán", "O'Connell", "07700900104");
  made.emails = {{kHome, "siobhan.oconnell@example.com"}};
  made.birthday = "-12516292800.000000";  // A day without a year is kept in 1604.
  made.hasPicture = true;
  return made;
}

PDXSamplePerson mum() {
  PDXSamplePerson made = person("Mum", "", "+44 7700 900105");
  made.phones.push_back({kHome, "0161 496 0105"});
  made.hasPicture = true;
  return made;
}

PDXSamplePerson allotment() {
  PDXSamplePerson made = person("Percival", "Underhill-Smythe", "+44 7700 900106");
  made.phones.front().label = "iPhone";
  made.phones.push_back({"Allotment", "0131 496 0106"});
  made.middle = "Augustus Bartholomew";
  made.note = "Plot 14";
  return made;
}

PDXSamplePerson onlyMail() {
  PDXSamplePerson made;
  made.emails = {{"", "newsletter@example.net"}};
  return made;
}

PDXSamplePerson mailFriend() {
  PDXSamplePerson made = person("Tobias", "Grünwald", "+44 7700 900107");
  made.emails = {{kHome, "tobias.gruenwald@example.com"}};
  made.language = Language::german;
  return made;
}

}  // namespace

namespace PDXSamplePeople {

std::vector<PDXSamplePerson> handWritten() {
  return {ann(),
          doctor(),
          ben(),
          siobhan(),
          mum(),
          allotment(),
          mailFriend(),
          onlyMail(),
          speaker("Éloïse", "Lefèvre", "+44 7700 900111", Language::french),
          speaker("Ελένη", "Παπαδάκη", "+44 7700 900112", Language::greek),
          speaker("Наталья", "Белова", "+44 7700 900113", Language::russian),
          speaker("ليلى", "حداد", "+44 7700 900114", Language::arabic),
          speaker("נועה", "לוי", "+44 7700 900115", Language::hebrew),
          speaker("अनिका", "शर्मा", "+44 7700 900116", Language::hindi),
          speaker("สมชาย", "ใจดี", "+44 7700 900117", Language::thai),
          speaker("雨桐", "李", "+44 7700 900118", Language::chinese),
          speaker("陽子", "佐藤", "+44 7700 900119", Language::japanese),
          speaker("민준", "김", "+44 7700 900120", Language::korean),
          organisation("Harbour Street Dental Practice", "020 7946 0121", "smile@example.org"),
          organisation("Café Lumière", "0131 496 0122", "bonjour@example.net"),
          organisation("A1 Taxis", "+44 7700 900123", "book@example.com")};
}

}  // namespace PDXSamplePeople
