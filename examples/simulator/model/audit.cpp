// Two rings of acts: those that were carried out, and those that were refused.
#include "model/audit.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <map>
#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

namespace sim {
namespace {

using nlohmann::json;

// Each: what is refused, which everybody can cause, does not push out what was done.
constexpr std::size_t kMostActs = 500;

struct Kept {
  uint64_t number;
  int64_t time;  // milliseconds since 1970, UTC
  Act act;
};

std::mutex mutex;
std::deque<Kept> done;
std::deque<Kept> refused;
uint64_t newest = 0;
int64_t begins = 0;

using Kind = std::pair<std::string_view, std::string_view>;

Kind KindOf(const Kept& kept) { return {kept.act.user, kept.act.action}; }

// The oldest of what is there most often: who repeats an act pushes out no other one, not even an own one.
void DropOne(std::deque<Kept>& ring) {
  std::map<Kind, std::size_t> counts;
  for (const Kept& kept : ring) ++counts[KindOf(kept)];
  const Kind most = std::ranges::max_element(counts, {}, &std::pair<const Kind, std::size_t>::second)->first;
  ring.erase(std::ranges::find(ring, most, KindOf));
}

int64_t Now() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

json ToJson(const Kept& kept) {
  const Act& act = kept.act;
  return {{"number", kept.number}, {"time", kept.time},   {"done", act.done},       {"subject", act.subject},
          {"action", act.action},  {"user", act.user},    {"address", act.address}, {"object", act.object},
          {"target", act.target},  {"reason", act.reason}};
}

}  // namespace

void StartAudit() {
  const std::lock_guard lock(mutex);
  done.clear();
  refused.clear();
  begins = Now();
}

uint64_t KeepAct(const Act& act) {
  const std::lock_guard lock(mutex);
  std::deque<Kept>& ring = act.done ? done : refused;
  ring.push_back({newest + 1, Now(), act});
  if (ring.size() > kMostActs) DropOne(ring);
  return ++newest;
}

json AuditSince(uint64_t number, const std::optional<std::string>& user) {
  const std::lock_guard lock(mutex);
  std::vector<const Kept*> found;
  for (const std::deque<Kept>* ring : {&done, &refused}) {
    for (const Kept& kept : *ring) {
      if (kept.number > number && (!user || kept.act.user == *user)) found.push_back(&kept);
    }
  }
  std::ranges::sort(found, {}, &Kept::number);
  json acts = json::array();
  for (const Kept* kept : found) acts.push_back(ToJson(*kept));
  return {{"begins", begins}, {"newest", newest}, {"acts", acts}};
}

}  // namespace sim
