// How often one statement may write: bursts are kept, floods are not, and others keep their own quota.
#include "runner/quota.h"

#include <gtest/gtest.h>

namespace sdkkit {
namespace {

using std::chrono::minutes;

class QuotaTest : public testing::Test {
 protected:
  int Written(std::size_t statement, int tries) {
    int written = 0;
    for (int i = 0; i < tries; ++i) written += quota_.Take(statement, now_).write ? 1 : 0;
    return written;
  }

  Quota quota_;
  Quota::Time now_{};
};

TEST_F(QuotaTest, ABurstIsKeptAndAFloodIsNot) {
  EXPECT_EQ(Written(1, 100), 100);
  EXPECT_EQ(Written(1, 5000), 0);
}

TEST_F(QuotaTest, AnotherStatementHasItsOwn) {
  Written(1, 5000);
  EXPECT_EQ(Written(2, 100), 100);
}

TEST_F(QuotaTest, TimeGivesLinesBackAndTellsWhatWasLeftOut) {
  Written(1, 142);
  now_ += minutes(1);
  const Quota::Answer first = quota_.Take(1, now_);
  EXPECT_TRUE(first.write);
  EXPECT_EQ(first.leftOut, 42U);
  EXPECT_EQ(quota_.Take(1, now_).leftOut, 0U);
  EXPECT_FALSE(quota_.Take(1, now_).write);
  now_ += minutes(100000);
  EXPECT_EQ(Written(1, 1000), 100);
}

TEST_F(QuotaTest, StatementsWithoutNumberShareOneQuota) {
  for (std::size_t statement = 1; statement <= Quota::kMostStatements; ++statement)
    quota_.Take(statement, now_);
  int written = 0;
  for (std::size_t statement = 5000; statement < 10000; ++statement)
    written += quota_.Take(statement, now_).write ? 1 : 0;
  EXPECT_EQ(written, 100);
}

}  // namespace
}  // namespace sdkkit
