/** The whole interface of the device API server in one include; the conventions of every function. @file
 *
 * -# **Results.** An `int` result is 0 for success and -1 for a bad argument or a failure, unless the
 *    function says otherwise.
 * -# **Host results.** Host functions return 0 for success, -2 for "not authorised" (the client gets 401)
 *    and any other value for failure; the text of each slot says what the client gets then.
 * -# **Strings.** Every `char` array in a record is NUL-terminated and zero-filled by the library before
 *    the host sees it. Text that does not fit is cut to the array's size less one. If the host leaves
 *    an array without a terminating NUL, its last byte is overwritten with one.
 * -# **Ownership.** Pointers handed to the host are valid during the call only. The library copies what it
 *    keeps. The one exception is @ref PrivList::entries, which the host allocates with `malloc` and the
 *    library releases with `free`.
 * -# **Threads.** Set-up, start and stop are called from one host thread. Host functions run on the web
 *    server's worker threads, several at once. The library starts no thread of its own.
 * -# **Web server.** `struct mg_connection` is the connection of the CivetWeb server that the library runs
 *    on; host functions may use CivetWeb's own `mg_*` calls on it. Host and library share one copy.
 * -# **Shared texts.** `@@copydetails NAME` means: arguments, results and threads are those told at NAME. */
#ifndef SDKAPI_SDKAPI_H
#define SDKAPI_SDKAPI_H

#include "sdkapi/custom.h"
#include "sdkapi/device.h"
#include "sdkapi/export.h"
#include "sdkapi/host.h"
#include "sdkapi/http.h"
#include "sdkapi/server.h"
#include "sdkapi/session.h"
#include "sdkapi/transfer.h"
#include "sdkapi/values.h"
#include "sdkapi/websocket.h"

#endif
