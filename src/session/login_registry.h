// The registry of logins: one private table per login, found by its token.
#pragma once

#include "base/lock_order.h"
#include "base/thread_safety.h"
#include "http/login_ref.h"
#include "sdkapi/host.h"

namespace sdkapi {

// A copy of the host's table for a login in the making; null when memory is short.
LoginRef NewLogin();

enum class Registration { kDone, kListFailed, kSessionsFull };

// Writes the token into the login's table and registers both it and a session. The registry then shares the
// login. With kSessionsFull it stays registered without a session, as clients expect.
Registration RegisterLogin(const LoginRef& login, const char* token) EXCLUDES(listLock);

// Takes a login out of the registry; whoever still uses it keeps it alive. False when it is not registered.
bool RemoveLogin(SdkAPISerHandle* login) EXCLUDES(listLock);

// Removes a token's session, in order with logins of other threads.
void RemoveSession(const char* token) EXCLUDES(listLock);

// Ends a login from the library's side: tells the host, removes it. Returns 0, or -1 when there is none.
int LoginTimeOutTaskCb(const char* userid) EXCLUDES(listLock);

// The number of registered logins.
int LoginCount() EXCLUDES(listLock);

}  // namespace sdkapi
