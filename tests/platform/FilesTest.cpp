#include "platform/Files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stop_token>
#include <string>
#include <vector>

#include "platform/FileOpening.h"
#include "platform/GuardedFolder.h"
#include "tests/support/TestFolder.h"

namespace {

using Names = std::vector<std::string>;

TEST(AtomicFile, AppearsWholeOrNotAtAll) {
  const PDXTestFolder folder;
  const std::string path = folder / "page.html";
  {
    PDXAtomicFile file(path);
    file.append(std::string(1'000'000, 'x'));
    EXPECT_FALSE(PDXFiles::exists(path));
  }
  EXPECT_EQ(PDXFiles::list(folder.path()), Names()) << "what was not committed leaves nothing";

  folder.write("page.html", "a much longer page of before");
  PDXAtomicFile file(path);
  file.append("new");
  EXPECT_EQ(fileText(path), "a much longer page of before");
  EXPECT_TRUE(file.commit());
  EXPECT_EQ(fileText(path), "new");
  EXPECT_EQ(PDXFiles::list(folder.path()), Names{"page.html"});
}

TEST(AtomicFile, SaysWhyItCannotBeWritten) {
  const PDXTestFolder folder;
  PDXFiles::makeFolders(folder / "taken");
  for (const auto& [path, why] : {std::pair{folder / "missing/a", "No such file or directory"},
                                  std::pair{folder / "taken", "Is a directory"},
                                  std::pair{folder / std::string(300, 'a'), "File name too long"}}) {
    PDXAtomicFile file(path);
    file.append(std::string(1'000'000, 'x'));
    EXPECT_FALSE(file.commit());
    EXPECT_EQ(file.error(), why);
  }
  EXPECT_EQ(PDXFiles::list(folder.path()), Names{"taken"});
}

TEST(AtomicFile, TakesTheLongestName) {
  const PDXTestFolder folder;
  PDXAtomicFile file(folder / std::string(255, 'a'));
  EXPECT_TRUE(file.commit()) << file.error();
}

TEST(Copy, IsWholeAndReplaces) {
  const PDXTestFolder folder;
  std::string large;
  for (int i = 0; large.size() < 5'000'000; ++i) large += std::to_string(i);
  for (const std::string& bytes : {std::string(), std::string("x"), large}) {
    folder.write("target", "an older file");
    const std::string source = folder.write("source", bytes);
    ASSERT_EQ(::chmod(source.c_str(), 0444), 0);
    EXPECT_TRUE(PDXFiles::copy(source, folder / "target"));
    EXPECT_TRUE(fileText(folder / "target") == bytes) << bytes.size();
    struct stat info {};
    ASSERT_EQ(::stat((folder / "target").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0600, 0600U) << "a copy of a read-only file is worked on";
    PDXFiles::remove(source);
  }
}

TEST(Copy, FailuresLeaveNothing) {
  const PDXTestFolder folder;
  const std::string source = folder.write("source", std::string(100'000, 'x'));
  PDXFiles::makeFolders(folder / "sub");
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  std::stop_source stopped;
  stopped.request_stop();
  EXPECT_FALSE(PDXFiles::copy(folder / "missing", folder / "target"));
  EXPECT_FALSE(PDXFiles::copy(folder / "sub", folder / "target"));
  EXPECT_FALSE(PDXFiles::copy(folder / "pipe", folder / "target")) << "would wait for ever";
  EXPECT_FALSE(PDXFiles::copy(source, folder / "sub"));
  EXPECT_FALSE(PDXFiles::copy(source, folder / "no/target"));
  EXPECT_FALSE(PDXFiles::copy(source, folder / "target", stopped.get_token()));
  EXPECT_EQ(PDXFiles::list(folder.path()), (Names{"pipe", "source", "sub"}));
}

TEST(Files, PrivateFoldersAreTheUsersOwn) {
  const PDXTestFolder folder;
  ASSERT_TRUE(PDXFiles::makeFolders(folder / "elsewhere"));
  ASSERT_EQ(::symlink((folder / "elsewhere").c_str(), (folder / "link").c_str()), 0);
  EXPECT_FALSE(PDXFiles::makePrivateFolder(folder / "link")) << "somebody else may have laid it";
  EXPECT_FALSE(PDXFiles::makePrivateFolder(folder.write("file", "")));
  EXPECT_TRUE(PDXFiles::makePrivateFolder(folder / "elsewhere"));
  EXPECT_TRUE(PDXFiles::makePrivateFolder(folder / "new/inner"));
  for (const std::string name : {"elsewhere", "new/inner"}) {
    struct stat info {};
    ASSERT_EQ(::stat((folder / name).c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700U) << name;
  }
}

TEST(Files, RemovingATreeFollowsNoLinks) {
  const PDXTestFolder folder;
  folder.write("outside/kept", "x");
  folder.write("tree/inner/file", "x");
  ASSERT_EQ(::symlink((folder / "outside").c_str(), (folder / "tree/link").c_str()), 0);
  PDXFiles::removeTree(folder / "tree");
  EXPECT_EQ(PDXFiles::list(folder.path()), Names{"outside"});
  EXPECT_EQ(fileText(folder / "outside/kept"), "x");
}

TEST(Files, ReadingRefusesWhatIsNoFileOrTooLarge) {
  const PDXTestFolder folder;
  const std::string path = folder.write("a", "12345");
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(PDXFiles::read(path, 5), (PDXBytes{'1', '2', '3', '4', '5'}));
  EXPECT_EQ(PDXFiles::read(path, 4), std::nullopt);
  EXPECT_EQ(PDXFiles::readBeginning(path, 2), (PDXBytes{'1', '2'}));
  EXPECT_EQ(PDXFiles::readBeginning(path, 99).size(), 5U);
  for (const std::string& odd : {folder.path(), folder / "pipe", folder / "missing", std::string()}) {
    EXPECT_EQ(PDXFiles::read(odd), std::nullopt) << odd;
    EXPECT_EQ(PDXFiles::readBeginning(odd, 1), PDXBytes()) << odd;
  }
}

TEST(GuardedFolder, OpensNothingThroughALink) {
  const PDXTestFolder folder;
  folder.write("outside/inner/secret", "x");
  folder.write("real/ab/file", "12345");
  ASSERT_EQ(::symlink((folder / "real").c_str(), (folder / "backup").c_str()), 0);
  ASSERT_EQ(::symlink((folder / "outside").c_str(), (folder / "real/out").c_str()), 0);
  ASSERT_EQ(::symlink("ab", (folder / "real/within").c_str()), 0);
  ASSERT_EQ(::symlink("file", (folder / "real/ab/link").c_str()), 0);
  const struct {
    const char* name;
    int code;  ///< 0: it opens.
  } cases[] = {
      {"ab/file", 0},
      {"out/inner/secret", ELOOP},
      {"out/inner", ELOOP},
      {"out", ELOOP},
      {"within/file", ELOOP},
      {"ab/link", ELOOP},
      {"ab/none", ENOENT},
      {"none/file", ENOENT},
      {"ab/file/x", ENOTDIR},
      {"../outside", EXDEV},
      {"ab/../../outside/inner/secret", EXDEV},
      {"/etc/passwd", EXDEV},
      {"", ENOENT},
  };
  const int root = ::open((folder / "backup").c_str(), O_RDONLY | O_DIRECTORY);
  for (const auto& [name, code] : cases) {
    for (const auto open : {PDXFileOpening::beneath, PDXFileOpening::beneathByWalking}) {
      errno = 0;
      const int file = open(root, name, O_RDONLY);
      EXPECT_EQ(file < 0 ? errno : 0, code) << name;
      if (file >= 0) ::close(file);
    }
  }
  ::close(root);

  using What = PDXGuardedFolder::What;
  const PDXGuardedFolder guarded(folder / "backup");
  EXPECT_EQ(guarded.open("ab/file").all(), (PDXBytes{'1', '2', '3', '4', '5'}));
  EXPECT_EQ(guarded.open("out/inner/secret").error(), "it is a link, which a backup never contains");
  EXPECT_EQ(guarded.whatIs("ab/file"), What::file);
  EXPECT_EQ(guarded.whatIs("out/none"), What::link) << "whether it is there is nobody's business";
  EXPECT_EQ(guarded.whatIs("ab/none"), What::nothing);
  EXPECT_EQ(guarded.list(""), (Names{"ab", "out", "within"}));
  EXPECT_EQ(guarded.list("out"), Names());
}

TEST(TemporaryRun, InnerOnesGiveTheOuterBack) {
  const PDXTestFolder folder;
  std::string inner;
  {
    const PDXTemporaryRun run;
    inner = run.path();
    EXPECT_EQ(PDXFiles::folderOf(inner), folder.path());
    EXPECT_EQ(PDXFiles::temporary(), inner);
  }
  EXPECT_FALSE(PDXFiles::exists(inner));
  EXPECT_EQ(PDXFiles::temporary(), folder.path());
}

}  // namespace
