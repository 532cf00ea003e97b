// A handle list that keeps counted records: what stands in it has a reference of the list's own.
#pragma once

#include "base/counted.h"
#include "base/lock_order.h"
#include "base/thread_safety.h"
#include "sdkapi/session.h"
#include "session/list_lock.h"

namespace sdkapi {

// Joins at the end. False when memory is short.
template <class T>
bool AddToList(HandleManage& list, Ref<T> record) EXCLUDES(listLock) {
  if (HandleManageAddHandle(&list, record.get()) != 0) return false;
  static_cast<void>(record.Detach());  // the list's from now on
  return true;
}

// The oldest record that fits; null when none does.
template <class T, class Fits>
Ref<T> FindInList(HandleManage& list, Fits fits) EXCLUDES(listLock) {
  const ListLock lock(list);
  for (const HandleManage* node = list.next; node != nullptr; node = node->next) {
    auto* const record = static_cast<T*>(node->value);
    if (fits(*record)) return Ref<T>::Share(record);
  }
  return nullptr;
}

// The record stands in the list.
template <class T>
void TakeFromList(HandleManage& list, const Ref<T>& record) EXCLUDES(listLock) {
  HandleManageDelHandle(&list, record.get());
  Ref<T>::Adopt(record.get());
}

}  // namespace sdkapi
