// An in-memory web server: the mg_ functions that the library calls.
#include "fake_civetweb.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

using sdktest::FakeServer;
using sdktest::FormField;
using sdktest::FormPiece;

namespace {

std::unique_ptr<FakeServer> server = std::make_unique<FakeServer>();

int Write(mg_connection& conn, const void* data, size_t length) {
  if (++conn.writeCalls >= conn.failWriteFrom) return -1;
  const std::string text(static_cast<const char*>(data), length);
  conn.writes.push_back(text);
  conn.output += text;
  return static_cast<int>(length);
}

int HexDigit(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  const int lower = std::tolower(static_cast<unsigned char>(digit));
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string UrlDecode(const std::string& text) {
  std::string decoded;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool escape =
        text[i] == '%' && i + 2 < text.size() && HexDigit(text[i + 1]) >= 0 && HexDigit(text[i + 2]) >= 0;
    if (escape) {
      decoded += static_cast<char>(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2]));
      i += 2;
    } else {
      decoded += text[i] == '+' ? ' ' : text[i];
    }
  }
  return decoded;
}

// A heap block of exactly the piece and what stands behind it, so that the sanitizer sees every over-read.
int CallFieldGet(mg_connection& conn, mg_form_data_handler& handler, const char* key,
                 const FormPiece& piece) {
  const std::string all = piece.data + piece.behind;
  const std::unique_ptr<char[]> block(new char[all.size() + 1]);
  std::memcpy(block.get(), all.data(), all.size());
  block[all.size()] = '\0';
  const size_t length = piece.length.value_or(piece.data.size());
  const int result = handler.field_get(key, block.get(), length, handler.user_data);
  conn.trace.lines.push_back("get " + std::to_string(length) + " -> " + std::to_string(result));
  return result;
}

const char* OrNull(const std::optional<std::string>& text) { return text ? text->c_str() : nullptr; }

enum class Parse { kGoOn, kAbort };

Parse OfferField(mg_connection& conn, mg_form_data_handler& handler, const FormField& field) {
  char path[512] = "untouched";
  const int found =
      handler.field_found(OrNull(field.key), OrNull(field.fileName), path, sizeof path, handler.user_data);
  conn.trace.lines.push_back("found " + field.key.value_or("null") + " " + field.fileName.value_or("null") +
                             " -> " + std::to_string(found));
  if (std::strcmp(path, "untouched") != 0) conn.trace.lines.push_back("path touched");
  if (found == MG_FORM_FIELD_STORAGE_ABORT) return Parse::kAbort;
  if (found != MG_FORM_FIELD_STORAGE_GET) return Parse::kGoOn;

  // Like the real parser: the name comes with the first piece only.
  const char* key = OrNull(field.key);
  for (const FormPiece& piece : field.pieces) {
    const int got = CallFieldGet(conn, handler, key, piece);
    key = "";
    if (got == MG_FORM_FIELD_HANDLE_ABORT) return Parse::kAbort;
    if (got == MG_FORM_FIELD_HANDLE_NEXT) return Parse::kGoOn;
  }
  return Parse::kGoOn;
}

}  // namespace

mg_connection::mg_connection(std::string requestMethod, std::string requestUri)
    : method(std::move(requestMethod)), uri(std::move(requestUri)) {}

mg_connection& mg_connection::Header(const std::string& name, const std::string& value) {
  headers.emplace_back(name, value);
  return *this;
}

mg_connection& mg_connection::Query(const std::string& text) {
  query = text;
  return *this;
}

mg_connection& mg_connection::Body(const std::string& text) {
  body = text;
  contentLength = static_cast<long long>(text.size());
  return *this;
}

mg_connection& mg_connection::ChunkedBody(const std::string& text) {
  body = text;
  contentLength = -1;
  return Header("Transfer-Encoding", "chunked");
}

mg_connection& mg_connection::Multipart(sdktest::FormScript script) {
  form = std::move(script);
  contentLength = 1000;
  return Header("Content-Type", "multipart/form-data; boundary=BBBB");
}

