#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "samples/BackupFolder.h"
#include "samples/SampleBackup.h"
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

  Ran run(const std::string& arguments) const {
    const std::string line = "cd '" + folder_.path() + "' && TMPDIR='" + folder_ / "tmp" + "' HOME='" +
                             folder_ / "home" + "' XDG_DATA_HOME= '" POCKETDEX_COMMAND "' " + arguments +
                             " 2>errors </dev/null";
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
      {"check phone", 2, "the command \"check\" is not built yet"},
      {"export phone", 2, "--to is required"},
      {"export phone calls --to out", 2, "\"calls\" is not built yet"},
      {"export phone mesages --to out", 2, "there is no content kind \"mesages\"; the nearest: \"messages\""},
      {"export phone --to out --format text", 2, "the format \"text\" is not built yet"},
      {"export phone notes --to out --format html,pdf", 2, "there is no format \"pdf\""},
      {"export phone --to out --from 2023-02-29", 2, "\"2023-02-29\" is no date"},
      {"export phone --to out --from 2023-02-02 --until 2023-02-01", 2, "lies before"},
      {"export phone --to out --layout big", 2, "--layout"},
      {"export phone --to out --jobs 0", 2, "--jobs"},
      {"export phone --to out --conversation 'Ann Fletchr'", 2, "the nearest: \"Ann Fletcher\""},
      {"list phone calls", 2,
       "\"calls\" is not built yet: this version reads messages, contacts, notes, blocked"},
      {"export phone blocked --to out", 2, "\"blocked\" can be listed but not exported"},
      {"list phone contacts --from 2023-01-01", 2, "say nothing about contacts"},
      {"list phone blocked --search x", 2, "--search does not apply to blocked"},
      {"sample other --encrypted file", 2, "not built yet"},
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

TEST_F(Command, AKilledRunIsClearedAway) {
  PDXFiles::makeFolders(folder_ / "tmp/pocketdex-999999999-abc/Pocketdex");
  PDXFiles::makeFolders(folder_ / "out/Messages");
  folder_.write("out/Messages/.pocketdex-999999999-4.part", "half a page");
  EXPECT_EQ(run("export phone --to out").status, 0);
  for (const std::string& name : PDXFiles::list(folder_ / "out/Messages"))
    EXPECT_FALSE(name.ends_with(".part")) << name;
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
  const Ran lost = run("export phone --to out");
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
