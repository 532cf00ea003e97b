// The locked list of opaque pointers.
#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "library_fixture.h"

namespace {

using Values = std::vector<void*>;

class HandleListTest : public testing::Test {
 protected:
  HandleListTest() { EXPECT_EQ(HandleManageInitHead(&head_), 0); }
  ~HandleListTest() override {
    while (void* const value = HandleManageGetNextHandle(&head_)) HandleManageDelHandle(&head_, value);
    pthread_mutex_destroy(&head_.mutex);
  }

  Values Forward() const {
    Values values;
    for (const HandleManage* node = head_.next; node != nullptr; node = node->next)
      values.push_back(node->value);
    return values;
  }

  // Follows the links back from the last node; the head ends the walk.
  Values Backward() {
    HandleManage* node = &head_;
    while (node->next != nullptr) node = node->next;
    Values values;
    for (; node != &head_; node = node->prev) values.insert(values.begin(), node->value);
    return values;
  }

  void ExpectList(const Values& values) {
    EXPECT_EQ(Forward(), values);
    EXPECT_EQ(Backward(), values);
    EXPECT_EQ(HandleManageGetUsrCount(&head_), static_cast<int>(values.size()));
    EXPECT_EQ(HandleManageGetNextHandle(&head_), values.empty() ? nullptr : values.front());
    EXPECT_EQ(head_.prev, nullptr);
    EXPECT_EQ(head_.value, nullptr);
  }

