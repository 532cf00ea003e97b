// What somebody sees who looks at a unit, or at the device itself.
#include "media/screen.h"

#include <chrono>
#include <optional>
#include <utility>

#include "model/device.h"
#include "model/units.h"

namespace sim {
namespace {

constexpr const char* kNoSignal = "NO SIGNAL";

// A transmitter shows its own picture, a receiver that of its input. Nothing for units that are unknown or
// offline.
std::optional<std::string> ShownBy(const std::string& name) {
  if (name.empty()) return kDeviceModel;
  const auto unit = FindUnit(name);
  if (!unit || !unit->online) return std::nullopt;
  if (unit->type == "tx") return unit->name;
  const auto input = FindUnit(unit->input);
  return input && input->online ? input->name : kNoSignal;
}

}  // namespace

Screen::Screen(std::string name, const std::string& shown)
    : name_(std::move(name)), shown_(shown), pattern_(shown) {}

bool Screen::Paint(unsigned char* to) {
  const auto shown = ShownBy(name_);
  if (!shown) return false;
  if (*shown != shown_) {
    pattern_ = TestPattern(*shown);
    shown_ = *shown;
  }
  pattern_.Advance(++number_, std::chrono::system_clock::now());
  pattern_.CopyTo(to);
  return true;
}

std::unique_ptr<Screen> OpenScreen(const std::string& name) {
  const auto shown = ShownBy(name);
  return shown ? std::make_unique<Screen>(name, *shown) : nullptr;
}

}  // namespace sim
