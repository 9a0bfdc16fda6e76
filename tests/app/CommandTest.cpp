#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "app/export/ContentKinds.h"
#include "samples/BackupFolder.h"
#include "samples/SampleBackup.h"
#include "tests/contacts/AddressBookSample.h"
#include "tests/support/SampleDatabase.h"
#include "tests/support/TestFolder.h"

namespace {

struct Ran {
  int status = -1;
  std::string output;  ///< Standard output.
  std::string errors;  ///< Standard error.
};

/// The command as people call it, on a sample backup "phone".
class Command : public testing::Test {
 protected:
  Command() {
    EXPECT_FALSE(PDXSampleBackup::write({.folder = folder_ / "phone", .seed = 3, .messages = 300}));
    PDXFiles::makeFolders(folder_ / "tmp");
  }

  /// @param before  what the shell does first, in the same process.
  Ran run(const std::string& arguments, const std::string& before = "true") const {
    const std::string line = "cd '" + folder_.path() + "' && " + before + " && TMPDIR='" + folder_ / "tmp" +
                             "' HOME='" + folder_ / "home" + "' XDG_DATA_HOME= '" POCKETDEX_COMMAND "' " +
                             arguments + " 2>errors </dev/null";
    Ran ran;
    FILE* pipe = popen(line.c_str(), "r");
    std::array<char, 4096> buffer{};
    for (std::size_t got = 0; (got = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
      ran.output.append(buffer.data(), got);
    }
    ran.status = WEXITSTATUS(pclose(pipe));
    ran.errors = fileText(folder_ / "errors");
    EXPECT_TRUE(PDXFiles::list(folder_ / "tmp").empty()) << "scratch left behind by " << arguments;
    return ran;
  }

  PDXTestFolder folder_;
};

TEST_F(Command, MistakesAreOneLineAndTheirStatus) {
  PDXFiles::makeFolders(folder_ / "empty");
  folder_.write("file", "x");
  const struct {
    const char* arguments;
    int status;
    const char* says;
  } cases[] = {
      {"", 2, "a command is missing"},
      {"exprot phone --to out", 2, "there is no command \"exprot\"; the nearest: \"export\""},
      {"make", 2, "DEVICE is missing"},
      {"make ../phone", 2, "is no identifier of a device"},
      {"export phone", 2, "--to is required"},
      {"export phone whatsapp --to out", 2, "\"whatsapp\" is not built yet"},
      {"export phone mesages --to out", 2, "there is no content kind \"mesages\"; the nearest: \"messages\""},
      {"export phone --to out --format text", 2, "the format \"text\" is not built yet"},
      {"export phone notes --to out --format html,pdf", 2, "there is no format \"pdf\""},
      {"export phone --to out --from 2023-02-29", 2, "\"2023-02-29\" is no date"},
      {"export phone --to out --from 2023-02-02 --until 2023-02-01", 2, "lies before"},
      {"export phone --to out --layout big", 2, "--layout"},
      {"export phone --to out --jobs 0", 2, "--jobs"},
      {"export phone --to out --conversation 'Ann Fletchr'", 2, "the nearest: \"Ann Fletcher\""},
      {"list phone whatsapp", 2, "\"whatsapp\" is not built yet: this version reads messages, contacts, "},
      {"list phone calls --search x", 2, "--search does not apply to calls"},
      {"list phone music --library nowhere", 2, "there is no file nowhere"},
      {"list phone calls --library file", 2, "--library is for music"},
      {"export phone notes --to out --with-files", 2, "--with-files is for music"},
      {"list phone bookmarks --from 2023-01-01", 2, "say nothing about bookmarks"},
      {"export phone blocked --to out", 2, "\"blocked\" can be listed but not exported"},
      {"list phone contacts --from 2023-01-01", 2, "say nothing about contacts"},
      {"list phone blocked --search x", 2, "--search does not apply to blocked"},
      {"export phone --too out", 2, "there is no option --too; the nearest: \"--to\""},
      {"export phone calls messages --to out --search x", 2, "--search does not apply to calls"},
      {"export phone notes --to out --conversation 'Ann Fletcher'", 2, "--conversation is for messages"},
      {"files phone --under Library/SM", 2, "the nearest: \"Library/SMS\""},
      {"sample other --encrypted nowhere", 2, "the password file nowhere cannot be read"},
      {"sample other --encrypted - --rounds 3", 2, "there is no password in the first line of -"},
      {"sample other --rounds 3", 2, "--encrypted"},
      {"sample other --generation older", 2, "--generation"},
      {"info nothing-here", 3, "there is no backup \"nothing-here\""},
      {"info ./nothing-here", 3, "there is no such folder"},
      {"info empty", 3, "is not a backup"},
      {"info ./file", 3, "it is not a folder"},
      {"export phone --to file/out", 5, "cannot write"},
      {"export phone --to phone/out", 2, "it lies in the backup"},
      {"get phone x --domain MediaDomain --to ./phone", 2, "it lies in the backup"},
      {"get phone ../x --domain MediaDomain --to out", 2, "is no path inside a domain"},
      {"get phone x --domain MediaDomian --to out", 2, "the nearest: \"MediaDomain\""},
      {"files phone --domain Home", 2, "the nearest: \"HomeDomain\""},
      {"get phone nothing.jpg --domain MediaDomain --to out", 1, "the backup does not hold \"nothing.jpg\""},
      {"backups --in nowhere", 3, "there is no folder"},
      {"info phone --json >/dev/full", 5, "cannot write to standard output"},
      {"sample phone", 5, "is not empty"},
  };
  for (const auto& c : cases) {
    const Ran ran = run(c.arguments);
    EXPECT_EQ(ran.status, c.status) << c.arguments << "\n" << ran.errors;
    EXPECT_NE(ran.errors.find(c.says), std::string::npos) << c.arguments << "\n" << ran.errors;
    EXPECT_EQ(std::count(ran.errors.begin(), ran.errors.end(), '\n'), 1) << c.arguments << "\n" << ran.errors;
    EXPECT_EQ(ran.output, "") << c.arguments;
  }
  EXPECT_FALSE(PDXFiles::exists(folder_ / "out")) << "mistakes are found before anything is written";
}

TEST_F(Command, TheManualHasEveryCommandAndOption) {
  const std::string manual = fileText(PDX_MANUAL);
  const std::string synopsis = manual.substr(0, manual.find(".Sh DESCRIPTION"));
  const std::string options = manual.substr(manual.find(".Sh OPTIONS"));
  const std::string help = run("--help").output;
  std::istringstream commands(help.substr(help.find("Subcommands:")));
  std::size_t count = 0;
  for (std::string entry; std::getline(commands, entry);) {
    if (!entry.starts_with("  ")) continue;
    const std::string command = entry.substr(2, entry.find(' ', 2) - 2);
    EXPECT_NE(synopsis.find(".Cm " + command + "\n"), std::string::npos) << command;
    ++count;
    std::istringstream ofCommand(run(command + " --help").output);
    for (std::string line; std::getline(ofCommand, line);) {
      const std::size_t at = line.find("--");
      if (!line.starts_with("  -") || at == std::string::npos) continue;
      const std::string name = line.substr(at + 2, line.find_first_of(" ,", at) - at - 2);
      EXPECT_NE(options.find("Fl -" + name), std::string::npos) << command << " --" << name;
    }
  }
  EXPECT_GE(count, 10U);
}

TEST_F(Command, FindsBackupsByTheBeginningOfTheirIdentifier) {
  const std::string backups = folder_ / "home/.local/share/Lantern Byte/MobileSync/Backup/";
  for (const char* identifier : {"00008120-AAAA", "00008120-AABB", "0000"}) {
    PDXSampleDevice device;
    device.identifier = identifier;
    PDXSampleBackupFolder backup(backups + identifier, device);
    EXPECT_TRUE(backup.finish());
  }
  EXPECT_EQ(run("info 00008120-AAA").status, 0);
  EXPECT_EQ(run("info 0000").status, 0) << "the whole of one identifier, and the beginning of others";
  const Ran several = run("info 00008120-A");
  EXPECT_EQ(several.status, 3);
  EXPECT_NE(several.errors.find("00008120-AAAA, 00008120-AABB"), std::string::npos) << several.errors;
}

TEST_F(Command, ListsAndCopiesSingleFiles) {
  const auto files = nlohmann::json::parse(run("files phone --domain MediaDomain --json").output);
  const auto& quoted = *std::find_if(files["items"].begin(), files["items"].end(), [](const auto& item) {
    return item["relativePath"].template get<std::string>().find('\'') != std::string::npos;
  });
  const std::string path = quoted["relativePath"];
  EXPECT_EQ(run("get phone \"" + path + "\" --domain MediaDomain --to got").status, 0);
  const std::string id = quoted["fileId"];
  EXPECT_EQ(fileText(folder_ / ("got/MediaDomain/" + path)),
            fileText(folder_ / ("phone/" + id.substr(0, 2) + "/" + id)));
  EXPECT_NE(run("domains phone").output.find("HomeDomain\n"), std::string::npos);
  const auto backups = nlohmann::json::parse(run("backups --in . --json").output);
  ASSERT_EQ(backups["items"].size(), 1U);
  EXPECT_EQ(backups["items"][0]["deviceName"], "Ann's iPhone");
}

TEST_F(Command, AListFromADamagedManifestIsSaidToBeOne) {
  ASSERT_EQ(run("sample old --messages 10 --generation legacy").status, 0);
  const std::string whole = fileText(folder_ / "old/Manifest.mbdb");
  folder_.write("old/Manifest.mbdb", whole.substr(0, whole.size() / 2));
  for (const char* command : {"domains old", "files old"}) {
    const Ran ran = run(command);
    EXPECT_EQ(ran.status, 1);
    EXPECT_NE(ran.output, "");
    EXPECT_NE(ran.errors.find("it ends in the middle of a record"), std::string::npos) << ran.errors;
  }
  const auto files = nlohmann::json::parse(run("files old --json").output);
  EXPECT_EQ(files["problems"].size(), 1U);
}

TEST_F(Command, WritesIntoNoBackup) {
  PDXFiles::makeFolders(folder_ / "par");
  for (const char* copy : {"par/Messages", "other"})
    std::filesystem::copy(folder_ / "phone", folder_ / copy, std::filesystem::copy_options::recursive);
  folder_.write("linked/export.json", "{}");
  std::filesystem::create_directory_symlink("../phone", folder_ / "linked/Messages");
  const auto files = [this] {
    std::set<std::string> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_.path()))
      paths.insert(entry.path());
    return paths;
  };
  const struct {
    const char* arguments;
    const char* says;
  } cases[] = {
      {"export par/Messages messages --to par", "the backup lies in it"},
      {"export phone --to .", "the backup lies in it"},
      {"get par/Messages Library/SMS/sms.db --domain Messages --to par", "it lies in the backup"},
      {"export phone calls --to linked/Messages/out", "it lies in the backup"},
      {"export phone messages --to linked", "linked/Messages leads to the backup"},
      {"export phone calls --to other/out", "it lies in another backup"},
      {"get phone Library/SMS/sms.db --domain HomeDomain --to other", "it lies in another backup"},
      {"sample phone/inner --messages 1", "it lies in the backup"},
      {"make 00008120-EB403754AC060D99 --root phone", "it lies in the backup"},
  };
  run("info phone");  // Makes the files that the test itself leaves.
  const auto before = files();
  for (const auto& c : cases) {
    const Ran ran = run(c.arguments);
    EXPECT_EQ(ran.status, 2) << c.arguments << "\n" << ran.errors;
    EXPECT_NE(ran.errors.find(c.says), std::string::npos) << c.arguments << "\n" << ran.errors;
    EXPECT_EQ(files(), before) << c.arguments;
  }
  EXPECT_EQ(run("get phone Library/SMS/sms.db --domain HomeDomain --to .").status, 0) << "beside the backup";
}

