// The bus: what the device tells its WebSocket clients.
#include "bus/events.h"

#include <sdkapi/extension.h>
#include <sdkapi/kit_events.h>

#include <atomic>
#include <string>

namespace sim {
namespace {

using nlohmann::json;

constexpr unsigned int kLogLines = 20;

std::string ToText(const json& value) { return value.dump(-1, ' ', false, json::error_handler_t::replace); }

// Of the lines of a flood the newest wait for a slow client, and it is not sent away for them.
std::string LogKey() {
  static std::atomic<unsigned int> number{0};
  return "log " + std::to_string(number++ % kLogLines);
}

// What a newer event of the same kind makes superfluous; empty when it has to arrive.
std::string KeyOf(const json& event) {
  std::string type = event["type"];
  if (type == "log") return LogKey();
  if (type == "status" || type == "audit") return type;
  if (type == "unit" && !event.contains("was")) return "unit " + event["unit"]["name"].get<std::string>();
  if (type == "upgrade" && event["phase"] == "receiving") return type;
  if (type == "upload" && event["done"] == false) return "upload " + event["route"].get<std::string>();
  return "";
}

}  // namespace

void Publish(const json& event) {
  const std::string key = KeyOf(event);
  SdkKitEvents_Publish(key.empty() ? nullptr : key.c_str(), ToText(event).c_str());
}

void PublishNow(const json& event) {
  const std::string text = ToText(event);
  SdkAPIExt_WebSocket_Send_Valid(kExtText, text.data(), text.size());
}

void AnswerTo(uint64_t client, const json& message) { SdkKitEvents_Answer(client, ToText(message).c_str()); }

int CountClients() { return SdkKitEvents_Clients(); }

}  // namespace sim
