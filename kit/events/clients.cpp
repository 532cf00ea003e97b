// The clients of the events: who is there, what each has still to get, how fast it may command.
#include "events/clients.h"

#include <algorithm>
#include <utility>

namespace sdkkit {
namespace {

constexpr int kPolicy = 1008;
constexpr int kTryAgainLater = 1013;

}  // namespace

void Clients::Clear() {
  clients_.clear();
  logins_.clear();
}

void Clients::Enroll(uint64_t id, const std::string& token) {
  clients_.insert_or_assign(id, Client{token, ++newest_});
  ++logins_[token].clients;
}

void Clients::Forget(uint64_t id) {
  const auto row = clients_.find(id);
  if (row != clients_.end()) Erase(row);
}

std::map<uint64_t, Clients::Client>::iterator Clients::Erase(std::map<uint64_t, Client>::iterator row) {
  const auto login = logins_.find(row->second.token);
  if (login != logins_.end() && --login->second.clients <= 0) logins_.erase(login);
  return clients_.erase(row);
}

std::optional<std::pair<uint64_t, std::string>> Clients::NextToGreet() {
  const auto row =
      std::ranges::find(clients_, Stage::kNew, [](const auto& each) { return each.second.stage; });
  if (row == clients_.end()) return std::nullopt;
  row->second.stage = Stage::kGreeting;
  return std::pair(row->first, row->second.token);
}

void Clients::Greeted(uint64_t id, const std::vector<EventText>& state) {
  const auto row = clients_.find(id);
  if (row == clients_.end()) return;
  row->second.backlog.PutInFront(state);
  row->second.stage = Stage::kOpen;
}

bool Clients::HasRoom(Client& client) const {
  const Backlog& backlog = client.backlog;
  if (backlog.texts() >= bounds_.texts || backlog.bytes() >= bounds_.bytes) client.tooSlow = true;
  return !client.tooSlow;
}

void Clients::Add(Client& client, const std::string& key, const EventText& text) const {
  if (!key.empty() && client.backlog.Replace(key, text)) return;
  if (!HasRoom(client)) return;
  if (key.empty()) {
    client.backlog.AddPlain(text);
  } else {
    client.backlog.AddKeyed(key, text);
  }
}

void Clients::AddForAll(const std::string& key, const EventText& text) {
  for (auto& [id, client] : clients_) {
    if (client.stage != Stage::kNew) Add(client, key, text);
  }
}

bool Clients::AddFor(uint64_t id, const EventText& text) {
  const auto row = clients_.find(id);
  if (row == clients_.end() || !HasRoom(row->second)) return false;
  row->second.backlog.AddAnswer(text);
  return true;
}

void Clients::LayOut(std::size_t bytes, std::size_t mostTexts) {
  for (auto& [id, client] : clients_) {
    if (client.stage == Stage::kOpen && client.laidOut.empty())
      client.laidOut = client.backlog.Take(bytes, mostTexts);
  }
}

std::vector<Farewell> Clients::Part(const Surroundings& around, uint64_t upTo) {
  std::vector<Farewell> farewells;
  for (auto row = clients_.begin(); row != clients_.end();) {
    const auto& [id, client] = *row;
    const bool known = client.enrolled <= upTo;  // the look around was later
    const bool gone = known && !around.IsOpen(id);
    const bool ended = known && !around.IsValid(client.token);
    if (!gone && ended) farewells.push_back({id, kPolicy, "login ended", around.AddressOf(id)});
    if (!gone && !ended && client.tooSlow)
      farewells.push_back({id, kTryAgainLater, "too slow", around.AddressOf(id)});
    row = gone || ended || client.tooSlow ? Erase(row) : std::next(row);
  }
  return farewells;
}

EventText Clients::Take(uint64_t id) {
  const auto row = clients_.find(id);
  if (row == clients_.end() || row->second.laidOut.empty()) return nullptr;
  EventText text = std::move(row->second.laidOut.front());
  row->second.laidOut.pop_front();
  return text;
}

bool Clients::SomeoneIsSlow() const {
  return std::ranges::any_of(clients_, [](const auto& row) { return !row.second.laidOut.empty(); });
}

bool Clients::HasMoreToLayOut() const {
  return std::ranges::any_of(clients_, [](const auto& row) {
    const Client& client = row.second;
    return client.stage == Stage::kOpen && client.laidOut.empty() && !client.backlog.empty();
  });
}

int Clients::CountIn(const Surroundings& around) const {
  return static_cast<int>(std::ranges::count_if(clients_, [&](const auto& row) {
    return around.IsOpen(row.first) && around.IsValid(row.second.token);
  }));
}

std::optional<PaceClock::time_point> Clients::NextCommand(uint64_t id, PaceClock::time_point now) {
  const auto row = clients_.find(id);
  if (row == clients_.end()) return std::nullopt;
  CommandPace& shared = logins_[row->second.token].pace;
  return std::max(row->second.pace.Next(now, bounds_.commandsPerSecond),
                  shared.Next(now, bounds_.loginCommandsPerSecond));
}

}  // namespace sdkkit