TEST_F(Command, StatusesHoldWhereverStandardDescriptorsLead) {
  folder_.write("password", "right");
  ASSERT_EQ(run("sample locked --messages 10 --encrypted password --rounds 3").status, 0);
  const struct {
    const char* arguments;
    int status;
  } cases[] = {
      {"exprot phone 2>&-", 2},
      {"info nothing-here 2>&-", 3},
      {"list locked calls 2>&-", 4},
      {"list locked calls 2>/dev/full", 4},
      {"info phone >&- 2>&-", 5},
      {"export phone calls --to all-closed <&- >&- 2>&-", 5},
      {"export phone calls --to all-open >/dev/null 2>&1", 0},
  };
  for (const auto& [arguments, status] : cases) {
    const std::string line = "cd '" + folder_.path() + "' && '" POCKETDEX_COMMAND "' " + arguments;
    EXPECT_EQ(WEXITSTATUS(std::system(line.c_str())), status) << arguments;
  }
  EXPECT_EQ(fileText(folder_ / "all-closed/export.json"), fileText(folder_ / "all-open/export.json"))
      << "what is printed goes into no file";
}

TEST_F(Command, AFileThatMayNotGrowIsAFailedWrite) {
  const std::string line = "cd '" + folder_.path() +
                           "' && (ulimit -f 100 && '" POCKETDEX_COMMAND
                           "' sample big --messages 2000) 2>errors";
  EXPECT_EQ(WEXITSTATUS(std::system(line.c_str())), 5);
  EXPECT_NE(fileText(folder_ / "errors"), "");
}

