// The checks of the device's health: what is measured, and from where on it matters.
#include "model/health.h"

#include <sdkapi/kit_certificate.h>
#include <sdkapi/kit_upload.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <optional>

#include "model/device.h"
#include "model/history.h"
#include "store/paths.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr int64_t kRecently = 600;  // seconds
constexpr double kDaySeconds = 86400;

bool wasCutOff = false;

using Value = std::optional<double>;

double Percent(double part, double whole) { return whole > 0 ? std::round(part * 100 / whole) : 0; }

Value StoragePercent() {
  SdkKitUploadUsage usage{};
  usage.size = sizeof usage;
  if (SdkKitUpload_Usage(&usage) != 0) return std::nullopt;
  return Percent(static_cast<double>(usage.stored + usage.arriving), static_cast<double>(usage.budget));
}

Value FreeMebibytes() {
  std::error_code fault;
  const auto space = std::filesystem::space(".", fault);
  return fault ? Value() : std::floor(static_cast<double>(space.available) / (1 << 20));
}

// Whole days; nothing without a certificate.
Value CertificateDays() {
  SdkKitCertificateInfo info{};
  info.size = sizeof info;
  if (SdkKitCertificate_Info(nullptr, &info) != 0) return std::nullopt;
  return std::floor(static_cast<double>(info.notAfter - std::time(nullptr)) / kDaySeconds);
}

Value BusyPercent() {
  const SdkAPIExtStatistics statistics = ServerStatistics();
  if (statistics.complete == 0) return std::nullopt;
  return Percent(static_cast<double>(statistics.busyWorkers), static_cast<double>(statistics.workers));
}

// Beyond `warning` somebody should look, beyond `critical` soon. Where the first is larger, small values are
// bad.
struct Check {
  const char* subject;
  const char* unit;
  double warning;
  double critical;
  Value (*read)();
};

constexpr std::array kChecks{
    Check{"temperature", "°C", 60, 75, [] { return Value(DeviceTemperature()); }},
    Check{"storage", "percent", 80, 95, StoragePercent},
    Check{"disk", "MiB", 256, 64, FreeMebibytes},
    Check{"certificate", "days", 30, 0, CertificateDays},
    Check{"load", "percent", 70, 90, BusyPercent},
    Check{"refusals", "in 10 minutes", 100, 10000, [] { return Value(RecentTotal("refused", kRecently)); }},
    Check{"restart", "cut-offs", 1, 2, [] { return Value(wasCutOff ? 1 : 0); }},
};

constexpr std::array kStates{"good", "warning", "critical"};

std::size_t Judge(const Check& check, double value) {
  const bool isSmallBad = check.warning > check.critical;
  const auto reaches = [&](double limit) { return isSmallBad ? value <= limit : value >= limit; };
  return reaches(check.critical) ? 2 : reaches(check.warning) ? 1 : 0;
}

}  // namespace

void StartHealth() {
  wasCutOff = std::filesystem::exists(kRunningMark);  // found at a start: the run before took it away no more
  std::ofstream file(kRunningMark);                   // without it the next start knows less, no more
}

void StopHealth() {
  std::error_code ignored;
  std::filesystem::remove(kRunningMark, ignored);
}

json HealthBody() {
  json checks = json::array();
  std::size_t worst = 0;
  for (const Check& check : kChecks) {
    const Value value = check.read();
    if (!value) continue;
    const std::size_t state = Judge(check, *value);
    worst = std::max(worst, state);
    checks.push_back({{"subject", check.subject},
                      {"state", kStates[state]},
                      {"value", *value},
                      {"limit", check.warning},
                      {"unit", check.unit}});
  }
  return {{"verdict", kStates[worst]}, {"uptime", DeviceUptime()}, {"checks", checks}};
}

}  // namespace sim
