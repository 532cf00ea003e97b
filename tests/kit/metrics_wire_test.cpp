// Metrics over a socket: what a reader of the format accepts, with the numbers of the server and of the host.
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "sdkapi/extension.h"
#include "sdkapi/kit_metrics.h"
#include "server_test_base.h"

namespace integration {
namespace {

double Temperature() { return 41.5; }

constexpr SdkKitMetric kOwn[] = {
    {"device_temperature_celsius", "How warm it is.", R"(sensor="cpu")", kKitGauge, 0, Temperature},
    {"device_temperature_celsius", "How warm it is.", R"(sensor="case")", kKitGauge, 0, Temperature},
};

class MetricsTest : public ModeTest {
 protected:
  void SetUp() override {
    ModeTest::SetUp();
    const SdkKitMetricsOptions options{sizeof options, sizeof(SdkKitMetric), kOwn, 2};
    ASSERT_EQ(SdkKitMetrics_Start(&options), 0);
    ASSERT_EQ(SdkAPISer_Custom_Get_Post_Api_Add("/metrics$", SdkKitMetrics_Answer), 0);
  }
  void TearDown() override {
    SdkKitMetrics_Stop();
    ModeTest::TearDown();
  }
};

INSTANTIATE_TEST_SUITE_P(Modes, MetricsTest, AllModes(), ModeName);

// Every line is a help, a kind or a sample; each metric stands together, and no sample comes twice.
void ExpectFormat(const std::string& text) {
  const std::regex help("# HELP ([a-zA-Z_:][a-zA-Z0-9_:]*) .+");
  const std::regex kind("# TYPE ([a-zA-Z_:][a-zA-Z0-9_:]*) (counter|gauge)");
  const std::regex sample(
      R"re((([a-zA-Z_:][a-zA-Z0-9_:]*)(\{[a-z]+="[^"\\]*"\})?) [0-9]+(\.[0-9]+)?(e[+-][0-9]+)?)re");
  ASSERT_TRUE(text.ends_with("\n"));
  std::istringstream lines(text);
  std::set<std::string> begun, samples;
  std::string current;
  std::smatch found;
  for (std::string line; std::getline(lines, line);) {
    if (std::regex_match(line, found, help)) {
      current = found[1];
      EXPECT_TRUE(begun.insert(current).second) << line;
      ASSERT_TRUE(std::getline(lines, line) && std::regex_match(line, found, kind) && found[1] == current)
          << line;
      EXPECT_EQ(current.ends_with("_total"), found[2] == "counter") << line;
    } else {
      ASSERT_TRUE(std::regex_match(line, found, sample)) << line;
      EXPECT_EQ(found[2], current) << line;
      EXPECT_TRUE(samples.insert(found[1]).second) << line;
    }
  }
  EXPECT_GE(begun.size(), 14U);
}

TEST_P(MetricsTest, AreWhatAReaderAccepts) {
  const Response response = Get("/metrics");
  EXPECT_EQ(response.status(), 200);
  EXPECT_EQ(response.Header("Content-Type"), "text/plain; version=0.0.4; charset=utf-8");
  EXPECT_EQ(response.Header("Content-Length"), std::to_string(response.body.size()));
  ExpectFormat(response.body);
  EXPECT_TRUE(
      response.body.ends_with("# HELP device_temperature_celsius How warm it is.\n"
                              "# TYPE device_temperature_celsius gauge\n"
                              "device_temperature_celsius{sensor=\"cpu\"} 41.5\n"
                              "device_temperature_celsius{sensor=\"case\"} 41.5\n"));
}

TEST_P(MetricsTest, CountWhatTheServerDoes) {
  const std::regex granted(R"re(sdkapi_logins_total\{result="granted"\} ([0-9]+)\n)re");
  const auto count = [&] {
    const std::string text = Get("/metrics").body;
    std::smatch found;
    return std::regex_search(text, found, granted) ? std::stol(found[1]) : -1;
  };
  const long before = count();
  ASSERT_GE(before, 0);
  ASSERT_TRUE(LogIn("another"));
  EXPECT_EQ(count(), before + 1);
}

TEST_P(MetricsTest, LeaveOutWhatTheWebServerCannotTell) {
  SdkAPIExtStatistics statistics{};
  statistics.size = sizeof statistics;
  ASSERT_EQ(SdkAPIExt_Statistics_Get(&statistics), 0);
  const bool told = Get("/metrics").body.find("\nsdkapi_requests_total{") != std::string::npos;
  EXPECT_EQ(told, statistics.complete == 1);
}

TEST_P(MetricsTest, AreReadOnly) {
  const Response response = Post("/metrics", "x");
  EXPECT_EQ(response.status(), 405);
  EXPECT_EQ(response.body, R"({"error":"method not allowed"})");
}

TEST_P(MetricsTest, AskForAToken) {
  EXPECT_EQ(SendBare({"GET", "/metrics", {}, ""}).status(), mode().auth ? 401 : 200);
}

TEST(MetricsStart, RefusesWhatAReaderWouldNotTake) {
  SdkKitMetric metric{"good", "Help.", nullptr, kKitGauge, 0, Temperature};
  SdkKitMetricsOptions options{sizeof options, sizeof metric, &metric, 1};
  const auto start = [&](auto&& change) {
    const SdkKitMetric kept = metric;
    const SdkKitMetricsOptions keptOptions = options;
    change();
    const int result = SdkKitMetrics_Start(&options);
    metric = kept;
    options = keptOptions;
    return result;
  };
  EXPECT_EQ(start([] {}), 0);
  EXPECT_EQ(start([&] { options.size = 1; }), -1);
  EXPECT_EQ(start([&] { options.metricSize = 1; }), -1);
  EXPECT_EQ(start([&] { options.metrics = nullptr; }), -1);
  EXPECT_EQ(start([&] { options.count = 1001; }), -1);
  EXPECT_EQ(start([&] { metric.name = "9"; }), -1);
  EXPECT_EQ(start([&] { metric.name = nullptr; }), -1);
  EXPECT_EQ(start([&] { metric.help = nullptr; }), -1);
  EXPECT_EQ(start([&] { metric.labels = "a=1"; }), -1);
  EXPECT_EQ(start([&] { metric.kind = 2; }), -1);
  EXPECT_EQ(start([&] { metric.read = nullptr; }), -1);
  EXPECT_EQ(SdkKitMetrics_Start(nullptr), -1);
  SdkKitMetrics_Stop();
}

}  // namespace
}  // namespace integration
