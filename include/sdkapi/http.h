/** Reading requests and composing replies inside host functions. @file
 *
 * All functions are called on the worker thread that runs the host function, while it runs. A reply that says
 * "Connection: close" ends the connection after the host function has returned. */
#ifndef SDKAPI_HTTP_H
#define SDKAPI_HTTP_H

#include <stddef.h>
#include <stdint.h>

#include "sdkapi/export.h"

SDKAPI_BEGIN

/** A request handler of the library, to which a host may lead a route of its own. It runs on a worker thread
 * and follows CivetWeb's rule for the result.
 * @param conn   the connection.
 * @param cbdata not used.
 * @return 1 answered, 0 left to the web server (its slot is empty; a handler's text may name more). */
typedef int (*SdkApiRequestHandler)(struct mg_connection* conn, void* cbdata);

/** Reads a request header.
 * @param conn the connection.
 * @param name header name, matched without regard to case.
 * @return the value, valid while the host function runs; NULL when the header is absent. */
SDKAPI_EXPORT const char* GetHttpHeadValue(const struct mg_connection* conn, const char* name);

/** Copies the token: the "Authorization" header behind its first 7 characters. Logs it at level 1.
 * @param conn the connection.
 * @param out  zero-filled buffer of at least 1025 bytes; gets at most 1024 bytes and no NUL of its own.
 *             Untouched when the header is absent.
 * @return always 0. */
SDKAPI_EXPORT int GetHttpToken(const struct mg_connection* conn, char* out);

/** Reads bytes of the request body. Blocks until len bytes or the end of the body have arrived.
 * @param conn the connection, may be NULL.
 * @param buf  receives at most len bytes, not terminated; may be NULL.
 * @param len  size of buf in bytes; below 1 reads nothing.
 * @return number of bytes read; 0 at the end of the body;
 *         -1 when conn or buf is NULL or the connection failed. */
SDKAPI_EXPORT int GetHttpBody(struct mg_connection* conn, void* buf, int len);

/** Tells the length of the request body.
 * @param conn the connection.
 * @return the "Content-Length"; -1 when the request has none. */
SDKAPI_EXPORT int64_t GetHttpLen(const struct mg_connection* conn);

/** Tells the request method.
 * @param conn the connection.
 * @return "GET", "POST", ...; valid while the host function runs. */
SDKAPI_EXPORT const char* GetHttpRepMethod(const struct mg_connection* conn);

/** Tells the request URI without its query.
 * @param conn the connection.
 * @return the URI; valid while the host function runs. */
SDKAPI_EXPORT const char* GetHttpUrl(const struct mg_connection* conn);

/** Reads one query parameter, decoded. What is no escape ("%zz") stands for itself.
 * @param conn   the connection.
 * @param name   parameter name, matched without regard to case.
 * @param dst    receives the value and its NUL.
 * @param dstLen size of dst in bytes.
 * @return the value's length; -1 when the parameter is absent; -2 when dst is too small:
 *         it then holds the value's first dstLen - 1 bytes and a NUL. */
SDKAPI_EXPORT int GetHttpUrlParam(const struct mg_connection* conn, const char* name, char* dst,
                                  size_t dstLen);

/** The same as @ref GetHttpUrlParam. @copydetails GetHttpUrlParam */
SDKAPI_EXPORT int SdkAPISer_Get_Url_Param(const struct mg_connection* conn, const char* name, char* dst,
                                          size_t dstLen);

/** The same as @ref GetHttpHeadValue. @copydetails GetHttpHeadValue */
SDKAPI_EXPORT const char* SdkAPISer_Get_Head_Param(const struct mg_connection* conn, const char* name);

/** Composes a whole reply: status line, fixed security headers and body.
 * @param code    200, 400, 401, 403, 404, 405, 406, 500 or 503.
 * @param body    NUL-terminated text, appended as it stands.
 * @param bodyLen number for "Content-Length": the body's length.
 * @param out     receives head (at most 380 characters), body and a NUL: 381 bytes and the body's length.
 * @param type    content type: 1 JSON, 2 XML, any other HTML (not the numbers of @ref SendReponseInfo).
 * @return 0; -1 when body or out is NULL, bodyLen is negative or code is not listed (out is untouched). */
SDKAPI_EXPORT int GroupRespHttpMsg(int code, const char* body, int bodyLen, char* out, int type);

/** Sends a composed reply and logs it at level 1. The connection ends after the host function.
 * @param conn the connection, may be NULL.
 * @param text NUL-terminated reply, may be NULL.
 * @param len  not used: the text is sent up to its NUL.
 * @return 0, or -1 when conn or text is NULL. */
SDKAPI_EXPORT int SendHttpBuff(struct mg_connection* conn, const char* text, int len);

/** Composes and sends a reply with any status. The connection ends after the host function.
 * @param conn    the connection.
 * @param status  status code; its text is that of @ref CT_status_code_to_str.
 * @param type    content type: 0 HTML, 1 JSON, 2 XML, any other: no such header.
 * @param body    NUL-terminated text; NULL sends an empty body.
 * @param bodyLen number for "Content-Length": the body's length; 0 sends no body.
 * @return 0, or -1 when bodyLen is negative. */
SDKAPI_EXPORT int SendReponseInfo(struct mg_connection* conn, int status, int type, const char* body,
                                  int bodyLen);

/** Tells the reason text of a status code.
 * @param status status code.
 * @return constant text; "Server Error" for a code that is not known. */
SDKAPI_EXPORT const char* CT_status_code_to_str(int status);

SDKAPI_END

#endif
