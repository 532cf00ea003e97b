// The WebSocket channel: the state for newcomers, commands, and what happens every second.
#pragma once

#include <nlohmann/json.hpp>

#include "sdkapi/sdkapi.h"

namespace sim {

// Before the server starts, and around its stop.
void StartLive();
void StopLive();

// Puts the channel's slot into the host table.
void FillLive(SdkAPISerHandle& table);

// The `status` event as it is now.
nlohmann::json StatusEvent();

}  // namespace sim