TEST_F(Command, AKilledRunIsClearedAway) {
  PDXFiles::makeFolders(folder_ / "tmp/pocketdex-999999999-abc/Pocketdex");
  ASSERT_EQ(run("export phone calls --to out").status, 0);
  // The test lives, and something as old as this must be of another process of that number.
  const std::string mine = ".pocketdex-" + std::to_string(getpid()) + "-4.part";
  PDXFiles::setLastModified(folder_.write("out/Music/" + mine, "half a table"),
                            std::chrono::sys_days(std::chrono::year(2020) / 1 / 1));
  for (const char* folder : {"", "Messages/", "Messages/Ann Media/", "Notes/A/B/C - Attachments/", "Calls/",
                             "Contacts/pictures/", "Music/iTunes_Control/Music/F00/"})
    folder_.write("out/" + std::string(folder) + ".pocketdex-999999999-4.part", "half a file");
  const std::set<std::string> kept = {
      folder_.write("out/Calls/" + mine, "somebody writes this"),
      folder_.write("out/Calls/holiday.part", "a person's own"),
      folder_.write("out/Calls/.pocketdex-mine.part", "a person's own"),
      folder_.write("out/Calls/.pocketdex-999999999-4.txt", "a person's own"),
      folder_.write("out/Calls/.pocketdex-999999999-5.part/file", "in a folder"),
  };
  folder_.write("elsewhere/.pocketdex-999999999-4.part", "behind a link");
  std::filesystem::create_directory_symlink("../elsewhere", folder_ / "out/link");
  run("export phone calls --to out");
  std::set<std::string> left;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder_ / "out")) {
    const std::string name = entry.path().filename();
    if (entry.is_regular_file() && (name.find(".part") != std::string::npos || name.starts_with('.')))
      left.insert(entry.path());
  }
  left.insert(folder_ / "out/Calls/.pocketdex-999999999-5.part/file");
  EXPECT_EQ(left, kept);
  EXPECT_EQ(PDXFiles::list(folder_ / "elsewhere").size(), 1U);
}

