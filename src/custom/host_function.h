// The host's function out of a route's callback data.
#pragma once

namespace sdkapi {

// The other half of the pair is in registration.cpp.
template <class HostFunction>
HostFunction HostFunctionOf(void* cbdata) {
  return reinterpret_cast<HostFunction>(cbdata);
}

}  // namespace sdkapi
