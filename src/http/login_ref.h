// The table that a request uses, kept alive for as long as the request needs it.
#pragma once

#include <cstddef>

#include "base/counted.h"
#include "base/lock_order.h"
#include "base/thread_safety.h"
#include "sdkapi/host.h"

namespace sdkapi {

using LoginRef = Ref<SdkAPISerHandle>;

// The global table with authentication off, else the login's own; null when there is none. Defined with the
// login registry.
LoginRef FindLogin(const char* token) EXCLUDES(listLock);

// The number of registered logins. Defined there, too.
std::size_t LoginCount() EXCLUDES(listLock);

}  // namespace sdkapi
