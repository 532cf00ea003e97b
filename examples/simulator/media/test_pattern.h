// The picture of a source: colour bars, its name, a running clock and a moving block.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

inline constexpr int kPictureWidth = 1280;
inline constexpr int kPictureHeight = 720;
inline constexpr std::size_t kPictureBytes = std::size_t{kPictureWidth} * kPictureHeight / 2 * 3;

// One colour as the planes hold it (JPEG's full-range YCbCr).
struct Colour {
  uint8_t y;
  uint8_t cb;
  uint8_t cr;
};

// Brightness at full size, the two colour planes at half of it each way: the encoder takes them without
// converting.
class TestPattern {
 public:
  // The name decides the colours.
  explicit TestPattern(std::string_view name);

  // Redraws what moves.
  void Advance(uint64_t number, std::chrono::system_clock::time_point now);

  // Brightness, then the two colour planes: kPictureBytes.
  void CopyTo(unsigned char* to) const;

 private:
  // Coordinates and sizes are even, because two by two pixels share a colour.
  struct Area {
    int x;
    int y;
    int width;
    int height;
  };

  void DrawBars(double hue);
  void DrawName(std::string_view name);
  void Fill(const Area& area, Colour colour);
  void DrawText(std::string_view text, int x, int y, int scale, Colour colour);
  void DrawGlyph(char letter, int x, int y, int scale, Colour colour);

  std::vector<uint8_t> y_;
  std::vector<uint8_t> cb_;
  std::vector<uint8_t> cr_;
  Colour accent_;
};

}  // namespace sim
