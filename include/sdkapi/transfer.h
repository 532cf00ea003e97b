/** Handlers and senders of file uploads, downloads and picture streams. @file
 *
 * For hosts that lead routes of their own to a built-in handler or sender. */
#ifndef SDKAPI_TRANSFER_H
#define SDKAPI_TRANSFER_H

#include <stddef.h>
#include <stdint.h>

#include "sdkapi/export.h"
#include "sdkapi/http.h"

SDKAPI_BEGIN

/** Tells which kind of file an upload URI stands for, within the family that serves the URI.
 * @param url URI, compared whole and with regard to case; may be NULL.
 * @return the number, or -1 when the URI has none. Callable from any thread. */
SDKAPI_EXPORT int UploadUrlConversionFuncID(const char* url);

/** Serves an image upload through @ref SdkAPISerHandle::UploadImageFileCb.
 * @copydetails SdkApiRequestHandler */
SDKAPI_EXPORT int FuncUploadImageFile(struct mg_connection* conn, void* cbdata);

/** Serves a text upload through @ref SdkAPISerHandle::UploadTxtFileCb.
 * @copydetails SdkApiRequestHandler */
SDKAPI_EXPORT int FuncUploadTxtFile(struct mg_connection* conn, void* cbdata);

/** Serves an archive upload through @ref SdkAPISerHandle::UploadZipFileCb.
 * @copydetails SdkApiRequestHandler */
SDKAPI_EXPORT int FuncUploadZipFile(struct mg_connection* conn, void* cbdata);

/** Serves a certificate upload through @ref SdkAPISerHandle::UploadCertFileCb.
 * @copydetails SdkApiRequestHandler */
SDKAPI_EXPORT int FuncUploadCertFile(struct mg_connection* conn, void* cbdata);

/** Serves a firmware upload through @ref SdkAPISerHandle::UpgradeCb. @copydetails SdkApiRequestHandler */
SDKAPI_EXPORT int FuncUpgrade(struct mg_connection* conn, void* cbdata);

/** Sends a file as an attachment in chunks of 1500 bytes. The head goes out before the file is opened.
 * @param conn the connection.
 * @param path path of the file.
 * @param name file name shown to the client; goes into a header as it stands.
 * @return 0 when the whole file was sent; -1 when it cannot be read (head only) or the connection failed. */
SDKAPI_EXPORT int SendHttpDownLoadFile(struct mg_connection* conn, const char* path, const char* name);

/** The same under another name; its log lines carry the server core's source name.
 * @copydetails SendHttpDownLoadFile */
SDKAPI_EXPORT int SendHttpDownLoadFile_S(struct mg_connection* conn, const char* path, const char* name);

/** Serves the log download through @ref SdkAPISerHandle::DownloadLogFileCb.
 * @copydetails SdkApiRequestHandler */
SDKAPI_EXPORT int FuncDownloadLogFile(struct mg_connection* conn, void* cbdata);

/** Serves the custom-file download through @ref SdkAPISerHandle::DownloadCustomCb.
 * @copydetails SdkApiRequestHandler */
SDKAPI_EXPORT int FuncDownloadCustom(struct mg_connection* conn, void* cbdata);

/** Serves the scene download through @ref SdkAPISerHandle::DownloadSceneFileCb.
 * @copydetails SdkApiRequestHandler */
SDKAPI_EXPORT int FuncDownloadSceneFile(struct mg_connection* conn, void* cbdata);

/** Serves the EDID download through @ref SdkAPISerHandle::DownloadEdidFileCb.
 * @copydetails SdkApiRequestHandler */
SDKAPI_EXPORT int FuncDownloadEdidFile(struct mg_connection* conn, void* cbdata);

/** Serves the settings export through @ref SdkAPISerHandle::DownloadSettingFileCb. The request is left to the
 * web server unless the file was sent whole or the token is unknown.
 * @copydetails SdkApiRequestHandler */
SDKAPI_EXPORT int FuncDownloadSettingFile(struct mg_connection* conn, void* cbdata);

/** Serves the logo download through @ref SdkAPISerHandle::DownloadImageFileCb, without a token. The request
 * is left to the web server unless the file was sent whole.
 * @copydetails SdkApiRequestHandler */
SDKAPI_EXPORT int FuncDownloadImageFile(struct mg_connection* conn, void* cbdata);

/** Writes the head of a multipart picture stream.
 * @param conn the connection. */
SDKAPI_EXPORT void SendHttpMjpegHead(struct mg_connection* conn);

/** Sends one picture as a multipart stream of one part.
 * @param conn   the connection.
 * @param data   the picture.
 * @param length its length in bytes.
 * @param type   1 BMP, any other JPEG.
 * @return 1 when all bytes were written, 0 otherwise. */
SDKAPI_EXPORT int SendHttpPicFile(struct mg_connection* conn, const void* data, size_t length,
                                  unsigned int type);

SDKAPI_END

#endif
