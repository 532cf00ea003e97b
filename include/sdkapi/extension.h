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
 * Without it **nothing is sent, and the client waits for 60 seconds**. With it the request is answered with
 * the fixed head, this status and an empty body, and the connection ends. Whatever the function sent, by
 * whichever sender, counts as an answer.
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
  const char* route;  /**< the pattern that serves it, as it was registered: of a built-in or a custom route,
                         or of the WebSocket endpoint. Empty with a web server that cannot tell. */
  const char* host;   /**< the "Host" header: how the client calls this device; empty without one. */
  const char* origin; /**< the "Origin" header: the page that a browser asks for; empty without one. */
  const char* fetchSite; /**< the "Sec-Fetch-Site" header: how a browser sees that page; empty without one. */
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
 * server. A start that is refused because another one is under way leaves that one's reason.
 * @param text     gets the text with its NUL, cut to its size; empty before the first start and after a good
 * one.
 * @param textSize bytes of text; 2048 hold every text.
 * @return 0; -1 when text is NULL or textSize is 0. */
SDKAPI_EXPORT int SdkAPIExt_StartFailure_Get(char* text, size_t textSize);
/** The families of uploads. */
typedef enum SdkAPIExtFamily {
  kExtUploadImage = 0,       /**< UploadImageFileCb. */
  kExtUploadText = 1,        /**< UploadTxtFileCb. */
  kExtUploadArchive = 2,     /**< UploadZipFileCb. */
  kExtUploadCertificate = 3, /**< UploadCertFileCb. */
  kExtUploadFirmware = 4,    /**< UpgradeCb. */
  kExtUploadCustom = 5       /**< routes of @ref SdkAPISer_Custom_Upload_Api_Add. */
} SdkAPIExtFamily;

struct UploadFileCtx;
struct UploadCustomCtx;

/** How an upload ended. */
typedef struct SdkAPIExtUpload {
  uint32_t size;                  /**< `sizeof` the record. */
  int32_t family;                 /**< @ref SdkAPIExtFamily. */
  int32_t funcId;                 /**< its kind; -1 when the URL names none, and for custom uploads. */
  int32_t completed;              /**< 1: the final call was made, whatever it returned; else 0. */
  int32_t status;                 /**< the answer that follows, such as 200; a client that left gets none. */
  int32_t reserved;               /**< 0. */
  const char* token;              /**< the request's token. */
  struct UploadFileCtx* file;     /**< the record of its calls; NULL for custom uploads. */
  struct UploadCustomCtx* custom; /**< the record of a custom upload's calls; else NULL. */
} SdkAPIExtUpload;

/** Takes the end of an upload, on the worker that served it: after its last call, before the answer is sent
 * and before `extra` is released. It may take `extra` as the upload's calls may. The answer waits for it.
 * @param upload what is known of the end. */
typedef void (*SdkAPIExtUploadEndHook)(const SdkAPIExtUpload* upload);

/** Sets the function that is called exactly once for every upload of which the host has had at least one
 * call for a field: also when the client vanished in the middle, the form was bad, the host refused it, or it
 * became too large. A form without a field has a final call only, and no end is told.
 * @param hook called at every end from now on; NULL takes it back.
 * @return 0. */
SDKAPI_EXPORT int SdkAPIExt_UploadEnd_Set(SdkAPIExtUploadEndHook hook);

/** Limits the body of the uploads of one family: the form as it is sent, its delimiters included. One that
 * announces more is answered 413 with the fixed head before the host is called for it; of one that announces
 * nothing (chunked) the host gets at most so many bytes, no final call, and the answer is the same. What the
 * client still sends is read away within the usual bounds.
 * @param family one of @ref SdkAPIExtFamily.
 * @param bytes  the most bytes; 0 takes the limit back.
 * @return 0; -1 for an unknown family, a negative number, or a web server that cannot limit. */
SDKAPI_EXPORT int SdkAPIExt_Upload_Limit_Set(int family, int64_t bytes);

/** A login, as SdkAPIExt_Login_List() tells it. */
typedef struct SdkAPIExtLogin {
  uint32_t size;        /**< set by the caller: sizeof(SdkAPIExtLogin). */
  uint32_t webSockets;  /**< its open WebSockets. */
  uint64_t ageSeconds;  /**< since it was registered. */
  uint64_t idleSeconds; /**< since it was used; see SdkAPIExt_Login_Limits_Set() for what counts as use. */
  char address[kExtAddressSize]; /**< the client that logged in. */
  char token[1024];              /**< the token that the host gave. */
} SdkAPIExtLogin;

