// The lock in a handle list's head, held for the life of a scope.
#pragma once

#include <pthread.h>

#include "base/lock_order.h"
#include "base/thread_safety.h"
#include "sdkapi/session.h"

namespace sdkapi {

// A list's lock by name, for the analysis alone: the record is the interface's, its mutex bears no
// annotation.
LockPlace& LockOf(const HandleManage& list);

class SCOPED_CAPABILITY ListLock {
 public:
  explicit ListLock(HandleManage& list) ACQUIRE(LockOf(list), listLock) : mutex_(list.mutex) {
    pthread_mutex_lock(&mutex_);
  }
  ~ListLock() RELEASE() { pthread_mutex_unlock(&mutex_); }
  ListLock(const ListLock&) = delete;
  ListLock& operator=(const ListLock&) = delete;

 private:
  pthread_mutex_t& mutex_;
};

}  // namespace sdkapi
