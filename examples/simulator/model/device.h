// The device itself: model, version, clock, and its simulated reboot.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "sdkapi/sdkapi.h"

namespace sim {

inline constexpr const char* kDeviceModel = "SIM-8X8";

// Reads the version of the firmware that has started.
void StartDevice();

std::string SoftwareVersion();

// Seconds since the device started, whole; and degrees Celsius.
int64_t DeviceUptime();
double DeviceTemperature();

// The device is gone for three seconds, then back with the version; false while it is gone already.
bool BeginRebootSimulation(const std::string& version);
bool Rebooting();

// The running upgrade's last event, or null.
nlohmann::json CurrentUpgrade();

// Called once a second: ends a reboot whose time is over, and confirms a new firmware that works.
void TickDevice();

// Slots of the host table.
int FillDeviceInfo(const char* token, DeviceInfo* info);
int WriteUptime(char* uptime);

}  // namespace sim
