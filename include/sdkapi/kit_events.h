/** Events for WebSocket clients: the whole state when one connects, then the changes.
 * @file
 *
 * Order: @ref SdkKitEvents_Start, @ref SdkKitEvents_Fill, the server's start; @ref SdkKitEvents_Stop before
 * the server's stop or after it. Neither `connected` nor `second` may stop them.
 *
 * Every client has a place of its own for what it has not read yet. One that does not read costs the others
 * nothing: once its place is full it gets the close code 1013. Texts go to clients whose login is valid (with
 * authentication off: to all); one whose login ended gets nothing that is published afterwards, and the close
 * code 1008. A client's commands are taken as fast as the rates allow: beyond them its connection
 * waits, and nobody else does. One thread of the kit sends.
 *
 * What cannot be published or answered is told by the result alone, so that a host may publish its log.
 *
 * The kit sets the WebSockets' slots and limits of the extension interface: they are not the host's any more.
 */
#ifndef SDKAPI_KIT_EVENTS_H
#define SDKAPI_KIT_EVENTS_H

#include <stddef.h>
#include <stdint.h>

#include "sdkapi/export.h"
#include "sdkapi/host.h"

SDKAPI_BEGIN

/** How events behave. Every function may be NULL. */
typedef struct SdkKitEventsOptions {
  uint32_t size;                   /**< `sizeof` the record. */
  uint32_t commandsPerSecond;      /**< of one connection, with twice as many at once; 0 = 20. */
  uint32_t loginCommandsPerSecond; /**< of all connections of one token together; 0 = 40. */
  uint32_t mostCommandBytes; /**< of one command; a longer one gets the close code 1009 and is never read.
                                0 = 65536. */
  uint32_t keyMilliseconds;  /**< the least time between two texts of one key; 0 = none. */
  uint32_t mostWaitingTexts; /**< that a client has not read; 0 = 1024. */
  uint32_t mostWaitingBytes; /**< that a client has not read, beside one text; 0 = 262144. */
  uint32_t reserved;         /**< 0. */
  /** Tells a new client the whole state: by one @ref SdkKitEvents_Answer or several. They reach it before
   * everything else. What is published from the beginning of this call on follows them. Runs on the sending
   * thread, so that no event is sent meanwhile.
   * @param id the connection.
   * @param token the token of its login. */
  void (*connected)(uint64_t id, const char* token);
  /** Carries a command out. Runs on the connection's worker, one at a time for a connection, without a lock.
   * @param id the connection, for @ref SdkKitEvents_Answer.
   * @param token the token of its login.
   * @param text UTF-8 as the client sent it, with a NUL behind it; valid during the call.
   * @param length its bytes, without that NUL. */
  void (*command)(uint64_t id, const char* token, const char* text, size_t length);
  /** Runs once a second on the sending thread: the place to publish what changes by itself. */
  void (*second)(void);
} SdkKitEventsOptions;

/** Starts the sending thread.
 * @param options how events behave; copied.
 * @return 0; -1 for an unknown size, a reserved field that is not 0, when they run already, or without memory
 * or threads. */
SDKAPI_EXPORT int SdkKitEvents_Start(const SdkKitEventsOptions* options);

/** Puts `WebSocketCb` into the host's table.
 * @param table the table; NULL does nothing. */
SDKAPI_EXPORT void SdkKitEvents_Fill(SdkAPISerHandle* table);

/** Sends a text to all clients. It only queues, so it may be called under a lock and in every slot.
 *
 * A text with a key tells all of one thing's state: where a client has not got the last one yet, the new one
 * takes its place. Texts without a key are never left out, and texts with a key do not change sides with
 * them.
 * @param key  what the text is about, such as "unit TX01", at most 127 bytes; NULL: never replaced.
 * @param text UTF-8 with a NUL, at most 1 MiB; copied.
 * @return 0, also without clients; -1 for a bad key or text, while nothing runs, without memory, or for a
 * text without a key when 512 texts or 128 KiB have come since the sending thread had its last turn. */
SDKAPI_EXPORT int SdkKitEvents_Publish(const char* key, const char* text);

/** Sends a text to one client alone, even where several share a token. It only queues.
 * @param id   the connection.
 * @param text as with @ref SdkKitEvents_Publish.
 * @return 0; -1 for a bad text, without memory, or when there is no such client or it is being closed. */
SDKAPI_EXPORT int SdkKitEvents_Answer(uint64_t id, const char* text);

/** Counts the clients that get events: connected, not being closed, with a valid login.
 * @return their number; -1 without memory. */
SDKAPI_EXPORT int SdkKitEvents_Clients(void);

/** Ends the sending thread; waits for no client. Takes slots and limits back. Commands that wait for their
 * turn are not carried out. May be called when nothing runs. */
SDKAPI_EXPORT void SdkKitEvents_Stop(void);

SDKAPI_END

#endif
