// A peer: GNU libmicrohttpd answering the same JSON request.
//
// usage: bench-microhttpd HTTP
#include <microhttpd.h>
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "replies.h"

namespace {

MHD_Result Answer(void*, MHD_Connection* connection, const char*, const char*, const char*, const char*,
                  std::size_t*, void**) {
  // The cast is the peer's interface: it does not change the persistent text.
  MHD_Response* const response = MHD_create_response_from_buffer(
      sizeof bench::kDeviceBody - 1, const_cast<char*>(bench::kDeviceBody), MHD_RESPMEM_PERSISTENT);
  MHD_add_response_header(response, "Content-Type", "application/json; charset=utf-8;");
  MHD_add_response_header(response, "Connection", "close");
  const MHD_Result result = MHD_queue_response(connection, MHD_HTTP_OK, response);
  MHD_destroy_response(response);
  return result;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 1;
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  MHD_Daemon* const daemon =
      MHD_start_daemon(MHD_USE_EPOLL_INTERNAL_THREAD, static_cast<uint16_t>(std::atoi(argv[1])), nullptr,
                       nullptr, &Answer, nullptr, MHD_OPTION_THREAD_POOL_SIZE, 2U, MHD_OPTION_END);
  if (daemon == nullptr) return 2;
  std::puts("ready");
  std::fflush(stdout);
  int received = 0;
  sigwait(&signals, &received);
  MHD_stop_daemon(daemon);
  return 0;
}
