// The end of the two downloads that hand a failed request back to the web server.
#pragma once

#include <civetweb.h>

#include "http/response.h"

namespace sdkapi {

// The handler's result: 1 when the file was sent whole, else 0. After a 0 the web server would append an
// error page of its own to the head that has gone out, so the connection is closed first.
inline int EndOptionalDownload(mg_connection* conn, int sent) {
  if (sent == 0) return 1;
  EndConnection(conn);
  mg_close_connection(conn);
  return 0;
}

}  // namespace sdkapi
