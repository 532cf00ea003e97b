// Bounded forms of the request accessors, for arrays whose size is known.
#pragma once

#include <cstddef>
#include <cstring>

#include "base/owned.h"
#include "sdkapi/http.h"

namespace sdkapi {

// Size of the buffer that holds a request's JSON body; longer bodies are cut.
constexpr int kJsonBodySize = 512;

// Writes at most room bytes of the token and no NUL: out is zero-filled and larger than room.
void ReadToken(const mg_connection* conn, char* out, std::size_t room);

template <std::size_t kSize>
void ReadToken(const mg_connection* conn, char (&out)[kSize]) {
  ReadToken(conn, out, kSize - 1);
}

// The client's address as text.
const char* RemoteAddress(const mg_connection* conn);

// Parses the body; null when it is not JSON. A body of unknown length is read, too.
JsonPtr ReadJsonBody(mg_connection* conn);

// Reads a query parameter, cut to the array; the text is empty when it is absent. The web server leaves what
// it had decoded before it gave up, not always with a NUL behind it.
template <std::size_t kSize>
void ReadUrlParam(const mg_connection* conn, const char* name, char (&out)[kSize]) {
  std::memset(out, 0, kSize);
  GetHttpUrlParam(conn, name, out, kSize);
}

}  // namespace sdkapi
