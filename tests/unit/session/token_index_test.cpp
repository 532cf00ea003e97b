// The index of tokens: growing, shrinking, equal tokens, and entries that come and go.
#include "session/token_index.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>

namespace {

using sdkapi::TokenEntry;
using sdkapi::TokenIndex;

struct Item {
  std::string token;
  TokenEntry entry{};
};

class TokenIndexTest : public testing::Test {
 protected:
  TokenIndexTest() { index_.SetKey({1, 2}); }
  ~TokenIndexTest() override {
    for (Item& item : items_) {
      if (item.entry.token != nullptr) Remove(item);
    }
  }

  Item& Add(const std::string& token) {
    Item& item = items_.emplace_back(Item{token});
    index_.Add(item.entry, item.token.c_str());
    return item;
  }
  void Remove(Item& item) {
    index_.Remove(item.entry);
    item.entry.token = nullptr;
  }

  std::deque<Item> items_;
  TokenIndex index_;
};

TEST_F(TokenIndexTest, AnEmptyIndexFindsNothing) {
  EXPECT_EQ(index_.Find("token"), nullptr);
  EXPECT_EQ(index_.Find(""), nullptr);
}

TEST_F(TokenIndexTest, EveryEntryIsFoundAtEverySize) {
  for (int i = 0; i < 1000; ++i) {
    Add("token " + std::to_string(i));
    for (Item& item : items_) ASSERT_EQ(index_.Find(item.token.c_str()), &item.entry) << i;
    ASSERT_EQ(index_.Find("token"), nullptr);
  }
}

TEST_F(TokenIndexTest, WhatIsLeftIsFoundAtEverySize) {
  for (int i = 0; i < 1000; ++i) Add("token " + std::to_string(i));
  for (int i = 0; i < 1000; ++i) {
    // Every third from the front, so that places in all buckets become free in a mixed order.
    Item& gone = items_[static_cast<std::size_t>(i) * 333 % 1000];
    Remove(gone);
    ASSERT_EQ(index_.Find(gone.token.c_str()), nullptr);
    for (Item& item : items_) {
      if (item.entry.token == nullptr) continue;
      ASSERT_EQ(index_.Find(item.token.c_str()), &item.entry) << i;
    }
  }
}

TEST_F(TokenIndexTest, OfEqualTokensTheOldestIsFoundAcrossAllSizes) {
  for (int i = 0; i < 5; ++i) Add("same");
  for (int i = 0; i < 500; ++i) Add("other " + std::to_string(i));
  for (std::size_t i = 5; i < 495; ++i) Remove(items_[i]);
  EXPECT_EQ(index_.Find("same"), &items_[0].entry);
  Remove(items_[0]);
  EXPECT_EQ(index_.Find("same"), &items_[1].entry);
  Remove(items_[2]);
  Remove(items_[1]);
  EXPECT_EQ(index_.Find("same"), &items_[3].entry);
  Remove(items_[4]);
  EXPECT_EQ(index_.Find("same"), &items_[3].entry);
  Remove(items_[3]);
  EXPECT_EQ(index_.Find("same"), nullptr);
}

}  // namespace
