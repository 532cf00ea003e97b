// A POSIX mutex whose use clang checks, its lock for the life of a scope, and a condition to wait for.
#pragma once

#include <pthread.h>

#include "base/thread_safety.h"

namespace sdkapi {

// Owns nothing that would have to be given back.
class CAPABILITY("mutex") Mutex {
 public:
  constexpr Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void Lock() ACQUIRE() { pthread_mutex_lock(&mutex_); }
  void Unlock() RELEASE() { pthread_mutex_unlock(&mutex_); }

 private:
  friend class Condition;
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

class SCOPED_CAPABILITY ScopedLock {
 public:
  explicit ScopedLock(Mutex& mutex) ACQUIRE(mutex) : mutex_(mutex) { mutex_.Lock(); }
  ~ScopedLock() RELEASE() { mutex_.Unlock(); }
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  Mutex& mutex_;
};

class Condition {
 public:
  // Gives the mutex back meanwhile. May return early: ask again for what is waited for.
  void Wait(Mutex& mutex) REQUIRES(mutex) { pthread_cond_wait(&condition_, &mutex.mutex_); }
  void WakeAll() { pthread_cond_broadcast(&condition_); }

 private:
  pthread_cond_t condition_ = PTHREAD_COND_INITIALIZER;
};

}  // namespace sdkapi
