// JSON from outside: its length and depth are judged before a tree is built.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace sdkkit {

struct JsonBounds {
  std::size_t bytes = std::size_t{1} << 20;
  std::size_t depth = 32;  // levels of arrays and objects within each other
};

// An empty text when `text` is one JSON value within the bounds, else why it is not, in words for a log.
std::string JsonFault(std::string_view text, const JsonBounds& bounds = {});

// Nothing when there is a fault; `why` then says which. Throws only for want of memory.
std::optional<nlohmann::json> ParseJson(std::string_view text, const JsonBounds& bounds = {},
                                        std::string* why = nullptr);

bool IsUtf8(const std::string& text);

// The value as one line; bytes that are no UTF-8 become U+FFFD instead of an exception.
inline std::string ToText(const nlohmann::json& value) {
  return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace sdkkit
