// The web server alone: handlers that send the same bytes with the same options, without the library.
#include <civetweb.h>
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "replies.h"
#include "server.h"

namespace {

std::string folder;
std::mutex mutex;
std::vector<mg_connection*> clients;
std::atomic<bool> running{true};

int Send(mg_connection* conn, const char* body) {
  char date[64];
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  std::strftime(date, sizeof date, "%a, %d %b %Y %H:%M:%S GMT", &utc);
  char reply[1024];
  const int length =
      std::snprintf(reply, sizeof reply, bench::kReplyHead, date, static_cast<int>(std::strlen(body)), body);
  mg_write(conn, reply, static_cast<std::size_t>(length));
  mg_disable_connection_keep_alive(conn);
  return 1;
}

int Device(mg_connection* conn, void*) { return Send(conn, bench::kDeviceBody); }

int Login(mg_connection* conn, void*) {
  char body[512];
  mg_read(conn, body, static_cast<std::size_t>(mg_get_request_info(conn)->content_length));
  return Send(conn, bench::kLoginBody);
}

int Found(const char*, const char*, char*, std::size_t, void*) { return MG_FORM_FIELD_STORAGE_GET; }
int Get(const char*, const char*, std::size_t, void*) { return MG_FORM_FIELD_HANDLE_GET; }

int Upload(mg_connection* conn, void*) {
  mg_form_data_handler handler{Found, Get, nullptr, nullptr};
  mg_handle_form_request(conn, &handler);
  return Send(conn, "");
}

// The file as it is, in raw writes of 16 KiB.
int Download(mg_connection* conn, void*) {
  char name[32] = "";
  const char* const query = mg_get_request_info(conn)->query_string;
  mg_get_var(query, query != nullptr ? std::strlen(query) : 0, "method", name, sizeof name);
  const int file = open((folder + "/" + name).c_str(), O_RDONLY);
  const long long size = lseek(file, 0, SEEK_END);
  lseek(file, 0, SEEK_SET);
  mg_printf(conn, "HTTP/1.1 200 OK\r\nContent-Type: application/octet-stream\r\nContent-Length: %lld\r\n\r\n",
            size);
  char buffer[16384];
  ssize_t got = 0;
  while ((got = read(file, buffer, sizeof buffer)) > 0) mg_write(conn, buffer, static_cast<std::size_t>(got));
  close(file);
  return 1;
}

// Each stream has a picture of its own, as a host fills one for every request.
int Preview(mg_connection* conn, void*) {
  const std::string picture(bench::kPictureSize, 'p');
  char head[128];
  const int length = std::snprintf(
      head, sizeof head, "--w00t\r\nContent-Type: image/jpeg\r\nContent-Length: %zu\r\n\r\n", picture.size());
  mg_printf(conn,
            "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Type: multipart/x-mixed-replace; "
            "boundary=--w00t\r\n\r\n");
  while (running && mg_write(conn, head, static_cast<std::size_t>(length)) > 0 &&
         mg_write(conn, picture.data(), picture.size()) > 0 && mg_write(conn, "\r\n\r\n", 4) > 0) {
  }
  mg_disable_connection_keep_alive(conn);
  return 1;
}

int Connect(const mg_connection*, void*) { return 0; }

void Ready(mg_connection* conn, void*) {
  const std::lock_guard lock(mutex);
  clients.push_back(conn);
}

void Broadcast(int count) {
  for (int i = 0; i < count; ++i) {
    const std::lock_guard lock(mutex);
    for (mg_connection* const client : clients) {
      mg_websocket_write(client, MG_WEBSOCKET_OPCODE_TEXT, bench::kEventText, sizeof bench::kEventText - 1);
    }
  }
}

int Data(mg_connection*, int flags, char* data, std::size_t length, void*) {
  if ((flags & 15) == MG_WEBSOCKET_OPCODE_TEXT)
    std::thread(Broadcast, std::atoi(std::string(data, length).c_str())).detach();
  return 1;
}

void Close(const mg_connection* conn, void*) {
  const std::lock_guard lock(mutex);
  std::erase(clients, conn);
}

}  // namespace

int main(int argc, char** argv) {
  const bench::Arguments arguments(argc, argv);
  folder = arguments.folder;
  const std::string ports =
      "127.0.0.1:" + std::to_string(arguments.http) + ",127.0.0.1:" + std::to_string(arguments.https) + "s";
  const char* options[] = {"document_root",
                           folder.c_str(),
                           "listening_ports",
                           ports.c_str(),
                           "request_timeout_ms",
                           "10000",
                           "enable_websocket_ping_pong",
                           "yes",
                           "websocket_timeout_ms",
                           "60000",
                           "enable_keep_alive",
                           "yes",
                           "keep_alive_timeout_ms",
                           "60000",
                           "ssl_certificate",
                           arguments.certificate.c_str(),
                           "ssl_protocol_version",
                           "4",
                           "ssl_cipher_list",
                           "DES-CBC3-SHA:AES128-GCM-SHA256",
                           "enable_auth_domain_check",
                           "no",
                           nullptr};
  const mg_callbacks callbacks{};
  mg_context* const ctx = mg_start(&callbacks, nullptr, options);
  if (ctx == nullptr) return 2;
  mg_set_request_handler(ctx, "/dev_info$", Device, nullptr);
  mg_set_request_handler(ctx, "/api/v1/auth/login$", Login, nullptr);
  mg_set_request_handler(ctx, "/upload/bg$", Upload, nullptr);
  mg_set_request_handler(ctx, "/download/setting$", Download, nullptr);
  mg_set_request_handler(ctx, "/stream", Preview, nullptr);
  mg_set_websocket_handler(ctx, "/websocket", Connect, Ready, Data, Close, nullptr);
  bench::WaitForEnd();
  running = false;
  mg_stop(ctx);
  return 0;
}