  HandleManage head_{};
  int objects_[4] = {};
  void* a_ = &objects_[0];
  void* b_ = &objects_[1];
  void* c_ = &objects_[2];
  void* d_ = &objects_[3];
};

TEST_F(HandleListTest, IsEmptyAtFirst) { ExpectList({}); }

TEST_F(HandleListTest, AppendsAtTheEnd) {
  EXPECT_EQ(HandleManageAddHandle(&head_, a_), 0);
  ExpectList({a_});
  EXPECT_EQ(HandleManageAddHandle(&head_, b_), 0);
  EXPECT_EQ(HandleManageAddHandle(&head_, c_), 0);
  ExpectList({a_, b_, c_});
}

TEST_F(HandleListTest, InsertsAtTheFront) {
  EXPECT_EQ(HandleManageAddHandle1(&head_, a_), 0);
  ExpectList({a_});
  EXPECT_EQ(HandleManageAddHandle1(&head_, b_), 0);
  EXPECT_EQ(HandleManageAddHandle(&head_, c_), 0);
  ExpectList({b_, a_, c_});
}

TEST_F(HandleListTest, DeletesTheOnlyNode) {
  HandleManageAddHandle(&head_, a_);
  EXPECT_EQ(HandleManageDelHandle(&head_, a_), 0);
  ExpectList({});
  EXPECT_EQ(head_.next, nullptr);
}

TEST_F(HandleListTest, DeletesFirstMiddleAndLast) {
  for (void* const value : {a_, b_, c_, d_}) HandleManageAddHandle(&head_, value);
  EXPECT_EQ(HandleManageDelHandle(&head_, b_), 0);
  ExpectList({a_, c_, d_});
  EXPECT_EQ(HandleManageDelHandle(&head_, d_), 0);
  ExpectList({a_, c_});
  EXPECT_EQ(HandleManageDelHandle(&head_, a_), 0);
  ExpectList({c_});
}

TEST_F(HandleListTest, AValueAddedTwiceIsDeletedFromTheFront) {
  for (void* const value : {a_, b_, a_, c_}) HandleManageAddHandle(&head_, value);
  EXPECT_EQ(HandleManageDelHandle(&head_, a_), 0);
  ExpectList({b_, a_, c_});
  EXPECT_EQ(HandleManageDelHandle(&head_, a_), 0);
  ExpectList({b_, c_});
  EXPECT_EQ(HandleManageDelHandle(&head_, a_), -1);
  ExpectList({b_, c_});
}

TEST_F(HandleListTest, ComparesPointersNotContents) {
  objects_[0] = 5;
  objects_[1] = 5;
  HandleManageAddHandle(&head_, a_);
  EXPECT_EQ(HandleManageDelHandle(&head_, b_), -1);
  ExpectList({a_});
}

TEST_F(HandleListTest, RefusesNull) {
  EXPECT_EQ(HandleManageInitHead(nullptr), -1);
  EXPECT_EQ(HandleManageAddHandle(nullptr, a_), -1);
  EXPECT_EQ(HandleManageAddHandle(&head_, nullptr), -1);
  EXPECT_EQ(HandleManageAddHandle1(nullptr, a_), -1);
  EXPECT_EQ(HandleManageAddHandle1(&head_, nullptr), -1);
  EXPECT_EQ(HandleManageDelHandle(nullptr, a_), -1);
  EXPECT_EQ(HandleManageDelHandle(&head_, nullptr), -1);
  EXPECT_EQ(HandleManageDelHandle(&head_, a_), -1);
  EXPECT_EQ(HandleManageGetNextHandle(nullptr), nullptr);
  EXPECT_EQ(HandleManageGetUsrCount(nullptr), -1);
  ExpectList({});
}

struct Visit {
  Values values;
  std::vector<uint32_t> arguments;
  int result = 0;
};

int NoteVisit(void* value, uint32_t arg, void* context) {
  auto* const visit = static_cast<Visit*>(context);
  visit->values.push_back(value);
  visit->arguments.push_back(arg);
  return visit->result;
}

TEST_F(HandleListTest, TheLoopCallsForEachNodeFromTheFrontWhateverTheResult) {
  for (void* const value : {a_, b_, c_}) HandleManageAddHandle(&head_, value);
  for (const int result : {0, -1, 1}) {
    Visit visit;
    visit.result = result;
    EXPECT_EQ(HandleManagePostLoop(&head_, NoteVisit, 4000000000U, &visit), 0);
    EXPECT_EQ(visit.values, (Values{a_, b_, c_}));
    EXPECT_EQ(visit.arguments, std::vector<uint32_t>(3, 4000000000U));
  }
}

TEST_F(HandleListTest, TheLoopOverAnEmptyListCallsNothing) {
  Visit visit;
  EXPECT_EQ(HandleManagePostLoop(&head_, NoteVisit, 1, &visit), 0);
  EXPECT_TRUE(visit.values.empty());
}

TEST_F(HandleListTest, TheLoopRefusesNull) {
  Visit visit;
  EXPECT_EQ(HandleManagePostLoop(nullptr, NoteVisit, 1, &visit), -1);
  EXPECT_EQ(HandleManagePostLoop(&head_, nullptr, 1, &visit), -1);
}

int LockIsHeld(void* /*value*/, uint32_t /*arg*/, void* context) {
  auto* const head = static_cast<HandleManage*>(context);
  std::thread([head] { EXPECT_NE(pthread_mutex_trylock(&head->mutex), 0); }).join();
  return 0;
}

TEST_F(HandleListTest, TheLoopHoldsTheListsLock) {
  HandleManageAddHandle(&head_, a_);
  EXPECT_EQ(HandleManagePostLoop(&head_, LockIsHeld, 0, &head_), 0);
  EXPECT_EQ(pthread_mutex_trylock(&head_.mutex), 0);
  pthread_mutex_unlock(&head_.mutex);
}

TEST_F(HandleListTest, InitAgainForgetsTheNodes) {
  HandleManageInitHead(&head_);
  ExpectList({});
}

TEST_F(HandleListTest, TheFirstOfAnEmptyListIsReadWithoutTheLock) {
  pthread_mutex_lock(&head_.mutex);
  std::future<void*> first =
      std::async(std::launch::async, [this] { return HandleManageGetNextHandle(&head_); });
  const bool answered = first.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
  pthread_mutex_unlock(&head_.mutex);
  EXPECT_TRUE(answered);
  EXPECT_EQ(first.get(), nullptr);
}

// What the thread sanitizer is asked: may the first emptiness test meet every kind of change?
TEST_F(HandleListTest, TheFirstIsReadWhileItComesAndGoes) {
  std::atomic<bool> over{false};
  std::thread reader([&] {
    while (!over) {
      void* const first = HandleManageGetNextHandle(&head_);
      EXPECT_TRUE(first == nullptr || first == a_ || first == b_);
    }
  });
  for (int round = 0; round < 2000; ++round) {
    HandleManageAddHandle(&head_, a_);
    HandleManageAddHandle1(&head_, b_);
    HandleManageDelHandle(&head_, b_);
    HandleManageDelHandle(&head_, a_);
  }
  over = true;
  reader.join();
  ExpectList({});
}

TEST_F(HandleListTest, ManyThreadsAddAndDelete) {
  constexpr int kRounds = 200;
  const auto work = [this](void* value) {
    for (int round = 0; round < kRounds; ++round) {
      EXPECT_EQ(HandleManageAddHandle(&head_, value), 0);
      EXPECT_EQ(HandleManageAddHandle1(&head_, value), 0);
      EXPECT_GE(HandleManageGetUsrCount(&head_), 2);
      EXPECT_NE(HandleManageGetNextHandle(&head_), nullptr);
      EXPECT_EQ(HandleManageDelHandle(&head_, value), 0);
      EXPECT_EQ(HandleManageDelHandle(&head_, value), 0);
    }
  };
  std::vector<std::thread> threads;
  for (void* const value : {a_, b_, c_, d_}) threads.emplace_back(work, value);
  for (std::thread& thread : threads) thread.join();
  ExpectList({});
}

}  // namespace
