// What is in use outlives its stop until the last one has left.
#include "base/in_use.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "waiting.h"

namespace {

using sdktest::Eventually;

struct Subject {
  explicit Subject(std::atomic<bool>& ended) : ended_(ended) {}
  ~Subject() { ended_ = true; }
  std::atomic<bool>& ended_;
};

// A type of its own for each test, as each subject of the kit has one.
template <int>
struct Of : Subject {
  using Subject::Subject;
};

TEST(InUseTest, NothingIsThereBeforeTheStartAndAfterTheStop) {
  std::atomic<bool> ended{false};
  sdkkit::InUse<Of<1>> place;
  EXPECT_FALSE(place.Get());
  EXPECT_TRUE(place.Stop());
  EXPECT_TRUE(place.Start(std::make_unique<Of<1>>(ended)));
  EXPECT_TRUE(place.Get());
  std::atomic<bool> other{false};
  EXPECT_FALSE(place.Start(std::make_unique<Of<1>>(other)));
  EXPECT_TRUE(other) << "the second one is dropped";
  EXPECT_TRUE(place.Stop());
  EXPECT_TRUE(ended);
  EXPECT_FALSE(place.Get());
}

TEST(InUseTest, AStopWaitsForWhoeverIsInside) {
  std::atomic<bool> ended{false};
  sdkkit::InUse<Of<2>> place;
  ASSERT_TRUE(place.Start(std::make_unique<Of<2>>(ended)));
  std::thread stopping;
  {
    const auto use = place.Get();
    stopping = std::thread([&] { EXPECT_TRUE(place.Stop()); });
    EXPECT_TRUE(Eventually([&] {
      bool isClosed = false;
      std::thread([&] { isClosed = !place.Get(); }).join();
      return isClosed;
    }));
    EXPECT_TRUE(place.Get()) << "who is inside gets in again";
    EXPECT_FALSE(ended);
  }
  stopping.join();
  EXPECT_TRUE(ended);
}

TEST(InUseTest, AStopFromWithinIsRefused) {
  std::atomic<bool> ended{false};
  sdkkit::InUse<Of<3>> place;
  ASSERT_TRUE(place.Start(std::make_unique<Of<3>>(ended)));
  {
    const auto use = place.Get();
    EXPECT_FALSE(place.Stop());
    EXPECT_FALSE(ended);
  }
  EXPECT_TRUE(place.Stop());
}

}  // namespace
