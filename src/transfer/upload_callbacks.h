// The form callbacks of the built-in uploads, under the names that stand in the log.
#pragma once

#include <cstddef>

extern "C" {
int FuncUploadImageFileAndFileFoundCb(const char* key, const char* filename, char* path, std::size_t pathlen,
                                      void* user_data);
int FuncUploadImageFileAndFileGetCb(const char* key, const char* value, std::size_t valuelen,
                                    void* user_data);
int FuncUploadTxtFileAndFileFoundCb(const char* key, const char* filename, char* path, std::size_t pathlen,
                                    void* user_data);
int FuncUploadTxtFileAndFileGetCb(const char* key, const char* value, std::size_t valuelen, void* user_data);
int FuncUploadZipFileAndFileFoundCb(const char* key, const char* filename, char* path, std::size_t pathlen,
                                    void* user_data);
int FuncUploadZipFileAndFileGetCb(const char* key, const char* value, std::size_t valuelen, void* user_data);
int FuncUploadCertFileAndFileFoundCb(const char* key, const char* filename, char* path, std::size_t pathlen,
                                     void* user_data);
int FuncUploadCertFileAndFileGetCb(const char* key, const char* value, std::size_t valuelen, void* user_data);
int FuncUploadFileAndFileFoundCb(const char* key, const char* filename, char* path, std::size_t pathlen,
                                 void* user_data);
int FuncUploadFileAndFileGetCb(const char* key, const char* value, std::size_t valuelen, void* user_data);
int FuncUploadFileAndFileStoreCb(const char* path, long long file_size, void* user_data);
}
