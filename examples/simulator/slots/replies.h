// How functions of the device's own routes read and answer.
#pragma once

#include <array>
#include <nlohmann/json.hpp>
#include <string>

#include "sdkapi/sdkapi.h"

namespace sim {

enum Method : int { kGet = 0, kPost = 1 };

// One call, JSON, the fixed headers.
inline int Answer(mg_connection* conn, int status, const nlohmann::json& body) {
  constexpr int kJson = 1;
  const std::string text = body.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  SendReponseInfo(conn, status, kJson, text.c_str(), static_cast<int>(text.size()));
  return 0;
}

inline int AnswerError(mg_connection* conn, int status, const char* text) {
  return Answer(conn, status, {{"error", text}});
}

inline std::string TokenOf(mg_connection* conn) {
  std::array<char, 1025> token{};  // zero-filled, as GetHttpToken wants it
  GetHttpToken(conn, token.data());
  return token.data();
}

// The body is not NUL-terminated, and NULL without one. Deep values are dropped: writing them recurses.
inline nlohmann::json BodyOf(const CustomReqInfo& request) {
  constexpr int kDeepest = 16;
  if (request.body == nullptr || request.bodyLength <= 0) return nlohmann::json::value_t::discarded;
  const auto isShallow = [](int depth, nlohmann::json::parse_event_t, nlohmann::json&) {
    return depth <= kDeepest;
  };
  return nlohmann::json::parse(request.body, request.body + request.bodyLength, isShallow, false);
}

}  // namespace sim
