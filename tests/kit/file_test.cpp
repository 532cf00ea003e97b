// The kit's files: whole or not at all, safe names, and what a folder holds.
#include "base/file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace sdkkit {
namespace {

namespace fs = std::filesystem;

class FileTest : public testing::Test {
 protected:
  FileTest() {
    std::string path = (fs::temp_directory_path() / "sdkapi-file-XXXXXX").string();
    folder_ = mkdtemp(path.data());
  }
  ~FileTest() override { fs::remove_all(folder_); }

  std::string In(const std::string& name) const { return folder_ + "/" + name; }

  std::vector<std::string> All() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_))
      names.push_back(entry.path().filename().string());
    return names;
  }

  std::string folder_;
};

TEST_F(FileTest, ATemporaryFileReplacesAnotherOne) {
  ASSERT_TRUE(ReplaceFile(In("logo"), "old"));
  auto file = TempFile::Create(folder_);
  ASSERT_TRUE(file && file->Write("ne") && file->Write("w"));
  EXPECT_EQ(ReadFile(In("logo"), 10), "old");
  EXPECT_TRUE(file->CommitTo(In("logo")));
  EXPECT_EQ(ReadFile(In("logo"), 10), "new");
  EXPECT_EQ(All(), std::vector<std::string>{"logo"});
}

TEST_F(FileTest, ATemporaryFileThatIsNotUsedDisappears) {
  {
    auto file = TempFile::Create(folder_);
    ASSERT_TRUE(file && file->Write("half"));
    TempFile moved = std::move(*file);
    EXPECT_EQ(All().size(), 1U);
  }
  EXPECT_TRUE(All().empty());
}

TEST_F(FileTest, AFailedReplacementLeavesBothAlone) {
  fs::create_directories(In("taken/full"));
  errno = 0;
  EXPECT_FALSE(ReplaceFile(In("taken"), "new"));
  EXPECT_EQ(errno, EISDIR);
  EXPECT_EQ(All(), std::vector<std::string>{"taken"});
  EXPECT_FALSE(ReplaceFile(In("missing/logo"), "new"));
  EXPECT_FALSE(TempFile::Create(In("missing")));
}

TEST_F(FileTest, OnlyTheOwnerReadsANewFile) {
  ASSERT_TRUE(ReplaceFile(In("key"), "secret"));
  struct stat status {};
  ASSERT_EQ(stat(In("key").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(FileTest, WhatAKillLeftIsRemoved) {
  const auto file = TempFile::Create(folder_);
  ASSERT_TRUE(file && ReplaceFile(In("logo"), "x"));
  RemoveTempFiles(folder_);
  RemoveTempFiles(In("missing"));
  EXPECT_EQ(All(), std::vector<std::string>{"logo"});
}

TEST_F(FileTest, ReadingIsBoundedAndTakesFilesOnly) {
  ASSERT_TRUE(ReplaceFile(In("text"), "12345"));
  ASSERT_TRUE(ReplaceFile(In("empty"), ""));
  ASSERT_EQ(mkfifo(In("pipe").c_str(), 0600), 0);
  EXPECT_EQ(ReadFile(In("text"), 5), "12345");
  EXPECT_EQ(ReadFile(In("text"), 4), std::nullopt);
  EXPECT_EQ(ReadFile(In("empty"), 0), "");
  EXPECT_EQ(ReadFile(In("pipe"), 5), std::nullopt);
  EXPECT_EQ(ReadFile(folder_, 5), std::nullopt);
  EXPECT_EQ(ReadFile(In("missing"), 5), std::nullopt);
  EXPECT_EQ(StatusOf(In("text"))->size, 5U);
  EXPECT_FALSE(StatusOf(folder_));
}

TEST_F(FileTest, AFoldersBytesAreThoseOfItsFiles) {
  ASSERT_TRUE(MakeFolder(In("a/b")) && MakeFolder(In("a/b")));
  ASSERT_TRUE(ReplaceFile(In("one"), "1") && ReplaceFile(In("a/b/three"), "123"));
  ASSERT_EQ(symlink(In("a/b/three").c_str(), In("link").c_str()), 0);
  auto file = TempFile::Create(folder_);
  ASSERT_TRUE(file && file->Write("under way"));
  EXPECT_EQ(BytesBelow(folder_), 4U);
  EXPECT_EQ(BytesBelow(In("missing")), 0U);
  EXPECT_EQ(NamesIn(folder_), (std::vector<std::string>{"a", "link", "one"}));
}

TEST_F(FileTest, RemovingIsDoneWhenTheFileIsNotThere) {
  ASSERT_TRUE(ReplaceFile(In("logo"), "x") && MakeFolder(In("folder")));
  EXPECT_TRUE(RemoveFile(In("logo")));
  EXPECT_TRUE(RemoveFile(In("logo")));
  EXPECT_FALSE(RemoveFile(In("folder")));
  EXPECT_FALSE(MakeFolder("/dev/null/folder"));
}

TEST(FileNamesTest, NamesBecomeOnePartOfAPath) {
  struct Row {
    std::string name;
    std::string safe;
  };
  const Row rows[] = {{"logo-1 b.PNG", "logo-1 b.PNG"},
                      {"", ""},
                      {".", "_"},
                      {"..", "_."},
                      {"../../etc/passwd", "_._.._etc_passwd"},
                      {"C:\\pictures\\a.png", "C__pictures_a.png"},
                      {"a\nb\x01", "a_b_"},
                      {std::string("a\0b", 3), "a_b"},
                      {"\xc3\xa4", "__"},
                      {std::string(4000, 'x'), std::string(127, 'x')}};
  for (const Row& row : rows) EXPECT_EQ(SafeName(row.name), row.safe) << row.name;
}

TEST(FileNamesTest, TheFolderOfAPath) {
  struct Row {
    const char* path;
    const char* folder;
  };
  const Row rows[] = {{"a", "."}, {"a/", "."},        {"a/b", "a"}, {"/a", "/"},
                      {"/", "/"}, {"/a/b/c", "/a/b"}, {"", "."}};
  for (const Row& row : rows) EXPECT_EQ(FolderOf(row.path), row.folder) << row.path;
}

}  // namespace
}  // namespace sdkkit
