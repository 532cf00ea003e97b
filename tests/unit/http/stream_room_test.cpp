// How many streams the workers have room for.
#include "http/stream_room.h"

#include <memory>
#include <thread>
#include <vector>

#include "library_fixture.h"

namespace {

class StreamRoomTest : public sdktest::LibraryTest {};

int PlacesFor(const std::optional<std::string>& workers) {
  sdktest::Server().workers = workers;
  const mg_connection conn;
  std::vector<std::unique_ptr<sdkapi::StreamPlace>> places;
  do {
    places.push_back(std::make_unique<sdkapi::StreamPlace>(&conn, sdkapi::Stream::kPreview));
  } while (places.back()->granted() && places.size() < 1000);
  return static_cast<int>(places.size()) - 1;
}

TEST_F(StreamRoomTest, SixteenWorkersAreTheRequestsOrOneHalfOfAFew) {
  struct Row {
    const char* workers;
    int streams;
  };
  for (const Row& row : {Row{"200", 184}, Row{"50", 34}, Row{"33", 17}, Row{"32", 16}, Row{"17", 9},
                         Row{"16", 8}, Row{"4", 2}, Row{"3", 2}, Row{"2", 1}, Row{"1", 1}}) {
    EXPECT_EQ(PlacesFor(row.workers), row.streams) << row.workers;
  }
}

TEST_F(StreamRoomTest, ANumberThatIsNoneLeavesRoomForOne) {
  for (const char* const workers : {"0", "", "-5"}) EXPECT_EQ(PlacesFor(workers), 1) << workers;
  EXPECT_EQ(PlacesFor(std::nullopt), 1);
}

TEST_F(StreamRoomTest, PlacesOfManyThreadsAreAllGivenBack) {
  sdktest::Server().workers = "200";
  const mg_connection conn;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&conn, kind = i % 2 == 0 ? sdkapi::Stream::kPreview : sdkapi::Stream::kWebSocket] {
      for (int n = 0; n < 20000; ++n) EXPECT_TRUE(sdkapi::StreamPlace(&conn, kind).granted());
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(sdkapi::CurrentStreams().previews, 0U);
  EXPECT_EQ(sdkapi::CurrentStreams().webSockets, 0U);
}

}  // namespace
