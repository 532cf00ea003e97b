/** The kit: default implementations of the slots that are hard to write well, each usable alone.
 * @file
 *
 * The library calls slots; the kit brings functions for them, and a product replaces any of them by its own.
 * There is one header a subject; this one includes them all. What holds for all of them:
 *
 * -# **One device a process.** As the library, each subject exists once. It is started with a record of
 *    options, puts its functions into the host's table, and is stopped after the server.
 * -# **Results.** 0 for success, -1 for failure, with a reason for the log (@ref SdkKitLog_Set). Whatever
 * goes wrong inside, memory included, is a result: no C++ exception leaves the kit.
 * -# **Records.** The first field of every record is its size, `sizeof` the record; of rows the record that
 *    lists them says the size. A shorter record of an older program is taken, what it lacks is 0; a size that
 *    this kit does not know, such as a longer one, is refused. The rest of a zeroed record is a good default.
 *    Texts and arrays are copied; functions must stay callable until the subject was stopped.
 * -# **Threads.** Functions may be called from any thread, slots and host functions included, unless they say
 *    otherwise. None waits for a client.
 *
 * Programs link `sdkapi-kit` and `sdkapi`. */
#ifndef SDKAPI_KIT_H
#define SDKAPI_KIT_H

#include "sdkapi/kit_accounts.h"
#include "sdkapi/kit_archive.h"
#include "sdkapi/kit_audit.h"
#include "sdkapi/kit_certificate.h"
#include "sdkapi/kit_content.h"
#include "sdkapi/kit_events.h"
#include "sdkapi/kit_firmware.h"
#include "sdkapi/kit_log.h"
#include "sdkapi/kit_metrics.h"
#include "sdkapi/kit_preview.h"
#include "sdkapi/kit_runner.h"
#include "sdkapi/kit_storage.h"
#include "sdkapi/kit_upload.h"

#endif
