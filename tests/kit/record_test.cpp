// Records and rows of programs that were built before the last field came.
#include "base/record.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "sdkapi/kit.h"

namespace {

struct Grown {
  uint32_t size;
  int32_t first;
  int64_t later;
};

struct GrownRow {
  int64_t first;
  int64_t later;
};

}  // namespace

template <>
constexpr std::size_t sdkkit::kFirstSize<Grown> = offsetof(Grown, later);
template <>
constexpr std::size_t sdkkit::kFirstSize<GrownRow> = offsetof(GrownRow, later);

namespace {

constexpr uint32_t kOldSize = offsetof(Grown, later);

TEST(RecordTest, AnOlderRecordIsTakenAndLacksNothing) {
  const Grown old{kOldSize, 7, -1};
  const auto taken = sdkkit::ReadRecord(&old);
  ASSERT_TRUE(taken);
  EXPECT_EQ(taken->size, sizeof(Grown));
  EXPECT_EQ(taken->first, 7);
  EXPECT_EQ(taken->later, 0) << "what stands behind the caller's record is not its";
}

TEST(RecordTest, OtherSizesAreRefused) {
  for (const uint32_t size : {0U, 4U, kOldSize - 8, kOldSize + 4, uint32_t{sizeof(Grown)} + 8, 0xffffffffU}) {
    const Grown record{size, 7, 8};
    EXPECT_FALSE(sdkkit::ReadRecord(&record)) << size;
  }
  EXPECT_FALSE(sdkkit::ReadRecord(static_cast<const Grown*>(nullptr)));
  const Grown whole{sizeof(Grown), 7, 8};
  EXPECT_EQ(sdkkit::ReadRecord(&whole)->later, 8);
}

TEST(RecordTest, AnOlderRecordIsFilledAsFarAsItGoes) {
  Grown old{kOldSize, 0, -1};
  sdkkit::WriteRecord({0, 7, 8}, &old);
  EXPECT_EQ(old.size, kOldSize);
  EXPECT_EQ(old.first, 7);
  EXPECT_EQ(old.later, -1);
}

// As a program of before sees them: rows of eight bytes.
TEST(RecordTest, OlderArraysAreReadAndWrittenByTheirRowsSize) {
  const std::array<int64_t, 3> rows{1, 2, 3};
  const auto taken = sdkkit::ReadRows(reinterpret_cast<const GrownRow*>(rows.data()), 3, sizeof rows[0]);
  ASSERT_TRUE(taken && taken->size() == 3);
  EXPECT_EQ((*taken)[2].first, 3);
  EXPECT_EQ((*taken)[2].later, 0);

  alignas(Grown) std::array<std::array<uint32_t, 2>, 3> list{{{kOldSize, 0}, {0, 0}, {77, 78}}};
  auto* const records = reinterpret_cast<Grown*>(list.data());
  sdkkit::WriteRecordAt({0, 5, 9}, records, 1);
  const std::array<std::array<uint32_t, 2>, 3> expected{{{kOldSize, 0}, {kOldSize, 5}, {77, 78}}};
  EXPECT_EQ(list, expected);
}

TEST(RecordTest, RowsWithoutASizeAreRefused) {
  const GrownRow row{1, 2};
  const GrownRow* const none = nullptr;
  EXPECT_TRUE(sdkkit::ReadRows(none, 0, 0));
  EXPECT_FALSE(sdkkit::ReadRows(none, 1, sizeof row));
  for (const std::size_t size : {0U, 4U, 12U, 24U}) EXPECT_FALSE(sdkkit::ReadRows(&row, 1, size)) << size;
}

std::string lastError;

void KeepError(int level, const char* subject, const char* text) {
  if (level == kKitError) lastError = std::string(subject) + ": " + text;
}

// Calls a start with a zeroed record of each size around the right one.
template <class Record>
void RefusesWrongSizes(int (*start)(const Record*), const std::string& reason) {
  for (const std::size_t size :
       {std::size_t{0}, sizeof(Record) - 8, sizeof(Record) - 4, sizeof(Record) + 4, sizeof(Record) + 8}) {
    Record record{};
    record.size = static_cast<uint32_t>(size);
    lastError.clear();
    EXPECT_EQ(start(&record), -1) << reason << " " << size;
    EXPECT_EQ(lastError, reason) << size;
  }
}

TEST(RecordTest, EveryStartSaysThatASizeIsUnknown) {
  SdkKitLog_Set(KeepError);
  const std::string words = ": no start: the options have an unknown size";
  RefusesWrongSizes(SdkKitAccounts_Start, "accounts" + words);
  RefusesWrongSizes(SdkKitArchive_Start, "archive" + words);
  RefusesWrongSizes(SdkKitCertificate_Start, "certificate" + words);
  RefusesWrongSizes(SdkKitEvents_Start, "events" + words);
  RefusesWrongSizes(SdkKitFirmware_Start, "firmware" + words);
  RefusesWrongSizes(SdkKitMetrics_Start, "metrics" + words);
  RefusesWrongSizes(SdkKitPreview_Start, "preview" + words);
  RefusesWrongSizes(SdkKitUpload_Start, "upload" + words);
  SdkKitLog_Set(nullptr);
}

TEST(RecordTest, OtherRecordsOfAnUnknownSizeAreRefused) {
  SdkKitAuditEntry entry{};
  entry.subject = entry.action = "test";
  for (const uint32_t size : {0U, uint32_t{sizeof entry} - 8, uint32_t{sizeof entry} + 8}) {
    entry.size = size;
    EXPECT_EQ(SdkKitAudit_Write(&entry), -1) << size;
  }
  SdkKitProgram program{};
  program.name = program.version = "test";
  std::array<char*, 1> arguments{};
  for (const uint32_t size : {0U, uint32_t{sizeof program} - 8, uint32_t{sizeof program} + 8}) {
    program.size = size;
    EXPECT_EQ(SdkKitRun(0, arguments.data(), &program), kKitExitFailed) << size;
  }
}

}  // namespace
