// Logins with their private tables, kept alive by whoever uses them, and the end of a login.
#include "session/login_registry.h"

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/scoped_lock.h"
#include "base/text.h"
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

// What is allocated per login. Users are the registry and every request that found the login.
struct LoginBlock {
  SdkAPISerHandle table;
  int users;
  HandleManage* node;  // its place in the list; null when it is not registered
  TokenEntry entry;    // its place in the index
};
static_assert(offsetof(LoginBlock, table) == 0);

// A request walks no list: its login is found by the index, a new one joins at the place that is kept. Both
// are guarded by the list's own lock.
struct JsonApi {
  pthread_mutex_t mutex;  // outer lock: list and session stack change together under it
  HandleManage list;
  HandleManage* last;  // the list's last node, or its head
  TokenIndex index;    // of the list's logins
};
constinit JsonApi g_JsonApi{PTHREAD_MUTEX_INITIALIZER, {}, &g_JsonApi.list, {}};
bool registryIsReady = false;

LoginBlock* BlockOf(SdkAPISerHandle* table) {
  void* const block = table;
  return static_cast<LoginBlock*>(block);
}

std::atomic_ref<int> Users(SdkAPISerHandle* table) { return std::atomic_ref<int>(BlockOf(table)->users); }

LoginBlock* BlockWith(TokenEntry* entry) {
  void* const block = static_cast<char*>(static_cast<void*>(entry)) - offsetof(LoginBlock, entry);
  return static_cast<LoginBlock*>(block);
}

// Joins list and index, the list at its end.
bool Append(LoginBlock* login) {
  login->node = NewHandleNode(login);
  if (login->node == nullptr) return false;
  const ScopedLock lock(g_JsonApi.list.mutex);
  LinkBehind(g_JsonApi.last, login->node);
  g_JsonApi.last = login->node;
  g_JsonApi.index.Add(&login->entry, login->table.data);
  return true;
}

// False when the login is in neither.
bool TakeOut(LoginBlock* login) {
  const ScopedLock lock(g_JsonApi.list.mutex);
  if (login->node == nullptr) return false;
  if (g_JsonApi.last == login->node) g_JsonApi.last = login->node->prev;
  Unlink(login->node);
  g_JsonApi.index.Remove(&login->entry);
  std::free(std::exchange(login->node, nullptr));
  return true;
}

void DropAllLogins() {
  while (void* const login = HandleManageGetNextHandle(&g_JsonApi.list)) {
    RemoveLogin(static_cast<SdkAPISerHandle*>(login));
  }
}

}  // namespace

void ReleaseLogin::operator()(SdkAPISerHandle* table) const {
  if (table == GetSerHandle()) return;
  if (Users(table).fetch_sub(1, std::memory_order_acq_rel) == 1) std::free(table);
}

LoginPtr FindLogin(const char* token) {
  if (AuthenticationIsOff()) return LoginPtr(GetSerHandle());
  if (token == nullptr || token[0] == '\0') return nullptr;
  if (strnlen(token, sizeof SdkAPISerHandle::data) == sizeof SdkAPISerHandle::data) return nullptr;
  const ScopedLock lock(g_JsonApi.list.mutex);
  TokenEntry* const entry = g_JsonApi.index.Find(token);
  if (entry == nullptr) return nullptr;
  SdkAPISerHandle* const table = &BlockWith(entry)->table;
  Users(table).fetch_add(1, std::memory_order_relaxed);
  return LoginPtr(table);
}

LoginPtr NewLogin() {
  auto* const block = static_cast<LoginBlock*>(std::malloc(sizeof(LoginBlock)));
  if (block == nullptr) return nullptr;
  block->table = *GetSerHandle();
  block->users = 1;
  block->node = nullptr;
  return LoginPtr(&block->table);
}

Registration RegisterLogin(const LoginPtr& login, const char* token) {
  CopyText(login->data, token);
  const ScopedLock lock(g_JsonApi.mutex);
  Users(login.get()).fetch_add(1, std::memory_order_relaxed);  // the registry's share
  if (!Append(BlockOf(login.get()))) {
    Users(login.get()).fetch_sub(1, std::memory_order_relaxed);
    return Registration::kListFailed;
  }
  const bool full = AddUsrIdToStack(token) == kUserStackFull;
  return full ? Registration::kSessionsFull : Registration::kDone;
}

bool RemoveLogin(SdkAPISerHandle* login) {
  if (login == GetSerHandle()) return false;
  {
    const ScopedLock lock(g_JsonApi.mutex);
    if (!TakeOut(BlockOf(login))) return false;
  }
  ReleaseLogin{}(login);
  return true;
}

void RemoveSession(const char* token) {
  const ScopedLock lock(g_JsonApi.mutex);
  DelUsrIdStack(token);
}

int LoginTimeOutTaskCb(const char* userid) {
  kLog.info()("userid [%s] login time out.. ", userid);
  const LoginPtr login = FindLogin(userid);
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

int LoginCount() { return HandleManageGetUsrCount(&g_JsonApi.list); }

// Logins of an earlier run are dropped: no request is running between two runs of the server.
int UsrManageTask() {
  if (registryIsReady) {
    DropAllLogins();
  } else {
    pthread_mutex_init(&g_JsonApi.mutex, nullptr);
    const ScopedLock lock(g_JsonApi.mutex);
    HandleManageInitHead(&g_JsonApi.list);
    g_JsonApi.index.SetKey(RandomHashKey());
    registryIsReady = true;
  }
  return InitUsrIdStack(LoginTimeOutTaskCb);
}

}  // namespace sdkapi

SdkAPISerHandle* GetLoginHandle(const char* token) {
  // The registry's own share keeps the table after this one is given back.
  const sdkapi::LoginPtr login = sdkapi::FindLogin(token);
  SdkAPISerHandle* const table = login.get();
  return table;
}
