#include "samples/Calls.h"

#include <string_view>
#include <vector>

#include "platform/Files.h"
#include "platform/Sqlite.h"
#include "samples/Device.h"
#include "samples/Random.h"
#include "samples/Table.h"

namespace {

constexpr const char* kBegin = "PRAGMA synchronous=OFF; BEGIN";
constexpr const char* kKeys =
    "CREATE TABLE Z_PRIMARYKEY (Z_ENT INTEGER PRIMARY KEY, Z_NAME VARCHAR, Z_SUPER INTEGER, Z_MAX INTEGER);"
    "CREATE INDEX Z_CallRecord_date ON ZCALLRECORD (ZDATE COLLATE BINARY ASC);";
constexpr const char* kOlderSchema =
    "CREATE TABLE call (ROWID INTEGER PRIMARY KEY AUTOINCREMENT, address TEXT, date INTEGER, duration "
    "INTEGER, "
    "flags INTEGER, id INTEGER, name TEXT, country_code TEXT, network_code TEXT, read INTEGER, assisted "
    "INTEGER, "
    "face_time_data BLOB, originalAddress TEXT);"
    "CREATE INDEX date_index ON call (date);";

enum Type : int { otherApplication = 0, telephone = 1, faceTimeVideo = 8, faceTimeAudio = 16 };

struct Call {
  std::string_view address;  ///< "" for a number that was withheld.
  int hoursAgo;
  int duration;
  bool isOutgoing;
  bool isAnswered;
  Type type = telephone;
  std::string_view provider = "com.apple.Telephony";
  std::string_view location = {};
  std::string_view name = {};
  std::vector<std::string_view> others = {};  ///< Of a call with several, whose addresses lie elsewhere.
};

constexpr std::string_view kFaceTime = "com.apple.FaceTime";

/// From the newest on. The odd ones: withheld, of several people, of another application, markup in a place,
/// a name that no card has, a beginning that spreadsheets run, an address with a quote.
std::vector<Call> callsByHand() {
  return {
      {"+447700900101", 1, 754, false, true, telephone, "com.apple.Telephony", "Port Averil"},
      {"", 2, 0, false, false},
      {"020 7946 0101", 3, 61, true, false, telephone, "com.apple.Telephony", "London"},
      {"+447700900105", 5, 0, false, false},
      {"ann.fletcher@example.com", 8, 1833, true, false, faceTimeVideo, kFaceTime},
      {"", 9, 2400, true, false, faceTimeVideo, kFaceTime, "", "", {"+447700900101", "+447700900105"}},
      {"+447700900105", 11, 412, false, true, otherApplication, "net.whatsapp.WhatsApp"},
      {"+447700900777", 12, 33, false, true, telephone, "com.apple.Telephony", "<b>Leeds</b> & \"York\"",
       "Bike, 2nd hand"},
      {"+447700900106", 14, 5, false, true},
      {"=1+2", 15, 4, false, true, otherApplication, "com.skype.skype"},
      {"siobhan.o'connell@example.com", 18, 95, false, true, faceTimeAudio, kFaceTime},
      {"+12125550142", 20, 3725, true, false, telephone, "com.apple.Telephony",
       "<<RecentsNumberLocationNotFound>>"},
      {"", 23, 0, false, false},
  };
}

std::vector<Call> allCalls(std::uint64_t seed) {
  constexpr std::string_view kAddresses[] = {"+447700900101", "+447700900103", "+447700900104",
                                             "+447700900107", "+447700900111", "+447700900118",
                                             "+447700900991", "+441614960105"};
  std::vector<Call> calls = callsByHand();
  PDXSampleRandom random(seed, 31);
  for (int i = 0, hours = 24; i < 60; ++i) {
    hours += random.between(1, 40);
    const bool isOutgoing = random.isOneIn(2);
    const bool isAnswered = !random.isOneIn(4);
    calls.push_back({kAddresses[random.below(std::size(kAddresses))], hours,
                     isAnswered ? random.between(4, 2000) : 0, isOutgoing, isAnswered && !isOutgoing});
  }
  return calls;
}

std::int64_t dateOf(const Call& call) {
  return PDXDates::referenceSeconds(kSampleNow - std::chrono::hours(call.hoursAgo));
}

/// How one system version lays out its store.
struct Generation {
  int version;  ///< The first major version of the system that has it.
  bool hasLocation;
  bool hasProvider;
  std::string_view addressType;
  int handle;  ///< The number of addresses among the kinds of objects; 0 when there are none.
};

constexpr Generation kGenerations[] = {{8, false, false, "BLOB", 0},
                                       {9, true, false, "BLOB", 0},
                                       {10, true, true, "BLOB", 0},
                                       {12, true, true, "VARCHAR", 3},
                                       {17, true, true, "VARCHAR", 4}};

const Generation& generationOf(int version) {
  const Generation* found = &kGenerations[0];
  for (const Generation& generation : kGenerations) {
    if (generation.version <= version) found = &generation;
  }
  return *found;
}

std::string handleColumn(const Generation& of) {
  return "Z_" + std::to_string(of.handle) + "REMOTEPARTICIPANTHANDLES";
}

std::string schemaOf(const Generation& of) {
  std::string schema =
      "CREATE TABLE ZCALLRECORD (Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZANSWERED INTEGER, "
      "ZCALLTYPE INTEGER, ZDISCONNECTED_CAUSE INTEGER, ZFACE_TIME_DATA INTEGER, ZORIGINATED INTEGER, ZREAD "
      "INTEGER, ZDATE TIMESTAMP, ZDURATION FLOAT, ZISO_COUNTRY_CODE VARCHAR, ZNAME VARCHAR, ZUNIQUE_ID "
      "VARCHAR";
  if (of.hasLocation) schema += ", ZLOCATION VARCHAR";
  if (of.hasProvider) schema += ", ZSERVICE_PROVIDER VARCHAR";
  schema += ", ZADDRESS " + std::string(of.addressType) + ");" + kKeys;
  if (of.handle == 0) return schema;
  return schema +
         "CREATE TABLE ZHANDLE (Z_PK INTEGER PRIMARY KEY, Z_ENT INTEGER, Z_OPT INTEGER, ZTYPE INTEGER, "
         "ZNORMALIZEDVALUE VARCHAR, ZVALUE VARCHAR);"
         "CREATE TABLE Z_2REMOTEPARTICIPANTHANDLES (Z_2REMOTEPARTICIPANTCALLS INTEGER, " +
         handleColumn(of) + " INTEGER, PRIMARY KEY (Z_2REMOTEPARTICIPANTCALLS, " + handleColumn(of) + "));";
}

/// One store while its rows are written.
class Store {
 public:
  Store(const PDXSQLiteDatabase& database, const Generation& of)
      : of_(of),
        database_(database),
        calls_(database, "ZCALLRECORD",
               std::string("Z_PK, Z_ENT, Z_OPT, ZDATE, ZDURATION, ZORIGINATED, ZANSWERED, ZCALLTYPE, "
                           "ZFACE_TIME_DATA, ZNAME, ZADDRESS") +
                   (of.hasLocation ? ", ZLOCATION" : "") + (of.hasProvider ? ", ZSERVICE_PROVIDER" : "")) {}

