// The copy of the host's table.
#include "server/host_table.h"

#include <cstring>

#include "base/counted.h"

namespace sdkapi {
namespace {

// Counted as a login's copy is, so that a request holds either in one way; its first user is the library.
constinit Counted<SdkAPISerHandle> s_handle{};

}  // namespace

int SdkAPISerHandleInit(const void* table) {
  std::memcpy(&s_handle.record, table, sizeof s_handle.record);
  return 0;
}

SdkAPISerHandle* GetSerHandle() { return &s_handle.record; }

}  // namespace sdkapi
