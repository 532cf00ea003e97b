// Which requests may enter the web server's form parser.
#pragma once

struct mg_connection;

namespace sdkapi {

// True for a body of type multipart/form-data with a boundary. Everything else is kept out: the parser spins
// for ever on some urlencoded bodies and offers a GET's query as fields.
bool HasMultipartBody(const mg_connection* conn);

}  // namespace sdkapi
