// The frame of one picture in a multipart stream.
#pragma once

#include <cstddef>

struct mg_connection;

namespace sdkapi {

// Writes a part's head for a picture of the given length.
void SendPartHead(mg_connection* conn, const char* mediaType, std::size_t length);

// Writes the bytes; false when not all could be written, or there were none.
bool SendPicture(mg_connection* conn, const void* data, std::size_t length);

}  // namespace sdkapi
