// Why uploads were refused, for those who sent them: the answer itself has no room for it.
#include "model/refusals.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>

#include "model/users.h"

namespace sim {
namespace {

using nlohmann::json;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostRefusals = 64;  // of all logins together: the oldest make room

struct Refusal {
  uint64_t login;
  std::string route;
  std::string reason;
  Clock::time_point when;
};

std::mutex g_mutex;
std::deque<Refusal> g_refusals;  // the newest first

void Forget(uint64_t login, const std::string& route) {
  std::erase_if(g_refusals,
                [&](const Refusal& refusal) { return refusal.login == login && refusal.route == route; });
}

int64_t AgeOf(const Refusal& refusal) {
  return std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - refusal.when).count();
}

}  // namespace

void NoteRefusal(const std::string& token, const std::string& route, const std::string& reason) {
  const uint64_t login = LoginOf(token);
  const std::lock_guard lock(g_mutex);
  Forget(login, route);
  g_refusals.push_front({login, route, reason, Clock::now()});
  if (g_refusals.size() > kMostRefusals) g_refusals.pop_back();
}

void ForgetRefusal(const std::string& token, const std::string& route) {
  const uint64_t login = LoginOf(token);
  const std::lock_guard lock(g_mutex);
  Forget(login, route);
}

json RefusalsOf(const std::string& token) {
  const uint64_t login = LoginOf(token);
  json list = json::array();
  const std::lock_guard lock(g_mutex);
  for (const Refusal& refusal : g_refusals) {
    if (refusal.login == login)
      list.push_back({{"route", refusal.route}, {"reason", refusal.reason}, {"age", AgeOf(refusal)}});
  }
  return list;
}

}  // namespace sim
