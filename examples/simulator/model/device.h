// The device itself: model, version, clock.
#pragma once

#include <cstdint>
#include <string>

namespace sim {

inline constexpr const char* kDeviceModel = "SIM-8X8";

// Reads the version of the firmware that has started.
void StartDevice();

std::string SoftwareVersion();

// Seconds since the device started, whole; and degrees Celsius.
int64_t DeviceUptime();
double DeviceTemperature();

}  // namespace sim
