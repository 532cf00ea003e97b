// The device's events: one queue, one sending thread, one tick a second.
#include "events.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

#include "commands.h"
#include "device.h"
#include "login_tokens.h"
#include "sdkapi/sdkapi.h"
#include "slot_guard.h"
#include "units.h"

namespace sim {
namespace {

using nlohmann::json;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostQueued = 1000;
constexpr auto kTick = std::chrono::seconds(1);

enum WebSocketEvent : int { kConnected = 0, kText = 1, kClosed = 2 };

struct Message {
  std::string token;  // empty: for all
  std::string text;   // empty: the whole state, made when it is sent
};

std::mutex mutex;
std::condition_variable wake;
std::deque<Message> queue;
std::map<std::string, int> connections;  // open connections per token
bool stopping = false;
std::thread sender;

// Past the bound the oldest event is given up: clients get the next status anyway.
void Queue(Message message) {
  {
    const std::lock_guard lock(mutex);
    if (queue.size() >= kMostQueued) queue.pop_front();
    queue.push_back(std::move(message));
  }
  wake.notify_one();
}

json HelloMessage() {
  return {{"type", "hello"},        {"model", kDeviceModel},   {"version", SoftwareVersion()},
          {"units", ExportUnits()}, {"status", StatusEvent()}, {"upgrade", CurrentUpgrade()}};
}

bool IsShared(const std::string& token) {
  const std::lock_guard lock(mutex);
  const auto found = connections.find(token);
  return found != connections.end() && found->second > 1;
}

void Send(const Message& message) {
  const std::string text = message.text.empty() ? HelloMessage().dump() : message.text;
  const int length = static_cast<int>(text.size());
  if (message.token.empty() || IsShared(message.token)) {
    WebSocketSendDataALL(text.c_str(), length);
  } else {
    WebSocketSendData(message.token.c_str(), text.c_str(), length);
  }
}

void Tick() {
  ForgetEndedLogins();
  TickDevice();
  if (CountClients() > 0) Publish(StatusEvent());
}

std::optional<Message> NextMessage(Clock::time_point until) {
  std::unique_lock lock(mutex);
  wake.wait_until(lock, until, [] { return stopping || !queue.empty(); });
  if (stopping || queue.empty()) return std::nullopt;
  Message message = std::move(queue.front());
  queue.pop_front();
  return message;
}

bool IsStopping() {
  const std::lock_guard lock(mutex);
  return stopping;
}

void RunSender() {
  Clock::time_point nextTick = Clock::now() + kTick;
  while (!IsStopping()) {
    Guarded([&] {
      if (const auto message = NextMessage(nextTick)) Send(*message);
      if (Clock::now() < nextTick) return 0;
      nextTick = Clock::now() + kTick;
      Tick();
      return 0;
    });
  }
}

void CountConnection(const std::string& token, int change) {
  const std::lock_guard lock(mutex);
  if ((connections[token] += change) <= 0) connections.erase(token);
}

}  // namespace

void StartEvents() {
  stopping = false;
  sender = std::thread(RunSender);
}

void StopEvents() {
  {
    const std::lock_guard lock(mutex);
    stopping = true;
    queue.clear();
  }
  wake.notify_one();
  if (sender.joinable()) sender.join();
}

void Publish(const json& event) { Queue({"", event.dump(-1, ' ', false, json::error_handler_t::replace)}); }

void SendTo(const std::string& token, const json& message) {
  Queue({token, message.dump(-1, ' ', false, json::error_handler_t::replace)});
}

int CountClients() {
  const std::lock_guard lock(mutex);
  int count = 0;
  for (const auto& [token, open] : connections) count += open;
  return count;
}

json StatusEvent() {
  return {{"type", "status"},
          {"uptime", DeviceUptime()},
          {"temperature", DeviceTemperature()},
          {"clients", CountClients()},
          {"online", CountOnlineUnits()}};
}

// Events 0 and 2 come under the server's lock: they only count and queue.
int OnWebSocket(int event, const char* token, const char* data, int length) {
  return Guarded([&] {
    if (event == kConnected) {
      CountConnection(token, 1);
      Queue({token, ""});
    } else if (event == kText) {
      CarryOut(token, std::string(data, static_cast<std::size_t>(length)));
    } else if (event == kClosed) {
      CountConnection(token, -1);
    }
    return 0;
  });
}

}  // namespace sim