std::vector<sdktest::WebSocketFrame> mg_connection::Frames() {
  const std::lock_guard lock(frameMutex);
  return frames;
}

void mg_connection::NoteCloseReturned() {
  const std::lock_guard lock(frameMutex);
  closeReturned = true;
}

namespace sdktest {

FakeServer& Server() { return *server; }

void ResetServer() { server = std::make_unique<FakeServer>(); }

}  // namespace sdktest

mg_context* mg_start(const mg_callbacks* callbacks, void* userData, const char** options) {
  server->journal.emplace_back("start");
  ++server->starts;
  server->callbacks = *callbacks;
  mg_callbacks others = *callbacks;
  others.log_message = nullptr;
  others.init_ssl = nullptr;
  others.begin_request = nullptr;
  others.end_request = nullptr;
  const mg_callbacks none{};
  server->otherCallbacksAreNull = std::memcmp(&others, &none, sizeof none) == 0;
  server->userData = userData;
  server->options.clear();
  for (const char** option = options; *option != nullptr; ++option) server->options.emplace_back(*option);
  if (server->onStart) server->onStart();
  if (server->failStart) return nullptr;
  server->context.stopping = false;
  server->context.stopped = false;
  return &server->context;
}

void mg_stop(mg_context* ctx) {
  if (server->onStop) server->onStop();
  server->journal.emplace_back("stop");
  ++server->stops;
  if (ctx->stopped) ++server->stopsOfDeadContext;
  ctx->stopped = true;
}

void mg_set_request_handler(mg_context* /*ctx*/, const char* uri, mg_request_handler handler, void* cbdata) {
  if (server->onRoute) server->onRoute();
  server->journal.push_back(std::string("route ") + uri);
  server->routes.push_back({uri, handler, cbdata});
}

void mg_set_websocket_handler(mg_context* /*ctx*/, const char* uri, mg_websocket_connect_handler connect,
                              mg_websocket_ready_handler ready, mg_websocket_data_handler data,
                              mg_websocket_close_handler close, void* cbdata) {
  server->journal.push_back(std::string("websocket ") + uri);
  server->endpoints.push_back({uri, connect, ready, data, close, cbdata});
}

const mg_request_info* mg_get_request_info(const mg_connection* conn) {
  if (conn->onRequestInfo) std::exchange(conn->onRequestInfo, nullptr)();
  conn->info.request_method = OrNull(conn->method);
  conn->info.request_uri = OrNull(conn->uri);
  conn->info.local_uri = conn->info.request_uri;
  conn->info.query_string = OrNull(conn->query);
  conn->info.content_length = conn->contentLength;
  conn->info.user_data = nullptr;
  conn->info.conn_data = conn->userData;
  conn->info.num_headers = 0;
  for (const auto& [name, value] : conn->headers) {
    conn->info.http_headers[conn->info.num_headers++] = {name.c_str(), value.c_str()};
  }
  return &conn->info;
}

const char* mg_get_header(const mg_connection* conn, const char* name) {
  for (const auto& [key, value] : conn->headers) {
    if (strcasecmp(key.c_str(), name) == 0) return value.c_str();
  }
  return nullptr;
}

int mg_get_var(const char* data, size_t length, const char* name, char* dst, size_t dstLength) {
  if (dst == nullptr || dstLength == 0) return -2;
  dst[0] = '\0';
  if (data == nullptr || name == nullptr || length == 0) return -1;
  const std::string text(data, length);
  for (size_t start = 0; start <= text.size();) {
    const size_t end = std::min(text.find('&', start), text.size());
    const std::string pair = text.substr(start, end - start);
    const size_t equals = pair.find('=');
    if (equals != std::string::npos && strcasecmp(pair.substr(0, equals).c_str(), name) == 0) {
      const std::string value = UrlDecode(pair.substr(equals + 1));
      // Like the real one: a value that does not fit leaves its first characters.
      const size_t kept = std::min(value.size(), dstLength - 1);
      std::memcpy(dst, value.c_str(), kept);
      dst[kept] = '\0';
      return kept == value.size() ? static_cast<int>(kept) : -2;
    }
    start = end + 1;
  }
  return -1;
}

