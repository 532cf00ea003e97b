// Tests of uploaded content: is this file what its route asks for?
#pragma once

#include <cstddef>
#include <string>

namespace sim {

inline constexpr size_t kPictureLimit = size_t{8} << 20;
inline constexpr size_t kTextLimit = size_t{1} << 20;
inline constexpr size_t kEdidLimit = 256;

// Each takes the path of a file and tells whether its content is acceptable.
bool IsPicture(const std::string& path);
bool IsJsonText(const std::string& path);
bool IsEdid(const std::string& path);
bool IsAnything(const std::string& path);

// ".png", ".jpg", ".bmp" by content, or "" for anything else.
const char* PictureSuffix(const std::string& path);

}  // namespace sim
