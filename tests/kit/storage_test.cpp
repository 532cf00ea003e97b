// What a host keeps: folders, files replaced in one step, safe names, and changes of a database.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "sdkapi/kit_log.h"
#include "sdkapi/kit_storage.h"

namespace {

namespace fs = std::filesystem;

std::mutex logMutex;
std::vector<std::string> lines;

void KeepLine(int /*level*/, const char* subject, const char* text) {
  const std::lock_guard lock(logMutex);
  lines.push_back(std::string(subject) + ": " + text);
}

class StorageTest : public testing::Test {
 protected:
  StorageTest() : folder_(fs::temp_directory_path() / "sdkapi-storage-XXXXXX") {
    std::string name = folder_.string();
    EXPECT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
    lines.clear();
    SdkKitLog_Set(KeepLine);
  }
  ~StorageTest() override {
    SdkKitLog_Set(nullptr);
    fs::remove_all(folder_);
  }

  std::string In(const char* name) const { return (folder_ / name).string(); }
  static std::string Content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static void Write(const std::string& path) { std::ofstream(path) << "x"; }
  static void ExpectLine(const std::string& line) {
    const std::lock_guard lock(logMutex);
    EXPECT_EQ(lines, std::vector<std::string>{line});
    lines.clear();
  }

  fs::path folder_;
};

TEST_F(StorageTest, AFolderIsMadeWithThoseAboveAndCleaned) {
  ASSERT_EQ(SdkKitStorage_Folder_Make(In("a/b/").c_str()), 0);
  EXPECT_EQ(fs::status(In("a/b")).permissions(), fs::perms::owner_all);
  Write(In("a/b/.new-left"));
  Write(In("a/b/kept"));
  ASSERT_EQ(SdkKitStorage_Folder_Make(In("a/b").c_str()), 0);
  EXPECT_FALSE(fs::exists(In("a/b/.new-left")));
  EXPECT_TRUE(fs::exists(In("a/b/kept")));
  EXPECT_EQ(SdkKitStorage_Folder_Sync(In("a/b").c_str()), 0);
}

TEST_F(StorageTest, AFolderThatCannotBeIsSaid) {
  Write(In("file"));
  EXPECT_EQ(SdkKitStorage_Folder_Make(In("file/below").c_str()), -1);
  ExpectLine("storage: " + In("file/below") + " cannot be made: Not a directory");
  EXPECT_EQ(SdkKitStorage_Folder_Sync(In("none").c_str()), -1);
  ExpectLine("storage: " + In("none") + " cannot be brought to the disk: No such file or directory");
  EXPECT_EQ(SdkKitStorage_Folder_Make(nullptr), -1);
  ExpectLine("storage: there is no path");
}

TEST_F(StorageTest, AFileIsReplacedWhole) {
  const std::string bytes("a\0b", 3);
  ASSERT_EQ(SdkKitStorage_Replace(In("file").c_str(), bytes.data(), bytes.size()), 0);
  EXPECT_EQ(Content(In("file")), bytes);
  ASSERT_EQ(SdkKitStorage_Replace(In("file").c_str(), "new", 3), 0);
  EXPECT_EQ(Content(In("file")), "new");
  EXPECT_EQ(SdkKitStorage_Replace(In("file").c_str(), nullptr, 5), -1);
  EXPECT_EQ(Content(In("file")), "new");
  ASSERT_EQ(SdkKitStorage_Replace(In("file").c_str(), nullptr, 0), 0);
  EXPECT_EQ(Content(In("file")), "");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), fs::directory_iterator()), 1);
}

TEST_F(StorageTest, AFileThatCannotBeReplacedStays) {
  EXPECT_EQ(SdkKitStorage_Replace(In("none/file").c_str(), "x", 1), -1);
  ExpectLine("storage: " + In("none/file") + " cannot be replaced: No such file or directory");
  fs::create_directories(In("folder/full"));
  EXPECT_EQ(SdkKitStorage_Replace(In("folder").c_str(), "x", 1), -1);
  ExpectLine("storage: " + In("folder") + " cannot be replaced: Is a directory");
  EXPECT_TRUE(fs::exists(In("folder/full")));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), fs::directory_iterator()), 1);
  EXPECT_EQ(SdkKitStorage_Replace(nullptr, "x", 1), -1);
}

TEST_F(StorageTest, NamesBecomeSafe) {
  struct Row {
    std::string name;
    std::string safe;
  };
  for (const Row& row :
       {Row{"a picture-1_2.png", "a picture-1_2.png"}, Row{"../../etc/passwd", "_._.._etc_passwd"},
        Row{".hidden", "_hidden"}, Row{"a\nb\x7f", "a_b_"}, Row{"\xc3\xa9", "__"},
        Row{std::string(300, 'x'), std::string(127, 'x')}}) {
    char safe[kKitStorageNameSize] = "left";
    EXPECT_EQ(SdkKitStorage_Name(row.name.c_str(), safe, sizeof safe), 0) << row.name;
    EXPECT_EQ(safe, row.safe);
  }
}

