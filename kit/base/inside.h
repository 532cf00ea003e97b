// While a subject's work that calls functions of the host's goes on, on this thread: a stop that one of them
// called would wait for itself.
#pragma once

namespace sdkkit {

template <class Subject>
class Inside {
 public:
  Inside() { t_isInside = true; }
  ~Inside() { t_isInside = false; }
  Inside(const Inside&) = delete;
  Inside& operator=(const Inside&) = delete;

  static bool Is() { return t_isInside; }

 private:
  inline static thread_local bool t_isInside = false;
};

}  // namespace sdkkit
