// What somebody sees who looks at a unit, or at the device itself.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "media/test_pattern.h"

namespace sim {

// One source while somebody looks at it.
class Screen {
 public:
  Screen(std::string name, const std::string& shown);

  // Paints the next picture: kPictureBytes. False once the unit is gone or offline.
  bool Paint(unsigned char* to);

 private:
  const std::string name_;
  std::string shown_;
  TestPattern pattern_;
  uint64_t number_ = 0;
};

// The screen of a unit, or of the device for an empty name; nothing for a unit that is unknown or offline.
std::unique_ptr<Screen> OpenScreen(const std::string& name);

}  // namespace sim