TEST_F(Command, StopsWhileItWaitsForThePassword) {
  folder_.write("password", "right");
  ASSERT_EQ(run("sample locked --messages 10 --encrypted password --rounds 3").status, 0);
  for (const char* writer : {"exec 3<>pipe", "true"}) {
    const std::string script =
        "cd '" + folder_.path() + "' && rm -f pipe && mkfifo pipe && " + writer + " && TMPDIR='" +
        folder_ / "tmp" +
        "' timeout --preserve-status --signal=INT --kill-after=30 1 '" POCKETDEX_COMMAND
        "' list locked messages --password-file pipe 2>errors";
    EXPECT_EQ(WEXITSTATUS(std::system(script.c_str())), 130) << writer;
    EXPECT_TRUE(PDXFiles::list(folder_ / "tmp").empty());
  }
}

TEST_F(Command, GeneratedColumnsAreSaidAndTheRestComesOut) {
  const std::string store = folder_ / "phone/3d/3d0d7e5fb2ce288813306e4d4636395e047a3d28";
  const auto make = [](const std::string& path, const std::string& table, const std::string& columns) {
    const PDXSQLiteDatabase database(path, PDXSQLiteAccess::create);
    EXPECT_TRUE(database.run("DROP TABLE " + table + "; CREATE TABLE " + table + " (" + columns + ")"));
  };
  make(store, "message", "text AS ('x'), handle_id, date, is_from_me, service");
  const std::string why = "has generated columns, which no phone makes";
  for (const char* command : {"list phone messages", "export phone --to out", "check phone"}) {
    const Ran ran = run(command);
    EXPECT_EQ(ran.status, 1) << command;
    EXPECT_NE((ran.output + ran.errors).find("the table \"message\" " + why), std::string::npos)
        << command << "\n"
        << ran.output << ran.errors;
  }
  EXPECT_TRUE(PDXFiles::exists(folder_ / "out/Contacts")) << "other stores are read";

  make(folder_ / "phone/Manifest.db", "Files", "fileID, domain, relativePath AS ('x'), flags, file");
  for (const char* command :
       {"info phone", "list phone messages", "files phone", "domains phone", "check phone",
        "export phone --to out2", "get phone Library/SMS/sms.db --domain HomeDomain --to out3"}) {
    const Ran ran = run(command);
    EXPECT_GT(ran.status, 0) << command;
    EXPECT_NE((ran.output + ran.errors).find("the table \"Files\" " + why), std::string::npos)
        << command << "\n"
        << ran.output << ran.errors;
  }
}

TEST_F(Command, InfoAndListSpeakJson) {
  const auto info = nlohmann::json::parse(run("info phone --json").output);
  EXPECT_EQ(info["schema"], 1);
  EXPECT_EQ(info["kind"], "info");
  EXPECT_EQ(info["backup"]["encrypted"], false);
  EXPECT_EQ(info["backup"]["lastBackupDate"], "2024-03-10T09:30:00Z");
  EXPECT_EQ(info["items"][0]["kind"], "messages");
  EXPECT_EQ(info["items"][0]["held"], true);

  const auto list = nlohmann::json::parse(run("list phone messages --json").output);
  const auto& ann = *std::find_if(list["items"].begin(), list["items"].end(),
                                  [](const auto& item) { return item["title"] == "Ann Fletcher"; });
  EXPECT_EQ(ann["conversationIdArray"].size(), 2U) << "her chats by SMS and by iMessage";
  EXPECT_EQ(ann["participants"][0]["isKnownContact"], true);
  const auto found = nlohmann::json::parse(run("list phone messages --json --search \"don't\"").output);
  EXPECT_GT(found["items"].size(), 0U);
  EXPECT_LT(found["items"].size(), list["items"].size());
}

