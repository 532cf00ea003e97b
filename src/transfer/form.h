// Which requests may enter the web server's form parser.
#pragma once

struct mg_connection;

namespace sdkapi {

// True for a body of type multipart/form-data with a boundary.
bool HasMultipartBody(const mg_connection* conn);

// True for every request with the pinned web server. With another one only for multipart bodies: an unmended
// parser spins for ever on some urlencoded ones.
bool MayBeParsed(const mg_connection* conn);

}  // namespace sdkapi
