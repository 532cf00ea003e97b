// A subject that exported functions use, and a stop that waits for those that are inside.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>

namespace sdkkit {

template <class Subject>
class InUse {
 public:
  // Keeps the subject alive; empty while nothing is started.
  class Use {
   public:
    explicit Use(InUse& owner) : owner_(owner), subject_(owner.Enter()) {}
    ~Use() {
      if (subject_ != nullptr) owner_.Leave();
    }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

    Subject* operator->() const { return subject_; }
    Subject& operator*() const { return *subject_; }
    explicit operator bool() const { return subject_ != nullptr; }

   private:
    InUse& owner_;
    Subject* const subject_;
  };

  Use Get() { return Use(*this); }

  // False when there is one: the new one is dropped then.
  bool Start(std::unique_ptr<Subject> subject) {
    const std::lock_guard lock(mutex_);
    if (subject_ != nullptr) return false;
    subject_ = std::move(subject);
    isOpen_ = true;
    return true;
  }

  bool IsStarted() {
    const std::lock_guard lock(mutex_);
    return subject_ != nullptr;
  }

  // Nobody gets in any more; ends the subject on this thread when the last one has left. False, and nothing
  // happens, on a thread that is inside itself.
  bool Stop() {
    if (t_depth > 0) return false;
    std::unique_ptr<Subject> ending;
    std::unique_lock lock(mutex_);
    isOpen_ = false;
    left_.wait(lock, [this] { return users_ == 0; });
    ending = std::move(subject_);
    lock.unlock();
    return true;
  }

 private:
  Subject* Enter() {
    const std::lock_guard lock(mutex_);
    if (!isOpen_ && t_depth == 0) return nullptr;
    ++users_;
    ++t_depth;
    return subject_.get();
  }
  void Leave() {
    const std::lock_guard lock(mutex_);
    --t_depth;
    if (--users_ == 0) left_.notify_all();
  }

  inline static thread_local std::size_t t_depth = 0;  // how often this thread is inside

  std::mutex mutex_;  // guards what follows
  std::condition_variable left_;
  std::unique_ptr<Subject> subject_;
  std::size_t users_ = 0;
  bool isOpen_ = false;
};

}  // namespace sdkkit