TEST_F(Command, ListsPeopleAndBlockedNumbers) {
  const auto people = nlohmann::json::parse(run("list phone contacts --json").output);
  const auto& ann = people["items"][0];
  EXPECT_EQ(ann["sortName"], "Fletcher, Ann");
  EXPECT_EQ(ann["givenName"], "Ann");
  EXPECT_EQ(ann["emailAddresses"][1]["location"], 2) << "at work";
  EXPECT_EQ(
      run("list phone contacts --search ann.FLETCHER@ --quiet").output,
      "Fletcher, Ann (07700 900101, 020 7946 0101, ann.fletcher@example.com, a.fletcher@example.org)\n");
  EXPECT_EQ(run("list phone contacts --search 0207946-0121 --quiet").output,
            "Harbour Street Dental Practice (020 7946 0121, smile@example.org)\n");
  const auto blocked = nlohmann::json::parse(run("list phone blocked --json").output);
  EXPECT_EQ(blocked["items"][0]["number"], "+447700900991");
  EXPECT_EQ(run("list phone blocked --quiet").output,
            "+447700900991\n+447700900123\n07700 900106\n07700900871\n");
}

/// The files below a folder with their bytes. What tells the form of the backup is left out, and the calls:
/// the older systems wrote less down.
std::string everythingIn(const std::string& folder, const std::string& below = "") {
  std::string all;
  for (const std::string& name : PDXFiles::list(folder)) {
    const std::string path = PDXFiles::joined(folder, name);
    if (name == "export.json" || name == "index.html" || name == "Calls") continue;
    all += below + name + "\n";
    all += PDXFiles::isFolder(path) ? everythingIn(path, below + name + "/") : fileText(path) + "\n";
  }
  return all;
}

TEST_F(Command, ACorruptTriggerCostsNothing) {
  const Ran before = run("export phone --to before");
  for (const char* store :
       {"3d/3d0d7e5fb2ce288813306e4d4636395e047a3d28", "5a/5a4935c78a5255723f707230a451d79c540d2741",
        "31/31bb7ba8914766d4ba40d6dfb6113c8b614be442"}) {
    const PDXSQLiteDatabase database(folder_ / ("phone/" + std::string(store)), PDXSQLiteAccess::create);
    EXPECT_TRUE(database.run(
        "CREATE TABLE added (a); CREATE TRIGGER added AFTER INSERT ON added BEGIN SELECT 1; END; PRAGMA "
        "writable_schema=ON; UPDATE sqlite_master SET sql = 'CREATE TRI@@ER' WHERE type = 'trigger'"))
        << store;
  }
  const Ran after = run("export phone --to after");
  EXPECT_EQ(after.status, before.status) << after.errors;
  EXPECT_EQ(everythingIn(folder_ / "after"), everythingIn(folder_ / "before"));
  EXPECT_NE(run("check phone").output.find("malformed database schema (added)"), std::string::npos);
}

