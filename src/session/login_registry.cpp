// Logins with their private tables, kept alive by whoever uses them, and the end of a login.
#include "session/login_registry.h"

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/clock.h"
#include "base/counted.h"
#include "base/lock_order.h"
#include "base/mutex.h"
#include "base/text.h"
#include "base/thread_safety.h"
#include "sdkapi/extension.h"
#include "sdkapi/host.h"
#include "sdkapi/session.h"
#include "server/authentication.h"
#include "server/host_table.h"
#include "server/lifecycle.h"
#include "server/log.h"
#include "session/handle_nodes.h"
#include "session/keyed_hash.h"
#include "session/list_lock.h"
#include "session/token_index.h"
#include "session/use_order.h"
#include "session/user_stack.h"

namespace sdkapi {
namespace {

constexpr LogSource kLog{"sdkapi"};

// A request walks no list: its login is found by the index, a new one joins at the place that is kept.
struct Registry {
  // Outside the list's: list and session stack change together under it.
  Mutex mutex ACQUIRED_AFTER(contextLock) ACQUIRED_BEFORE(listLock);
  bool ready GUARDED_BY(mutex) = false;
  // Made at compile time: a host may ask for its logins while the server starts.
  HandleManage list{nullptr, PTHREAD_MUTEX_INITIALIZER, nullptr, nullptr};
  HandleManage* last GUARDED_BY(LockOf(list)) = &list;  // the list's last node, or its head
  TokenIndex index GUARDED_BY(LockOf(list));            // of the list's logins
  UseOrder uses GUARDED_BY(LockOf(list));               // of the list's logins
};
constinit Registry registry;

// What is allocated per login. Its users are the registry and every request that found it.
struct Login : Counted<SdkAPISerHandle>, TokenEntry, UseEntry {
  // Its place in the list; null when it is not registered.
  HandleManage* node GUARDED_BY(LockOf(registry.list));
  int64_t birth;            // on the monotonic clock, in milliseconds
  std::atomic<bool> ended;  // by its host or a limit
  std::atomic<uint32_t> webSockets;
  char address[kExtAddressSize];
};

Login* LoginOf(SdkAPISerHandle* table) { return static_cast<Login*>(Counted<SdkAPISerHandle>::Of(table)); }

// Joins list and index, the list at its end; both share one reference.
bool Append(const LoginRef& ref) REQUIRES(registry.mutex) {
  HandleManage* const node = NewHandleNode(ref.get());
  if (node == nullptr) return false;
  Login* const login = LoginOf(LoginRef(ref).Detach());  // the registry's reference
  const ListLock lock(registry.list);
  login->birth = MonotonicMilliseconds();
  registry.uses.Add(*login, login->birth);
  LinkBehind(registry.list, registry.last, node);
  registry.last = node;
  registry.index.Add(*login, ref->data);
  login->node = node;
  return true;
}

// The registry's reference; null when the login is not registered.
LoginRef TakeOut(Login* login) REQUIRES(registry.mutex) {
  const ListLock lock(registry.list);
  if (login->node == nullptr) return nullptr;
  if (registry.last == login->node) registry.last = login->node->prev;
  Unlink(registry.list, login->node);
  registry.index.Remove(*login);
  registry.uses.Remove(*login);
  std::free(std::exchange(login->node, nullptr));
  return LoginRef::Adopt(&login->record);
}

// List and session stack lose a registered login together.
LoginRef End(Login* login) REQUIRES(registry.mutex) {
  login->ended.store(true);
  LoginRef ended = TakeOut(login);
  DelUsrIdStack(ended->data);
  return ended;
}

Login* OldestLogin() REQUIRES(LockOf(registry.list)) {
  HandleManage* const first = registry.list.next;
  return first != nullptr ? LoginOf(static_cast<SdkAPISerHandle*>(first->value)) : nullptr;
}

Login* LongestUnused() REQUIRES(LockOf(registry.list)) {
  return static_cast<Login*>(registry.uses.longestUnused());
}

// A token that no login can have is looked up nowhere.
bool IsToken(const char* token) {
  return token != nullptr && token[0] != '\0' &&
         strnlen(token, sizeof SdkAPISerHandle::data) < sizeof SdkAPISerHandle::data;
}

Login* Find(const char* token) REQUIRES(LockOf(registry.list)) {
  return static_cast<Login*>(registry.index.Find(token));
}

Login* Listed(const char* token) EXCLUDES(listLock) {
  const ListLock lock(registry.list);
  return Find(token);
}

std::size_t Listed() EXCLUDES(listLock) {
  const ListLock lock(registry.list);
  return registry.index.size();
}

// For a list that has one.
Login* LongestUnusedLogin() EXCLUDES(listLock) {
  const ListLock lock(registry.list);
  return &static_cast<Login&>(*registry.uses.longestUnused());
}

struct Due {
  Login* login;
  bool isTooOld;
};

Due FindDue(int64_t birth, int64_t use) EXCLUDES(listLock) {
  const ListLock lock(registry.list);
  Login* const oldest = OldestLogin();
  if (oldest != nullptr && oldest->birth <= birth) return {oldest, true};
  Login* const unused = LongestUnused();
  return {unused != nullptr && unused->lastUse <= use ? unused : nullptr, false};
}

void DropAllLogins() EXCLUDES(registry.mutex) {
  while (void* const login = HandleManageGetNextHandle(&registry.list)) {
    RemoveLogin(static_cast<SdkAPISerHandle*>(login));
  }
}

// False when an earlier start has made it.
bool MakeRegistry() EXCLUDES(registry.mutex) {
  const ScopedLock lock(registry.mutex);
  if (registry.ready) return false;
  registry.ready = true;
  const ListLock listLocked(registry.list);
  registry.index.SetKey(RandomHashKey());
  return true;
}

}  // namespace

LoginRef LookUpLogin(const char* token) {
  if (!LoginIsRequired()) return LoginRef::Share(GetSerHandle());
  if (!IsToken(token)) return nullptr;
  const int64_t now = MonotonicMilliseconds();
  const ListLock lock(registry.list);
  Login* const login = Find(token);
  if (login == nullptr) return nullptr;
  registry.uses.Use(*login, now);
  return LoginRef::Share(&login->record);
}

LoginRef RegisteredLogin(const char* token) {
  if (!IsToken(token)) return nullptr;
  const ListLock lock(registry.list);
  Login* const login = Find(token);
  return login != nullptr ? LoginRef::Share(&login->record) : nullptr;
}

LoginRef NewLogin(const char* address) {
  LoginRef login = LoginRef::New<Login>();
  if (login == nullptr) return nullptr;
  *login = *GetSerHandle();
  CopyText(LoginOf(login.get())->address, address);
  return login;
}

Registration RegisterLogin(const LoginRef& login, const char* token, uint32_t most, LoginRef* displaced) {
  CopyText(login->data, token);
  const ScopedLock lock(registry.mutex);
  if (most != 0 && Listed() >= most) {
    if (displaced != nullptr) *displaced = End(LongestUnusedLogin());
    return Registration::kNoRoom;
  }
  if (!Append(login)) return Registration::kListFailed;
  const bool full = AddUsrIdToStack(token) == kUserStackFull;
  return full ? Registration::kSessionsFull : Registration::kDone;
}

bool RemoveLogin(SdkAPISerHandle* login) {
  if (login == GetSerHandle()) return false;
  const ScopedLock lock(registry.mutex);
  return TakeOut(LoginOf(login)) != nullptr;
}

void RemoveSession(const char* token) {
  const ScopedLock lock(registry.mutex);
  DelUsrIdStack(token);
}

int LoginTimeOutTaskCb(const char* userid) { return TimeOutLogin(userid, nullptr); }

int TimeOutLogin(const char* token, const LoginRef& unlessEnded) {
  kLog.info()("userid [%s] login time out.. ", token);
  const LoginRef login = LookUpLogin(token);
  if (unlessEnded != nullptr && HasEnded(*unlessEnded)) return -1;
  if (login == nullptr) {
    kLog.error()("GetLoginHandle err!!!!");
    return -1;
  }
  if (login->LogOutCb != nullptr) login->LogOutCb();
  if (!RemoveLogin(login.get())) {
    kLog.info()("json api del handle fail");
    return -1;
  }
  return 0;
}

std::size_t LoginCount() { return Listed(); }

LoginRef TakeLoginByToken(const char* token) {
  if (!IsToken(token)) return nullptr;
  const ScopedLock lock(registry.mutex);
  Login* const login = Listed(token);
  return login != nullptr ? End(login) : nullptr;
}

DueLogin TakeDueLogin(int64_t birth, int64_t use) {
  const ScopedLock lock(registry.mutex);
  const Due due = FindDue(birth, use);
  return {due.login != nullptr ? End(due.login) : nullptr, due.isTooOld};
}

bool HasEnded(SdkAPISerHandle& login) { return LoginOf(&login)->ended.load(); }

void CountWebSocket(SdkAPISerHandle& login, int change) {
  LoginOf(&login)->webSockets.fetch_add(static_cast<uint32_t>(change), std::memory_order_relaxed);
}

void VisitLogins(void (*visit)(const LoginFacts& facts, void* context), void* context) {
  const ListLock lock(registry.list);
  for (const HandleManage* node = registry.list.next; node != nullptr; node = node->next) {
    const Login& login = *LoginOf(static_cast<SdkAPISerHandle*>(node->value));
    visit({login.record.data, login.address, login.birth, login.lastUse, login.webSockets.load()}, context);
  }
}

// Logins of an earlier run are dropped: no request is running between two runs of the server.
int UsrManageTask() {
  if (!MakeRegistry()) DropAllLogins();
  return InitUsrIdStack(LoginTimeOutTaskCb);
}

}  // namespace sdkapi

SdkAPISerHandle* GetLoginHandle(const char* token) {
  // The registry's own share keeps the table after this one is given back.
  const sdkapi::LoginRef login = sdkapi::LookUpLogin(token);
  SdkAPISerHandle* const table = login.get();
  return table;
}
