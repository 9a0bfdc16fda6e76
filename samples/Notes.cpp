#include "samples/Notes.h"

#include <utility>
#include <vector>

#include "platform/Files.h"
#include "samples/Documents.h"
#include "samples/NoteBody.h"
#include "samples/NoteStore.h"
#include "samples/Pictures.h"
#include "samples/Random.h"
#include "samples/Table.h"

namespace {

using Object = PDXSampleNoteObject;
using Scene = PDXSamplePictures::Scene;

constexpr const char* kDomain = "AppDomainGroup-group.com.apple.notes";
constexpr std::string_view kCloud = "C1A0B2D4-7F11-4E0B-9A52-3D5E6F708192";

enum Row : std::int64_t {
  local = 1,
  cloud,
  localNotes,
  cloudNotes,
  holidays,
  recentlyDeleted,
  firstFree = 10
};

/// Where the device keeps an attachment's file, or the picture that it drew of it.
enum class Place { none, media, fallback, previews, video };

struct Attachment {
  std::string_view type;
  std::string_view name;  ///< Of the file, or a web address.
  Place place = Place::none;
  PDXBytes (*make)(std::uint64_t seed) = nullptr;
  bool isListed = true;  ///< Whether the backup holds the file.
};

struct Note {
  std::optional<std::string> title;
  std::string text;  ///< Below the title; a "*" alone on a line is an attachment.
  std::vector<Attachment> attachments = {};
  std::int64_t account = cloud;
  std::int64_t folder = cloudNotes;
  bool isLocked = false;
  bool isDeleted = false;
  bool isDownloaded = true;
};

PDXBytes jpeg(const PDXRaster& picture) {
  return PDXImages::encoded(picture, PDXPictureFormat::jpeg).value_or(PDXBytes());
}

PDXBytes png(const PDXRaster& picture) {
  return PDXImages::encoded(picture, PDXPictureFormat::png).value_or(PDXBytes());
}

PDXBytes harbour(std::uint64_t seed) {
  return jpeg(PDXSamplePictures::scene(Scene::harbour, 640, 480, seed));
}

PDXBytes hills(std::uint64_t seed) { return png(PDXSamplePictures::scene(Scene::hills, 480, 320, seed)); }

PDXBytes sideways(std::uint64_t) {
  const PDXRaster upright = PDXSamplePictures::signpost(480, 320);
  return PDXSamplePictures::markedAs(jpeg(PDXSamplePictures::heldAs(upright, 6)), 6);
}

PDXBytes garden(std::uint64_t seed) {
  const PDXRaster picture = PDXSamplePictures::scene(Scene::garden, 640, 480, seed);
  return PDXImages::encoded(picture, PDXPictureFormat::heic).value_or(PDXBytes());
}

PDXBytes drawing(std::uint64_t seed) { return jpeg(PDXSamplePictures::scene(Scene::city, 600, 400, seed)); }
PDXBytes portrait(std::uint64_t seed) { return png(PDXSamplePictures::portrait(160, seed)); }
PDXBytes film(std::uint64_t) { return PDXSampleDocuments::clip(); }
PDXBytes document(std::uint64_t) { return PDXSampleDocuments::pdf(); }

constexpr std::string_view kJpeg = "public.jpeg";
constexpr std::string_view kPng = "public.png";
constexpr std::string_view kDrawingType = "com.apple.drawing";
constexpr std::string_view kSketchType = "com.apple.notes.sketch";
constexpr std::string_view kFilmType = "com.apple.quicktime-movie";

std::vector<Note> notes() {
  return {
      {"Packing list", "Green scarf\nTent & pegs\n\nStove <the small one>\n½ l paraffin 🔥\nIt's \"all\"?"},
      {"Saltmarsh in pictures",
       "The boat:\n*\nthe way up,\n*\nthe hills\n*\nand the garden:\n*\nThat was all.",
       {{kJpeg, "IMG_2041.JPG", Place::media, harbour},
        {kJpeg, "IMG_2042.JPG", Place::media, sideways},
        {kPng, "Hills.png", Place::media, hills},
        {"public.heic", "IMG_2043.HEIC", Place::media, garden}},
       cloud,
       holidays},
      {"Drawn by hand",
       "With the pencil:\n*\nwith the finger:\n*",
       {{kDrawingType, "", Place::fallback, drawing}, {kSketchType, "", Place::previews, portrait}}},
      {"The bouncing ball", "*", {{kFilmType, "Ball.mov", Place::video, film}}, cloud, holidays},
      {"Boat times",
       "Timetable:\n*\nTheir page:\n*\nPrices:\n*\nBoth seen.",
       {{"com.adobe.pdf", "Timetable.pdf", Place::media, document},
        {"public.url", "https://boats.example.com/?from=Saltmarsh&to=Stonebridge"},
        {"com.apple.notes.table", ""}},
       cloud,
       holidays},
      {"Where the spare key is", "Under the third pot.", {}, local, localNotes, true},
      {"Old shopping", "Eggs", {}, local, recentlyDeleted, false, true},
      {"Soup", "Onion, two carrots.\nPatience.", {}, local, localNotes},
      {"SOUP", "Another one, with leeks.", {}, local, localNotes},
      {"Soup", "A third, from Ann.", {}, local, localNotes},
      {"In no folder", "And in no account.", {}, 0, 0},
      {std::nullopt, "Without a title.", {}, local, localNotes},
      {"<b>Markup</b> & \"quotes\" 100% #1 a/b\\c: what?",
       "1 < 2 > 0 && it's so\n*",
       {{kPng, "a#b 100%.png", Place::media, portrait}}},
      {"../../../CON", "A title that wants out.", {}, local, localNotes},
      {"Odd attachments",
       "*\n*\n*\n*\n*",
       {{kJpeg, "../../../../outside.jpg", Place::media, harbour},
        {kJpeg, "/etc/absolute.jpg", Place::media, harbour},
        {kJpeg, "", Place::media, harbour},
        {kJpeg, "stayed in the cloud.jpg", Place::media, harbour, false},
        {kPng, "no picture.png", Place::media, document}}},
      {"Not downloaded", "", {}, cloud, holidays, false, false, false},
      {"Many tongues", "Grüße, Ελλάδα, Привет, שלום, مرحبا, नमस्ते, สวัสดี, 你好, こんにちは, 안녕"},
  };
}

/// Turns notes into the objects of a store, and adds their files to the backup.
class Writer {
 public:
  Writer(PDXSampleBackupFolder& backup, const PDXSampleNoteGeneration& generation, std::uint64_t seed)
      : backup_(backup), generation_(generation), seed_(seed), random_(seed, 7) {
    objects_ = {
        {.kind = Object::Kind::account, .row = local, .identifier = "LocalAccount", .title = "On My iPhone"},
        {.kind = Object::Kind::account, .row = cloud, .identifier = std::string(kCloud), .title = "Cloud"}};
    addFolder(localNotes, "DefaultFolder-LocalAccount", "Notes");
    addFolder(cloudNotes, "DefaultFolder-CloudKit", "Notes");
    addFolder(holidays, random_.guid(), "Holidays");
    addFolder(recentlyDeleted, "TrashFolder-LocalAccount", "Recently Deleted");
  }

