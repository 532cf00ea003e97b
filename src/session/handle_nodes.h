// The nodes of a handle list, for a registry that keeps its own places in one.
#pragma once

#include "sdkapi/session.h"

namespace sdkapi {

// Null when memory is short; freed by whoever unlinks it.
HandleManage* NewHandleNode(void* value);

// Both under the list's lock.
void LinkBehind(HandleManage* place, HandleManage* node);
void Unlink(HandleManage* node);

}  // namespace sdkapi
