// The database's owner: bound texts, changes as a whole, and threads that stay out of each other's changes.
#include "base/database.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace sdkkit {
namespace {

class DatabaseTest : public testing::Test {
 protected:
  DatabaseTest() : database_("database_test.db") {
    database_.Execute("CREATE TABLE texts (text TEXT UNIQUE)");
  }
  ~DatabaseTest() override {
    for (const char* const end : {"", "-wal", "-shm"})
      std::filesystem::remove(std::string("database_test.db") + end);
  }

  void Insert(const std::string& text) { database_.Execute("INSERT INTO texts VALUES (?)", {text}); }
  std::vector<Database::Row> Texts() { return database_.Query("SELECT text FROM texts ORDER BY text"); }

  Database database_;
};

TEST_F(DatabaseTest, ABoundTextStaysAsItIs) {
  const std::string text("'); DROP TABLE texts; --\0end", 28);
  Insert(text);
  EXPECT_EQ(Texts(), (std::vector<Database::Row>{{text}}));
}

TEST_F(DatabaseTest, AFailureSaysWhy) {
  Insert("a");
  try {
    Insert("a");
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "UNIQUE constraint failed: texts.text");
  }
  EXPECT_THROW(Database("no/such/folder.db"), std::runtime_error);
}

TEST_F(DatabaseTest, WithoutCommitNothingHappened) {
  {
    Transaction transaction(database_);
    Insert("a");
    EXPECT_EQ(database_.Changed(), 1);
  }
  EXPECT_TRUE(Texts().empty());
}

TEST_F(DatabaseTest, APartIsUndoneAlone) {
  Transaction whole(database_);
  Insert("a");
  {
    Transaction part(database_);
    Insert("b");
  }
  {
    Transaction part(database_);
    Insert("c");
    part.Commit();
  }
  whole.Commit();
  EXPECT_EQ(Texts(), (std::vector<Database::Row>{{"a"}, {"c"}}));
}

TEST_F(DatabaseTest, AnotherThreadsStatementWaitsForTheWholeChange) {
  std::vector<Database::Row> seen;
  std::thread other;
  {
    Transaction transaction(database_);
    Insert("a");
    other = std::thread([&] { seen = Texts(); });
    Insert("b");
    transaction.Commit();
  }
  other.join();
  EXPECT_TRUE(seen.size() == 2) << seen.size();
}

TEST_F(DatabaseTest, AHostsConnectionIsSharedAndStaysOpen) {
  {
    Database shared(database_.connection());
    Transaction transaction(database_);
    shared.Execute("INSERT INTO texts VALUES ('a')");
  }
  EXPECT_TRUE(Texts().empty());
}

}  // namespace
}  // namespace sdkkit
