// Metrics on a route: those of the server, of the process, and of the host.
#include <array>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "base/guarded.h"
#include "base/record.h"
#include "metrics/exposition.h"
#include "metrics/server_metrics.h"
#include "sdkapi/http.h"
#include "sdkapi/kit_metrics.h"

namespace sdkkit {
namespace {

constexpr Log kLog{"metrics"};
constexpr std::size_t kMostMetrics = 1000;
constexpr int kGet = 0;
constexpr std::string_view kNotAllowed = R"({"error":"method not allowed"})";

using Metrics = std::vector<SdkKitMetric>;

std::mutex g_mutex;
std::shared_ptr<const Metrics> g_metrics;  // guarded by g_mutex; requests keep theirs

std::shared_ptr<const Metrics> Current() {
  const std::lock_guard lock(g_mutex);
  return g_metrics;
}

void Set(std::shared_ptr<const Metrics> metrics) {
  const std::lock_guard lock(g_mutex);
  g_metrics = std::move(metrics);
}

bool IsComplete(const SdkKitMetric& metric) {
  return metric.name != nullptr && IsMetricName(metric.name) && metric.help != nullptr &&
         metric.read != nullptr && (metric.labels == nullptr || IsLabelList(metric.labels)) &&
         (metric.kind == kKitGauge || metric.kind == kKitCounter) && metric.reserved == 0;
}

int Refuse(const char* why) {
  kLog.Error("no start: %s", why);
  return -1;
}

int Start(const SdkKitMetricsOptions* given) {
  const auto options = ReadRecord(given);
  if (!options) return Refuse("the options have an unknown size");
  if (options->count > kMostMetrics) return Refuse("there are too many metrics");
  const auto metrics = ReadRows(options->metrics, options->count, options->metricSize);
  if (!metrics) return Refuse("there are no metrics, or metricSize is unknown");
  for (const SdkKitMetric& metric : *metrics) {
    if (!IsComplete(metric)) return Refuse("a metric has no valid name, help, labels or kind");
  }
  Set(std::make_shared<const Metrics>(*metrics));
  return 0;
}

std::string Text() {
  Exposition text;
  AddServerMetrics(text);
  AddProcessMetrics(text);
  if (const auto metrics = Current()) {
    for (const SdkKitMetric& metric : *metrics) {
      text.Add(metric.name, metric.help, metric.kind == kKitCounter,
               metric.labels == nullptr ? "" : metric.labels, metric.read());
    }
  }
  return text.Take();
}

// The library's head with the type that a reader of metrics asks for.
int Send(mg_connection* conn, const std::string& body) {
  constexpr std::size_t kHeadRoom = 381;
  constexpr int kHtml = 3;
  std::string reply(kHeadRoom + body.size(), '\0');
  if (GroupRespHttpMsg(200, body.c_str(), static_cast<int>(body.size()), reply.data(), kHtml) != 0) return -1;
  reply.resize(std::strlen(reply.c_str()));
  constexpr std::string_view kType = "text/html; charset=utf-8;";
  const std::size_t type = reply.find(kType);
  if (type != std::string::npos)
    reply.replace(type, kType.size(), "text/plain; version=0.0.4; charset=utf-8");
  return SendHttpBuff(conn, reply.c_str(), static_cast<int>(reply.size()));
}

}  // namespace
}  // namespace sdkkit

int SdkKitMetrics_Start(const SdkKitMetricsOptions* options) {
  return sdkkit::Guarded(sdkkit::kLog, [&] { return sdkkit::Start(options); });
}

int SdkKitMetrics_Answer(struct mg_connection* conn, CustomReqInfo* req) {
  if (req->method != sdkkit::kGet) {
    return SendReponseInfo(conn, 405, 1, sdkkit::kNotAllowed.data(),
                           static_cast<int>(sdkkit::kNotAllowed.size()));
  }
  const int result = sdkkit::Guarded(sdkkit::kLog, [&] { return sdkkit::Send(conn, sdkkit::Text()); });
  return result == 0 ? 0 : SendReponseInfo(conn, 500, 0, nullptr, 0);
}

void SdkKitMetrics_Stop(void) { sdkkit::Set(nullptr); }
