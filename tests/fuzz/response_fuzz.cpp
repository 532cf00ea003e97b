// Fuzzes the composition and sending of replies.
#include <cstring>
#include <string>
#include <vector>

#include "support/fuzz_host.h"

namespace {

constexpr std::size_t kLongestHead = 380;
constexpr char kRequest[] = "GET /x HTTP/1.1\r\n\r\n";

void CheckComposed(int code, int type, const std::string& body) {
  std::vector<char> out(kLongestHead + body.size() + 1, '#');
  const int length = static_cast<int>(body.size());
  if (GroupRespHttpMsg(code, body.c_str(), length, out.data(), type) != 0) {
    FUZZ_CHECK(out[0] == '#');
    return;
  }
  const std::string text(out.data());
  FUZZ_CHECK(text.starts_with("HTTP/1.1 " + std::to_string(code) + " "));
  FUZZ_CHECK(text.ends_with("Connection: close\r\n\r\n" + body));
  FUZZ_CHECK(text.find("\r\nContent-Length: " + std::to_string(length) + "\r\n") != std::string::npos);
  mg_connection* const conn = FuzzRequest(fuzz::Server(), kRequest, sizeof kRequest - 1);
  SendHttpBuff(conn, text.c_str(), 0);
  FUZZ_CHECK(text == FuzzReply(nullptr));
}

void CheckSent(int code, int type, const std::string& body) {
  mg_connection* const conn = FuzzRequest(fuzz::Server(), kRequest, sizeof kRequest - 1);
  const int length = static_cast<int>(body.size());
  FUZZ_CHECK(SendReponseInfo(conn, code, type, body.c_str(), length) == 0);
  const std::string text(FuzzReply(nullptr));
  FUZZ_CHECK(
      text.starts_with("HTTP/1.1 " + std::to_string(code) + " " + CT_status_code_to_str(code) + "\r\n"));
  FUZZ_CHECK(text.ends_with("\r\n\r\n" + body));
  FUZZ_CHECK((text.find("\r\nContent-Type: ") < text.find("\r\n\r\n")) == (type >= 0 && type <= 2));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 4) return 0;
  const int16_t code = static_cast<int16_t>(data[0] | data[1] << 8);
  const int type = static_cast<int8_t>(data[2]);
  const std::string body(std::string(fuzz::View(data + 3, size - 3)).c_str());
  constexpr int kCodes[] = {200, 400, 401, 403, 404, 405, 406, 500, 503};
  CheckComposed((data[1] & 3) != 0 ? kCodes[data[0] % 9] : code, type, body);
  CheckSent(code, type, body);
  return 0;
}
