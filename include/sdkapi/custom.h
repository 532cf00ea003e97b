/** Routes that the host adds while the server runs. @file
 *
 * Registration works from any thread while the server runs and is lost at stop. A pattern that ends in "$"
 * matches that URI only; without it every URI that begins so. Registering a pattern again replaces its
 * function, and waits until no request is running in it: **never register a route from a function that serves
 * this same route**, nor from a WebSocket event 0 or 2 or from LogOutCb; the call would wait for itself
 * until the server stops. A custom pattern can hide a built-in route (for instance "/api/v1"). All custom
 * routes ask for a token when authentication is on.
 *
 * Host functions of routes run on worker threads, for several requests at once; they may block. Connection
 * and record are valid during the call, and the record of an upload is the same in all its calls. */
#ifndef SDKAPI_CUSTOM_H
#define SDKAPI_CUSTOM_H

#include <stdint.h>

#include "sdkapi/export.h"

SDKAPI_BEGIN

/** What a get/post function is told about its request. */
typedef struct CustomReqInfo {
  char* body; /**< body bytes from `malloc`, not NUL-terminated; NULL without a body. What stands here after
                 the call is released with `free`: a function that keeps the block puts NULL, or another
                 block, in its place. */
  int64_t bodyLength; /**< bytes of body that were read; 0 without a body, -1 when reading failed. */
  int32_t method;     /**< 0 GET, 1 POST, 2 any other. */
  int32_t reserved;   /**< 0. */
} CustomReqInfo;

/** Serves one request of a get/post route, reply included (see @ref SendReponseInfo). From a stop on every
 * write fails: @ref SendHttpDownLoadFile gives -1. @ref SendHttpBuff gives 0 all the same: look at a flag of
 * your own. **A function that sends nothing and returns anything but -2 keeps its client waiting for 60
 * seconds.** Answer always, or let @ref SdkAPIExt_SilentFailure_Set answer for functions that failed.
 * @param conn the connection to answer on.
 * @param req  the request.
 * @return -2 when the caller is not authorised (nothing is sent, the connection ends); else: it is done. */
typedef int (*CustomGetPostFunction)(struct mg_connection* conn, CustomReqInfo* req);

struct UploadCustomCtx;

/** Takes one step of a custom upload; called as @ref SdkAPISerHandle::UploadImageFileCb is.
 * @param conn the connection, for reading headers and parameters; do not write to it.
 * @param ctx  the upload's state.
 * @return 0 to accept; -2 not authorised (401); any other value is an error (500). */
typedef int (*CustomUploadFunction)(struct mg_connection* conn, struct UploadCustomCtx* ctx);

/** The state of one custom upload; its first eight fields are those of @ref UploadFileCtx. */
typedef struct UploadCustomCtx {
  char data[32768];   /**< see @ref UploadFileCtx::data. */
  char name[128];     /**< see @ref UploadFileCtx::name. */
  char fileName[128]; /**< see @ref UploadFileCtx::fileName. */
  int64_t length;     /**< see @ref UploadFileCtx::length. */
  int32_t noFileName; /**< see @ref UploadFileCtx::noFileName. */
  int32_t pieceState; /**< see @ref UploadFileCtx::pieceState. */
  int32_t endFlag;    /**< see @ref UploadFileCtx::endFlag. */
  int32_t reserved;   /**< see @ref UploadFileCtx::reserved. */
  char* extra; /**< NULL at the first call; the host may keep a block from its `malloc` here. What stands here
                  after the reply is released with `free`, whatever the reply. */
  CustomUploadFunction hostFunction; /**< the function bound to the route; one that the host clears is not
                                        called again, and the upload is answered 500. */
  struct mg_connection* conn;        /**< the request's connection. */
  int32_t error;                     /**< 0, or the last non-zero result of the function. */
  int32_t reserved2;                 /**< 0. */
} UploadCustomCtx;

/** The file that a custom download function offers. */
typedef struct CustomDownloadInfo {
  char downloadName[256]; /**< file name shown to the client; goes into a header as it stands. */
  char filePath[256];     /**< path of the file to send. */
} CustomDownloadInfo;

/** Names the file of a custom download.
 * @param conn the connection, for reading headers and parameters; do not write to it.
 * @param info zeroed; filled by the function.
 * @return 0 when info is filled and the file is to be sent; -2 not authorised (401); else 500. */
typedef int (*CustomDownloadFunction)(struct mg_connection* conn, CustomDownloadInfo* info);

/** Binds a URI pattern to a get/post function.
 * @param uri      pattern; copied by the web server. NULL is refused.
 * @param function the host's function; NULL is accepted: get/post and upload routes answer 500 per request,
 *                 for a download route the web server answers 404 itself.
 * @return 0, or -1 when no server runs or uri is NULL. */
SDKAPI_EXPORT int SdkAPISer_Custom_Get_Post_Api_Add(const char* uri, CustomGetPostFunction function);

/** Binds a URI pattern to an upload function. @copydetails SdkAPISer_Custom_Get_Post_Api_Add */
SDKAPI_EXPORT int SdkAPISer_Custom_Upload_Api_Add(const char* uri, CustomUploadFunction function);

/** Binds a URI pattern to a download function. @copydetails SdkAPISer_Custom_Get_Post_Api_Add */
SDKAPI_EXPORT int SdkAPISer_Custom_Download_Api_Add(const char* uri, CustomDownloadFunction function);

SDKAPI_END

#endif
