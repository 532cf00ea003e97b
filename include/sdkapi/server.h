/** Configuration, start and stop of the server, its log hook and the authentication switch. @file
 *
 * Life cycle: setters, @ref SdkAPISer_Init, @ref SdkAPISer_Start, later @ref SdkAPISer_Stop. These functions
 * are called from the host's own thread; none may be called from a host function that the library is running,
 * except @ref SdkAPISer_AuthenticationSwitch_Get and @ref SdkAPISer_AuthenticationSwitch_Set. A setter that
 * takes a text copies it, cut to 127 characters. */
#ifndef SDKAPI_SERVER_H
#define SDKAPI_SERVER_H

#include "sdkapi/export.h"
#include "sdkapi/host.h"

SDKAPI_BEGIN

/** The host's log function. Called on whichever thread logs, several at once; it must not block for long and
 * must not call back into the library.
 * @param level 1 for information and trace lines, 4 for errors.
 * @param text  one NUL-terminated line without a line feed at its end, valid during the call. It ends
 *              in " [source,line]". Level-1 lines can hold tokens and the certificate's pass phrase. */
typedef void (*SdkApiLogFunction)(int level, const char* text);

/** Sets the function that receives the library's log lines. Without one nothing is logged.
 * @param function the host's log function; it must stay callable until the process ends.
 * @return 0, or -1 when function is NULL (the earlier hook stays). */
SDKAPI_EXPORT int SdkApiSer_Printf(SdkApiLogFunction function);

/** Sets the ports to listen on, for the next start.
 * @param httpPort  port for plain HTTP; below 1 means none.
 * @param httpsPort port for HTTPS; below 1 means none. With neither port, HTTP on port 80 is used.
 * @return always 0; the numbers are not range-checked (start fails on an impossible port). */
SDKAPI_EXPORT int SdkAPISer_Port_Set(int httpPort, int httpsPort);

/** Sets the PEM file that holds the TLS certificate and its private key. Takes effect at @ref SdkAPISer_Init.
 * @param certPath path of the file.
 * @return 0, or -1 when certPath is NULL (the earlier value stays). */
SDKAPI_EXPORT int SdkAPiSer_Cert_Set(const char* certPath);

/** Sets the pass phrase of the certificate's private key. It appears in a level-1 log line at start; hosts
 * that keep logs should filter it.
 * @param password the pass phrase; empty means the key is not encrypted.
 * @return 0, or -1 when password is NULL (the earlier value stays). */
SDKAPI_EXPORT int SdkAPiSer_CertPassword_Set(const char* password);

/** Sets the folder whose files answer requests that no route handles. Everything below it is public. When it
 * is never set, the working directory is served. Takes effect at @ref SdkAPISer_Init.
 * @param path the folder.
 * @return 0, or -1 when path is NULL (the earlier value stays). */
SDKAPI_EXPORT int SdkAPiSer_DocumentRoot_Set(const char* path);

/** Sets the URL path of the WebSocket endpoint.
 * @param url path such as "/ws"; it then matches exactly. Without one the endpoint is "/websocket" and every
 *            longer path that begins so.
 * @return 0, or -1 when url is NULL (the earlier value stays). */
SDKAPI_EXPORT int SdkAPISer_WebsocketUrl_Set(const char* url);

/** Kept for hosts that call it: does nothing. The server listens on all interfaces.
 * @param name name of a network interface; not looked at, may be NULL.
 * @return always 0. */
SDKAPI_EXPORT int SdkAPISer_Bind_Networkcard_Set(const char* name);

/** Switches the token check on or off. It is off until the host switches it on. May be called from any thread
 * at any time; requests that start afterwards see the new value.
 * @param on 1 = requests need the token of a login; 0 = every request is served from the host's table;
 *           any other value changes nothing.
 * @return 0. */
SDKAPI_EXPORT int SdkAPISer_AuthenticationSwitch_Set(int on);

/** Tells whether the token check is off. May be called from any thread.
 * @return 1 = authentication is off, 0 = it is on: the opposite of the value given to
 *         @ref SdkAPISer_AuthenticationSwitch_Set. */
SDKAPI_EXPORT int SdkAPISer_AuthenticationSwitch_Get(void);

/** Takes the values of the setters over into the web server's options. Call it after the setters and before
 * @ref SdkAPISer_Start; call it again after changing a value.
 * @return always 0. */
SDKAPI_EXPORT int SdkAPISer_Init(void);

/** Starts the server. It answers requests when the call returns. Logins of an earlier run are forgotten.
 * Custom routes are registered after each start.
 * @param table the host's functions; copied, so it need not outlive the call.
 * @return 0 when the server runs;
 *         -1 when table is NULL, @ref SdkAPISer_Init never ran, the server runs or is being stopped, or the
 *         web server could not start (port taken, certificate or pass phrase wrong; see "error.log"). */
SDKAPI_EXPORT int SdkAPISer_Start(const SdkAPISerHandle* table);

/** Stops the server: previews end after their picture, writes fail, all connections are closed; waits until
 * every host function has returned. Normally done within 2 seconds. A second stop waits for the first.
 *
 * Must not be called from a host function that the library is running, nor while holding a lock that a
 * host function may want: it would wait for itself. Stopping a server that does not run is harmless.
 * @param unused not looked at, may be NULL.
 * @return always 0. */
SDKAPI_EXPORT int SdkAPISer_Stop(void* unused);

/** Reads the software version from the file "./build.config" (JSON, member "SoftwareVersion").
 * @return a NUL-terminated text of at most 15 characters, never NULL; empty until a read succeeds, the last
 *         good value afterwards. It points at a static buffer that the next call may rewrite: call it
 *         from one thread. */
SDKAPI_EXPORT const char* SdkAPiSer_Version_Get(void);

SDKAPI_END

#endif