/** Why the library ended a login by itself. */
typedef enum SdkAPIExtLoginEnd {
  kExtLoginIdle = 1,   /**< it was not used for idleSeconds. */
  kExtLoginTooOld = 2, /**< it was registered totalSeconds ago. */
  kExtLoginNoRoom = 3  /**< it made room for a new login, or was refused itself because there was none. */
} SdkAPIExtLoginEnd;

/** What happens to a login beyond the most that there may be. */
typedef enum SdkAPIExtLoginFull {
  kExtFullEndsOldestIdle = 0, /**< the login whose last use is longest ago ends. */
  kExtFullRefuses = 1         /**< the new login gets 503 with an empty body and is not registered. */
} SdkAPIExtLoginFull;

/** Is told that the library ended a login by itself.
 * The login has ended by then: its token gets 401, its WebSockets are closing, and the token may be given to
 * a new login. `LogOutCb` is not called for it. Runs on the thread that met the limit: a worker with a
 * request, a WebSocket frame or a login, or the caller of SdkAPIExt_Login_Limits_Check(). No lock is held
 * meanwhile, so it may call every function of this header and block, at the cost of that request. Called
 * exactly once for each such login.
 * @param token the login's token; valid during the call.
 * @param reason one of SdkAPIExtLoginEnd. */
typedef void (*SdkAPIExtLoginEndHook)(const char* token, int reason);

/** The limits of logins. */
typedef struct SdkAPIExtLoginLimits {
  uint32_t size;               /**< set by the caller: sizeof(SdkAPIExtLoginLimits). */
  uint32_t idleSeconds;        /**< a login ends when it was not used for so long; 0 = never. */
  uint32_t totalSeconds;       /**< a login ends so long after it was registered; 0 = never. */
  uint32_t most;               /**< as many logins at once, 1 to 20; 0 = without a limit of this kind. */
  int32_t whenFull;            /**< one of SdkAPIExtLoginFull, for a login beyond that. */
  int32_t reserved;            /**< 0. */
  SdkAPIExtLoginEndHook ended; /**< told about each login that ends by a limit; NULL = nobody. */
} SdkAPIExtLoginLimits;

/** Ends all logins of a token.
 * When it returns, they are gone from the registry and the session stack, and requests with the token get 401
 * (with authentication on). Their WebSockets get a close frame, code 1008 and reason "login ended"; each ends
 * when its client answers, after ten seconds at the latest. `LogOutCb` is not called, neither now nor when
 * these WebSockets close, and they have no event 2. Requests that are being served keep their table until
 * they are done. The token may be registered again at once: nothing of the old login ends the new one. May be
 * called from every thread and host function, also from one that serves this very login. Waits for no client.
 * @param token the token; at most 1023 characters.
 * @return 0; -1 if the token is NULL or empty, or no login has it. */
SDKAPI_EXPORT int SdkAPIExt_Login_End(const char* token);

/** Tells all logins, the one that was registered first in front.
 * @param logins room for *count records, whose first has its size set; may be NULL if *count is 0.
 * @param count in: the room, in records. Out: the number of logins, which may be larger; only the room is
 * filled.
 * @return 0; -1 without count, without records for a room above 0, or for an unknown size. */
SDKAPI_EXPORT int SdkAPIExt_Login_List(SdkAPIExtLogin* logins, size_t* count);

/** Sets the limits of logins.
 * The time-outs are checked when a request with a token, a WebSocket handshake or a WebSocket frame comes,
 * before it is served, and by SdkAPIExt_Login_Limits_Check(). The clock is monotonic: setting the device's
 * time ends nothing. What counts as use: the login itself, each request with its token, each handshake of a
 * WebSocket, each text, binary or continuation frame from its client, and GetLoginHandle(). An open WebSocket
 * is no use by itself, nor are its pings and what the host sends. With authentication off no token is looked
 * up, and only the login itself counts. The most logins are checked when a login comes, after `LoginCb` and
 * before it is registered. Logins that are there stay until then. A limit ends a login as
 * SdkAPIExt_Login_End() does, with the reason "login idle", "login too old" or "login made room".
 * @param limits the limits, which are copied; NULL takes them back.
 * @return 0; -1 for an unknown size, more than 20 logins, an unknown whenFull, or a reserved field that is
 * not 0. */
