// The trial of a new firmware: its starts are counted on the disk until it is confirmed.
#include "firmware/trial.h"

#include "base/file.h"
#include "base/json.h"
#include "base/log.h"

namespace sdkkit::firmware {
namespace {

constexpr std::size_t kMostBytes = 1024;

}  // namespace

std::optional<Trial> ReadTrial(const std::string& path) {
  const auto text = ReadFile(path, kMostBytes);
  if (!text) return std::nullopt;
  const auto value = ParseJson(*text, {.bytes = kMostBytes, .depth = 1});
  try {
    return Trial{.version = value.value().at("version"), .starts = value->at("starts")};
  } catch (const std::exception&) {
    Log{"firmware"}.Warning("%s cannot be read: no trial", path.c_str());
    return std::nullopt;
  }
}

bool WriteTrial(const std::string& path, const Trial& trial) {
  return ReplaceFile(path, ToText({{"version", trial.version}, {"starts", trial.starts}}) + '\n');
}

}  // namespace sdkkit::firmware
