// The nodes of a handle list, for a registry that keeps its own places in one.
#pragma once

#include "base/lock_order.h"
#include "base/thread_safety.h"
#include "sdkapi/session.h"
#include "session/list_lock.h"

namespace sdkapi {

// Null when memory is short; freed by whoever unlinks it.
HandleManage* NewHandleNode(void* value);

// Empties a list whose nodes are another one's.
void ForgetNodes(HandleManage& list) EXCLUDES(listLock);

// Links a node behind one of the list's, or its head.
void LinkBehind(const HandleManage& list, HandleManage* place, HandleManage* node) REQUIRES(LockOf(list));
void Unlink(const HandleManage& list, HandleManage* node) REQUIRES(LockOf(list));

}  // namespace sdkapi