SDKAPI_EXPORT int SdkAPIExt_Login_Limits_Set(const SdkAPIExtLoginLimits* limits);

/** Ends the logins whose time is over, now.
 * The library has no thread of its own: a host that wants time-outs to work while no request comes calls this
 * from one of its threads, for instance once a second. It costs next to nothing when no time is over. Calls
 * the hook of the limits on the caller's thread; called by that hook it does nothing.
 * @return 0. */
SDKAPI_EXPORT int SdkAPIExt_Login_Limits_Check(void);

/** The kinds of frames that a host sends, and of messages that it gets. */
typedef enum SdkAPIExtFrame {
  kExtText = 1,  /**< UTF-8. */
  kExtBinary = 2 /**< any bytes. */
} SdkAPIExtFrame;

/** An open WebSocket, as SdkAPIExt_WebSocket_List() tells it. */
typedef struct SdkAPIExtWebSocket {
  uint32_t size;        /**< set by the caller: sizeof(SdkAPIExtWebSocket). */
  int32_t port;         /**< its client's port. */
  uint64_t id;          /**< its identifier: never 0, never reused, not even after a stop and a start. */
  uint64_t ageSeconds;  /**< since its handshake. */
  uint64_t queuedBytes; /**< what its client has still to take, heads of frames included. */
  char address[kExtAddressSize]; /**< its client's address. */
  char token[1024];              /**< the token of its handshake. */
} SdkAPIExtWebSocket;

/** Functions for whole messages.
 * A message that came in several frames is put together. Both functions run on the connection's worker, one
 * at a time for one connection; SdkAPIExt_WebSocket_Current() tells the identifier there, too. No lock is
 * held. As with `WebSocketCb`, they are called only while the connection's token has a login (with
 * authentication on). */
typedef struct SdkAPIExtWebSocketSlots {
  uint32_t size;     /**< set by the caller: sizeof(SdkAPIExtWebSocketSlots). */
  uint32_t reserved; /**< 0. */
  /** Takes texts in place of event 1 of `WebSocketCb`, and binary messages, too, where `binary` is NULL. A
   * text is UTF-8; what is not is answered with a close frame of code 1007. NULL: texts go to `WebSocketCb`,
   * of a fragmented one the first frame.
   * @param id the connection.
   * @param token the token of its handshake.
   * @param frame kExtText or kExtBinary.
   * @param data the message with a NUL behind it; valid during the call.
   * @param length its bytes, without that NUL.
   * @return 0 keeps the connection; anything else ends it without a close frame. */
  int (*message)(uint64_t id, const char* token, int frame, const char* data, size_t length);
  /** Takes binary messages. NULL: they go to `message`; without that, too, to nobody.
   * @param id the connection.
   * @param token the token of its handshake.
   * @param data the message; valid during the call.
   * @param length its bytes.
   * @return as `message`. */
  int (*binary)(uint64_t id, const char* token, const void* data, size_t length);
} SdkAPIExtWebSocketSlots;

/** The bounds of WebSockets. */
typedef struct SdkAPIExtWebSocketLimits {
  uint32_t size;             /**< set by the caller: sizeof(SdkAPIExtWebSocketLimits). */
  uint32_t mostQueuedFrames; /**< frames that wait for a client, beside one; 0 = 512. One more ends its
                                connection. */
  uint64_t mostQueuedBytes;  /**< bytes that wait, beside one frame of any size; 0 = 1048576. More end its
                                connection. */
  uint64_t mostMessageBytes; /**< of a message from a client, in one frame or several; a longer one is
                                answered with a close frame of code 1009, and nothing is allocated for it. 0 =
                                1048576 with slots for whole messages, else no bound. */
} SdkAPIExtWebSocketLimits;

/** Tells the identifier of the WebSocket whose event the calling thread serves.
 * @return the identifier inside `WebSocketCb`, inside the functions of SdkAPIExtWebSocketSlots, and inside
 * `LogOutCb` where a WebSocket's close leads to it; 0 anywhere else. */
SDKAPI_EXPORT uint64_t SdkAPIExt_WebSocket_Current(void);

/** Sends one message to one WebSocket. Waits for no client; what it does not take waits for it, within the
 * bounds.
 * @param id the identifier.
 * @param frame kExtText or kExtBinary.
 * @param data the message, copied where it has to wait; may be NULL if length is 0.
 * @param length its bytes; 2147483647 at most.
 * @return 0 if it was sent or waits; -1 if there is no such WebSocket or it is closing, for an unknown frame,
 * no data, or a text that is not UTF-8 (clients would end the connection). */
