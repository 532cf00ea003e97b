// A peer: libwebsockets echoing text frames, over HTTP and HTTPS.
#include <libwebsockets.h>

#include <atomic>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <thread>

#include "replies.h"
#include "server.h"

namespace {

// The frames that wait to be written, each behind the room that the library's head needs.
struct Session {
  std::deque<std::string>* waiting;
};

int Handle(lws* connection, lws_callback_reasons reason, void* user, void* in, std::size_t length) {
  auto* const session = static_cast<Session*>(user);
  switch (reason) {
    case LWS_CALLBACK_ESTABLISHED:
      session->waiting = new std::deque<std::string>;
      break;
    case LWS_CALLBACK_CLOSED:
      delete session->waiting;
      break;
    case LWS_CALLBACK_RECEIVE:
      session->waiting->emplace_back(LWS_PRE, '\0').append(static_cast<const char*>(in), length);
      lws_callback_on_writable(connection);
      break;
    case LWS_CALLBACK_SERVER_WRITEABLE: {
      if (session->waiting->empty()) break;
      std::string& frame = session->waiting->front();
      const std::size_t size = frame.size() - LWS_PRE;
      if (lws_write(connection, reinterpret_cast<unsigned char*>(frame.data()) + LWS_PRE, size,
                    LWS_WRITE_TEXT) < 0)
        return -1;
      session->waiting->pop_front();
      if (!session->waiting->empty()) lws_callback_on_writable(connection);
      break;
    }
    default:
      break;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const bench::Arguments arguments(argc, argv);
  lws_set_log_level(LLL_ERR, nullptr);
  const lws_protocols protocols[] = {{bench::kToken, Handle, sizeof(Session), 4096, 0, nullptr, 0},
                                     {nullptr, nullptr, 0, 0, 0, nullptr, 0}};
  lws_context_creation_info info{};
  info.options = LWS_SERVER_OPTION_EXPLICIT_VHOSTS | LWS_SERVER_OPTION_DO_SSL_GLOBAL_INIT;
  lws_context* const context = lws_create_context(&info);
  if (context == nullptr) return 2;
  info.protocols = protocols;
  info.iface = "127.0.0.1";
  info.vhost_name = "http";
  info.port = arguments.http;
  if (lws_create_vhost(context, &info) == nullptr) return 2;
  info.vhost_name = "https";
  info.port = arguments.https;
  info.ssl_cert_filepath = info.ssl_private_key_filepath = arguments.certificate.c_str();
  info.ssl_cipher_list = "AES128-GCM-SHA256";
  if (lws_create_vhost(context, &info) == nullptr) return 2;
  std::atomic<bool> running{true};
  std::thread service([&] {
    while (running && lws_service(context, 0) >= 0) {
    }
  });
  bench::WaitForEnd();
  running = false;
  lws_cancel_service(context);
  service.join();
  lws_context_destroy(context);
  return 0;
}
