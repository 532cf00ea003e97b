// Bounded forms of the request accessors, for arrays whose size is known.
#pragma once

#include <cstddef>

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

// Parses the body; null when it is not JSON. A body of unknown length is read, too.
JsonPtr ReadJsonBody(mg_connection* conn);

// Reads a query parameter; the text stays empty when it is absent or does not fit.
template <std::size_t kSize>
void ReadUrlParam(const mg_connection* conn, const char* name, char (&out)[kSize]) {
  if (GetHttpUrlParam(conn, name, out, kSize) < 0) out[0] = '\0';
}

}  // namespace sdkapi
