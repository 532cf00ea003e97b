// The registry of logins: one private table per login, found by its token.
#pragma once

#include <cstdint>
#include <limits>

#include "base/lock_order.h"
#include "base/thread_safety.h"
#include "http/login_ref.h"
#include "sdkapi/host.h"

namespace sdkapi {

// A copy of the host's table for a login in the making, by the client at this address; null when memory is
// short.
LoginRef NewLogin(const char* address = "");

enum class Registration { kDone, kListFailed, kSessionsFull, kNoRoom };

// Writes the token into the login's table and registers both it and a session. The registry then shares the
// login. With kSessionsFull it stays registered without a session, as clients expect. With kNoRoom there are
// as many logins as there may be (0: any number), and nothing is registered; the one that was not used for
// the longest time has ended in its favour, and is handed over, where displaced is not null.
Registration RegisterLogin(const LoginRef& login, const char* token, uint32_t most = 0,
                           LoginRef* displaced = nullptr) EXCLUDES(listLock);

// As FindLogin, but nothing is ended by a limit.
LoginRef LookUpLogin(const char* token) EXCLUDES(listLock);

// The login that is registered with a token, whether or not a login is required; null when there is none. It
// counts as no use.
LoginRef RegisteredLogin(const char* token) EXCLUDES(listLock);

// Takes a login out of the registry; whoever still uses it keeps it alive. False when it is not registered.
bool RemoveLogin(SdkAPISerHandle* login) EXCLUDES(listLock);

// Removes a token's session, in order with logins of other threads.
void RemoveSession(const char* token) EXCLUDES(listLock);

// Ends a login from the library's side: tells the host, removes it. Returns 0, or -1 when there is none.
int LoginTimeOutTaskCb(const char* userid) EXCLUDES(listLock);

// The same, unless the given login, which may be null, has been ended by the host or a limit meanwhile: then
// the token is none of its WebSockets' business any more.
int TimeOutLogin(const char* token, const LoginRef& unlessEnded) EXCLUDES(listLock);

// A login that leaves list and session stack without its host's log-out; null when there is none. It has
// ended from then on: a WebSocket of it ends no other login of the same token.
LoginRef TakeLoginByToken(const char* token) EXCLUDES(listLock);

struct DueLogin {
  LoginRef login;
  bool isTooOld;
};
constexpr int64_t kNoTime = std::numeric_limits<int64_t>::min();

// One that was registered at or before the one time, or not used since the other, on the monotonic clock.
DueLogin TakeDueLogin(int64_t birth, int64_t use) EXCLUDES(listLock);

bool HasEnded(SdkAPISerHandle& login);

// A WebSocket of the login opened (1) or closed (-1).
void CountWebSocket(SdkAPISerHandle& login, int change);

struct LoginFacts {
  const char* token;
  const char* address;
  int64_t birth;    // on the monotonic clock, in milliseconds
  int64_t lastUse;  // on the same clock
  uint32_t webSockets;
};

// Visits all logins, the oldest first, under the list's lock.
void VisitLogins(void (*visit)(const LoginFacts& facts, void* context), void* context) EXCLUDES(listLock);

template <class Visitor>
void ForEachLogin(Visitor visitor) {
  VisitLogins([](const LoginFacts& facts, void* context) { (*static_cast<Visitor*>(context))(facts); },
              &visitor);
}

}  // namespace sdkapi