SDKAPI_EXPORT int SdkAPIExt_WebSocket_Send(uint64_t id, int frame, const void* data, size_t length);

/** Sends one message to all WebSockets of a token, the oldest first.
 * @param token the token of their handshakes.
 * @param frame as with SdkAPIExt_WebSocket_Send().
 * @param data as there.
 * @param length as there.
 * @return 0 if it was sent to at least one; -1 if there is none, no token, or as there. */
SDKAPI_EXPORT int SdkAPIExt_WebSocket_Send_Token(const char* token, int frame, const void* data,
                                                 size_t length);

/** Sends one message to all WebSockets whose token has a login, the oldest first; with authentication off to
 * all. `WebSocketSendDataALL` also reaches those whose login has gone. A login whose time is over counts
 * until that is checked (SdkAPIExt_Login_Limits_Check()). All clients get messages to several of them in one
 * order.
 * @param frame as with SdkAPIExt_WebSocket_Send().
 * @param data as there.
 * @param length as there.
 * @return 0, also if there is none; -1 as there. */
SDKAPI_EXPORT int SdkAPIExt_WebSocket_Send_Valid(int frame, const void* data, size_t length);

/** Closes a WebSocket: sends a close frame behind what was sent before.
 * Nothing is sent to the client afterwards, and what it still sends is ignored. The connection ends when it
 * answers, after ten seconds at the latest (with another web server than the library's own: when it answers
 * or sends anything). Then event 2 comes, and with authentication on its login ends, as with every close.
 * Waits for no client; may be called from its own event, too.
 * @param id the identifier.
 * @param code 1000 to 1003, 1007 to 1014, or 3000 to 4999.
 * @param reason at most 123 bytes of UTF-8, copied; NULL = none.
 * @return 0; -1 if there is no such WebSocket or it is closing, for a code that may not be sent, or for such
 * a reason. */
SDKAPI_EXPORT int SdkAPIExt_WebSocket_Close(uint64_t id, int code, const char* reason);

/** Tells all open WebSockets, the oldest first, with those that are closing.
 * @param sockets room for *count records, whose first has its size set; may be NULL if *count is 0.
 * @param count in: the room, in records. Out: the number of WebSockets, which may be larger; only the room is
 * filled.
 * @return 0; -1 without count, without records for a room above 0, or for an unknown size. */
SDKAPI_EXPORT int SdkAPIExt_WebSocket_List(SdkAPIExtWebSocket* sockets, size_t* count);

/** Sets the functions for whole messages, for WebSockets that connect afterwards.
 * With them a frame that does not belong where it comes (a continuation without a beginning, a beginning
 * within a message) is answered with a close frame of code 1002. Without memory for a message its connection
 * ends.
 * @param slots the functions, which are copied; NULL takes them back.
 * @return 0; -1 for an unknown size or a reserved field that is not 0. */
SDKAPI_EXPORT int SdkAPIExt_WebSocket_Slots_Set(const SdkAPIExtWebSocketSlots* slots);

/** Sets the bounds of WebSockets that connect afterwards.
 * With another web server than the library's own, what waits is that server's matter, and the message's bound
 * is checked when a frame is there.
 * @param limits the bounds, which are copied; NULL takes them back.
 * @return 0; -1 for an unknown size, or bytes above 2147418112. */
SDKAPI_EXPORT int SdkAPIExt_WebSocket_Limits_Set(const SdkAPIExtWebSocketLimits* limits);

/** The limits of what a server's clients take of it. */
typedef struct SdkAPIExtLimits {
  uint32_t size;         /**< set by the caller: sizeof(SdkAPIExtLimits). */
  uint32_t mostPreviews; /**< previews at once; one more is answered 503; 0 = without a limit of this kind, as
                            below. */
  uint32_t mostWebSockets;            /**< WebSockets at once; the handshake of one more is answered 503. */
  uint32_t mostStreams;               /**< previews and WebSockets together; refused as above. */
  uint32_t mostConnectionsPerAddress; /**< open connections of one address, HTTP and HTTPS together; one more
                                         is closed as soon as it is accepted, before its TLS handshake. */
  uint32_t reserved;                  /**< 0. */
  uint64_t mostCustomBodyBytes; /**< of the body of a custom get/post request; 2147483647 at most. One that
                                   announces more is answered 413 before memory is asked for and the host is
                                   called; see @ref SdkAPIExt_Limits_Set for one that announces nothing. */
} SdkAPIExtLimits;

