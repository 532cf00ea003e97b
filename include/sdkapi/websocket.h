/** Sending to WebSocket clients, and the handlers of the WebSocket endpoint. @file
 *
 * Incoming events reach @ref SdkAPISerHandle::WebSocketCb. A client connects with its token as the only value
 * of "Sec-WebSocket-Protocol". All frames sent are text frames.
 *
 * No send waits for a client. What a client does not take at once is kept for it, in order: one frame of any
 * size, and beside it 1 MiB or 512 frames. One frame more, or no memory for one, ends the connection: the
 * client reads whole frames and then the end, and the host gets event 2. The same room holds what is sent
 * before a client's handshake is complete (from event 0, or from another thread at that instant): it follows
 * the handshake answer, in order; a frame beyond the room is then dropped with a level-4 log line. What was
 * sent before a connection ends for another reason still goes out first, for 10 seconds at most;
 * SdkAPISer_Stop() does not wait for it. A web server that the integrator brought (docs/civetweb.md) lacks
 * this: there a send waits about 10 seconds for a client that does not read. */
#ifndef SDKAPI_WEBSOCKET_H
#define SDKAPI_WEBSOCKET_H

#include <stddef.h>

#include "sdkapi/export.h"

SDKAPI_BEGIN

/** Sends one text frame to the oldest open connection of a token. Callable from any thread, host functions
 * included. It does not wait for the client.
 * @param token the token that the client connected with; NULL finds no connection.
 * @param data  the text, need not be NUL-terminated; NULL with a length sends nothing.
 * @param len   its length in bytes; 0 sends an empty text, whatever data is; a negative one sends nothing.
 * @return always 0, also when there is no such connection. */
SDKAPI_EXPORT int WebSocketSendData(const char* token, const char* data, int len);

/** Sends one text frame to every open connection, oldest first. Callable from any thread, host functions
 * included. It waits for no client; calls of several threads follow each other, so that all clients read the
 * texts in one order.
 * @param data NUL-terminated text (it is also logged at level 1); NULL sends nothing.
 * @param len  number of bytes of it to send; below 1 sends nothing.
 * @return always 0. */
SDKAPI_EXPORT int WebSocketSendDataALL(const char* data, int len);

/** Accepts or refuses a connection by its token. Runs on a worker thread under the server's context lock.
 * @param conn   the connection; valid until its close handler has returned.
 * @param cbdata not used.
 * @return 0 to accept, 1 to refuse. */
SDKAPI_EXPORT int WebSocketConnectHandler(const struct mg_connection* conn, void* cbdata);

/** Called after the handshake answer went out: passes on the frames that waited for it.
 * @param conn   the connection.
 * @param cbdata not used. */
SDKAPI_EXPORT void WebSocketReadyHandler(struct mg_connection* conn, void* cbdata);

/** Hands one received text frame to the host. Runs on the connection's worker thread.
 * @param conn   the connection.
 * @param flags  the frame's first byte; its low four bits are the opcode.
 * @param data   payload, not NUL-terminated, valid during the call.
 * @param dataLen payload length in bytes.
 * @param cbdata not used.
 * @return 0 to close the connection (the host asked for it); 1 to keep it; -1 when the connection's token no
 *         longer resolves (the frame is dropped, the connection stays). */
SDKAPI_EXPORT int WebsocketDataHandler(struct mg_connection* conn, int flags, char* data, size_t dataLen,
                                       void* cbdata);

/** Forgets a connection, tells the host and, with authentication on, ends the login of its token. No frame is
 * written to the connection after it has returned. @copydetails WebSocketReadyHandler */
SDKAPI_EXPORT void WebSocketCloseHandler(const struct mg_connection* conn, void* cbdata);

SDKAPI_END

#endif
