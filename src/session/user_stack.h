// The table of live sessions.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sdkapi/session.h"

namespace sdkapi {

constexpr int kUserStackFull = 100;

// Expires sessions until UnInitUsrIdStack; a loop for a thread of its own. The server starts no such thread
// on purpose: sessions end by log-out or with their WebSocket.
int CheckUsrIdStack(void* unused);

struct UserEntry {
  char id[256];    // first byte NUL = free
  int64_t expiry;  // up-time in seconds after which the session is over; 0 when free
};

struct UserTable {
  UserEntry entries[20];
};
static_assert(sizeof(UserEntry) == 264 && offsetof(UserEntry, expiry) == 256);
static_assert(sizeof(UserTable) == 5280);

// A copy of the table, for looking at it from outside.
UserTable UserTableSnapshot();

}  // namespace sdkapi
