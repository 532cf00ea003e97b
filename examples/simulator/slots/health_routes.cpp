// How the device is, how it was in the last hour, and who did what.
#include "slots/health_routes.h"

#include <sdkapi/kit_accounts.h>

#include <array>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>

#include "model/audit.h"
#include "model/health.h"
#include "model/history.h"
#include "model/users.h"
#include "slots/replies.h"
#include "slots/slot_guard.h"

namespace sim {
namespace {

using nlohmann::json;

// The number behind which a client wants what is newer; 0 without one, nothing for what is no number.
std::optional<uint64_t> SinceOf(mg_connection* conn) {
  std::array<char, 24> text{};
  const int length = GetHttpUrlParam(conn, "since", text.data(), text.size());
  if (length == -1) return 0;
  uint64_t number = 0;
  const std::string_view digits = text.data();
  const auto [end, fault] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const bool isNumber = length > 0 && fault == std::errc() && end == digits.data() + digits.size();
  return isNumber ? std::optional(number) : std::nullopt;
}

template <typename Body>
int AnswerSince(mg_connection* conn, const CustomReqInfo& request, Body body) {
  if (request.method != kGet) return AnswerError(conn, 405, "method not allowed");
  const auto since = SinceOf(conn);
  return since ? Answer(conn, 200, body(*since)) : AnswerError(conn, 400, "bad number");
}

// Who may change things sees what everybody does; others what they did themselves.
json AuditFor(const std::string& token, uint64_t since) {
  if (MayWrite(token)) return AuditSince(since, std::nullopt);
  SdkKitUser user{};
  user.size = sizeof user;
  SdkKitAccounts_Who(token.c_str(), &user);
  return AuditSince(since, user.name);
}

int ServeHealth(mg_connection* conn, CustomReqInfo* request) {
  return Guarded([&] {
    if (request->method != kGet) return AnswerError(conn, 405, "method not allowed");
    return Answer(conn, 200, HealthBody());
  });
}

int ServeHistory(mg_connection* conn, CustomReqInfo* request) {
  return Guarded([&] { return AnswerSince(conn, *request, HistorySince); });
}

int ServeAudit(mg_connection* conn, CustomReqInfo* request) {
  return Guarded([&] {
    return AnswerSince(conn, *request, [&](uint64_t since) { return AuditFor(TokenOf(conn), since); });
  });
}

}  // namespace

void RegisterHealthRoutes() {
  SdkKitAccounts_Get_Post_Add("/sim/health$", ServeHealth);
  SdkKitAccounts_Get_Post_Add("/sim/history$", ServeHistory);
  SdkKitAccounts_Get_Post_Add("/sim/audit$", ServeAudit);
}

}  // namespace sim
