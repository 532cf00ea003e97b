// Logins with their private tables, kept alive by whoever uses them, and the end of a login.
#include "session/login_registry.h"

#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/counted.h"
#include "base/lock_order.h"
#include "base/mutex.h"
#include "base/text.h"
#include "base/thread_safety.h"
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
#include "session/user_stack.h"

namespace sdkapi {
namespace {

constexpr LogSource kLog{"sdkapi"};

// A request walks no list: its login is found by the index, a new one joins at the place that is kept.
struct Registry {
  // Outside the list's: list and session stack change together under it.
  Mutex mutex ACQUIRED_AFTER(contextLock) ACQUIRED_BEFORE(listLock);
  bool ready GUARDED_BY(mutex) = false;
  HandleManage list{};
  HandleManage* last GUARDED_BY(LockOf(list)) = &list;  // the list's last node, or its head
  TokenIndex index GUARDED_BY(LockOf(list));            // of the list's logins
};
constinit Registry registry;

// What is allocated per login. Its users are the registry and every request that found it.
struct Login : Counted<SdkAPISerHandle>, TokenEntry {
  // Its place in the list; null when it is not registered.
  HandleManage* node GUARDED_BY(LockOf(registry.list));
};

Login* LoginOf(SdkAPISerHandle* table) { return static_cast<Login*>(Counted<SdkAPISerHandle>::Of(table)); }

// Joins list and index, the list at its end; both share one reference.
bool Append(const LoginRef& ref) REQUIRES(registry.mutex) {
  HandleManage* const node = NewHandleNode(ref.get());
  if (node == nullptr) return false;
  Login* const login = LoginOf(LoginRef(ref).Detach());  // the registry's reference
  const ListLock lock(registry.list);
  LinkBehind(registry.list, registry.last, node);
  registry.last = node;
  registry.index.Add(login, ref->data);
  login->node = node;
  return true;
}

// The registry's reference; null when the login is not registered.
LoginRef TakeOut(Login* login) REQUIRES(registry.mutex) {
  const ListLock lock(registry.list);
  if (login->node == nullptr) return nullptr;
  if (registry.last == login->node) registry.last = login->node->prev;
  Unlink(registry.list, login->node);
  registry.index.Remove(login);
  std::free(std::exchange(login->node, nullptr));
  return LoginRef::Adopt(&login->record);
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
  HandleManageInitHead(&registry.list);
  const ListLock listLocked(registry.list);
  registry.index.SetKey(RandomHashKey());
  return true;
}

}  // namespace

LoginRef FindLogin(const char* token) {
  if (!LoginIsRequired()) return LoginRef::Share(GetSerHandle());
  if (token == nullptr || token[0] == '\0') return nullptr;
  if (strnlen(token, sizeof SdkAPISerHandle::data) == sizeof SdkAPISerHandle::data) return nullptr;
  const ListLock lock(registry.list);
  TokenEntry* const entry = registry.index.Find(token);
  return entry != nullptr ? LoginRef::Share(&static_cast<Login*>(entry)->record) : nullptr;
}

LoginRef NewLogin() {
  LoginRef login = LoginRef::New<Login>();
  if (login != nullptr) *login = *GetSerHandle();
  return login;
}

Registration RegisterLogin(const LoginRef& login, const char* token) {
  CopyText(login->data, token);
  const ScopedLock lock(registry.mutex);
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

int LoginTimeOutTaskCb(const char* userid) {
  kLog.info()("userid [%s] login time out.. ", userid);
  const LoginRef login = FindLogin(userid);
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

int LoginCount() { return HandleManageGetUsrCount(&registry.list); }

// Logins of an earlier run are dropped: no request is running between two runs of the server.
int UsrManageTask() {
  if (!MakeRegistry()) DropAllLogins();
  return InitUsrIdStack(LoginTimeOutTaskCb);
}

}  // namespace sdkapi

SdkAPISerHandle* GetLoginHandle(const char* token) {
  // The registry's own share keeps the table after this one is given back.
  const sdkapi::LoginRef login = sdkapi::FindLogin(token);
  SdkAPISerHandle* const table = login.get();
  return table;
}