  bool write(const std::vector<Call>& calls) {
    // As a device numbers them: the oldest first.
    for (auto call = calls.rbegin(); call != calls.rend(); ++call) add_(*call);
    PDXSampleTable keys(database_, "Z_PRIMARYKEY", "Z_ENT, Z_NAME, Z_SUPER, Z_MAX");
    keys.add({1, "CallDBProperties", 0, 1});
    keys.add({2, "CallRecord", 0, row_});
    if (of_.handle != 0) keys.add({of_.handle, "Handle", 0, handle_});
    return !failed_ && !keys.failed() && !calls_.failed();
  }

 private:
  void add_(const Call& call) {
    constexpr auto text = PDXSampleTable::textOrNull;
    const bool isFaceTime = call.provider == kFaceTime;
    const PDXBytes bytes(call.address.begin(), call.address.end());
    PDXSampleTable::Value address = text(call.address);
    if (of_.addressType == "BLOB" && !bytes.empty()) address = &bytes;
    const PDXSampleTable::Value used =
        isFaceTime ? PDXSampleTable::Value(4096) : PDXSampleTable::Value(nullptr);
    const auto is = [](bool value) { return PDXSampleTable::Value(std::int64_t{value ? 1 : 0}); };
    const PDXSampleTable::Value date = dateOf(call);
    ++row_;
    if (!of_.hasLocation) {
      calls_.add({row_, 2, 1, date, call.duration, is(call.isOutgoing), is(call.isAnswered), int{call.type},
                  used, text(call.name), address});
    } else if (!of_.hasProvider) {
      calls_.add({row_, 2, 1, date, call.duration, is(call.isOutgoing), is(call.isAnswered), int{call.type},
                  used, text(call.name), address, text(call.location)});
    } else {
      calls_.add({row_, 2, 1, date, call.duration, is(call.isOutgoing), is(call.isAnswered), int{call.type},
                  used, text(call.name), address, text(call.location), call.provider});
    }
    if (of_.handle != 0) addHandles_(call);
  }

