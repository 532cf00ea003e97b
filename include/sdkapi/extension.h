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

SDKAPI_END

#endif
