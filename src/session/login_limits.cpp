// The limits that a host may set for logins: how long they last, and how many there are.
#include "session/login_limits.h"

#include <atomic>
#include <cstdint>

#include "base/clock.h"
#include "base/mutex.h"
#include "base/sized_record.h"
#include "base/thread_safety.h"
#include "sdkapi/extension.h"
#include "server/refusal.h"
#include "session/login_end.h"

namespace sdkapi {
namespace {

constexpr uint32_t kMostLogins = 20;  // as the session stack holds

std::atomic<bool> limitsAreSet{false};  // spares requests the lock
constinit Mutex limitsMutex;
SdkAPIExtLoginLimits loginLimits GUARDED_BY(limitsMutex){};

// A hook may come here again; logins that are due are ended by the round that called it.
thread_local bool hookIsRunning = false;

SdkAPIExtLoginLimits Limits() {
  if (!limitsAreSet.load(std::memory_order_relaxed)) return {};
  const ScopedLock lock(limitsMutex);
  return loginLimits;
}

void SetLimits(const SdkAPIExtLoginLimits& limits, bool set) {
  const ScopedLock lock(limitsMutex);
  loginLimits = limits;
  limitsAreSet.store(set, std::memory_order_relaxed);
}

const char* Fault(const SdkAPIExtLoginLimits& limits) {
  if (limits.most > kMostLogins) return "more than 20 logins";
  if (limits.whenFull != kExtFullEndsOldestIdle && limits.whenFull != kExtFullRefuses)
    return "whenFull unknown";
  return limits.reserved != 0 ? "reserved is not 0" : nullptr;
}

void TellEnded(SdkAPIExtLoginEndHook hook, const char* token, int reason) {
  if (hook == nullptr) return;
  const bool outer = hookIsRunning;
  hookIsRunning = true;
  hook(token, reason);
  hookIsRunning = outer;
}

const char* InWords(int reason) {
  if (reason == kExtLoginIdle) return "login idle";
  return reason == kExtLoginTooOld ? "login too old" : "login made room";
}

void Finish(const LoginRef& ended, SdkAPIExtLoginEndHook hook, int reason) {
  CloseWebSocketsOf(*ended, InWords(reason));
  TellEnded(hook, ended->data, reason);
}

int64_t Earliest(int64_t now, uint32_t seconds) {
  return seconds != 0 ? now - seconds * kMillisecondsPerSecond : kNoTime;
}

}  // namespace

void EndDueLogins() {
  if (!limitsAreSet.load(std::memory_order_relaxed) || hookIsRunning) return;
  const SdkAPIExtLoginLimits limits = Limits();
  const int64_t now = MonotonicMilliseconds();
  const int64_t birth = Earliest(now, limits.totalSeconds);
  const int64_t use = Earliest(now, limits.idleSeconds);
  for (;;) {
    const DueLogin due = TakeDueLogin(birth, use);
    if (due.login == nullptr) return;
    Finish(due.login, limits.ended, due.isTooOld ? kExtLoginTooOld : kExtLoginIdle);
  }
}

LoginRef FindLogin(const char* token) {
  EndDueLogins();
  return LookUpLogin(token);
}

Registration RegisterWithinLimits(const LoginRef& login, const char* token) {
  for (;;) {
    const SdkAPIExtLoginLimits limits = Limits();
    LoginRef displaced;
    LoginRef* const mayGo = limits.whenFull == kExtFullEndsOldestIdle ? &displaced : nullptr;
    const Registration result = RegisterLogin(login, token, limits.most, mayGo);
    if (result != Registration::kNoRoom) return result;
    if (mayGo == nullptr) {
      TellEnded(limits.ended, login->data, kExtLoginNoRoom);
      return result;
    }
    Finish(displaced, limits.ended, kExtLoginNoRoom);
  }
}

}  // namespace sdkapi

int SdkAPIExt_Login_Limits_Set(const SdkAPIExtLoginLimits* limits) {
  using namespace sdkapi;
  SdkAPIExtLoginLimits taken{};
  if (limits == nullptr) {
    SetLimits(taken, false);
    return 0;
  }
  if (!ReadRecord(limits, taken)) return Refuse(kExtensionLog.error(), __func__, "size unknown");
  if (const char* const fault = Fault(taken)) return Refuse(kExtensionLog.error(), __func__, fault);
  SetLimits(taken, true);
  return 0;
}

int SdkAPIExt_Login_Limits_Check(void) {
  sdkapi::EndDueLogins();
  return 0;
}
