// The events at work: what the exported functions and the slots lead to, and the thread that sends.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "events/backlog.h"
#include "events/clients.h"
#include "events/pace.h"
#include "events/surroundings.h"
#include "sdkapi/kit_events.h"

namespace sdkkit {

class Events {
 public:
  static Events& The();
  ~Events() { Stop(); }

  // -1 when they run. What the functions below take has been judged.
  int Start(const SdkKitEventsOptions& options);
  // False, and nothing happens, on the sending thread: it would wait for itself.
  bool Stop();

  int Publish(const char* key, const char* text);
  int Answer(uint64_t id, const char* text);
  int Count();

  // Under the server's lock: they only note.
  void Connected(uint64_t id, const char* token);
  void Closed(uint64_t id);
  // On the connection's worker: waits for the client's turn.
  void Command(uint64_t id, const char* token, const char* text, std::size_t length);

 private:
  void Run();
  void WaitForWork(PaceClock::time_point nextSecond);
  void Turn();
  void ReleaseHeld();
  void GreetSome();
  void Greet(uint64_t id, const std::string& token);
  uint64_t LayOut();
  void LetGo(uint64_t upTo);
  void SendTo(uint64_t id, uint64_t alreadyQueued);
  EventText Next(uint64_t id);
  bool AwaitTurn(uint64_t id);
  bool IsStopping();

  std::mutex control_;  // of start and stop
  std::thread sender_;

  std::mutex mutex_;  // guards what follows; nothing outside is called under it
  std::condition_variable wake_;
  std::condition_variable turn_;
  bool running_ = false;
  bool hasWork_ = false;
  bool isBehind_ = false;  // somebody takes less than there is
  std::size_t textsSinceTurn_ = 0;
  std::size_t bytesSinceTurn_ = 0;
  SdkKitEventsOptions options_{};
  Clients clients_;
  KeyPace keys_;
  uint64_t greeting_ = 0;  // whom the sending thread tells the state, and what
  std::vector<EventText> state_;

  Surroundings around_;  // the sending thread's own
};

}  // namespace sdkkit
