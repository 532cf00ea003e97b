// Every write and every read of the connection fails in turn: no crash, no leak, no byte out of place.
#include <algorithm>

#include "failing_allocator.h"
#include "scenarios.h"

namespace {

using sdktest::Failing;
using sdktest::FailingAllocator;
using sdktest::Scenario;
using sdktest::Strings;
using sdktest::TestHost;

class ConnectionFailureTest : public sdktest::ScenarioTest, public testing::WithParamInterface<Scenario> {
 protected:
  // Runs the scenario and expects that nothing stays allocated.
  static int Run(mg_connection& conn) {
    FailingAllocator allocator(0, Failing::kOnce);
    const int result = GetParam().run(conn);
    EndScenario();
    EXPECT_EQ(allocator.stillAllocated(), 0U);
    return result;
  }

  static std::ptrdiff_t CountOfCalls(const std::string& call) {
    const Strings calls = TestHost::Get().Lines();
    return std::count(calls.begin(), calls.end(), call);
  }
};

TEST_P(ConnectionFailureTest, WritesFailInTurn) {
  mg_connection sample;
  StartScenario(GetParam(), sample);
  const int result = Run(sample);
  for (int write = 1; write <= sample.writeCalls; ++write) {
    SCOPED_TRACE(write);
    mg_connection conn;
    StartScenario(GetParam(), conn);
    conn.failWriteFrom = write;
    EXPECT_EQ(Run(conn), GetParam().leavesFailures ? 0 : result);
    EXPECT_LT(conn.output.size(), sample.output.size());
    EXPECT_EQ(conn.output, sample.output.substr(0, conn.output.size()));
    EXPECT_FALSE(conn.keepAlive) << "the connection ends";
    EXPECT_EQ(CountOfCalls("PreviewCb(RX01, 0)"), CountOfCalls("PreviewCb(RX01, 2)"));
  }
}

TEST_P(ConnectionFailureTest, ReadsFailInTurn) {
  mg_connection sample;
  StartScenario(GetParam(), sample);
  const int result = Run(sample);
  for (int read = 1; read <= sample.readCalls; ++read) {
    SCOPED_TRACE(read);
    mg_connection conn;
    StartScenario(GetParam(), conn);
    conn.failReadFrom = read;
    EXPECT_EQ(Run(conn), result);
    EXPECT_EQ(conn.output, sample.output) << "the host decides on what has arrived";
    EXPECT_LE(conn.readCalls, sample.readCalls);
  }
}

TEST_P(ConnectionFailureTest, FramesFailInTurn) {
  mg_connection sample;
  StartScenario(GetParam(), sample);
  const int result = Run(sample);
  for (int frame = 1; frame <= sample.frameCalls; ++frame) {
    mg_connection conn;
    StartScenario(GetParam(), conn);
    conn.failFrameFrom = frame;
    EXPECT_EQ(Run(conn), result);
    EXPECT_EQ(conn.Frames().size(), static_cast<std::size_t>(frame - 1));
  }
}

INSTANTIATE_TEST_SUITE_P(Handlers, ConnectionFailureTest, testing::ValuesIn(sdktest::Scenarios()),
                         sdktest::ByName{});

}  // namespace