  void add(const Note& note) {
    const std::int64_t row = row_++;
    std::vector<PDXSampleNoteReference> references;
    std::vector<std::string> identifiers;
    for (std::size_t i = 0; i < note.attachments.size(); ++i) identifiers.push_back(random_.guid());
    for (std::size_t i = 0; i < note.attachments.size(); ++i) {
      references.push_back({identifiers[i], note.attachments[i].type});
      addAttachment(note.attachments[i], identifiers[i], row, note.account);
    }
    Object object{.kind = Object::Kind::note, .row = row, .identifier = random_.guid(), .title = note.title};
    object.account = note.account;
    object.folder = note.folder;
    object.date = PDXDates::referenceSeconds(kSampleNow) - 86400 * (100 - row);
    object.isLocked = note.isLocked;
    object.isDeleted = note.isDeleted;
    if (note.isDownloaded) object.body = bodyOf(note, references);
    objects_.push_back(std::move(object));
  }

  const std::vector<Object>& objects() const { return objects_; }

 private:
  void addFolder(std::int64_t row, std::string identifier, const char* name) {
    objects_.push_back(
        {.kind = Object::Kind::folder, .row = row, .identifier = std::move(identifier), .title = name});
  }

  /// A locked note's body is enciphered: bytes without form.
  static PDXBytes bodyOf(const Note& note, const std::vector<PDXSampleNoteReference>& references) {
    if (note.isLocked) return {0x8E, 0x21, 0x07, 0xD4, 0x55, 0x90, 0x3C, 0xAA};
    std::string text = note.title.value_or("") + "\n" + note.text + "\n";
    for (std::size_t at = text.find("\n*\n"); at != std::string::npos; at = text.find("\n*\n", at))
      text.replace(at + 1, 1, "\xEF\xBF\xBC");
    return PDXSampleNoteBody::packed(PDXSampleNoteBody::record(text, references));
  }

