// The keyed hash: the published results, and keys of its own.
#include "session/keyed_hash.h"

#include <gtest/gtest.h>

#include <string>

#include "system_calls.h"

namespace {

using sdkapi::HashKey;
using sdkapi::KeyedHash;
using sdkapi::RandomHashKey;

// The bytes 00, 01, 02 and so on, as the hash's authors publish their results.
std::string Counting(std::size_t length) {
  std::string text;
  for (std::size_t i = 0; i < length; ++i) text += static_cast<char>(i);
  return text;
}

constexpr HashKey kPublishedKey{0x0706050403020100, 0x0f0e0d0c0b0a0908};

TEST(KeyedHashTest, IsSipHash24) {
  EXPECT_EQ(KeyedHash(kPublishedKey, Counting(0)), 0x726fdb47dd0e0e31U);
  EXPECT_EQ(KeyedHash(kPublishedKey, Counting(1)), 0x74f839c593dc67fdU);
  EXPECT_EQ(KeyedHash(kPublishedKey, Counting(7)), 0xab0200f58b01d137U);
  EXPECT_EQ(KeyedHash(kPublishedKey, Counting(8)), 0x93f5f5799a932462U);
  EXPECT_EQ(KeyedHash(kPublishedKey, Counting(15)), 0xa129ca6149be45e5U);
}

TEST(KeyedHashTest, BytesAboveAsciiAndTheLengthCount) {
  EXPECT_NE(KeyedHash(kPublishedKey, "\xc3\xa4"), KeyedHash(kPublishedKey, "\xc3\xa5"));
  EXPECT_NE(KeyedHash(kPublishedKey, std::string(1, '\0')), KeyedHash(kPublishedKey, std::string(2, '\0')));
}

TEST(KeyedHashTest, AnotherKeyGivesAnotherHash) {
  EXPECT_NE(KeyedHash({1, 0}, "token"), KeyedHash({0, 1}, "token"));
  const HashKey one = RandomHashKey();
  EXPECT_FALSE(one.low == 0 && one.high == 0);
  const HashKey two = RandomHashKey();
  EXPECT_NE(KeyedHash(one, "token"), KeyedHash(two, "token"));
}

// Early after the device's start the kernel has no random bytes yet.
TEST(KeyedHashTest, WithoutRandomBytesTheKeyIsTheProcesssOwn) {
  sdktest::System().failRandom = true;
  const HashKey key = RandomHashKey();
  sdktest::System().failRandom = false;
  EXPECT_FALSE(key.low == 0 && key.high == 0);
}

}  // namespace
