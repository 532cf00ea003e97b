// A peer: GNU libmicrohttpd answering the same JSON requests with the same bytes.
#include <microhttpd.h>
#include <netinet/in.h>

#include <cstring>
#include <string>

#include "replies.h"
#include "server.h"

namespace {

MHD_Response* Make(const bench::Reply& reply) {
  // The cast is the peer's interface: it copies the text.
  MHD_Response* const response = MHD_create_response_from_buffer(
      reply.body.size(), const_cast<char*>(reply.body.data()), MHD_RESPMEM_MUST_COPY);
  for (const auto& [name, value] : reply.headers)
    MHD_add_response_header(response, name.c_str(), value.c_str());
  return response;
}

struct Replies {
  explicit Replies(const std::string& folder)
      : device(Make(bench::Reply(folder + "/device.microhttpd"))),
        login(Make(bench::Reply(folder + "/login.microhttpd"))),
        refused(Make(bench::Reply(folder + "/refused.microhttpd"))) {}
  MHD_Response* device;
  MHD_Response* login;
  MHD_Response* refused;
};

MHD_Result Answer(void* context, MHD_Connection* connection, const char* url, const char*, const char*,
                  const char*, std::size_t* size, void** state) {
  if (*state == nullptr) {
    *state = context;
    return MHD_YES;
  }
  if (*size > 0) {
    *size = 0;
    return MHD_YES;
  }
  const Replies& replies = *static_cast<const Replies*>(context);
  if (std::strcmp(url, "/api/v1/auth/login") == 0) return MHD_queue_response(connection, 200, replies.login);
  const char* const token = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, "Authorization");
  if (token == nullptr || std::string("Bearer ") + bench::kToken != token) {
    return MHD_queue_response(connection, 401, replies.refused);
  }
  return MHD_queue_response(connection, 200, replies.device);
}

}  // namespace

int main(int argc, char** argv) {
  const bench::Arguments arguments(argc, argv);
  Replies replies(arguments.folder);
  sockaddr_in address{.sin_family = AF_INET,
                      .sin_port = htons(static_cast<std::uint16_t>(arguments.http)),
                      .sin_addr = {htonl(INADDR_LOOPBACK)},
                      .sin_zero = {}};
  MHD_Daemon* const daemon = MHD_start_daemon(
      MHD_USE_EPOLL_INTERNAL_THREAD, static_cast<std::uint16_t>(arguments.http), nullptr, nullptr, &Answer,
      &replies, MHD_OPTION_SOCK_ADDR, &address, MHD_OPTION_THREAD_POOL_SIZE, 2U, MHD_OPTION_END);
  if (daemon == nullptr) return 2;
  bench::WaitForEnd();
  MHD_stop_daemon(daemon);
  return 0;
}
