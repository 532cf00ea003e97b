// At most 20 live sessions with their expiry on the up-time clock.
#include "session/user_stack.h"

#include <sys/sysinfo.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <type_traits>

#include "base/lock_order.h"
#include "base/mutex.h"
#include "base/text.h"
#include "base/thread_safety.h"
#include "server/log.h"

namespace sdkapi {
namespace {

constexpr LogSource kLog{"user"};

constexpr int64_t kSessionSeconds = 43200;
constexpr std::size_t kLongestId = 1024;
constexpr useconds_t kRoundMicroseconds = 1000000;

// Innermost lock: nothing is called while it is held.
constinit Mutex stackMutex ACQUIRED_AFTER(contextLock, listLock);
UserTable g_usr GUARDED_BY(stackMutex){};
std::atomic<bool> loopMayRun{false};
std::atomic<UserTimeoutCallback> timeOutCallback{nullptr};

bool IsRefused(const char* id) {
  return id == nullptr || id[0] == '\0' || strnlen(id, kLongestId + 1) > kLongestId;
}

// Longer identifiers are stored cut, so only what is stored can be compared.
bool Matches(const UserEntry& entry, const char* id) {
  return entry.id[0] != '\0' && std::strncmp(entry.id, id, sizeof entry.id - 1) == 0;
}

UserEntry* Find(const char* id) REQUIRES(stackMutex) {
  for (UserEntry& entry : g_usr.entries) {
    if (Matches(entry, id)) return &entry;
  }
  return nullptr;
}

UserEntry* FindFree() REQUIRES(stackMutex) {
  for (UserEntry& entry : g_usr.entries) {
    if (entry.id[0] == '\0') return &entry;
  }
  return nullptr;
}

int64_t ExpiryFromNow() {
  int64_t now = 0;
  GetUpTime(&now);
  return now + kSessionSeconds;
}

UserEntry EntryAt(std::size_t index) EXCLUDES(stackMutex) {
  const ScopedLock lock(stackMutex);
  return g_usr.entries[index];
}

void ExpireEntry(std::size_t index) EXCLUDES(stackMutex) {
  int64_t now = 0;
  GetUpTime(&now);
  const UserEntry entry = EntryAt(index);
  if (entry.id[0] == '\0' || entry.expiry >= now) return;
  const UserTimeoutCallback callback = timeOutCallback.load();
  if (callback != nullptr && callback(entry.id) != -1) DelUsrIdStack(entry.id);
}

}  // namespace

int CheckUsrIdStack(void* /*unused*/) {
  while (loopMayRun.load()) {
    for (std::size_t index = 0; index < std::extent_v<decltype(UserTable::entries)>; ++index)
      ExpireEntry(index);
    usleep(kRoundMicroseconds);
  }
  return 0;
}

UserTable UserTableSnapshot() {
  const ScopedLock lock(stackMutex);
  return g_usr;
}

}  // namespace sdkapi

int GetUpTime(int64_t* seconds) {
  struct sysinfo info {};
  if (sysinfo(&info) != 0) {
    *seconds = 0;
    sdkapi::kLog.error()("Failed to get sysinfo");
    return -1;
  }
  *seconds = info.uptime;
  return 0;
}

int AddUsrIdToStack(const char* id) {
  using namespace sdkapi;
  if (IsRefused(id)) return -1;
  const int64_t expiry = ExpiryFromNow();
  {
    const ScopedLock lock(stackMutex);
    if (UserEntry* const entry = FindFree(); entry != nullptr) {
      CopyText(entry->id, id);
      entry->expiry = expiry;
      return 0;
    }
  }
  kLog.error()("The maximum number of users exceeded.");
  return kUserStackFull;
}

int UpdateUsrIdStack(const char* id) {
  using namespace sdkapi;
  if (IsRefused(id)) return -1;
  const int64_t expiry = ExpiryFromNow();
  const ScopedLock lock(stackMutex);
  if (UserEntry* const entry = Find(id); entry != nullptr) entry->expiry = expiry;
  return 0;
}

int DelUsrIdStack(const char* id) {
  using namespace sdkapi;
  if (IsRefused(id)) return -1;
  const ScopedLock lock(stackMutex);
  if (UserEntry* const entry = Find(id); entry != nullptr) *entry = UserEntry{};
  return 0;
}

int InitUsrIdStack(UserTimeoutCallback callback) {
  using namespace sdkapi;
  loopMayRun.store(true);
  if (callback != nullptr) timeOutCallback.store(callback);
  const ScopedLock lock(stackMutex);
  g_usr = UserTable{};
  return 0;
}

int UnInitUsrIdStack(void) {
  sdkapi::loopMayRun.store(false);
  return 0;
}
