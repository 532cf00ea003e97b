// The clients of the events: who is there, what each has still to get, how fast it may command.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "events/backlog.h"
#include "events/pace.h"
#include "events/surroundings.h"

namespace sdkkit {

// A connection that has to be closed, and why.
struct Farewell {
  uint64_t id;
  int code;
  const char* reason;
  std::string address;
};

struct ClientBounds {
  std::size_t texts;
  std::size_t bytes;
  uint32_t commandsPerSecond;
  uint32_t loginCommandsPerSecond;
};

// The caller holds the lock of the events around every function.
class Clients {
 public:
  void SetBounds(const ClientBounds& bounds) { bounds_ = bounds; }
  void Clear();

  void Enroll(uint64_t id, const std::string& token);
  void Forget(uint64_t id);

  // A client that has not been told the state yet; it gets what is published from now on.
  std::optional<std::pair<uint64_t, std::string>> NextToGreet();
  // What it is told comes before everything else.
  void Greeted(uint64_t id, const std::vector<EventText>& state);

  // A text for everybody who has been told the state; an empty key is none.
  void AddForAll(const std::string& key, const EventText& text);
  // False when there is no such client.
  bool AddFor(uint64_t id, const EventText& text);

  // Lays out for each client what may be sent to it next: what comes later waits for another turn.
  void LayOut(std::size_t bytes, std::size_t mostTexts);
  // A number that grows with each client.
  uint64_t newest() const { return newest_; }
  // Forgets those that have gone, of those enrolled up to this number, and those that must go.
  std::vector<Farewell> Part(const Surroundings& around, uint64_t upTo);
  // The next text that was laid out for this client; null when there is none.
  EventText Take(uint64_t id);

  // Whether a client takes less than there is; whether one that takes all has more to come.
  bool SomeoneIsSlow() const;
  bool HasMoreToLayOut() const;
  int CountIn(const Surroundings& around) const;
  // When its next command may run; nothing when there is no such client.
  std::optional<PaceClock::time_point> NextCommand(uint64_t id, PaceClock::time_point now);

 private:
  enum class Stage { kNew, kGreeting, kOpen };

  struct Client {
    std::string token;
    uint64_t enrolled;
    Stage stage = Stage::kNew;
    bool tooSlow = false;
    Backlog backlog{};
    std::deque<EventText> laidOut{};
    CommandPace pace{};
  };

  bool HasRoom(Client& client) const;
  void Add(Client& client, const std::string& key, const EventText& text) const;
  std::map<uint64_t, Client>::iterator Erase(std::map<uint64_t, Client>::iterator row);

  struct Login {
    int clients = 0;
    CommandPace pace{};
  };

  ClientBounds bounds_{};
  std::map<uint64_t, Client> clients_;
  std::map<std::string, Login> logins_;
  uint64_t newest_ = 0;
};

}  // namespace sdkkit