TEST_F(Command, EveryFormOfABackupGivesTheSameAnswers) {
  folder_.write("password", "s e c r e t\r\nnot this line");
  const struct {
    const char* name;
    const char* options;
  } forms[] = {{"plain", ""},
               {"encrypted", "--encrypted password --rounds 3"},
               {"older", "--generation legacy"},
               {"older-encrypted", "--generation legacy --encrypted password"}};
  std::map<std::string, std::string> answers;
  std::map<bool, std::string>
      calls;  // Of the newer forms and of the older ones, one form's behind another's.
  for (const auto& [name, options] : forms) {
    ASSERT_EQ(run(std::string("sample ") + name + " --messages 150 " + options).status, 0);
    const std::string backup = std::string(name) + " --password-file password --read-only ";
    const std::string out = folder_ / (std::string("out-") + name);
    const std::string everything = "export " + backup + "--contact-pictures --pictures --with-files --to ";
    EXPECT_EQ(run(everything + out).status, 0);
    answers[name] = everythingIn(out);
    calls[out.find("older") != std::string::npos] += everythingIn(out + "/Calls");
    for (const PDXContentKind& kind : PDXContentKinds::all()) {
      if (!kind.isBuilt) continue;
      auto list = nlohmann::json::parse(run("list " + backup + kind.name + " --json").output);
      list.erase("backup");
      (kind.name == "calls" ? calls[out.find("older") != std::string::npos] : answers[name]) += list.dump();
    }
    EXPECT_EQ(run("get " + backup + "--domain HomeDomain Library/SMS/sms.db --to got-" + name).status, 0);
    answers[name] += fileText(folder_ / (std::string("got-") + name + "/HomeDomain/Library/SMS/sms.db"));
    EXPECT_FALSE(PDXFiles::exists(folder_ / (std::string(name) + "/Manifest_d.db")));
    EXPECT_TRUE(answers[name] == answers["plain"]) << name;
  }
  EXPECT_GT(answers["plain"].size(), 500'000U);
  for (const auto& [isOlder, both] : calls)
    EXPECT_TRUE(both.substr(0, both.size() / 2) == both.substr(both.size() / 2)) << isOlder;
}

TEST_F(Command, PasswordsAreToldApart) {
  folder_.write("password", "right");
  folder_.write("empty", "\nright");
  ASSERT_EQ(run("sample locked --messages 10 --encrypted password --rounds 3").status, 0);
  const auto with = [&](const char* variable, const std::string& arguments) {
    setenv("POCKETDEX_PASSWORD", variable, 1);
    const Ran ran = run(arguments);
    unsetenv("POCKETDEX_PASSWORD");
    return std::to_string(ran.status) + " " + ran.errors;
  };
  const auto says = [](const std::string& said, const char* what) {
    return said.find(what) != std::string::npos && std::count(said.begin(), said.end(), '\n') == 1;
  };
  const Ran none = run("list locked messages");
  EXPECT_EQ(none.status, 4);
  EXPECT_TRUE(says(none.errors, "is encrypted: give its password with --password-file FILE")) << none.errors;
  EXPECT_TRUE(
      says(with("", "list locked messages"), "4 pocketdex: the password in POCKETDEX_PASSWORD is empty"));
  EXPECT_TRUE(says(with("wrong", "list locked messages"), "POCKETDEX_PASSWORD is wrong for "));
  EXPECT_TRUE(
      says(with("right", "list locked messages --password-file empty"), "the password in empty is empty"));
  EXPECT_TRUE(says(with("right", "list locked messages --password-file no"),
                   "2 pocketdex: cannot read the password"));
  EXPECT_TRUE(says(with("right", "list locked messages --password-file /dev/zero"),
                   "2 pocketdex: cannot read the password"))
      << "that has no end";
  EXPECT_EQ(with("right", "list locked messages"), "0 ");
  EXPECT_EQ(with("wrong", "list locked messages --password-file password"), "0 ") << "the file comes first";
  EXPECT_EQ(run("info locked").status, 0) << "needs none";
  EXPECT_EQ(with("wrong", "export locked --to out").substr(0, 1), "4");
  EXPECT_FALSE(PDXFiles::exists(folder_ / "out"));

  std::string list = fileText(folder_ / "locked/Manifest.plist");
  const std::size_t count = list.find("ITER");
  list.replace(count + 8, 4, 4, '\0');
  folder_.write("locked/Manifest.plist", list);
  EXPECT_TRUE(says(with("right", "list locked messages"), "3 pocketdex: the key bag of "));
}

TEST_F(Command, CheckNamesWhatIsWrong) {
  folder_.write("password", "right");
  for (const std::string form :
       {"", "--encrypted password --rounds 3", "--generation legacy --encrypted password"}) {
    SCOPED_TRACE(form);
    PDXFiles::removeTree(folder_ / "b");
    ASSERT_EQ(run("sample b --messages 60 " + form).status, 0);
    const auto findings = [&] {
      const Ran ran = run("check b --json --read-only --jobs 3 --password-file password");
      std::string text = std::to_string(ran.status);
      const auto answer = nlohmann::json::parse(ran.output);
      for (const auto& item : answer["items"]) {
        text += " " + item["finding"].get<std::string>() + ":" + item["relativePath"].get<std::string>();
      }
      return text;
    };
    const std::string before = findings();
    EXPECT_EQ(before.substr(0, 11), "1 missing:L") << "the picture that the sample leaves out: " << before;

    const bool isFlat = form.find("legacy") != std::string::npos;
    const auto stored = [&](const char* domain, const char* path) {
      const std::string id = PDXSampleBackupFolder::fileId(domain, path);
      return "b/" + (isFlat ? "" : id.substr(0, 2) + "/") + id;
    };
    const std::string store = stored("HomeDomain", "Library/SMS/sms.db");
    const std::string bytes = fileText(folder_ / store);
    folder_.write(store, bytes.substr(0, bytes.size() / 2 / 16 * 16 + 5));
    folder_.write(isFlat ? "b/" + std::string(40, 'a') : "b/aa/" + std::string(40, 'a'), "orphan");
    PDXFiles::remove(folder_ / stored("HomeDomain", "Library/AddressBook/AddressBook.sqlitedb"));
    const std::string after = findings();
    const char* const kind = form.empty() ? "database" : "undecipherable";
    EXPECT_NE(after.find(std::string(kind) + ":Library/SMS/sms.db"), std::string::npos) << after;
    EXPECT_NE(after.find("missing:Library/AddressBook/AddressBook.sqlitedb"), std::string::npos) << after;
    EXPECT_NE(after.find("orphan:"), std::string::npos) << after;
  }
}

TEST_F(Command, ListsNotes) {
  const auto notes = nlohmann::json::parse(run("list phone notes --json --search SCARF").output);
  ASSERT_EQ(notes["items"].size(), 1U);
  const auto& note = notes["items"][0];
  EXPECT_EQ(note["title"], "Packing list");
  EXPECT_EQ(note["accountDetail"]["name"], "Cloud");
  EXPECT_EQ(note["folderDetail"]["name"], "Notes");
  EXPECT_EQ(note["lastModified"], "2023-12-11T09:30:00Z");
  const std::string all = run("list phone notes").output;
  EXPECT_TRUE(all.starts_with("In no folder\n")) << all;
  EXPECT_TRUE(all.ends_with("Picture by post (Post, Notes)\n16 notes, and 1 locked\n")) << all;
}

TEST_F(Command, ListsShowWhatHasNoTitle) {
  const std::string bookmarks = run("list phone bookmarks").output;
  EXPECT_NE(bookmarks.find("  BookmarksMenu/\n    https://example.com/untitled\n"), std::string::npos)
      << bookmarks;
  const std::string music = run("list phone music").output;
  EXPECT_NE(music.find("  NONE.m4a\n"), std::string::npos) << music;
}

// Programs that look for faults take all address space, so that no limit can be set on theirs: there
// AFailedWorkerEndsTheRunInOrder stands for this.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST_F(Command, EndsInOrderWithoutMemory) {
  folder_.write("pw", "secret\n");
  ASSERT_FALSE(PDXSampleBackup::write(
      {.folder = folder_ / "locked", .seed = 3, .messages = 300, .password = "secret", .rounds = 3}));
  const char* commands[] = {"export phone --to out --contact-pictures --jobs 4",
                            "export locked --password-file pw --to out --jobs 1",
                            "list phone messages --json", "check locked --password-file pw --jobs 4"};
  const auto limited = [&](const char* command, int megabytes) {
    return run(command, "ulimit -v " + std::to_string(megabytes * 1024));
  };
  int least = 60;
  while (limited("--version", least).status != 0) least += 10;
  int ended = 0;
  for (const char* command : commands) {
    for (int limit = least; limit < least + 200; limit += 20) {
      const Ran ran = limited(command, limit);
      EXPECT_TRUE(ran.status == 0 || ran.status == 1 || ran.status == 5)
          << command << " in " << limit << ": " << ran.status << ran.errors;
      const bool isOut = ran.errors.starts_with("pocketdex: out of memory: ");
      EXPECT_EQ(ran.status == 5, isOut) << ran.errors;
      if (ran.status == 5) {
        EXPECT_EQ(std::count(ran.errors.begin(), ran.errors.end(), '\n'), 1) << ran.errors;
      }
      ended += isOut ? 1 : 0;
      EXPECT_EQ(system(("find '" + folder_.path() + "' -name '*.part' | grep -q .").c_str()), 256);
    }
  }
  EXPECT_GT(ended, 4);
}
#endif

