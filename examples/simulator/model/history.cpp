// A ring of points: what the device measured of itself in the last hour.
#include "model/history.h"

#include <array>
#include <chrono>
#include <cmath>
#include <deque>
#include <iterator>
#include <mutex>
#include <numeric>
#include <string_view>

#include "bus/events.h"
#include "model/device.h"

namespace sim {
namespace {

using nlohmann::json;
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr auto kStep = std::chrono::seconds(10);
constexpr std::size_t kMostPoints = 360;

double AllRequests(const SdkAPIExtStatistics& all) {
  return static_cast<double>(std::accumulate(std::begin(all.requests), std::end(all.requests), uint64_t{0}));
}

// What is counted becomes a rate over the real distance of two points.
enum class Kind { kNow, kCounted };

struct Column {
  const char* name;
  const char* unit;
  Kind kind;
  double (*read)(const SdkAPIExtStatistics&);
};

constexpr std::array kColumns{
    Column{"temperature", "°C", Kind::kNow, [](const auto&) { return DeviceTemperature(); }},
    Column{"clients", "clients", Kind::kNow, [](const auto&) { return static_cast<double>(CountClients()); }},
    Column{"connections", "connections", Kind::kNow,
           [](const auto& all) { return static_cast<double>(all.connections); }},
    Column{"requests", "requests/s", Kind::kCounted, AllRequests},
    Column{"received", "bytes/s", Kind::kCounted,
           [](const auto& all) { return static_cast<double>(all.bytesIn); }},
    Column{"sent", "bytes/s", Kind::kCounted,
           [](const auto& all) { return static_cast<double>(all.bytesOut); }},
    Column{"refused", "requests/s", Kind::kCounted,
           [](const auto& all) { return static_cast<double>(all.requests[4] + all.refusedConnections); }},
    Column{"failed", "requests/s", Kind::kCounted,
           [](const auto& all) { return static_cast<double>(all.requests[5]); }},
};

using Values = std::array<double, kColumns.size()>;

struct Point {
  uint64_t number;
  Clock::time_point begins;  // the point before
  Clock::time_point at;
  Values values;
};

std::mutex mutex;
std::deque<Point> points;
uint64_t newest = 0;
Clock::time_point last;
Values lastRead;

Values ReadAll() {
  const SdkAPIExtStatistics statistics = ServerStatistics();
  Values values{};
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = kColumns[i].read(statistics);
  return values;
}

double Rounded(double value) { return std::round(value * 1000.0) / 1000.0; }

void AddPoint(Clock::time_point now) {
  const Values read = ReadAll();
  const double seconds = Seconds(now - last).count();
  Point point{++newest, last, now, read};
  for (std::size_t i = 0; i < read.size(); ++i) {
    if (kColumns[i].kind == Kind::kCounted) point.values[i] = (read[i] - lastRead[i]) / seconds;
  }
  points.push_back(point);
  if (points.size() > kMostPoints) points.pop_front();
  last = now;
  lastRead = read;
}

// A clock that is set moves all points alike, so that their distances stay right.
double WallTime(Clock::time_point at) {
  const double now = Seconds(std::chrono::system_clock::now().time_since_epoch()).count();
  return Rounded(now - Seconds(Clock::now() - at).count());
}

json Units() {
  json units = json::object();
  for (const Column& column : kColumns) units[column.name] = column.unit;
  return units;
}

}  // namespace

SdkAPIExtStatistics ServerStatistics() {
  SdkAPIExtStatistics statistics{};
  statistics.size = sizeof statistics;
  SdkAPIExt_Statistics_Get(&statistics);
  return statistics;
}

void StartHistory() {
  const std::lock_guard lock(mutex);
  points.clear();
  last = Clock::now();
  lastRead = ReadAll();
}

void TickHistory() {
  const auto now = Clock::now();
  const std::lock_guard lock(mutex);
  if (now - last >= kStep) AddPoint(now);
}

json HistorySince(uint64_t number) {
  json columns = {{"time", json::array()}};
  for (const Column& column : kColumns) columns[column.name] = json::array();
  const std::lock_guard lock(mutex);
  for (const Point& point : points) {
    if (point.number <= number) continue;
    columns["time"].push_back(WallTime(point.at));
    for (std::size_t i = 0; i < kColumns.size(); ++i)
      columns[kColumns[i].name].push_back(Rounded(point.values[i]));
  }
  return {{"step", std::chrono::seconds(kStep).count()},
          {"most", kMostPoints},
          {"newest", newest},
          {"begins", WallTime(points.empty() ? last : points.front().begins)},
          {"units", Units()},
          {"columns", columns}};
}

double RecentTotal(const char* column, int64_t seconds) {
  std::size_t index = 0;
  while (std::string_view(kColumns[index].name) != column) ++index;
  const auto oldest = Clock::now() - std::chrono::seconds(seconds);
  const std::lock_guard lock(mutex);
  double total = 0;
  for (const Point& point : points) {
    if (point.at > oldest) total += point.values[index] * Seconds(point.at - point.begins).count();
  }
  return std::round(total);
}

}  // namespace sim
