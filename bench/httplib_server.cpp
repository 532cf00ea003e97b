// A peer: cpp-httplib answering the same JSON request.
//
// usage: bench-httplib HTTP
#include <httplib.h>

#include <cstdio>
#include <cstdlib>

#include "replies.h"

int main(int argc, char** argv) {
  if (argc < 2) return 1;
  httplib::Server server;
  server.set_keep_alive_max_count(1);
  server.Get("/dev_info", [](const httplib::Request&, httplib::Response& response) {
    response.set_content(bench::kDeviceBody, "application/json; charset=utf-8;");
  });
  std::puts("ready");
  std::fflush(stdout);
  return server.listen("0.0.0.0", std::atoi(argv[1])) ? 0 : 2;
}
