// The order of locks across folders: two places, outermost first, between which each mutex says where it
// stands.
#pragma once

#include "base/thread_safety.h"

namespace sdkapi {

// Names for the analysis alone: they have no object and are never locked themselves.
class CAPABILITY("lock") LockPlace;

// The web server's lock around connecting and closing WebSockets.
extern LockPlace contextLock;

// The lock of a handle list; nobody holds two.
extern LockPlace listLock ACQUIRED_AFTER(contextLock);

}  // namespace sdkapi
