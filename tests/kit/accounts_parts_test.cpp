// The parts of the accounts by themselves: passwords, attempts, rights, origins.
#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "accounts/attempts.h"
#include "accounts/origin.h"
#include "accounts/password.h"
#include "accounts/rights.h"
#include "accounts/sessions.h"
#include "sdkapi/kit_accounts.h"

namespace sdkkit::accounts {
namespace {

class PasswordTest : public testing::Test {
 protected:
  PasswordTest() { StartPasswords(); }
};

TEST_F(PasswordTest, OnlyTheRightOneMatches) {
  const auto hash = HashPassword("Correct-Horse-7");
  ASSERT_TRUE(hash);
  EXPECT_TRUE(IsOwnHash(*hash)) << *hash;
  EXPECT_EQ(MatchPassword(hash, "Correct-Horse-7"), Match::kYes);
  EXPECT_EQ(MatchPassword(hash, "Correct-Horse-8"), Match::kNo);
  EXPECT_EQ(MatchPassword(hash, ""), Match::kNo);
  EXPECT_EQ(MatchPassword(std::nullopt, ""), Match::kNo);
}

TEST_F(PasswordTest, AHashOfAnotherCostIsNone) {
  const std::string tail = "$AAAAAAAAAAAAAAAAAAAAAA$AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA";
  EXPECT_TRUE(IsOwnHash("$argon2id$v=19$m=12288,t=3,p=1" + tail));
  for (const std::string& hash : std::vector<std::string>{
           "$argon2id$v=19$m=4194304,t=3,p=1" + tail, "$argon2id$v=19$m=12288,t=4294967295,p=1" + tail,
           "$argon2i$v=19$m=12288,t=3,p=1" + tail, "$argon2id$v=19$m=12288,t=3,p=1" + tail + "A",
           "$argon2id$v=19$m=12288,t=3,p=1$" + tail.substr(1, 21) + "!" + tail.substr(23), std::string()}) {
    EXPECT_FALSE(IsOwnHash(hash)) << hash;
    EXPECT_EQ(MatchPassword(hash, ""), Match::kNo) << hash;
  }
}

TEST_F(PasswordTest, RandomOnesDifferAndAreStrong) {
  std::set<std::string> seen;
  for (int i = 0; i < 100; ++i) {
    const std::string password = RandomPassword();
    EXPECT_EQ(password.size(), 16U);
    EXPECT_TRUE(IsStrongPassword(password)) << password;
    EXPECT_TRUE(seen.insert(password).second);
  }
}

TEST(AttemptsTest, FiveAreFreeThenTheDelayGrows) {
  Attempts attempts;
  std::vector<int64_t> delays;
  for (int i = 0; i < 5; ++i) {
    ASSERT_EQ(attempts.Begin({"ann", "192.0.2.1"}), 0);
    delays.push_back(attempts.End({"ann", "192.0.2.1"}, false));
  }
  EXPECT_EQ(delays, (std::vector<int64_t>{0, 0, 0, 0, 10}));
  EXPECT_GT(attempts.Begin({"ann", "192.0.2.1"}), 0);
  EXPECT_LE(attempts.Begin({"ann", "192.0.2.1"}), 10);
}

TEST(AttemptsTest, TheUserGetsInFromAnotherAddress) {
  Attempts attempts;
  for (int i = 0; i < 5; ++i) Attempt(attempts, "ann", "192.0.2.1").Judged(false);
  EXPECT_EQ(Attempt(attempts, "ann", "192.0.2.2").secondsLocked(), 0);
  EXPECT_EQ(Attempt(attempts, "bob", "192.0.2.1").secondsLocked(), 0);
}

TEST(AttemptsTest, AnAddressThatTriesManyNamesWaits) {
  Attempts attempts;
  for (int i = 0; i < 20; ++i) Attempt(attempts, "name" + std::to_string(i), "192.0.2.1").Judged(false);
  EXPECT_GT(Attempt(attempts, "ann", "192.0.2.1").secondsLocked(), 0);
  EXPECT_EQ(Attempt(attempts, "ann", "192.0.2.2").secondsLocked(), 0);
}

TEST(AttemptsTest, ASuccessClearsTheNameOnly) {
  Attempts attempts;
  for (int i = 0; i < 19; ++i) {
    Attempt(attempts, "bob", "192.0.2.1").Judged(false);
    Attempt(attempts, "bob", "192.0.2.1").Judged(true);
  }
  Attempt(attempts, "bob", "192.0.2.1").Judged(false);
  EXPECT_GT(Attempt(attempts, "bob", "192.0.2.1").secondsLocked(), 0);
}

TEST(AttemptsTest, WhatIsNotJudgedDoesNotCount) {
  Attempts attempts;
  for (int i = 0; i < 100; ++i) EXPECT_EQ(Attempt(attempts, "ann", "192.0.2.1").secondsLocked(), 0);
  EXPECT_EQ(attempts.size(), 0U);
}

TEST(AttemptsTest, OfManyAtOnceNoMoreAreJudged) {
  Attempts attempts;
  std::atomic<int> judged{0};
  std::vector<std::thread> clients;
  for (int i = 0; i < 46; ++i) {
    clients.emplace_back([&] {
      Attempt attempt(attempts, "ann", "192.0.2.1");
      if (attempt.secondsLocked() > 0) return;
      ++judged;
      attempt.Judged(false);
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(judged, 5);
}

TEST(AttemptsTest, MadeUpNamesTakeABoundedRoom) {
  Attempts attempts;
  for (int i = 0; i < 5; ++i) Attempt(attempts, "ann", "192.0.2.1").Judged(false);
  for (int i = 0; i < 5000; ++i)
    Attempt(attempts, "x" + std::to_string(i),
            "10.0." + std::to_string(i / 250) + "." + std::to_string(i % 250))
        .Judged(false);
  EXPECT_EQ(attempts.size(), 2048U);
  EXPECT_GT(Attempt(attempts, "ann", "192.0.2.1").secondsLocked(), 0) << "a locked one was pushed out";
}

TEST(AttemptsTest, OneNetworkOfIPv6IsOneAddress) {
  EXPECT_EQ(NetworkOf("2001:db8::1"), NetworkOf("2001:db8::ffff:1"));
  EXPECT_NE(NetworkOf("2001:db8::1"), NetworkOf("2001:db8:0:1::1"));
  EXPECT_EQ(NetworkOf("::ffff:192.0.2.1"), "192.0.2.1");
  EXPECT_EQ(NetworkOf("192.0.2.1"), "192.0.2.1");
}

TEST(RightsTest, TheFirstRowThatFitsCounts) {
  const Rights rights(
      {{"/own", "POST", kKitRole3, 0}, {"/own", "", kKitRole1, 0}, {"/sub/*", "", kKitRole2, 0}}, kKitRole1,
      kKitRole1 | kKitRole2);
  struct Row {
    const char* route;
    const char* method;
    uint32_t roles;
  };
  for (const Row& row :
       {Row{"/own", "POST", kKitRole3}, Row{"/own$", "GET", kKitRole1},
        Row{"/own/more", "GET", kKitEveryUser}, Row{"/sub/any/thing", "GET", kKitRole2},
        Row{"/dev_info$", "GET", kKitEveryUser}, Row{"/createuser$", "POST", kKitRole1},
        Row{"/custom_restore", "GET", kKitRole1}, Row{"/delete_priv$", "GET", kKitRole1 | kKitRole2},
        Row{"/upload/logo$", "POST", kKitRole1 | kKitRole2}, Row{"/preview", "GET", kKitEverybody},
        Row{"/api/v1/settings/export$", "GET", kKitRole1}, Row{"/any", "HEAD", kKitEveryUser},
        Row{"/any", "DELETE", kKitRole1 | kKitRole2}, Row{"", "", kKitRole1 | kKitRole2}}) {
    EXPECT_EQ(rights.Find(row.route, row.method).roles, row.roles) << row.route << " " << row.method;
  }
}

TEST(OriginTest, OnlyThisDevicesOwnPagesAreNotForeign) {
  struct Row {
    const char* host;
    const char* origin;
    const char* fetchSite;
    bool isForeign;
  };
  for (const Row& row :
       {Row{"device:8080", "", "", false}, Row{"device:8080", "http://device:8080", "", false},
        Row{"device:8080", "http://DEVICE:8080", "same-origin", false}, Row{"device", "", "none", false},
        Row{"device:8080", "http://device:8081", "", true}, Row{"device", "http://evil.example", "", true},
        Row{"device", "null", "", true}, Row{"device", "http://device.evil.example", "", true},
        Row{"", "http://", "", true}, Row{"device", "", "cross-site", true},
        Row{"device", "", "same-site", true}}) {
    EXPECT_EQ(IsForeignPage(row.host, row.origin, row.fetchSite), row.isForeign)
        << row.host << " " << row.origin << " " << row.fetchSite;
  }
}

TEST(OriginTest, OnlyNamesThatNobodyElseHasAreTheDevices) {
  const std::vector<std::string> own{"device.lan", "8x8"};
  for (const char* const name : {"", "127.0.0.1", "192.0.2.1:8080", "[::1]", "[2001:db8::1]:8443",
                                 "localhost", "LOCALHOST:8080", "device.lan", "Device.LAN:8080", "8x8"}) {
    EXPECT_FALSE(IsForeignName(name, own)) << name;
  }
  for (const char* const name :
       {"evil.example", "evil.example:8080", "127.0.0.1.evil.example", "localhost.evil.example",
        "x.device.lan", "device.lan.", "127.1", "2130706433", "0x7f000001", "[evil.example]", "::1", ":8080",
        " ", "user@127.0.0.1", "127.0.0.1 ", "[", "[]"}) {
    EXPECT_TRUE(IsForeignName(name, own)) << name;
  }
}

TEST(TokenTest, OnlyAHashIsKept) {
  const std::string token(43, 'a');
  const TokenHash hash = HashToken(token);
  EXPECT_EQ(hash, HashToken(token));
  EXPECT_NE(hash, HashToken(token + "a"));
}

}  // namespace
}  // namespace sdkkit::accounts
