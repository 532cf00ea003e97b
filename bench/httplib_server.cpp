// A peer: cpp-httplib answering the same JSON request with the same bytes.
#include <httplib.h>

#include <thread>

#include "server.h"

int main(int argc, char** argv) {
  const bench::Arguments arguments(argc, argv);
  const bench::Reply reply(arguments.folder + "/device.httplib");
  httplib::Server server;
  server.set_keep_alive_max_count(1);
  server.Get("/dev_info", [&reply](const httplib::Request&, httplib::Response& response) {
    for (const auto& [name, value] : reply.headers) {
      if (name != "Content-Type" && name != "Connection") response.set_header(name, value);
    }
    response.set_content(reply.body, "application/json; charset=utf-8;");
  });
  std::thread listener([&] { server.listen("127.0.0.1", arguments.http); });
  bench::WaitForEnd();
  server.stop();
  listener.join();
  return 0;
}
