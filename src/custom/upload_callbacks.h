// The form callbacks of custom uploads, under the names that stand in the log.
#pragma once

#include <cstddef>

extern "C" {
int FuncUploadCustomFoundCb(const char* key, const char* filename, char* path, std::size_t pathlen,
                            void* user_data);
int FuncUploadCustomGetCb(const char* key, const char* value, std::size_t valuelen, void* user_data);
int FuncUploadCustomStoreCb(const char* path, long long file_size, void* user_data);
}
