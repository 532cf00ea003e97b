// An in-memory web server: connections and contexts that record what the library does with them.
#pragma once

#include <civetweb.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <limits>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sdktest {

constexpr int kNever = std::numeric_limits<int>::max();

// One piece of a field as the form parser hands it over.
struct FormPiece {
  std::string data;
  std::string behind = "\r\n--B";  // what stands behind the piece in the parser's buffer
  std::optional<size_t> length{};  // a length other than the data's, for pieces that cannot be
};

// One field of a scripted form.
struct FormField {
  std::optional<std::string> key;
  std::optional<std::string> fileName;
  std::vector<FormPiece> pieces;
  bool offered = true;  // false: counted by the parser, but its name could not be decoded
};

// What mg_handle_form_request does.
struct FormScript {
  std::vector<FormField> fields;
  std::optional<int> result{};  // instead of the number of fields, for instance -1
};

// What the parser saw the callbacks do, one line a call: "found file a.png -> 1".
struct FormTrace {
  std::vector<std::string> lines;
  mg_form_data_handler handler{};
  bool ran = false;
  bool userDataSet = false;  // the connection carried user data while the form was parsed
};

struct WebSocketFrame {
  int opcode;
  std::string data;

  bool operator==(const WebSocketFrame&) const = default;
};

struct Route {
  std::string uri;
  mg_request_handler handler;
  void* cbdata;
};

struct WebSocketEndpoint {
  std::string uri;
  mg_websocket_connect_handler connect;
  mg_websocket_ready_handler ready;
  mg_websocket_data_handler data;
  mg_websocket_close_handler close;
  void* cbdata;
};

}  // namespace sdktest

struct mg_context {
  std::recursive_mutex mutex;
  int depth = 0;  // guarded by the mutex
  std::atomic<bool> stopping = false;
  bool stopped = false;
};

// A request and everything that was done to it. Change the public members before handing it to a handler.
struct mg_connection {
  explicit mg_connection(std::string requestMethod = "GET", std::string requestUri = "/");

  mg_connection& Header(const std::string& name, const std::string& value);
  mg_connection& Token(const std::string& token) { return Header("Authorization", "Bearer " + token); }
  mg_connection& Query(const std::string& text);
  mg_connection& Body(const std::string& text);         // with its Content-Length
  mg_connection& ChunkedBody(const std::string& text);  // of unknown length
  mg_connection& Multipart(sdktest::FormScript form);

  std::optional<std::string> method;
  std::optional<std::string> uri;
  std::optional<std::string> query;
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  long long contentLength = -1;
  sdktest::FormScript form;
  bool bodyLimitPassed = false;  // what the end of the next limit tells

  // The n-th call (from 1) and all later ones fail.
  int failWriteFrom = sdktest::kNever;
  int failReadFrom = sdktest::kNever;
  int failFrameFrom = sdktest::kNever;
  int cutFrame = sdktest::kNever;  // of this call's frame one half is written

  // What came of it.
  std::string output;
  std::vector<std::string> writes;
  int writeCalls = 0;
  int readCalls = 0;
  std::vector<size_t> readSizes;
  size_t bodyRead = 0;
  long long bodyLimit = 0;
  bool keepAlive = true;
  bool closed = false;  // mg_close_connection
  void* userData = nullptr;
  sdktest::FormTrace trace;

  // Guarded by the mutex: hosts send from threads of their own.
  std::mutex frameMutex;
  std::vector<sdktest::WebSocketFrame> frames;
  int frameCalls = 0;
  int framesAfterClose = 0;
  bool closeReturned = false;

  // Runs while a frame is being written, before anything else.
  std::function<void()> whileWriting;
  // Runs once, when the library asks for what is known of the request.
  mutable std::function<void()> onRequestInfo;

  // Runs while the body is being read, before anything else.
  std::function<void()> whileReading;

  std::vector<sdktest::WebSocketFrame> Frames();
  void NoteCloseReturned();

  mutable mg_request_info info{};
};

namespace sdktest {

// The one server of the process.
struct FakeServer {
  bool failStart = false;
  int starts = 0;
  int stops = 0;
  int stopsOfDeadContext = 0;
  mg_callbacks callbacks{};
  bool otherCallbacksAreNull = true;
  void* userData = nullptr;
  std::vector<std::string> options;  // key, value, key, value ...
  std::optional<std::string> workers = "200";
  // The last one has no name.
  std::vector<mg_option> validOptions{{"listening_ports", MG_CONFIG_TYPE_STRING_LIST, "8080"},
                                      {"num_threads", MG_CONFIG_TYPE_NUMBER, "200"},
                                      {"ssl_certificate", MG_CONFIG_TYPE_FILE, nullptr},
                                      {"static_file_max_age", MG_CONFIG_TYPE_NUMBER, "3600"},
                                      {nullptr, MG_CONFIG_TYPE_UNKNOWN, nullptr}};
  std::vector<Route> routes;
  std::vector<WebSocketEndpoint> endpoints;
  std::vector<std::string> journal;  // start, routes and endpoints, stop in order
  mg_context context;
  std::function<void()> onStart;  // while the server starts
  std::function<void()> onRoute;  // while a route is registered
  std::function<void()> onStop;   // while the server stops
  int deepestLock = 0;
  int unbalancedUnlocks = 0;
};

FakeServer& Server();
void ResetServer();

}  // namespace sdktest