TEST_F(Command, ExportNeverChangesTheBackup) {
  const std::string line =
      "cd phone && find . -type f | LC_ALL=C sort | xargs -d '\\n' sha1sum; find . -newer ../mark";
  const auto state = [&] {
    Ran ran;
    FILE* pipe = popen(("cd '" + folder_.path() + "' && (" + line + ")").c_str(), "r");
    std::array<char, 4096> buffer{};
    for (std::size_t got = 0; (got = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
      ran.output.append(buffer.data(), got);
    }
    pclose(pipe);
    return ran.output;
  };
  folder_.write("mark", "");
  const std::string before = state();
  const Ran ran =
      run("export phone --to out --contact-pictures --layout compact --order newest --font large");
  EXPECT_EQ(ran.status, 0) << ran.errors;
  EXPECT_NE(ran.output.find("Open " + folder_ / "out/index.html"), std::string::npos) << ran.output;
  EXPECT_EQ(state(), before);
}

TEST_F(Command, EveryContactHasAFaceAndABrokenPictureIsSaid) {
  PDXSampleBackupFolder backup(folder_ / "people");
  const std::string book = addressBook()
                               .row("ABPerson", 1, "Ann", nullptr, "Lee")
                               .row("ABPerson", 2, "../Bob")
                               .row("ABPerson", 3, "Con", nullptr, "?")
                               .row("ABPerson", 4, "CON", nullptr, "|")
                               .writeTo(folder_ / "book");
  const std::string pictures = PDXSampleDatabase()
                                   .table("ABThumbnailImage", "record_id, format, data")
                                   .table("ABImage", "record_id, data")
                                   .row("ABImage", 2, PDXBytes{0xFF, 0xD8, 0xFF, 0xE0, 0})
                                   .writeTo(folder_ / "images");
  backup.addFileFrom("HomeDomain", "Library/AddressBook/AddressBook.sqlitedb", book);
  backup.addFileFrom("HomeDomain", "Library/AddressBook/AddressBookImages.sqlitedb", pictures);
  EXPECT_TRUE(backup.finish()) << backup.error();
  const Ran ran = run("export people contacts --pictures --to out");
  EXPECT_EQ(ran.status, 1);
  EXPECT_NE(ran.errors.find("picture of a contact could not be read: ../Bob"), std::string::npos)
      << ran.errors;
  EXPECT_EQ(PDXFiles::list(folder_ / "out/Contacts/pictures"),
            (std::vector<std::string>{".._Bob.png", "Ann Lee.png", "CON _ (1).png", "Con _.png"}));
  const auto report = nlohmann::json::parse(fileText(folder_ / "out/export.json"));
  EXPECT_EQ(report["items"][0]["written"]["pictures"], 4);
  run("export people contacts --to plain");
  EXPECT_FALSE(PDXFiles::exists(folder_ / "plain/Contacts/pictures"));
}

TEST_F(Command, MakesABackupOrSaysWhyNot) {
  setenv("POCKETDEX_BACKUP_TOOL", PDX_BACKUP_TOOL, 1);
  const struct {
    const char* part;
    int status;
    const char* says;
  } cases[] = {
      {"locked", 1, "cannot back up made: the device is locked; unlock it"},
      {"pairing", 1, "cannot back up made: the device does not trust this computer;"},
      {"absent", 1, "cannot back up made: the device is not connected, or was unplugged;"},
      {"failure", 1, "backup-tool failed (ERROR: something odd);"},
      {"full", 5, "is full; make room there, or choose another folder with --root; "},
      {"signal", 1, "was ended by signal 9; try again; "},
  };
  for (const auto& c : cases) {
    setenv("PLAY", c.part, 1);
    const Ran ran = run("make made --root backups");
    EXPECT_EQ(ran.status, c.status) << c.part;
    EXPECT_NE(ran.errors.find(c.says), std::string::npos) << ran.errors;
    EXPECT_EQ(std::count(ran.errors.begin(), ran.errors.end(), '\n'), 1) << ran.errors;
  }
  EXPECT_NE(run("info backups/made").errors.find("this backup was not finished"), std::string::npos);
  setenv("PLAY", "encrypted", 1);
  const Ran made = run("make made --root backups");
  EXPECT_EQ(made.status, 0) << made.errors;
  EXPECT_EQ(made.output.substr(made.output.find('\n') + 1), run("info backups/made").output);
  EXPECT_NE(made.output.find("Device:     Ann & Bob (iPhone15,2)"), std::string::npos) << made.output;

  setenv("PLAY", "interrupted", 1);
  const Ran stopped = run("make new --root backups");
  EXPECT_EQ(stopped.status, 130);
  EXPECT_NE(stopped.errors.find("backups/new holds no whole backup\npocketdex: stopped\n"), std::string::npos)
      << stopped.errors;
  EXPECT_NE(run("info backups/new").errors.find("this backup was not finished"), std::string::npos);
  folder_.write("taken", "a file");
  EXPECT_EQ(run("make made --root taken").status, 5);
  setenv("POCKETDEX_BACKUP_TOOL", "/no/such/tool", 1);
  const Ran none = run("make made --root backups");
  EXPECT_EQ(none.status, 1);
  EXPECT_NE(none.errors.find("POCKETDEX_BACKUP_TOOL names \"/no/such/tool\""), std::string::npos);
  unsetenv("POCKETDEX_BACKUP_TOOL");
}

TEST_F(Command, AManifestThatCannotBeReadIsSaid) {
  for (const char* content : {"", "no database"}) {
    PDXFiles::makeFolders(folder_ / "broken");
    folder_.write("broken/Manifest.db", content);
    for (const std::string command : {"info", "info --json", "list", "list --json"}) {
      const Ran ran = run(command + " broken" + (command.starts_with("list") ? " messages" : ""));
      EXPECT_EQ(ran.status, 1) << command;
      EXPECT_TRUE(ran.errors.starts_with("pocketdex: manifest could not be read: ")) << ran.errors;
      EXPECT_EQ(std::count(ran.errors.begin(), ran.errors.end(), '\n'), 1) << ran.errors;
    }
  }
}

TEST_F(Command, ADamagedStoreIsSaidAndTheRestComesOut) {
  PDXSampleBackupFolder backup(folder_ / "damaged");
  backup.addFile("HomeDomain", "Library/SMS/sms.db", std::string_view("this was a database once"));
  EXPECT_TRUE(backup.finish());
  const Ran ran = run("export damaged --to out");
  EXPECT_EQ(ran.status, 1);
  EXPECT_NE(ran.errors.find("messages could not be read"), std::string::npos) << ran.errors;
  EXPECT_TRUE(PDXFiles::exists(folder_ / "out/export.json"));

  const std::string store = "3d/3d0d7e5fb2ce288813306e4d4636395e047a3d28";
  PDXFiles::remove(folder_ / ("phone/" + store));
  const Ran lost = run("export phone --to out4");
  EXPECT_EQ(lost.status, 1);
  EXPECT_NE(lost.errors.find("the manifest lists it, but"), std::string::npos) << lost.errors;

  PDXSampleBackupFolder without(folder_ / "without");
  EXPECT_TRUE(without.finish());
  EXPECT_EQ(run("export without --to out2").status, 0) << "nothing was asked for by name";
  const Ran asked = run("export without messages --to out3");
  EXPECT_EQ(asked.status, 1);
  EXPECT_EQ(asked.errors, "pocketdex: the backup holds no messages\n");
}

}  // namespace
