// Records that begin with their size, from callers of other versions.
#include "base/sized_record.h"

#include <gtest/gtest.h>

namespace {

// As it is now, and as a caller of the first version has it.
struct Grown {
  uint32_t size;
  int32_t first;
  int64_t second;
  int64_t third;
};
struct Old {
  uint32_t size;
  int32_t first;
  int64_t second;
};

}  // namespace

template <>
constexpr std::size_t sdkapi::kFirstSize<Grown> = sizeof(Old);

namespace {

TEST(SizedRecordTest, ARecordOfThisVersionIsTakenWhole) {
  const Grown given{sizeof(Grown), 1, 2, 3};
  Grown taken{};
  EXPECT_TRUE(sdkapi::ReadRecord(&given, taken));
  EXPECT_EQ(taken.size, sizeof(Grown));
  EXPECT_EQ(taken.first, 1);
  EXPECT_EQ(taken.second, 2);
  EXPECT_EQ(taken.third, 3);
}

TEST(SizedRecordTest, AnOlderRecordIsNotReadBehindItsEnd) {
  const Old given{sizeof(Old), 1, 2};
  Grown taken{0, 9, 9, 9};
  EXPECT_TRUE(sdkapi::ReadRecord(reinterpret_cast<const Grown*>(&given), taken));
  EXPECT_EQ(taken.second, 2);
  EXPECT_EQ(taken.third, 0);
}

TEST(SizedRecordTest, AnOlderRecordIsNotWrittenBehindItsEnd) {
  struct {
    Old record{sizeof(Old), 0, 0};
    int64_t behind = 77;
  } caller;
  EXPECT_TRUE(sdkapi::WriteRecord(Grown{sizeof(Grown), 1, 2, 3}, reinterpret_cast<Grown*>(&caller.record)));
  EXPECT_EQ(caller.record.size, sizeof(Old));
  EXPECT_EQ(caller.record.first, 1);
  EXPECT_EQ(caller.record.second, 2);
  EXPECT_EQ(caller.behind, 77);
}

TEST(SizedRecordTest, UnknownSizesAreRefusedAndChangeNothing) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{4}, sizeof(Old) - 1, sizeof(Old) + 1,
                                 sizeof(Grown) + 1, sizeof(Grown) + 8, std::size_t{UINT32_MAX}}) {
    SCOPED_TRACE(size);
    Grown record{static_cast<uint32_t>(size), 5, 5, 5};
    Grown taken{1, 9, 9, 9};
    EXPECT_FALSE(sdkapi::ReadRecord(&record, taken));
    EXPECT_EQ(taken.first, 9);
    EXPECT_FALSE(sdkapi::WriteRecord(Grown{sizeof(Grown), 1, 2, 3}, &record));
    EXPECT_EQ(record.first, 5);
  }
  Grown taken{1, 9, 9, 9};
  EXPECT_FALSE(sdkapi::ReadRecord<Grown>(nullptr, taken));
  EXPECT_FALSE(sdkapi::WriteRecord<Grown>(taken, nullptr));
}

TEST(SizedRecordTest, TheFirstRecordsSizeIsTheStrideOfAll) {
  Old records[3] = {{sizeof(Old), 1, 0}, {0, 2, 0}, {0, 3, 0}};
  for (int i = 0; i < 3; ++i) {
    const Grown* const record =
        sdkapi::RecordAt(reinterpret_cast<Grown*>(records), static_cast<std::size_t>(i));
    EXPECT_EQ(static_cast<const void*>(record), &records[i]);
  }
}

}  // namespace
