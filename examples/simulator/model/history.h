// What the device measured of itself in the last hour.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>

#include "sdkapi/extension.h"

namespace sim {

// What the server counts, at this moment; all 0 where it cannot tell.
SdkAPIExtStatistics ServerStatistics();

// Begins to measure; the rates of the first point are those since this call.
void StartHistory();

// Called once a second: adds a point when its time has come.
void TickHistory();

// The points that are newer than this number, column by column; 0: all.
nlohmann::json HistorySince(uint64_t number);

// What a rate of the columns comes to in the last minutes, such as refused requests.
double RecentTotal(const char* column, int64_t seconds);

}  // namespace sim
