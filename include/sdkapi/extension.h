/** What a host may switch on beyond the fixed interface: governing the server that the other headers start.
 * @file
 *
 * -# **Neutral.** A host that calls none of these functions sees no difference. Every setter has a neutral
 * value (0, or NULL for a record, a text or a hook) that takes its setting back.
 * -# **Results.** 0 for success. A bad argument, an unknown record size or a call at a wrong time gives -1
 * and one level-4 log line of the source "sdkapiext", and changes nothing.
 * -# **Records.** The first field of every record is its size: the caller sets it to `sizeof` the record
 * before the call, so that records can grow. A size that this library does not know is refused. Fields behind
 * the caller's size are neither read nor written. Of an array the first record's size counts for all.
 * -# **Times.** A setting holds until it is set again, over stops and starts. It takes effect for what begins
 *    afterwards.
 * -# **Threads.** All functions may be called from any thread at any time, host functions and hooks included,
 * unless the function says otherwise. None waits for a client.
 * -# **Hooks.** A hook runs on the thread that met its occasion, mostly a worker of the web server, several
 * at once. What it is given is valid during the call. It stays callable until the process ends: one that was
 * taken back can still be running.
 *
 * Programs that use this header need the library's version 1.1 or newer; the loader refuses an older one. */
#ifndef SDKAPI_EXTENSION_H
#define SDKAPI_EXTENSION_H

#include <stddef.h>
#include <stdint.h>

#include "sdkapi/export.h"

SDKAPI_BEGIN

/** Sizes that several records share. */
enum {
  kExtAddressSize = 64 /**< a client's address as text with its NUL; IPv6 fits. */
};

/** Chooses the answer to a get/post request whose host function sent nothing and returned neither 0 nor -2.
 * Without it **nothing is sent, and the client and a worker wait 60 seconds for each other**. With it the
 * request is answered with the fixed head, this status and an empty body, and the connection ends. Whatever
 * the function sent, by whichever sender, counts as an answer.
 * @param status 200, 400, 401, 403, 404, 405, 406, 500 or 503; 0 takes the setting back.
 * @return 0; -1 for any other status, or where the web server is one that cannot tell what was sent. */
SDKAPI_EXPORT int SdkAPIExt_SilentFailure_Set(int status);

/** Sets an option of the web server for the next @ref SdkAPISer_Init, in the place of the library's own value
 * or beside what the library sets. The last word is the host's: nothing that the library needs is guarded,
 * the value is not looked at before the start, and what a start says about it is read with @ref
 * SdkAPIExt_StartFailure_Get.
 *
 * Order: this, @ref SdkAPISer_Init, @ref SdkAPISer_Start. Not while the server runs.
 * @param key   an option's name, such as "num_threads"; the web server's documentation lists them.
 * @param value its text, copied; NULL takes the setting back, so that the library's own value holds again.
 * @return 0; -1 for NULL or an unknown name, while a server runs, starts or is being stopped, when more than
 * 48 options are set, or when memory is short. */
SDKAPI_EXPORT int SdkAPIExt_Option_Set(const char* key, const char* value);

/** Who asks, and for what. No pointer is NULL; the texts are those of the request, valid until it is served.
 */
typedef struct SdkAPIExtRequest {
  uint32_t size;                 /**< `sizeof` the record, set by the caller. */
  int32_t tls;                   /**< 1 over HTTPS, else 0. */
  int32_t port;                  /**< the client's port. */
  int32_t reserved;              /**< 0. */
  char address[kExtAddressSize]; /**< the client's address, such as "192.0.2.7" or "2001:db8::7". */
  int64_t contentLength;         /**< bytes of body that were announced; -1 when unknown or none. */
  const char* method;            /**< such as "GET". */
  const char* path;              /**< what was asked for, as sent: not decoded, without the query. */
  const char* query;             /**< what stands behind the "?", as sent; empty without one. */
  const char* userAgent;         /**< the "User-Agent" header; empty without one. */
  const char* route; /**< the pattern that serves it, as it was registered: of a built-in or a custom route,
                        or of the WebSocket endpoint. Empty with a web server that cannot tell. */
} SdkAPIExtRequest;

/** Describes the request that the calling thread is serving: inside every slot and host function, also at
 * each event of a WebSocket (its request is the handshake), in LogOutCb when a WebSocket closes, and in every
 * call of an upload or a preview.
 * @param request filled as far as its size goes; unchanged after -1.
 * @return 0; -1 on threads that serve no request, for NULL, or when the size is not known. */
SDKAPI_EXPORT int SdkAPIExt_Request_Get(SdkAPIExtRequest* request);

/** One message of the web server. No text is NULL; control characters are replaced by "?". */
typedef struct SdkAPIExtServerMessage {
  uint32_t size;       /**< `sizeof` the record. */
  uint32_t reserved;   /**< 0. */
  const char* text;    /**< what happened, at most 1023 characters. */
  const char* address; /**< the client's address; empty when the message is about no client. */
  const char* method;  /**< the request's method; empty outside of a request. */
  const char* path;    /**< the request's path as sent, at most 255 characters; empty outside of a request. */
} SdkAPIExtServerMessage;

/** Takes one message. It may come from any thread of the web server and from the one that starts it; it must
 * not block for long, and must not start or stop the server.
 * @param message the message. */
typedef void (*SdkAPIExtServerLogHook)(const SdkAPIExtServerMessage* message);

/** Sets the function that gets what the web server writes to its error log. The file is written all the same.
 * @param hook the function; NULL takes it back.
 * @return 0. */
SDKAPI_EXPORT int SdkAPIExt_ServerLog_Set(SdkAPIExtServerLogHook hook);

/** Tells why the last @ref SdkAPISer_Start failed: a meaning where one is known, and the words of the web
 * server.
 * @param text     gets the text with its NUL, cut to its size; empty before the first start and after a good
 * one.
 * @param textSize bytes of text; 2048 hold every text.
 * @return 0; -1 when text is NULL or textSize is 0. */
SDKAPI_EXPORT int SdkAPIExt_StartFailure_Get(char* text, size_t textSize);

SDKAPI_END

#endif
