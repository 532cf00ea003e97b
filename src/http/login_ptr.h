// The table that a request uses, kept alive for as long as the request needs it.
#pragma once

#include <memory>

#include "sdkapi/host.h"

namespace sdkapi {

// Lets go of a login's table; the last user frees it. The global table is left alone.
struct ReleaseLogin {
  void operator()(SdkAPISerHandle* table) const;
};
using LoginPtr = std::unique_ptr<SdkAPISerHandle, ReleaseLogin>;

// The global table with authentication off, else the login's own; null when there is none. Defined with the
// login registry.
LoginPtr FindLogin(const char* token);

}  // namespace sdkapi