/** Sets limits for what begins afterwards; what is open stays. Refusals have the fixed head and an empty
 * body, and each limit has its count in SdkAPIExtStatistics. The library's own bound, which leaves the last
 * workers to requests, holds as ever.
 *
 * Of a get/post request whose body comes in chunks the host reads at most mostCustomBodyBytes: past them @ref
 * GetHttpBody gives -1, and unless the function has sent something or returns -2, the answer is 413.
 * @param limits the limits, which are copied; NULL takes them back.
 * @return 0; -1 for an unknown size, a reserved field that is not 0, too many bytes, or where the web server
 * is one that cannot bound connections or bodies and a limit of them is not 0. */
SDKAPI_EXPORT int SdkAPIExt_Limits_Set(const SdkAPIExtLimits* limits);

/** What the server does, and what it has done since the process began, over stops and starts. Where
 * "(server)" stands, only the library's own build of the web server can tell; with another one the number is
 * 0. */
typedef struct SdkAPIExtStatistics {
  uint32_t size;    /**< set by the caller: sizeof(SdkAPIExtStatistics). */
  int32_t complete; /**< 1; 0 with a web server that cannot tell what is marked "(server)". */

  uint64_t uptimeSeconds;   /**< now: since the server was started; 0 while none runs. */
  uint64_t workers;         /**< now: as many workers as there may be (server). */
  uint64_t busyWorkers;     /**< now: of them, those that serve a connection (server). */
  uint64_t connections;     /**< now: open connections (server). */
  uint64_t idleConnections; /**< now: of them, those that wait for their client without a worker (server). */
  uint64_t previews;        /**< now: open previews. */
  uint64_t webSockets;      /**< now: open WebSockets. */
  uint64_t logins;          /**< now: registered logins. */

  uint64_t acceptedConnections; /**< connections that were accepted, refused ones included (server). */
  uint64_t requests[6];         /**< answers by the hundreds of their status, such as requests[4] for 400 to
                                   499; requests[1] counts handshakes of WebSockets, requests[0] requests that
                                   ended without a status (server). */
  uint64_t bytesIn;             /**< bytes that clients sent; of TLS the payload (server). */
  uint64_t bytesOut;            /**< bytes that were sent to clients; of TLS the payload (server). */
  uint64_t uploads;             /**< uploads that were answered 200. */
  uint64_t failedUploads;       /**< uploads of a client with a login that were not. */
  uint64_t downloads;           /**< files that were sent whole. */
  uint64_t failedDownloads;     /**< files that could not be read or sent to their end. */
  uint64_t grantedLogins;       /**< logins that succeeded. */
  uint64_t deniedLogins;        /**< logins that LoginCb refused or found locked. */
  uint64_t droppedFrames;       /**< frames that were lost because a handshake was not complete. */
  uint64_t overrunWebSockets;   /**< WebSockets that ended because their client did not read (server). */

  uint64_t refusedConnections; /**< by SdkAPIExtLimits::mostConnectionsPerAddress (server). */
  uint64_t refusedPreviews;    /**< by SdkAPIExtLimits::mostPreviews. */
  uint64_t refusedWebSockets;  /**< by SdkAPIExtLimits::mostWebSockets. */
  uint64_t refusedStreams;     /**< by SdkAPIExtLimits::mostStreams. */
  uint64_t refusedForWorkers;  /**< previews and WebSockets because the last workers are the requests'. */
  uint64_t refusedBodies;      /**< by SdkAPIExtLimits::mostCustomBodyBytes. */
  uint64_t refusedUploads;     /**< by @ref SdkAPIExt_Upload_Limit_Set. */
  uint64_t refusedLogins;      /**< by SdkAPIExtLoginLimits::most. */
  uint64_t refusedMessages;    /**< by SdkAPIExtWebSocketLimits::mostMessageBytes. */

  uint64_t displacedConnections; /**< connections that were closed while they waited, because descriptors ran
                                    short (server). */
} SdkAPIExtStatistics;

/** Tells what the server does and has done. Costs microseconds. The numbers are read one after the other
 * while requests go on: their sums may differ by what happens meanwhile.
 * @param statistics filled as far as its size goes; unchanged after -1.
 * @return 0; -1 for NULL, or when the size is not known. */
SDKAPI_EXPORT int SdkAPIExt_Statistics_Get(SdkAPIExtStatistics* statistics);

SDKAPI_END

#endif