TEST_F(StorageTest, ANameIsCutToItsRoom) {
  char safe[4] = "xxx";
  EXPECT_EQ(SdkKitStorage_Name("abcdef", safe, sizeof safe), 0);
  EXPECT_STREQ(safe, "abc");
  EXPECT_EQ(SdkKitStorage_Name("", safe, sizeof safe), -1);
  EXPECT_STREQ(safe, "");
  EXPECT_EQ(SdkKitStorage_Name(nullptr, safe, sizeof safe), -1);
  EXPECT_EQ(SdkKitStorage_Name("a", nullptr, 4), -1);
  EXPECT_EQ(SdkKitStorage_Name("a", safe, 0), -1);
}

class ChangeTest : public StorageTest {
 protected:
  ChangeTest() {
    EXPECT_EQ(SdkKitStorage_Database_Open(In("device.db").c_str(), &connection_), 0);
    Run("CREATE TABLE texts (text TEXT)");
  }
  ~ChangeTest() override { sqlite3_close(connection_); }

  void Run(const std::string& sql) const {
    EXPECT_EQ(sqlite3_exec(connection_, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sql;
  }
  void Insert(const std::string& text) const { Run("INSERT INTO texts VALUES ('" + text + "')"); }
  std::string Value(const char* sql) const {
    std::string value;
    const auto keep = [](void* to, int, char** columns, char**) {
      *static_cast<std::string*>(to) = columns[0] != nullptr ? columns[0] : "";
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(connection_, sql, keep, &value, nullptr), SQLITE_OK);
    return value;
  }
  std::string Texts() const {
    return Value("SELECT group_concat(text, '') FROM (SELECT text FROM texts ORDER BY text)");
  }

  sqlite3* connection_ = nullptr;
};

TEST_F(ChangeTest, ADatabaseIsOpenedDurably) {
  EXPECT_EQ(Value("PRAGMA journal_mode"), "wal");
  EXPECT_EQ(Value("PRAGMA synchronous"), "2");  // FULL
  EXPECT_NE(sqlite3_db_mutex(connection_), nullptr);
  sqlite3* none = connection_;
  EXPECT_EQ(SdkKitStorage_Database_Open(In("no/such.db").c_str(), &none), -1);
  EXPECT_EQ(none, nullptr);
  ExpectLine("storage: cannot open " + In("no/such.db") + ": unable to open database file");
  EXPECT_EQ(SdkKitStorage_Database_Open(nullptr, &none), -1);
  EXPECT_EQ(SdkKitStorage_Database_Open("x.db", nullptr), -1);
}

TEST_F(ChangeTest, AChangeHoldsOrIsUndone) {
  SdkKitStorageChange* change = SdkKitStorage_Change_Begin(connection_);
  ASSERT_NE(change, nullptr);
  Insert("a");
  EXPECT_EQ(SdkKitStorage_Change_End(change, 0), 0);
  EXPECT_EQ(Texts(), "");
  change = SdkKitStorage_Change_Begin(connection_);
  ASSERT_NE(change, nullptr);
  Insert("b");
  EXPECT_EQ(SdkKitStorage_Change_End(change, 1), 0);
  EXPECT_EQ(Texts(), "b");
}

TEST_F(ChangeTest, APartIsUndoneAlone) {
  SdkKitStorageChange* const whole = SdkKitStorage_Change_Begin(connection_);
  Insert("a");
  for (const int commit : {0, 1}) {
    SdkKitStorageChange* const part = SdkKitStorage_Change_Begin(connection_);
    ASSERT_NE(part, nullptr);
    Insert(commit == 0 ? "b" : "c");
    EXPECT_EQ(SdkKitStorage_Change_End(part, commit), 0);
  }
  EXPECT_EQ(SdkKitStorage_Change_End(whole, 1), 0);
  EXPECT_EQ(Texts(), "ac");
}

TEST_F(ChangeTest, OtherThreadsStatementsStayOutOfIt) {
  SdkKitStorageChange* const change = SdkKitStorage_Change_Begin(connection_);
  Insert("a");
  std::thread([&] { EXPECT_EQ(sqlite3_mutex_try(sqlite3_db_mutex(connection_)), SQLITE_BUSY); }).join();
  std::thread other([&] { Insert("b"); });
  EXPECT_EQ(SdkKitStorage_Change_End(change, 0), 0);
  other.join();
  EXPECT_EQ(Texts(), "b");
}

TEST_F(ChangeTest, ACommitThatFailsIsAResult) {
  SdkKitStorageChange* const change = SdkKitStorage_Change_Begin(connection_);
  Insert("a");
  Run("ROLLBACK");  // as a failed disk does
  EXPECT_EQ(SdkKitStorage_Change_End(change, 1), -1);
  ExpectLine("storage: cannot commit - no transaction is active");
  EXPECT_EQ(Texts(), "");
  EXPECT_EQ(SdkKitStorage_Change_End(nullptr, 1), 0);
  EXPECT_EQ(SdkKitStorage_Change_Begin(nullptr), nullptr);
}

}  // namespace
