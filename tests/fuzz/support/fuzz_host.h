// A host that checks what the library hands it, and the library's server running in this process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "in_process_server.h"
#include "sdkapi/sdkapi.h"

namespace fuzz {

constexpr const char* kToken = "fuzz-token";

// Ends the process with the expression when it does not hold.
#define FUZZ_CHECK(expression)                                        \
  do {                                                                \
    if (!(expression)) ::fuzz::Fail(#expression, __FILE__, __LINE__); \
  } while (false)

[[noreturn]] void Fail(const char* expression, const char* file, int line);

// The context of the server, which the first call starts with a log hook and an empty document root.
mg_context* Server();

// The port that the server listens on.
int Port();

// Sets the authentication switch; with it on, the login of kToken exists afterwards.
void Authenticate(bool on);

// Serves one connection and returns what came back.
std::string_view Serve(std::string_view bytes);

// What the host's functions return until the next call: 0, -2 or any other number.
void SetResult(int result);

// The file content that the upload functions collected, and how many final calls they got, since the last
// reset.
struct Uploads {
  std::string content;
  int finals = 0;
  int found = 0;
};
Uploads& Collected();

// For connections that the real server serves: its workers go from one upload to the next unseen.
void StartUploadsAfterFinalCalls();

inline std::string_view View(const uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

}  // namespace fuzz
