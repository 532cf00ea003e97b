// Logins with their private tables, kept alive by whoever uses them, and the end of a login.
#include "session/login_registry.h"

#include <pthread.h>

#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/counted.h"
#include "base/scoped_lock.h"
#include "base/text.h"
#include "sdkapi/host.h"
#include "sdkapi/session.h"
#include "server/authentication.h"
#include "server/host_table.h"
#include "server/lifecycle.h"
#include "server/log.h"
#include "session/handle_nodes.h"
#include "session/keyed_hash.h"
#include "session/token_index.h"
#include "session/user_stack.h"

namespace sdkapi {
namespace {

constexpr LogSource kLog{"sdkapi"};

// What is allocated per login. Its users are the registry and every request that found it.
struct Login : Counted<SdkAPISerHandle>, TokenEntry {
  HandleManage* node;  // its place in the list; null when it is not registered
};

// A request walks no list: its login is found by the index, a new one joins at the place that is kept. Both
// are guarded by the list's own lock.
struct Registry {
  pthread_mutex_t mutex;  // outer lock: list and session stack change together under it
  HandleManage list;
  HandleManage* last;  // the list's last node, or its head
  TokenIndex index;    // of the list's logins
};
constinit Registry registry{PTHREAD_MUTEX_INITIALIZER, {}, &registry.list, {}};
bool registryIsReady = false;

Login* LoginOf(SdkAPISerHandle* table) { return static_cast<Login*>(Counted<SdkAPISerHandle>::Of(table)); }

// Joins list and index, the list at its end; both share one reference.
bool Append(const LoginRef& ref) {
  HandleManage* const node = NewHandleNode(ref.get());
  if (node == nullptr) return false;
  Login* const login = LoginOf(LoginRef(ref).Detach());  // the registry's reference
  const ScopedLock lock(registry.list.mutex);
  LinkBehind(registry.last, node);
  registry.last = node;
  registry.index.Add(login, ref->data);
  login->node = node;
  return true;
}

// The registry's reference; null when the login is not registered.
LoginRef TakeOut(Login* login) {
  const ScopedLock lock(registry.list.mutex);
  if (login->node == nullptr) return nullptr;
  if (registry.last == login->node) registry.last = login->node->prev;
  Unlink(login->node);
  registry.index.Remove(login);
  std::free(std::exchange(login->node, nullptr));
  return LoginRef::Adopt(&login->record);
}

void DropAllLogins() {
  while (void* const login = HandleManageGetNextHandle(&registry.list)) {
    RemoveLogin(static_cast<SdkAPISerHandle*>(login));
  }
}

}  // namespace

LoginRef FindLogin(const char* token) {
  if (!LoginIsRequired()) return LoginRef::Share(GetSerHandle());
  if (token == nullptr || token[0] == '\0') return nullptr;
  if (strnlen(token, sizeof SdkAPISerHandle::data) == sizeof SdkAPISerHandle::data) return nullptr;
  const ScopedLock lock(registry.list.mutex);
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
  if (registryIsReady) {
    DropAllLogins();
  } else {
    pthread_mutex_init(&registry.mutex, nullptr);
    const ScopedLock lock(registry.mutex);
    HandleManageInitHead(&registry.list);
    registry.index.SetKey(RandomHashKey());
    registryIsReady = true;
  }
  return InitUsrIdStack(LoginTimeOutTaskCb);
}

}  // namespace sdkapi

SdkAPISerHandle* GetLoginHandle(const char* token) {
  // The registry's own share keeps the table after this one is given back.
  const sdkapi::LoginRef login = sdkapi::FindLogin(token);
  SdkAPISerHandle* const table = login.get();
  return table;
}
