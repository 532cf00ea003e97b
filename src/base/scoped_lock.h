// A POSIX mutex held for the life of a scope.
#pragma once

#include <pthread.h>

namespace sdkapi {

class ScopedLock {
 public:
  explicit ScopedLock(pthread_mutex_t& mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
  ~ScopedLock() { pthread_mutex_unlock(&mutex_); }
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  pthread_mutex_t& mutex_;
};

}  // namespace sdkapi
