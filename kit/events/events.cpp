// The events at work: what the exported functions and the slots lead to, and the thread that sends.
#include "events/events.h"

#include <utility>

#include "base/guarded.h"
#include "base/log.h"
#include "sdkapi/extension.h"

namespace sdkkit {
namespace {

constexpr Log kLog{"events"};

constexpr int kGreetedInATurn = 8;

// What the library holds for a client: beyond it texts wait here, where a newer one can take their place. Not
// more than that is published in a turn either, so that whoever reads never falls behind.
constexpr uint32_t kBytesInATurn = 131072;
constexpr std::size_t kTextsInATurn = 512;
constexpr auto kLookAgain = std::chrono::milliseconds(20);
constexpr auto kSecond = std::chrono::seconds(1);

int TakeMessage(uint64_t id, const char* token, int /*frame*/, const char* data, std::size_t length) {
  return Guarded(
      kLog, [&] { return Events::The().Command(id, token, data, length), 0; }, 0);
}

// Commands are texts. As without the kit, a binary message ends nothing.
int IgnoreBinary(uint64_t /*id*/, const char* /*token*/, const void* /*data*/, std::size_t /*length*/) {
  return 0;
}

void TakeWebSockets(const SdkKitEventsOptions& options) {
  const SdkAPIExtWebSocketSlots slots{sizeof slots, 0, TakeMessage, IgnoreBinary};
  SdkAPIExtWebSocketLimits limits{};
  limits.size = sizeof limits;
  limits.mostQueuedFrames = kBytesInATurn;  // the bytes are counted here
  limits.mostMessageBytes = options.mostCommandBytes;
  SdkAPIExt_WebSocket_Slots_Set(&slots);
  SdkAPIExt_WebSocket_Limits_Set(&limits);
}

thread_local bool t_isSender = false;

}  // namespace

Events& Events::The() {
  static Events events;
  return events;
}

int Events::Start(const SdkKitEventsOptions& options) {
  const std::lock_guard control(control_);
  if (sender_.joinable()) return -1;
  {
    const std::lock_guard lock(mutex_);
    options_ = options;
    clients_.Clear();
    clients_.SetBounds({options_.mostWaitingTexts, options_.mostWaitingBytes, options_.commandsPerSecond,
                        options_.loginCommandsPerSecond});
    keys_.Clear();
    keys_.SetInterval(std::chrono::milliseconds(options_.keyMilliseconds));
    running_ = true;
    hasWork_ = isBehind_ = false;
    textsSinceTurn_ = bytesSinceTurn_ = 0;
  }
  TakeWebSockets(options_);
  sender_ = std::thread(&Events::Run, this);
  return 0;
}

bool Events::Stop() {
  if (t_isSender) return false;
  const std::lock_guard control(control_);
  if (!sender_.joinable()) return true;
  {
    const std::lock_guard lock(mutex_);
    running_ = false;
  }
  wake_.notify_all();
  turn_.notify_all();
  sender_.join();
  SdkAPIExt_WebSocket_Slots_Set(nullptr);
  SdkAPIExt_WebSocket_Limits_Set(nullptr);
  const std::lock_guard lock(mutex_);
  clients_.Clear();
  keys_.Clear();
  return true;
}

int Events::Publish(const char* key, const char* text) {
  const auto shared = std::make_shared<const std::string>(text);
  {
    const std::lock_guard lock(mutex_);
    if (!running_) return -1;
    const bool tooMany = textsSinceTurn_ >= kTextsInATurn || bytesSinceTurn_ >= kBytesInATurn;
    if (key == nullptr && tooMany) return -1;
    ++textsSinceTurn_;
    bytesSinceTurn_ += shared->size();
    hasWork_ = true;
    const auto now = PaceClock::now();
    if (key == nullptr) {
      ReleaseHeld();
      clients_.AddForAll("", shared);
    } else if (tooMany) {
      keys_.Hold(key, shared, now);
    } else if (keys_.Passes(key, shared, now)) {
      clients_.AddForAll(key, shared);
    }
  }
  wake_.notify_one();
  return 0;
}

void Events::ReleaseHeld() {
  for (const auto& [key, text] : keys_.TakeAll()) clients_.AddForAll(key, text);
}

int Events::Answer(uint64_t id, const char* text) {
  const auto shared = std::make_shared<const std::string>(text);
  {
    const std::lock_guard lock(mutex_);
    if (!running_) return -1;
    if (id == greeting_ && std::this_thread::get_id() == sender_.get_id()) {
      state_.push_back(shared);
      return 0;
    }
    hasWork_ = true;
    if (!clients_.AddFor(id, shared)) return -1;
  }
  wake_.notify_one();
  return 0;
}

int Events::Count() {
  Surroundings around;
  around.Look();
  const std::lock_guard lock(mutex_);
  return clients_.CountIn(around);
}

void Events::Connected(uint64_t id, const char* token) {
  {
    const std::lock_guard lock(mutex_);
    if (!running_) return;
    clients_.Enroll(id, token);
    hasWork_ = true;
  }
  wake_.notify_one();
}

void Events::Closed(uint64_t id) {
  const std::lock_guard lock(mutex_);
  clients_.Forget(id);
}

void Events::Command(uint64_t id, const char* token, const char* text, std::size_t length) {
  if (AwaitTurn(id) && options_.command != nullptr) options_.command(id, token, text, length);
}

// The connection's own worker waits: nobody reads from this client meanwhile, and nobody else is held up.
bool Events::AwaitTurn(uint64_t id) {
  std::unique_lock lock(mutex_);
  if (!running_) return false;
  const auto due = clients_.NextCommand(id, PaceClock::now());
  return due && !turn_.wait_until(lock, *due, [this] { return !running_; });
}

bool Events::IsStopping() {
  const std::lock_guard lock(mutex_);
  return !running_;
}

void Events::Run() {
  t_isSender = true;
  auto nextSecond = PaceClock::now() + kSecond;
  while (!IsStopping()) {
    Guarded(kLog, [&] {
      WaitForWork(nextSecond);
      if (IsStopping()) return 0;
      Turn();
      if (PaceClock::now() < nextSecond) return 0;
      nextSecond = PaceClock::now() + kSecond;
      SdkAPIExt_Login_Limits_Check();
      if (options_.second != nullptr) options_.second();
      return 0;
    });
  }
}

void Events::WaitForWork(PaceClock::time_point nextSecond) {
  std::unique_lock lock(mutex_);
  auto until = nextSecond;
  if (isBehind_) until = std::min(until, PaceClock::now() + kLookAgain);
  if (const auto due = keys_.NextDue()) until = std::min(until, *due);
  wake_.wait_until(lock, until, [this] { return !running_ || hasWork_; });
}

// What is sent was laid out before the look around: a login that ended earlier gets nothing of what came
// later.
void Events::Turn() {
  GreetSome();
  const uint64_t upTo = LayOut();
  around_.Look();
  LetGo(upTo);
  for (const auto& [id, socket] : around_.open()) SendTo(id, socket.queuedBytes);
  const std::lock_guard lock(mutex_);
  isBehind_ = clients_.SomeoneIsSlow();
  hasWork_ = hasWork_ || clients_.HasMoreToLayOut();
}

uint64_t Events::LayOut() {
  const std::lock_guard lock(mutex_);
  for (const auto& [key, text] : keys_.TakeDue(PaceClock::now())) clients_.AddForAll(key, text);
  textsSinceTurn_ = bytesSinceTurn_ = 0;
  clients_.LayOut(kBytesInATurn, kTextsInATurn);
  return clients_.newest();
}

void Events::LetGo(uint64_t upTo) {
  std::vector<Farewell> farewells;
  {
    const std::lock_guard lock(mutex_);
    farewells = clients_.Part(around_, upTo);
  }
  for (const Farewell& farewell : farewells) {
    kLog.Audit({.action = "let-go", .object = farewell.address.c_str(), .target = farewell.reason},
               "%s is let go: %s", farewell.address.c_str(), farewell.reason);
    SdkAPIExt_WebSocket_Close(farewell.id, farewell.code, farewell.reason);
  }
}

// Some at a time: who is there already gets events between the states that newcomers are told.
void Events::GreetSome() {
  for (int count = 0; count < kGreetedInATurn; ++count) {
    std::unique_lock lock(mutex_);
    hasWork_ = false;
    const auto next = clients_.NextToGreet();
    if (!next) return;
    hasWork_ = true;  // there may be more of them
    greeting_ = next->first;
    lock.unlock();
    Greet(next->first, next->second);
  }
}

void Events::Greet(uint64_t id, const std::string& token) {
  Guarded(kLog, [&] {
    if (options_.connected != nullptr) options_.connected(id, token.c_str());
    return 0;
  });
  const std::lock_guard lock(mutex_);
  clients_.Greeted(id, std::exchange(state_, {}));
  greeting_ = 0;
}

EventText Events::Next(uint64_t id) {
  const std::lock_guard lock(mutex_);
  return clients_.Take(id);
}

void Events::SendTo(uint64_t id, uint64_t alreadyQueued) {
  while (alreadyQueued < kBytesInATurn) {
    const EventText text = Next(id);
    if (text == nullptr) return;
    // One that takes no more has gone, or is closing.
    if (SdkAPIExt_WebSocket_Send(id, kExtText, text->data(), text->size()) != 0) return Closed(id);
    alreadyQueued += text->size();
  }
}

}  // namespace sdkkit
