// Logins with their private tables, kept alive by whoever uses them, and the end of a login.
#include "session/login_registry.h"

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstring>

#include "base/owned.h"
#include "base/scoped_lock.h"
#include "base/text.h"
#include "sdkapi/session.h"
#include "server/authentication.h"
#include "server/host_table.h"
#include "server/lifecycle.h"
#include "server/log.h"
#include "session/user_stack.h"

namespace sdkapi {
namespace {

constexpr LogSource kLog{"sdkapi"};

// What is allocated per login. Users are the registry and every request that found the login.
struct LoginBlock {
  SdkAPISerHandle table;
  int users;
};
static_assert(offsetof(LoginBlock, table) == 0);

struct JsonApi {
  pthread_mutex_t mutex;  // outer lock: list and session stack change together under it
  HandleManage list;
};
JsonApi g_JsonApi;
bool registryIsReady = false;

std::atomic_ref<int> Users(SdkAPISerHandle* table) {
  void* const block = table;
  return std::atomic_ref<int>(static_cast<LoginBlock*>(block)->users);
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
  const ScopedLock lock(g_JsonApi.list.mutex);
  for (const HandleManage* node = g_JsonApi.list.next; node != nullptr; node = node->next) {
    auto* const table = static_cast<SdkAPISerHandle*>(node->value);
    if (std::strcmp(table->data, token) != 0) continue;
    Users(table).fetch_add(1, std::memory_order_relaxed);
    return LoginPtr(table);
  }
  return nullptr;
}

LoginPtr NewLogin() {
  auto* const block = static_cast<LoginBlock*>(std::malloc(sizeof(LoginBlock)));
  if (block == nullptr) return nullptr;
  block->table = *GetSerHandle();
  block->users = 1;
  return LoginPtr(&block->table);
}

Registration RegisterLogin(const LoginPtr& login, const char* token) {
  CopyText(login->data, token);
  const ScopedLock lock(g_JsonApi.mutex);
  Users(login.get()).fetch_add(1, std::memory_order_relaxed);  // the registry's share
  if (HandleManageAddHandle(&g_JsonApi.list, login.get()) != 0) {
    Users(login.get()).fetch_sub(1, std::memory_order_relaxed);
    return Registration::kListFailed;
  }
  const bool full = AddUsrIdToStack(token) == kUserStackFull;
  return full ? Registration::kSessionsFull : Registration::kDone;
}

bool RemoveLogin(SdkAPISerHandle* login) {
  {
    const ScopedLock lock(g_JsonApi.mutex);
    if (HandleManageDelHandle(&g_JsonApi.list, login) != 0) return false;
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
