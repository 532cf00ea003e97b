// The trial of a new firmware: its starts are counted on the disk until it is confirmed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace sdkkit::firmware {

struct Trial {
  std::string version;  // the new one
  uint32_t starts = 0;  // counted before each of them does anything
};

// Nothing when there is no trial, or none that can be read.
std::optional<Trial> ReadTrial(const std::string& path);
bool WriteTrial(const std::string& path, const Trial& trial);

}  // namespace sdkkit::firmware