  void addAttachment(const Attachment& attachment, const std::string& identifier, std::int64_t note,
                     std::int64_t account) {
    Object object{.kind = Object::Kind::attachment, .row = row_++, .identifier = identifier, .title = {}};
    object.owner = note;
    object.type = attachment.type;
    object.width = 320;
    object.height = 240;
    const bool hasMedia = attachment.place == Place::media || attachment.place == Place::video;
    if (hasMedia) object.media = addMedia(attachment, account);
    if (!hasMedia && !attachment.name.empty()) object.title = std::string(attachment.name);
    objects_.push_back(std::move(object));
    const std::string folder = accountFolder(account);
    if (attachment.place == Place::fallback)
      backup_.addFile(kDomain, folder + "FallbackImages/" + identifier + ".jpg", attachment.make(seed_));
    if (attachment.place == Place::previews || attachment.place == Place::video)
      addPreviews(folder, identifier);
  }

  std::int64_t addMedia(const Attachment& attachment, std::int64_t account) {
    Object media{.kind = Object::Kind::media,
                 .row = row_++,
                 .identifier = random_.guid(),
                 .title = std::string(attachment.name)};
    if (generation_.hasGenerations) media.generation = "1_" + random_.guid();
    const std::string path = accountFolder(account) + "Media/" + media.identifier + "/" +
                             (media.generation.empty() ? "" : media.generation + "/") +
                             std::string(attachment.name);
    const PDXBytes bytes = attachment.make(seed_);
    if (attachment.isListed && !bytes.empty()) backup_.addFile(kDomain, path, bytes);
    objects_.push_back(media);
    return media.row;
  }

  void addPreviews(const std::string& folder, const std::string& identifier) {
    const PDXRaster large = PDXSamplePictures::portrait(240, seed_);
    backup_.addFile(kDomain, folder + "Previews/" + identifier + "-1-120x120.png",
                    png(PDXSamplePictures::portrait(120, seed_)));
    backup_.addFile(kDomain, folder + "Previews/" + identifier + "-1-240x240.png", png(large));
  }

  static std::string accountFolder(std::int64_t account) {
    return "Accounts/" + (account == cloud ? std::string(kCloud) : "LocalAccount") + "/";
  }

