// The accounts beside a library of the test's own: what happens between two looks at it, and with short
// memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "accounts/sessions.h"
#include "sdkapi/extension.h"

namespace {

// The library's logins, and what happens while the accounts look at them.
struct Library {
  std::mutex mutex;
  std::vector<std::string> tokens;
  std::vector<std::string> ended;
  std::function<void()> afterTheLook;
};
Library library;

void Register(const std::string& token) {
  const std::lock_guard lock(library.mutex);
  library.tokens.push_back(token);
}

}  // namespace

// These stand before the library's own in this program.
int SdkAPIExt_Login_List(SdkAPIExtLogin* logins, size_t* count) {
  std::function<void()> then;
  {
    const std::lock_guard lock(library.mutex);
    for (size_t i = 0; i < std::min(*count, library.tokens.size()); ++i) {
      logins[i] = {};
      std::snprintf(logins[i].token, sizeof logins[i].token, "%s", library.tokens[i].c_str());
    }
    *count = library.tokens.size();
    then = std::exchange(library.afterTheLook, nullptr);
  }
  if (then) then();
  return 0;
}

int SdkAPIExt_Login_End(const char* token) {
  const std::lock_guard lock(library.mutex);
  library.ended.emplace_back(token);
  return std::erase(library.tokens, token) > 0 ? 0 : -1;
}

namespace sdkkit::accounts {
namespace {

class AccountsLibraryTest : public testing::Test {
 protected:
  ~AccountsLibraryTest() override {
    library.tokens.clear();
    library.ended.clear();
    library.afterTheLook = nullptr;
  }

  std::string LogIn(const std::string& name) {
    const auto token = sessions_.Add({name, "", 1, 0}, "192.0.2.7");
    return token.value_or("");
  }

  Sessions sessions_{{}};
};

TEST_F(AccountsLibraryTest, ALoginThatComesBetweenTwoLooksStays) {
  const std::string token = LogIn("kim");
  // As with another login at the same time: the answer is out and its token in use before the look is judged.
  library.afterTheLook = [&] {
    Register(token);
    EXPECT_TRUE(sessions_.Find(token));
  };
  sessions_.Reconcile();
  EXPECT_TRUE(sessions_.Find(token));
  sessions_.Reconcile();
  EXPECT_TRUE(sessions_.Find(token));
  EXPECT_EQ(library.ended, std::vector<std::string>());
}

TEST_F(AccountsLibraryTest, ALoginThatTheLibraryHasEndedGoes) {
  const std::string token = LogIn("kim");
  Register(token);
  sessions_.Reconcile();
  EXPECT_TRUE(sessions_.Find(token));
  SdkAPIExt_Login_End(token.c_str());
  sessions_.Reconcile();
  EXPECT_FALSE(sessions_.Find(token));
}

TEST_F(AccountsLibraryTest, ALoginThatIsOnItsWayStays) {
  const std::string token = LogIn("kim");
  sessions_.Reconcile();
  EXPECT_EQ(sessions_.List().size(), 1U);
}

TEST_F(AccountsLibraryTest, ALoginThatNobodyHereKnowsEnds) {
  Register("somebody's");
  sessions_.Reconcile();
  EXPECT_EQ(library.ended, std::vector<std::string>{"somebody's"});
}

}  // namespace
}  // namespace sdkkit::accounts