  void addHandles_(const Call& call) {
    PDXSampleTable handles(database_, "ZHANDLE", "Z_PK, Z_ENT, Z_OPT, ZTYPE, ZNORMALIZEDVALUE, ZVALUE");
    PDXSampleTable joins(database_, "Z_2REMOTEPARTICIPANTHANDLES",
                         "Z_2REMOTEPARTICIPANTCALLS, " + handleColumn(of_));
    std::vector<std::string_view> all = call.others;
    if (!call.address.empty()) all.push_back(call.address);
    for (const std::string_view address : all) {
      const bool isMail = address.find('@') != std::string_view::npos;
      handles.add({++handle_, of_.handle, 1, isMail ? 3 : 2, address, address});
      joins.add({row_, handle_});
    }
    failed_ = failed_ || handles.failed() || joins.failed();
  }

  const Generation& of_;
  const PDXSQLiteDatabase& database_;
  PDXSampleTable calls_;
  std::int64_t row_ = 0;
  std::int64_t handle_ = 0;
  bool failed_ = false;
};

bool addOlderRows(const PDXSQLiteDatabase& database) {
  PDXSampleTable calls(database, "call", "address, date, duration, flags, id, name, read");
  const std::int64_t day = 86400;
  const std::int64_t date = 300 * day;
  calls.add({"07700 900101", date, 65, 4, 1, nullptr, 1});
  calls.add({"020 7946 0101", date + day, 0, 5, 1, nullptr, 1});
  calls.add({"07700 900777", date + 2 * day, 0, 4, -1, nullptr, 0});
  calls.add({nullptr, date + 3 * day, 30, 4, -1, nullptr, 1});
  calls.add({"ann.fletcher@example.com", date + 4 * day, 600, 17, 1, nullptr, 1});
  return !calls.failed();
}

}  // namespace

namespace PDXSampleCalls {

std::string writeStore(const std::string& path, std::uint64_t seed, int version) {
  const Generation& generation = generationOf(version);
  const PDXSQLiteDatabase store(path, PDXSQLiteAccess::create);
  const bool written = store.run(schemaOf(generation)) && store.run(kBegin) &&
                       Store(store, generation).write(allCalls(seed)) && store.run("COMMIT");
  return written ? "" : "call history: " + store.error();
}

std::string writeOlderDatabase(const std::string& path) {
  const PDXSQLiteDatabase store(path, PDXSQLiteAccess::create);
  const bool written =
      store.run(kOlderSchema) && store.run(kBegin) && addOlderRows(store) && store.run("COMMIT");
  return written ? "" : "older call history: " + store.error();
}

std::string write(PDXSampleBackupFolder& folder, std::uint64_t seed, int version) {
  const std::string store = PDXFiles::joined(folder.workFolder(), "CallHistory.storedata");
  std::string why = writeStore(store, seed, version);
  if (why.empty()) folder.takeFile("HomeDomain", "Library/CallHistoryDB/CallHistory.storedata", store);
  if (!why.empty() || version >= 10) return why;
  const std::string older = PDXFiles::joined(folder.workFolder(), "call_history.db");
  why = writeOlderDatabase(older);
  if (why.empty()) folder.takeFile("WirelessDomain", "Library/CallHistory/call_history.db", older);
  return why;
}

}  // namespace PDXSampleCalls
