// What the servers of the comparison share: their arguments, the replies they send, and their end.
#pragma once

#include <pthread.h>
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace bench {

// usage of every server: NAME HTTP HTTPS CERTIFICATE FOLDER [ROUTES]
struct Arguments {
  Arguments(int argc, char** argv) {
    if (argc < 5) std::exit(1);
    http = std::atoi(argv[1]);
    https = std::atoi(argv[2]);
    certificate = argv[3];
    folder = argv[4];
    if (argc > 5) routes = std::atoi(argv[5]);
    // Blocked before any thread starts, so that WaitForEnd alone receives it.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  }

  int http = 0;
  int https = 0;
  std::string certificate;
  std::string folder;
  int routes = 0;
};

inline void WaitForEnd() {
  std::puts("ready");
  std::fflush(stdout);
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  int received = 0;
  sigwait(&signals, &received);
}

inline std::string ReadFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

// A reply of the library, taken apart for a peer that composes its own: without what every peer adds by
// itself.
struct Reply {
  explicit Reply(const std::string& path) {
    const std::string text = ReadFile(path);
    const std::size_t end = text.find("\r\n\r\n");
    if (end == std::string::npos) std::exit(3);
    body = text.substr(end + 4);
    std::istringstream lines(text.substr(0, end));
    std::string line;
    std::getline(lines, line);
    status = std::atoi(line.c_str() + 9);
    while (std::getline(lines, line)) {
      const std::size_t colon = line.find(':');
      std::string value = line.substr(line.find_first_not_of(": ", colon));
      if (value.ends_with('\r')) value.pop_back();
      headers.emplace_back(line.substr(0, colon), value);
    }
  }

  int status = 0;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
};

}  // namespace bench
