// References to counted records: copies, moves, assignment to oneself, and the end with the last one.
#include "base/counted.h"

#include <gtest/gtest.h>

#include <thread>
#include <utility>
#include <vector>

namespace {

using sdkapi::Counted;
using sdkapi::Ref;

int ended = 0;

struct Record {
  int value = 7;
  Ref<Record> next;
  ~Record() { ++ended; }
};
using RecordRef = Ref<Record>;

// What a registry keeps behind a record.
struct Placed : Counted<long> {
  int place;
};

class RefTest : public testing::Test {
 protected:
  RefTest() { ended = 0; }

  static int Users(const RecordRef& ref) { return Counted<Record>::Of(ref.get())->users.load(); }
};

TEST_F(RefTest, ANewRecordHasOneUserAndEndsWithIt) {
  {
    const RecordRef ref = RecordRef::New();
    ASSERT_NE(ref, nullptr);
    EXPECT_EQ(Users(ref), 1);
    EXPECT_EQ(ref->value, 7);
    EXPECT_EQ((*ref).next, nullptr);
    EXPECT_EQ(ended, 0);
  }
  EXPECT_EQ(ended, 1);
}

TEST_F(RefTest, TheRecordStandsFirst) {
  const RecordRef ref = RecordRef::New();
  EXPECT_EQ(static_cast<void*>(Counted<Record>::Of(ref.get())), static_cast<void*>(ref.get()));
}

TEST_F(RefTest, NoRecordIsNoUser) {
  const RecordRef none;
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(none.get(), nullptr);
  EXPECT_EQ(RecordRef(nullptr), nullptr);
  EXPECT_EQ(RecordRef(none), nullptr);
  EXPECT_EQ(RecordRef::Share(nullptr), nullptr);
}

TEST_F(RefTest, EveryCopyIsAUserAndTheLastOneEndsTheRecord) {
  RecordRef first = RecordRef::New();
  {
    RecordRef second(first);
    const RecordRef third = second;
    EXPECT_EQ(second.get(), first.get());
    EXPECT_EQ(Users(first), 3);
    second = nullptr;
    EXPECT_EQ(Users(first), 2);
    first = nullptr;
    EXPECT_EQ(Users(third), 1);
    EXPECT_EQ(third->value, 7);
    EXPECT_EQ(ended, 0);
  }
  EXPECT_EQ(ended, 1);
}

TEST_F(RefTest, AMovePassesTheReferenceOn) {
  RecordRef first = RecordRef::New();
  Record* const record = first.get();
  RecordRef second(std::move(first));
  EXPECT_EQ(first, nullptr);
  EXPECT_EQ(second.get(), record);
  EXPECT_EQ(Users(second), 1);
  first = std::move(second);
  EXPECT_EQ(second, nullptr);
  EXPECT_EQ(first.get(), record);
  EXPECT_EQ(Users(first), 1);
  EXPECT_EQ(ended, 0);
}

TEST_F(RefTest, AssignmentLetsGoOfTheEarlierRecord) {
  RecordRef first = RecordRef::New();
  const RecordRef second = RecordRef::New();
  first = second;
  EXPECT_EQ(ended, 1);
  EXPECT_EQ(first.get(), second.get());
  EXPECT_EQ(Users(second), 2);
}

TEST_F(RefTest, AssignmentToItselfKeepsTheRecord) {
  RecordRef ref = RecordRef::New();
  RecordRef& same = ref;
  ref = same;
  ASSERT_NE(ref, nullptr);
  EXPECT_EQ(Users(ref), 1);
  ref = std::move(same);
  ASSERT_NE(ref, nullptr);
  EXPECT_EQ(Users(ref), 1);
  EXPECT_EQ(ended, 0);
}

// The way through a chain: what is assigned belongs to what the assignment ends.
TEST_F(RefTest, AssignmentFromTheRecordThatItEndsIsSafe) {
  RecordRef at = RecordRef::New();
  at->next = RecordRef::New();
  at->next->value = 8;
  at = std::move(at->next);
  EXPECT_EQ(ended, 1);
  EXPECT_EQ(at->value, 8);
  at->next = RecordRef::New();
  at = RecordRef(at->next);
  EXPECT_EQ(ended, 2);
  EXPECT_EQ(Users(at), 1);
}

TEST_F(RefTest, AReferencePassesThroughABarePointer) {
  RecordRef ref = RecordRef::New();
  Record* const bare = ref.Detach();
  EXPECT_EQ(ref, nullptr);
  EXPECT_EQ(ended, 0);
  {
    const RecordRef shared = RecordRef::Share(bare);
    EXPECT_EQ(Users(shared), 2);
  }
  EXPECT_EQ(ended, 0);
  { const RecordRef adopted = RecordRef::Adopt(bare); }
  EXPECT_EQ(ended, 1);
}

TEST_F(RefTest, AStaticRecordNeverEnds) {
  static Counted<Record> counted;
  for (int i = 0; i < 3; ++i) {
    const RecordRef ref = RecordRef::Share(&counted.record);
    EXPECT_EQ(Users(ref), 2);
  }
  EXPECT_EQ(counted.users.load(), 1);
  EXPECT_EQ(ended, 0);
}

TEST_F(RefTest, MoreMayStandBehindTheCounter) {
  const Ref<long> ref = Ref<long>::New<Placed>();
  auto* const placed = static_cast<Placed*>(Counted<long>::Of(ref.get()));
  EXPECT_EQ(placed->record, 0);
  EXPECT_EQ(placed->place, 0);
  placed->place = 3;
  EXPECT_EQ(*ref, 0);
  EXPECT_EQ(placed->users.load(), 1);
}

// Whoever is last frees; everybody before has finished with the record by then.
TEST_F(RefTest, ThreadsShareARecordAndTheLastOneEndsIt) {
  for (int round = 0; round < 50; ++round) {
    ended = 0;
    RecordRef first = RecordRef::New();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([ref = first]() mutable {
        for (int copy = 0; copy < 100; ++copy) {
          const RecordRef another = ref;
          EXPECT_EQ(another->value, 7);
        }
        ref = nullptr;
      });
    }
    first = nullptr;
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(ended, 1);
  }
}

}  // namespace
