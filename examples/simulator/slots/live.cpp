// The WebSocket channel: the state for newcomers, commands, and what happens every second.
#include "slots/live.h"

#include <sdkapi/kit_events.h>

#include <stdexcept>
#include <string>

#include "bus/events.h"
#include "model/device.h"
#include "model/heartbeat.h"
#include "model/history.h"
#include "model/presets.h"
#include "model/reboot.h"
#include "model/units.h"
#include "slots/commands.h"
#include "slots/firmware.h"
#include "slots/slot_guard.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr uint32_t kKeyMilliseconds = 50;

void TellState(uint64_t client, const char* /*token*/) {
  Guarded([&] {
    json hello{{"type", "hello"},
               {"model", kDeviceModel},
               {"units", ExportUnits()},
               {"presets", ListPresets()},
               {"status", StatusEvent()}};
    // A newcomer told of an upgrade hears its end, too.
    WithUpgrade([&](const json& upgrade) {
      hello["version"] = SoftwareVersion();
      hello["upgrade"] = upgrade;
      AnswerTo(client, hello);
    });
    return 0;
  });
}

void TakeCommand(uint64_t client, const char* token, const char* text, size_t length) {
  Guarded([&] {
    AnswerTo(client, CarryOut(token, {text, length}));
    return 0;
  });
}

void Tick() {
  Guarded([] {
    TickFirmware();
    TickHistory();
    if (CountClients() > 0) Publish(StatusEvent());
    return 0;
  });
  Beat();
}

}  // namespace

void StartLive() {
  SdkKitEventsOptions options{};
  options.size = sizeof options;
  options.keyMilliseconds = kKeyMilliseconds;
  options.connected = TellState;
  options.command = TakeCommand;
  options.second = Tick;
  if (SdkKitEvents_Start(&options) != 0) throw std::runtime_error("the WebSocket channel cannot start");
}

void StopLive() { SdkKitEvents_Stop(); }

void FillLive(SdkAPISerHandle& table) { SdkKitEvents_Fill(&table); }

json StatusEvent() {
  return {{"type", "status"},
          {"uptime", DeviceUptime()},
          {"temperature", DeviceTemperature()},
          {"clients", CountClients()},
          {"online", CountOnlineUnits()}};
}

}  // namespace sim
