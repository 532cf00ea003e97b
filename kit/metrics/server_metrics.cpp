// What the server and the process tell of themselves.
#include "metrics/server_metrics.h"

#include <dirent.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>

#include "sdkapi/extension.h"

namespace sdkkit {
namespace {

using Statistics = SdkAPIExtStatistics;

struct Row {
  const char* name;
  const char* help;
  bool counter;
  bool server;  // only a web server that can tell has it
  const char* labels;
  uint64_t Statistics::*field;
};

constexpr bool kGauge = false;
constexpr bool kCounter = true;
constexpr bool kLibrary = false;
constexpr bool kServer = true;

constexpr const char* kUploads = "Uploads by how they ended.";
constexpr const char* kDownloads = "Downloads by how they ended.";
constexpr const char* kLogins = "Logins by what the device said.";
constexpr const char* kRefused = "What was refused, by the limit that was met.";

constexpr Row kRows[] = {
    {"sdkapi_uptime_seconds", "Time since the server was started.", kGauge, kLibrary, "",
     &Statistics::uptimeSeconds},
    {"sdkapi_workers", "Workers that there may be.", kGauge, kServer, "", &Statistics::workers},
    {"sdkapi_busy_workers", "Workers that serve a connection.", kGauge, kServer, "",
     &Statistics::busyWorkers},
    {"sdkapi_connections", "Open connections.", kGauge, kServer, "", &Statistics::connections},
    {"sdkapi_idle_connections", "Open connections without a worker.", kGauge, kServer, "",
     &Statistics::idleConnections},
    {"sdkapi_previews", "Open previews.", kGauge, kLibrary, "", &Statistics::previews},
    {"sdkapi_websockets", "Open WebSockets.", kGauge, kLibrary, "", &Statistics::webSockets},
    {"sdkapi_sessions", "Registered logins.", kGauge, kLibrary, "", &Statistics::logins},
    {"sdkapi_accepted_connections_total", "Accepted connections.", kCounter, kServer, "",
     &Statistics::acceptedConnections},
    {"sdkapi_received_bytes_total", "Bytes that clients sent.", kCounter, kServer, "", &Statistics::bytesIn},
    {"sdkapi_sent_bytes_total", "Bytes that clients were sent.", kCounter, kServer, "",
     &Statistics::bytesOut},
    {"sdkapi_uploads_total", kUploads, kCounter, kLibrary, R"(result="ok")", &Statistics::uploads},
    {"sdkapi_uploads_total", kUploads, kCounter, kLibrary, R"(result="failed")", &Statistics::failedUploads},
    {"sdkapi_downloads_total", kDownloads, kCounter, kLibrary, R"(result="ok")", &Statistics::downloads},
    {"sdkapi_downloads_total", kDownloads, kCounter, kLibrary, R"(result="failed")",
     &Statistics::failedDownloads},
    {"sdkapi_logins_total", kLogins, kCounter, kLibrary, R"(result="granted")", &Statistics::grantedLogins},
    {"sdkapi_logins_total", kLogins, kCounter, kLibrary, R"(result="denied")", &Statistics::deniedLogins},
    {"sdkapi_dropped_frames_total", "Frames lost before their handshake was complete.", kCounter, kLibrary,
     "", &Statistics::droppedFrames},
    {"sdkapi_overrun_websockets_total", "WebSockets that ended because their client did not read.", kCounter,
     kServer, "", &Statistics::overrunWebSockets},
    {"sdkapi_refused_total", kRefused, kCounter, kServer, R"(what="connection")",
     &Statistics::refusedConnections},
    {"sdkapi_refused_total", kRefused, kCounter, kLibrary, R"(what="preview")", &Statistics::refusedPreviews},
    {"sdkapi_refused_total", kRefused, kCounter, kLibrary, R"(what="websocket")",
     &Statistics::refusedWebSockets},
    {"sdkapi_refused_total", kRefused, kCounter, kLibrary, R"(what="stream")", &Statistics::refusedStreams},
    {"sdkapi_refused_total", kRefused, kCounter, kLibrary, R"(what="worker")",
     &Statistics::refusedForWorkers},
    {"sdkapi_refused_total", kRefused, kCounter, kLibrary, R"(what="body")", &Statistics::refusedBodies},
    {"sdkapi_refused_total", kRefused, kCounter, kLibrary, R"(what="upload")", &Statistics::refusedUploads},
    {"sdkapi_refused_total", kRefused, kCounter, kLibrary, R"(what="login")", &Statistics::refusedLogins},
    {"sdkapi_refused_total", kRefused, kCounter, kLibrary, R"(what="message")", &Statistics::refusedMessages},
};

constexpr const char* kStatuses[] = {"none", "1xx", "2xx", "3xx", "4xx", "5xx"};
static_assert(sizeof kStatuses / sizeof *kStatuses ==
              sizeof Statistics{}.requests / sizeof *Statistics{}.requests);

void AddRequests(Exposition& text, const Statistics& statistics) {
  for (std::size_t i = 0; i < sizeof kStatuses / sizeof *kStatuses; ++i) {
    text.Add("sdkapi_requests_total", "Requests by their status.", kCounter,
             std::string("status=\"") + kStatuses[i] + "\"", static_cast<double>(statistics.requests[i]));
  }
}

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

// The number of names in a folder of the process; "." and ".." aside.
double Entries(const char* folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> open(opendir(folder), closedir);
  double entries = 0;
  while (open != nullptr && readdir(open.get()) != nullptr) ++entries;
  return entries < 2 ? 0 : entries - 2;
}

double ResidentBytes() {
  std::ifstream file("/proc/self/statm");
  unsigned long total = 0, resident = 0;
  if (!(file >> total >> resident)) return 0;
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

}  // namespace

void AddServerMetrics(Exposition& text) {
  Statistics statistics{};
  statistics.size = sizeof statistics;
  if (SdkAPIExt_Statistics_Get(&statistics) != 0) return;
  for (const Row& row : kRows) {
    if (row.server && statistics.complete == 0) continue;
    text.Add(row.name, row.help, row.counter, row.labels, static_cast<double>(statistics.*row.field));
  }
  if (statistics.complete != 0) AddRequests(text, statistics);
}

void AddProcessMetrics(Exposition& text) {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  text.Add("process_cpu_seconds_total", "CPU time of the process.", kCounter, "",
           Seconds(usage.ru_utime) + Seconds(usage.ru_stime));
  text.Add("process_resident_memory_bytes", "Memory of the process.", kGauge, "", ResidentBytes());
  text.Add("process_open_fds", "Open file descriptors.", kGauge, "", Entries("/proc/self/fd"));
  text.Add("process_threads", "Threads of the process.", kGauge, "", Entries("/proc/self/task"));
}

}  // namespace sdkkit
