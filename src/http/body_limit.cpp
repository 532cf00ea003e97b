// The most bytes that the body of one request may have.
#include "http/body_limit.h"

#include <civetweb.h>

#include "sdkapi/http.h"

// In our build of the web server only.
// NOLINTNEXTLINE(readability-redundant-declaration): another build's header does not declare it.
extern "C" int mg_set_body_limit(mg_connection* conn, long long bytes) __attribute__((weak));

namespace sdkapi {

bool BodiesCanBeLimited() { return mg_set_body_limit != nullptr; }

BodyLimit::BodyLimit(mg_connection* conn, int64_t bytes) : conn_(conn), bytes_(bytes) {
  if (bytes_ > 0) mg_set_body_limit(conn_, bytes_);
}

bool BodyLimit::AnnouncedTooMuch() const { return bytes_ > 0 && GetHttpLen(conn_) > bytes_; }

bool BodyLimit::End() const { return bytes_ > 0 && mg_set_body_limit(conn_, 0) != 0; }

}  // namespace sdkapi
