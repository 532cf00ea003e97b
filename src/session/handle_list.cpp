// The locked list of opaque pointers.
#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>

#include "base/thread_safety.h"
#include "sdkapi/session.h"
#include "session/handle_nodes.h"
#include "session/list_lock.h"

namespace {

// The place may be the head, whose link is also looked at without the lock.
void SetNext(HandleManage* place, HandleManage* node) {
  std::atomic_ref(place->next).store(node, std::memory_order_relaxed);
}

bool IsEmpty(HandleManage* head) {
  return std::atomic_ref(head->next).load(std::memory_order_relaxed) == nullptr;
}

}  // namespace

namespace sdkapi {

// Nodes carry an unused mutex: head and node are one record type in the interface.
HandleManage* NewHandleNode(void* value) {
  auto* const node = static_cast<HandleManage*>(std::calloc(1, sizeof(HandleManage)));
  if (node != nullptr) node->value = value;
  return node;
}

void LinkBehind(const HandleManage& /*list*/, HandleManage* place, HandleManage* node) {
  node->prev = place;
  node->next = place->next;
  if (node->next != nullptr) node->next->prev = node;
  SetNext(place, node);
}

void ForgetNodes(HandleManage& list) {
  const ListLock lock(list);
  SetNext(&list, nullptr);
}

void Unlink(const HandleManage& /*list*/, HandleManage* node) {
  SetNext(node->prev, node->next);
  if (node->next != nullptr) node->next->prev = node->prev;
}

}  // namespace sdkapi

namespace {

using sdkapi::LinkBehind;
using sdkapi::ListLock;
using sdkapi::NewHandleNode;

HandleManage* Tail(HandleManage* head) REQUIRES(sdkapi::LockOf(*head)) {
  HandleManage* last = head;
  while (last->next != nullptr) last = last->next;
  return last;
}

HandleManage* Find(HandleManage* head, const void* value) REQUIRES(sdkapi::LockOf(*head)) {
  HandleManage* node = head->next;
  while (node != nullptr && node->value != value) node = node->next;
  return node;
}

}  // namespace

int HandleManageInitHead(HandleManage* head) {
  if (head == nullptr) return -1;
  pthread_mutex_init(&head->mutex, nullptr);
  const ListLock lock(*head);
  head->value = nullptr;
  SetNext(head, nullptr);
  head->prev = nullptr;
  return 0;
}

int HandleManageAddHandle(HandleManage* head, void* value) {
  if (head == nullptr || value == nullptr) return -1;
  HandleManage* const node = NewHandleNode(value);
  if (node == nullptr) return -1;
  const ListLock lock(*head);
  LinkBehind(*head, Tail(head), node);
  return 0;
}

int HandleManageAddHandle1(HandleManage* head, void* value) {
  if (head == nullptr || value == nullptr) return -1;
  HandleManage* const node = NewHandleNode(value);
  if (node == nullptr) return -1;
  const ListLock lock(*head);
  LinkBehind(*head, head, node);
  return 0;
}

int HandleManageDelHandle(HandleManage* head, void* value) {
  if (head == nullptr || value == nullptr) return -1;
  const ListLock lock(*head);
  HandleManage* const node = Find(head, value);
  if (node == nullptr) return -1;
  sdkapi::Unlink(*head, node);
  std::free(node);
  return 0;
}

void* HandleManageGetNextHandle(HandleManage* head) {
  if (head == nullptr || IsEmpty(head)) return nullptr;
  const ListLock lock(*head);
  return head->next != nullptr ? head->next->value : nullptr;
}

int HandleManageGetUsrCount(HandleManage* head) {
  if (head == nullptr) return -1;
  const ListLock lock(*head);
  int count = 0;
  for (const HandleManage* node = head->next; node != nullptr; node = node->next) ++count;
  return count;
}

int HandleManagePostLoop(HandleManage* head, HandleManageCallback callback, uint32_t arg, void* context) {
  if (head == nullptr || callback == nullptr) return -1;
  const ListLock lock(*head);
  for (const HandleManage* node = head->next; node != nullptr; node = node->next) {
    callback(node->value, arg, context);
  }
  return 0;
}
