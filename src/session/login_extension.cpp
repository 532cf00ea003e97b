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

SdkAPIExtLogin Describe(const LoginFacts& facts, int64_t now) {
  SdkAPIExtLogin login{};
  login.webSockets = facts.webSockets;
  login.ageSeconds = SecondsBetween(facts.birth, now);
  login.idleSeconds = SecondsBetween(facts.lastUse, now);
  CopyText(login.address, facts.address);
  CopyText(login.token, facts.token);
  return login;
}

}  // namespace

int SdkAPIExt_Login_End(const char* token) {
  LoginRef ended = TakeLoginByToken(token);
  if (ended == nullptr) return Refuse(kExtensionLog.error(), __func__, "no login has this token");
  for (; ended != nullptr; ended = TakeLoginByToken(token)) CloseWebSocketsOf(*ended, "login ended");
  return 0;
}

int SdkAPIExt_Login_List(SdkAPIExtLogin* logins, size_t* count) {
  RecordArray list(logins, count);
  if (const char* const fault = list.Fault()) return Refuse(kExtensionLog.error(), __func__, fault);
  const int64_t now = MonotonicMilliseconds();
  ForEachLogin([&](const LoginFacts& facts) { list.Add([&] { return Describe(facts, now); }); });
  list.Finish();
  return 0;
}
