// The order of last use: entries that come, are used and go, at every place.
#include "session/use_order.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using sdkapi::UseEntry;
using sdkapi::UseOrder;

class UseOrderTest : public testing::Test {
 protected:
  UseOrderTest() : entries_(3) {
    for (UseEntry& entry : entries_) order_.Add(entry, now_++);
  }

  // The entries' numbers, the longest unused first; the links back agree.
  std::vector<long> Order() const {
    std::vector<long> numbers;
    const UseEntry* before = nullptr;
    for (const UseEntry* entry = order_.longestUnused(); entry != nullptr; entry = entry->after) {
      EXPECT_EQ(entry->before, before);
      numbers.push_back(entry - entries_.data());
      before = entry;
    }
    return numbers;
  }

  std::vector<UseEntry> entries_;
  UseOrder order_;
  int64_t now_ = 100;
};

using Numbers = std::vector<long>;

TEST_F(UseOrderTest, AnEmptyOrderHasNoLongestUnused) { EXPECT_EQ(UseOrder{}.longestUnused(), nullptr); }

TEST_F(UseOrderTest, WhatIsUsedGoesToTheEnd) {
  order_.Use(entries_[1], 200);
  EXPECT_EQ(Order(), (Numbers{0, 2, 1}));
  order_.Use(entries_[0], 201);
  EXPECT_EQ(Order(), (Numbers{2, 1, 0}));
  order_.Use(entries_[0], 202);
  EXPECT_EQ(Order(), (Numbers{2, 1, 0}));
  EXPECT_EQ(entries_[0].lastUse, 202);
  EXPECT_EQ(entries_[2].lastUse, 102);
}

TEST_F(UseOrderTest, WhatGoesLeavesTheOthers) {
  order_.Remove(entries_[1]);
  EXPECT_EQ(Order(), (Numbers{0, 2}));
  order_.Add(entries_[1], 300);
  order_.Remove(entries_[0]);
  EXPECT_EQ(Order(), (Numbers{2, 1}));
  order_.Remove(entries_[1]);
  EXPECT_EQ(Order(), (Numbers{2}));
  order_.Remove(entries_[2]);
  EXPECT_EQ(Order(), Numbers{});
  order_.Add(entries_[0], 301);
  EXPECT_EQ(Order(), (Numbers{0}));
}

}  // namespace
