// The limits that a host may set for logins: how long they last, and how many there are.
#pragma once

#include "http/login_ref.h"
#include "session/login_registry.h"

namespace sdkapi {

// Ends the logins whose time is over. Calls the host's hook: no lock may be held.
void EndDueLogins();

// Registers a login within the most that there may be; a login that goes for it has ended before. Calls the
// host's hook: no lock may be held.
Registration RegisterWithinLimits(const LoginRef& login, const char* token);

}  // namespace sdkapi