int mg_read(mg_connection* conn, void* buffer, size_t length) {
  if (conn->whileReading != nullptr) conn->whileReading();
  conn->readSizes.push_back(length);
  if (++conn->readCalls >= conn->failReadFrom) return -1;
  const size_t count = std::min(length, conn->body.size() - conn->bodyRead);
  std::memcpy(buffer, conn->body.data() + conn->bodyRead, count);
  conn->bodyRead += count;
  return static_cast<int>(count);
}

const mg_option* mg_get_valid_options(void) { return server->validOptions.data(); }

int mg_write(mg_connection* conn, const void* data, size_t length) { return Write(*conn, data, length); }

int mg_printf(mg_connection* conn, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  char* text = nullptr;
  const int length = vasprintf(&text, format, arguments);
  va_end(arguments);
  const std::unique_ptr<char, decltype(&std::free)> owner(text, std::free);
  return length > 0 ? Write(*conn, text, static_cast<size_t>(length)) : 0;
}

int mg_send_chunk(mg_connection* conn, const char* chunk, unsigned int length) {
  char head[16];
  const int headLength = std::snprintf(head, sizeof head, "%x\r\n", length);
  int sent = Write(*conn, head, static_cast<size_t>(headLength));
  if (sent > 0 && length > 0) sent = Write(*conn, chunk, length);
  if (sent > 0) sent = Write(*conn, "\r\n", 2);
  return sent > 0 ? headLength + static_cast<int>(length) + 2 : -1;
}

int mg_handle_form_request(mg_connection* conn, mg_form_data_handler* handler) {
  conn->trace.ran = true;
  conn->trace.handler = *handler;
  conn->trace.userDataSet = conn->userData != nullptr;
  int count = 0;
  for (const FormField& field : conn->form.fields) {
    ++count;  // counted before the callback is asked
    if (!field.offered) break;
    if (OfferField(*conn, *handler, field) == Parse::kAbort) break;
  }
  return conn->form.result.value_or(count);
}

int mg_websocket_write(mg_connection* conn, int opcode, const char* data, size_t length) {
  if (conn->whileWriting != nullptr) conn->whileWriting();
  const std::lock_guard lock(conn->frameMutex);
  if (conn->closeReturned) ++conn->framesAfterClose;
  if (++conn->frameCalls == conn->cutFrame) length /= 2;
  if (conn->frameCalls >= conn->failFrameFrom) return -1;
  conn->frames.push_back({opcode, std::string(data, length)});
  return length == 0 ? 2 : static_cast<int>(length);
}

mg_context* mg_get_context(const mg_connection* /*conn*/) { return &server->context; }

const char* mg_get_option(const mg_context* /*ctx*/, const char* name) {
  return std::strcmp(name, "num_threads") == 0 ? OrNull(server->workers) : nullptr;
}

void mg_lock_context(mg_context* ctx) {
  ctx->mutex.lock();
  server->deepestLock = std::max(server->deepestLock, ++ctx->depth);
}

void mg_unlock_context(mg_context* ctx) {
  if (ctx->depth == 0) {
    ++server->unbalancedUnlocks;
    return;
  }
  --ctx->depth;
  ctx->mutex.unlock();
}

void mg_set_user_connection_data(const mg_connection* conn, void* data) {
  const_cast<mg_connection*>(conn)->userData = data;
}

void* mg_get_user_connection_data(const mg_connection* conn) { return conn->userData; }

void mg_disable_connection_keep_alive(mg_connection* conn) { conn->keepAlive = false; }

void mg_close_connection(mg_connection* conn) { conn->closed = true; }
