// The copy of the host's table.
#include "server/host_table.h"

#include <cstring>

namespace sdkapi {
namespace {

SdkAPISerHandle s_handle;

}  // namespace

int SdkAPISerHandleInit(const void* table) {
  std::memcpy(&s_handle, table, sizeof s_handle);
  return 0;
}

SdkAPISerHandle* GetSerHandle() { return &s_handle; }

}  // namespace sdkapi