  PDXSampleBackupFolder& backup_;
  const PDXSampleNoteGeneration& generation_;
  std::uint64_t seed_;
  PDXSampleRandom random_;
  std::vector<Object> objects_;
  std::int64_t row_ = firstFree;
};

constexpr const char* kOlderSchema =
    "CREATE TABLE ZACCOUNT (Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, ZTYPE INTEGER, ZDEFAULTSTORE INTEGER, "
    "ZNAME VARCHAR);"
    "CREATE TABLE ZSTORE (Z_PK INTEGER PRIMARY KEY, ZACCOUNT INTEGER, ZEXTERNALIDENTIFIER VARCHAR, ZNAME "
    "VARCHAR);"
    "CREATE TABLE ZNOTE (Z_PK INTEGER PRIMARY KEY, ZINTEGERID INTEGER, ZBODY INTEGER, ZSTORE INTEGER, "
    "ZCREATIONDATE TIMESTAMP, ZMODIFICATIONDATE TIMESTAMP, ZSUMMARY VARCHAR, ZTITLE VARCHAR);"
    "CREATE TABLE ZNOTEBODY (Z_PK INTEGER PRIMARY KEY, ZOWNER INTEGER, ZCONTENT VARCHAR);"
    "CREATE INDEX ZNOTEBODY_ZOWNER_INDEX ON ZNOTEBODY (ZOWNER);";

constexpr const char* kOldestSchema =
    "CREATE TABLE Note (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, creation_date INTEGER, title TEXT, summary "
    "TEXT, contains_cjk INTEGER);"
    "CREATE TABLE note_bodies (note_id INTEGER, data, UNIQUE(note_id));";

struct OlderNote {
  std::string_view title;
  std::string_view html;
};

constexpr OlderNote kOwnNotes[] = {
    {"Bread", "Bread<div>500 g flour</div><div><br></div><div>Salt &amp; water, 1 &lt; 2</div>"},
    {"", "A note without title"},
    {"Empty", "&nbsp;"}};

constexpr OlderNote kOtherNotes[] = {
    {"From the office",
     "From the office<div>Call Mr&nbsp;Webb &amp; ask for <b>two</b> keys</div><div><br></div>"
     "<div>Done</div>"},
    {"Picture by post",
     "Picture by post<div><object type=\"application/x-apple-msg-attachment\" "
     "data=\"cid:1\"></object></div>"}};

/// Adds notes from a row on; in the store of that number.
template <typename Notes>
void addOlder(PDXSampleTable& rows, PDXSampleTable& bodies, const Notes& all, std::int64_t row,
              std::int64_t store) {
  for (const OlderNote& note : all) {
    const std::int64_t date = 400'000'000 + 86400 * row;
    rows.add({row, row + 100, row + 50, store, date, date + 3600, note.title.substr(0, 8),
              PDXSampleTable::textOrNull(note.title)});
    bodies.add({row + 50, row, note.html});
    ++row;
  }
}

bool addOlderRows(const PDXSQLiteDatabase& store, bool hasOthers) {
  PDXSampleTable accounts(store, "ZACCOUNT", "Z_PK, Z_ENT, ZTYPE, ZDEFAULTSTORE, ZNAME");
  PDXSampleTable stores(store, "ZSTORE", "Z_PK, ZACCOUNT, ZEXTERNALIDENTIFIER, ZNAME");
  PDXSampleTable rows(store, "ZNOTE",
                      "Z_PK, ZINTEGERID, ZBODY, ZSTORE, ZCREATIONDATE, ZMODIFICATIONDATE, ZSUMMARY, ZTITLE");
  PDXSampleTable bodies(store, "ZNOTEBODY", "Z_PK, ZOWNER, ZCONTENT");
  accounts.add({1, 1, 0, 1, "LOCAL_NOTES_ACCOUNT"});
  stores.add({1, 1, "local", "Notes"});
  addOlder(rows, bodies, kOwnNotes, 1, 1);
  if (hasOthers) {
    accounts.add({2, 1, 2, 3, "Post"});
    stores.add({3, 2, "INBOX/Notes", "Notes"});
    addOlder(rows, bodies, kOtherNotes, 10, 3);
  }
  return !accounts.failed() && !stores.failed() && !rows.failed() && !bodies.failed();
}

bool addOldestRows(const PDXSQLiteDatabase& store) {
  PDXSampleTable rows(store, "Note", "ROWID, creation_date, title, summary, contains_cjk");
  PDXSampleTable bodies(store, "note_bodies", "note_id, data");
  std::int64_t row = 0;
  for (const OlderNote& note : kOwnNotes) {
    rows.add({++row, 250'000'000, PDXSampleTable::textOrNull(note.title), note.title, 0});
    bodies.add({row, note.html});
  }
  return !rows.failed() && !bodies.failed();
}

std::string writeStore(const std::string& path, const char* schema, bool (*add)(const PDXSQLiteDatabase&)) {
  const PDXSQLiteDatabase store(path, PDXSQLiteAccess::create);
  const bool written =
      store.run(schema) && store.run("PRAGMA synchronous=OFF; BEGIN") && add(store) && store.run("COMMIT");
  return written ? "" : "older notes: " + store.error();
}

}  // namespace

namespace PDXSampleNotes {

std::string write(PDXSampleBackupFolder& folder, std::uint64_t seed, const std::stop_token& stop,
                  int version) {
  const PDXSampleNoteGeneration& generation = PDXSampleNoteStore::generationOf(version);
  Writer writer(folder, generation, seed);
  for (const Note& note : notes()) {
    if (stop.stop_requested()) return "stopped";
    writer.add(note);
  }
  const std::string store = PDXFiles::joined(folder.workFolder(), "NoteStore.sqlite");
  std::string why = PDXSampleNoteStore::write(store, generation, writer.objects());
  if (!why.empty()) return why;
  folder.takeFile(kDomain, "NoteStore.sqlite", store);
  const std::string older = PDXFiles::joined(folder.workFolder(), "notes.sqlite");
  why = writeStore(older, kOlderSchema,
                   [](const PDXSQLiteDatabase& database) { return addOlderRows(database, true); });
  if (why.empty()) folder.takeFile("HomeDomain", "Library/Notes/notes.sqlite", older);
  return why;
}

std::string writeOlderStore(const std::string& path, bool isOldest) {
  if (isOldest) return writeStore(path, kOldestSchema, addOldestRows);
  return writeStore(path, kOlderSchema,
                    [](const PDXSQLiteDatabase& database) { return addOlderRows(database, true); });
}

}  // namespace PDXSampleNotes
