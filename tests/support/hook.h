// A replaceable function of the test host.
#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "waiting.h"

namespace sdktest {

template <class Signature>
class Hook;

// May be called from any thread while it is replaced. An empty hook answers 0 and fills nothing.
template <class... Args>
class Hook<int(Args...)> {
 public:
  using Function = std::function<int(Args...)>;

  Hook& operator=(Function function) {
    Exchange(std::move(function));
    return *this;
  }

  // Returns what stood there.
  Function Exchange(Function function) {
    auto next = function != nullptr ? std::make_shared<Function>(std::move(function)) : nullptr;
    const std::lock_guard lock(mutex_);
    next.swap(function_);
    return next != nullptr ? *next : Function{};
  }

  int operator()(Args... args) {
    const auto function = Current();
    if (function == nullptr) return 0;
    Rendezvous();
    const int result = (*function)(args...);
    Rendezvous();
    return result;
  }

  // The same without a lock, for hooks that nobody replaces any more: calls put no order between threads.
  int CallSettled(Args... args) const { return function_ == nullptr ? 0 : (*function_)(args...); }

 private:
  std::shared_ptr<Function> Current() {
    const std::lock_guard lock(mutex_);
    return function_;
  }

  std::mutex mutex_;
  std::shared_ptr<Function> function_;
};

}  // namespace sdktest
