// The accounts beside a library of the test's own: what happens between two looks at it, and with short
// memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <mutex>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "accounts/attempts.h"
#include "accounts/sessions.h"
#include "sdkapi/extension.h"
#include "sdkapi/kit_accounts.h"
#include "sdkapi/server.h"
#include "waiting.h"

namespace {

// On this thread: how many more allocations succeed; below 0: all.
thread_local int allocationsLeft = -1;

// From the given allocation of this thread on all fail, until it goes.
class ShortMemory {
 public:
  explicit ShortMemory(int first) { allocationsLeft = first; }
  ~ShortMemory() { allocationsLeft = -1; }
  ShortMemory(const ShortMemory&) = delete;
  ShortMemory& operator=(const ShortMemory&) = delete;

  static bool WasMet() { return allocationsLeft == 0; }
};

// Has a call meet short memory at each of its allocations in turn.
template <class Call>
void FailInTurn(Call call) {
  constexpr int kFarTooMany = 10000;
  for (int first = 0; first < kFarTooMany; ++first) {
    const ShortMemory memory(first);
    call();
    if (!ShortMemory::WasMet()) return;
  }
  FAIL() << "it never ends";
}

// The library's logins, and what happens while the accounts look at them.
struct Library {
  std::mutex mutex;
  std::vector<std::string> tokens;
  std::vector<std::string> ended;
  std::function<void()> afterTheLook;
  SdkAPIExtLoginLimits limits{};
  std::atomic<int> checks{0};
  std::atomic<bool> memoryIsShort{false};  // from a check on, on the thread that asked for it
};
Library library;

void Register(const std::string& token) {
  const std::lock_guard lock(library.mutex);
  library.tokens.push_back(token);
}

void ForgetAll() {
  const std::lock_guard lock(library.mutex);
  library.tokens.clear();
}

std::size_t Registered() {
  const std::lock_guard lock(library.mutex);
  return library.tokens.size();
}

}  // namespace

void* operator new(std::size_t size) {
  if (allocationsLeft == 0) throw std::bad_alloc();
  if (allocationsLeft > 0) --allocationsLeft;
  if (void* const memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return allocationsLeft == 0 ? nullptr : std::malloc(size);
}

// Not inline: where it is, the compiler takes malloc and free for strangers to new and delete.
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

// These stand before the library's own in this program.
int SdkAPIExt_Login_Limits_Set(const SdkAPIExtLoginLimits* limits) {
  const std::lock_guard lock(library.mutex);
  library.limits = limits != nullptr ? *limits : SdkAPIExtLoginLimits{};
  return 0;
}

int SdkAPIExt_Login_Limits_Check(void) {
  allocationsLeft = library.memoryIsShort ? 0 : -1;
  ++library.checks;
  return 0;
}

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

class ShortMemoryTest : public testing::Test {
 protected:
  ShortMemoryTest() {
    RemoveDatabase();
    SdkKitAccountsOptions options{};
    options.size = sizeof options;
    options.path = kDatabase;
    options.firstName = kName;
    options.firstPassword = kPassword;
    options.firstPasswordStays = 1;
    EXPECT_EQ(SdkKitAccounts_Start(&options), 0);
    table_.WebSocketCb = [](int, const char*, const char*, int) { return 0; };
    SdkKitAccounts_Fill(&table_);
    SdkKitAccounts_Guard(&table_);
    SdkAPISer_AuthenticationSwitch_Set(1);
  }
  ~ShortMemoryTest() override {
    SdkKitAccounts_Stop();
    RemoveDatabase();
    library.tokens.clear();
  }

  LoginInfo LogIn() {
    LoginInfo info{};
    std::snprintf(info.username, sizeof info.username, "%s", kName);
    std::snprintf(info.password, sizeof info.password, "%s", kPassword);
    result_ = table_.LoginCb(&info);
    return info;
  }
  static std::size_t Sessions() {
    std::size_t count = 0;
    EXPECT_EQ(SdkKitAccounts_Sessions(nullptr, nullptr, &count), 0);
    return count;
  }

  SdkAPISerHandle table_{};
  int result_ = 0;

 private:
  static constexpr const char* kDatabase = "short_memory.db";
  static constexpr const char* kName = "whose-name-needs-memory-as-well";
  static constexpr const char* kPassword = "Correct-Horse-7";

  static void RemoveDatabase() {
    for (const char* const end : {"", "-wal", "-shm"}) std::filesystem::remove(std::string(kDatabase) + end);
  }
};

TEST_F(ShortMemoryTest, ALogInFailsAndTheNextOneSucceeds) {
  FailInTurn([&] {
    const LoginInfo info = LogIn();
    EXPECT_TRUE(result_ == -1 || info.code == 0) << info.code;
  });
  EXPECT_EQ(LogIn().code, 0U);
  EXPECT_EQ(result_, 0);
}

TEST_F(ShortMemoryTest, TheEndOfALoginIsTaken) {
  const std::string token = LogIn().token;
  Register(token);
  ASSERT_EQ(Sessions(), 1U);
  ForgetAll();
  FailInTurn([&] { library.limits.ended(token.c_str(), kExtLoginIdle); });
  EXPECT_EQ(Sessions(), 0U);
}

TEST_F(ShortMemoryTest, AWebSocketThatMayNotStaysOutside) {
  bool isRefused = true;
  FailInTurn([&] { isRefused = table_.WebSocketCb(0, "nobody's", "", 0) != 0 && isRefused; });
  FailInTurn([&] { isRefused = table_.WebSocketCb(1, "nobody's", "text", 4) == -2 && isRefused; });
  EXPECT_TRUE(isRefused);
}

TEST_F(ShortMemoryTest, TheWatchGoesOn) {
  const auto awaitChecks = [](int more) {
    const int enough = library.checks + more;
    return sdktest::Eventually([enough] { return library.checks >= enough; });
  };
  library.memoryIsShort = true;
  ASSERT_TRUE(awaitChecks(1));
  Register("somebody's");
  ASSERT_TRUE(awaitChecks(2));
  EXPECT_EQ(Registered(), 1U);
  library.memoryIsShort = false;
  EXPECT_TRUE(sdktest::Eventually([] { return Registered() == 0; }));
}

TEST(AttemptMemoryTest, AnAttemptLeavesNothingBehind) {
  Attempts attempts;
  const std::string name = "a name that needs memory of its own";
  const std::string address = "2001:db8:1234:5678:9abc:def0:1234:5678";
  for (const bool isJudged : {false, true}) {
    FailInTurn([&] {
      try {
        Attempt attempt(attempts, name, address);
        if (isJudged) attempt.Judged(true);
      } catch (const std::bad_alloc&) {
        EXPECT_TRUE(ShortMemory::WasMet());
      }
    });
    EXPECT_EQ(attempts.size(), 0U);
  }
}

}  // namespace
}  // namespace sdkkit::accounts
