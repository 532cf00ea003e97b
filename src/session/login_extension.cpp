// A host's view of the logins, and the end of those that it names.
#include <cstddef>
#include <cstdint>

#include "base/clock.h"
#include "base/sized_record.h"
#include "base/text.h"
#include "http/login_ref.h"
#include "sdkapi/extension.h"
#include "server/refusal.h"
#include "session/login_end.h"
#include "session/login_registry.h"

namespace {

using namespace sdkapi;

constexpr uint64_t kMillisecondsPerSecond = 1000;

uint64_t SecondsSince(int64_t then, int64_t now) {
  return now > then ? static_cast<uint64_t>(now - then) / kMillisecondsPerSecond : 0;
}

SdkAPIExtLogin Describe(const LoginFacts& facts, int64_t now) {
  SdkAPIExtLogin login{};
  login.webSockets = facts.webSockets;
  login.ageSeconds = SecondsSince(facts.birth, now);
  login.idleSeconds = SecondsSince(facts.lastUse, now);
  CopyText(login.address, facts.address);
  CopyText(login.token, facts.token);
  return login;
}

}  // namespace

int SdkAPIExt_Login_End(const char* token) {
  LoginRef ended = TakeLoginByToken(token);
  if (ended == nullptr) return Refuse(kExtensionLog.error(), __func__, "no login has this token");
  for (; ended != nullptr; ended = TakeLoginByToken(token)) CloseWebSocketsOf(*ended);
  return 0;
}

int SdkAPIExt_Login_List(SdkAPIExtLogin* logins, size_t* count) {
  if (count == nullptr) return Refuse(kExtensionLog.error(), __func__, "no count");
  const std::size_t room = *count;
  if (room > 0 && logins == nullptr) return Refuse(kExtensionLog.error(), __func__, "no records");
  if (room > 0 && !KnowsSize<SdkAPIExtLogin>(logins->size))
    return Refuse(kExtensionLog.error(), __func__, "size unknown");
  const int64_t now = MonotonicMilliseconds();
  std::size_t number = 0;
  ForEachLogin([&](const LoginFacts& facts) {
    if (number < room) WriteRecordAt(Describe(facts, now), logins, number);
    ++number;
  });
  *count = number;
  return 0;
}
