// Whether this thread is within the archive: called from one of the host's functions it would wait for
// itself.
#pragma once

namespace sdkkit::archive {

inline constexpr const char* kCalledInside = "it was called by one of its own functions";

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

}  // namespace sdkkit::archive
