// The picture of a source: colour bars, its name, a running clock and a moving block.
#include "media/test_pattern.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <ctime>

#include "media/preview_font.h"

namespace sim {
namespace {

constexpr int kBars = 8;
constexpr int kBarsHeight = 480;
constexpr int kCell = kGlyphWidth + 1;
constexpr int kClockScale = 10;
constexpr int kClockTop = 520;
constexpr int kTrackTop = 624;
constexpr int kBlockSize = 64;
constexpr int kBlockStep = 8;
constexpr Colour kBlack{16, 128, 128};
constexpr Colour kWhite{235, 128, 128};

uint8_t ToByte(double value) { return static_cast<uint8_t>(std::clamp(value + 0.5, 0.0, 255.0)); }

// A fully saturated colour of the given hue (0 to 1) and brightness (0 to 1).
Colour FromHue(double hue, double brightness) {
  const auto channel = [&](double shift) {
    const double position = std::fmod(hue * 6 + shift, 6.0);
    return 255 * brightness * (1 - std::clamp(std::min(position, 4 - position), 0.0, 1.0));
  };
  const double red = channel(5);
  const double green = channel(3);
  const double blue = channel(1);
  return Colour{ToByte(0.299 * red + 0.587 * green + 0.114 * blue),
                ToByte(128 - 0.168736 * red - 0.331264 * green + 0.5 * blue),
                ToByte(128 + 0.5 * red - 0.418688 * green - 0.081312 * blue)};
}

// Spreads names over the circle of hues, always in the same way.
double HueOf(std::string_view name) {
  uint32_t hash = 2166136261U;
  for (const char c : name) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
  return (hash >> 8) / double{1U << 24};
}

std::string ClockText(std::chrono::system_clock::time_point now) {
  const auto sinceEpoch = now.time_since_epoch();
  const time_t seconds = std::chrono::duration_cast<std::chrono::seconds>(sinceEpoch).count();
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count() % 1000;
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  std::array<char, 32> text{};
  const size_t length = std::strftime(text.data(), text.size(), "%H:%M:%S", &parts);
  std::snprintf(text.data() + length, text.size() - length, ".%03d", static_cast<int>(milliseconds));
  return text.data();
}

int TextWidth(std::string_view text, int scale) { return static_cast<int>(text.size()) * kCell * scale; }

// The largest even scale at which a text fits into a width.
int ScaleFor(std::string_view text, int width) {
  const int fitting = width / std::max(1, TextWidth(text, 1));
  return std::clamp(fitting & ~1, 2, 24);
}

}  // namespace

TestPattern::TestPattern(std::string_view name)
    : y_(size_t{kPictureWidth} * kPictureHeight),
      cb_(y_.size() / 4),
      cr_(y_.size() / 4),
      accent_(FromHue(HueOf(name), 0.9)) {
  Fill({0, 0, kPictureWidth, kPictureHeight}, kBlack);
  DrawBars(HueOf(name));
  DrawName(name);
}

void TestPattern::DrawBars(double hue) {
  const int width = kPictureWidth / kBars;
  for (int bar = 0; bar < kBars; ++bar) {
    const Colour colour = FromHue(hue + bar / (2.0 * kBars), 0.35 + 0.6 * (kBars - bar) / kBars);
    Fill({bar * width, 0, width, kBarsHeight}, colour);
  }
}

void TestPattern::DrawName(std::string_view name) {
  constexpr int kMargin = 32;
  const int scale = ScaleFor(name, kPictureWidth - 4 * kMargin);
  const int width = TextWidth(name, scale);
  const int height = kGlyphHeight * scale;
  const int left = ((kPictureWidth - width) / 2) & ~1;
  const int top = ((kBarsHeight - height) / 2) & ~1;
  Fill({left - kMargin, top - kMargin, width + 2 * kMargin, height + 2 * kMargin}, kBlack);
  DrawText(name, left + ((scale / 2) & ~1), top, scale, kWhite);
}

void TestPattern::Advance(uint64_t number, std::chrono::system_clock::time_point now) {
  const std::string clock = ClockText(now);
  const std::string counter = "#" + std::to_string(number);
  Fill({0, kClockTop, kPictureWidth, kGlyphHeight * kClockScale}, kBlack);
  DrawText(clock, 40, kClockTop, kClockScale, kWhite);
  DrawText(counter, kPictureWidth - 40 - TextWidth(counter, kClockScale), kClockTop, kClockScale, accent_);

  constexpr int kSteps = (kPictureWidth - kBlockSize) / kBlockStep;
  constexpr int kThereAndBack = 2 * kSteps;
  const int position = static_cast<int>(number % kThereAndBack);
  const int steps = position <= kSteps ? position : kThereAndBack - position;
  Fill({0, kTrackTop, kPictureWidth, kBlockSize}, kBlack);
  Fill({steps * kBlockStep, kTrackTop, kBlockSize, kBlockSize}, accent_);
}

void TestPattern::CopyTo(unsigned char* to) const {
  for (const std::vector<uint8_t>* plane : {&y_, &cb_, &cr_})
    to = std::copy(plane->begin(), plane->end(), to);
}

void TestPattern::Fill(const Area& area, Colour colour) {
  const int left = std::clamp(area.x, 0, kPictureWidth);
  const int right = std::clamp(area.x + area.width, left, kPictureWidth);
  const int top = std::clamp(area.y, 0, kPictureHeight);
  const int bottom = std::clamp(area.y + area.height, top, kPictureHeight);
  for (std::ptrdiff_t row = top; row < bottom; ++row) {
    std::fill_n(y_.begin() + row * kPictureWidth + left, right - left, colour.y);
  }
  for (std::ptrdiff_t row = top / 2; row < bottom / 2; ++row) {
    const std::ptrdiff_t at = row * (kPictureWidth / 2) + left / 2;
    std::fill_n(cb_.begin() + at, (right - left) / 2, colour.cb);
    std::fill_n(cr_.begin() + at, (right - left) / 2, colour.cr);
  }
}

void TestPattern::DrawText(std::string_view text, int x, int y, int scale, Colour colour) {
  for (const char letter : text) {
    DrawGlyph(letter, x, y, scale, colour);
    x += kCell * scale;
  }
}

void TestPattern::DrawGlyph(char letter, int x, int y, int scale, Colour colour) {
  const auto glyph = std::ranges::find(kGlyphs, letter, &Glyph::letter);
  if (glyph == kGlyphs.end()) return;
  for (int row = 0; row < kGlyphHeight; ++row) {
    for (int column = 0; column < kGlyphWidth; ++column) {
      const bool isSet = (glyph->rows[static_cast<size_t>(row)] >> (kGlyphWidth - 1 - column) & 1) != 0;
      if (isSet) Fill({x + column * scale, y + row * scale, scale, scale}, colour);
    }
  }
}

}  // namespace sim
