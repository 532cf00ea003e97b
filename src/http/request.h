// The one gate of the handlers: a request's token and the table that it may use.
#pragma once

#include <cstddef>

#include "http/accessors.h"
#include "http/login_ref.h"
#include "http/response.h"
#include "sdkapi/host.h"
#include "server/log.h"

namespace sdkapi {

// Reads the token into an array of its size and holds the login until the request is done.
template <std::size_t kTokenSize>
class Request {
 public:
  explicit Request(mg_connection* conn) : conn_(conn) {
    ReadToken(conn, token_);
    login_ = FindLogin(token_);
  }

  SdkAPISerHandle* host() const { return login_.get(); }
  const char* token() const { return token_; }

  // Replies, ends the connection and returns 1, the handler's result.
  int Answer(int status, const char* json = "") const { return Reply(conn_, status, json); }

 private:
  mg_connection* conn_;
  char token_[kTokenSize] = {};
  LoginRef login_;
};

// Clients know both limits: a login's token has up to 1023 characters, the routes of files and of privilege
// pictures take 255. A longer one is cut.
using JsonRequest = Request<sizeof LoginInfo::token>;
using TransferRequest = Request<256>;

constexpr int kNotAuthorised = -2;

// The status that a host function's result leads to.
constexpr int StatusFor(int result, int failure = 500) {
  if (result == 0) return 200;
  return result == kNotAuthorised ? 401 : failure;
}

// For an empty slot: the handler returns this 0, and the web server answers the request itself.
inline int NotRegistered(const LogLine& log, const char* function) {
  log("%s not registered!!!!", function);
  return 0;
}

}  // namespace sdkapi
