/** The kit: default implementations of the slots that are hard to write well, each usable alone.
 * @file
 *
 * The library calls slots; the kit brings functions for them, and a product replaces any of them by its own.
 * There is one header a subject; this one includes them all. What holds for all of them:
 *
 * -# **One device a process.** As the library, each subject exists once. It is started with a record of
 *    options, puts its functions into the host's table, and is stopped after the server. It can be started
 *    again then; the server can also be started again alone. A second start is refused unless its text says
 *    otherwise. A stop of what does not run does nothing.
 * -# **Results.** 0 for success, -1 for failure. A start that is refused, and what fails in spite of good
 *    arguments, has a reason in the log (@ref SdkKitLog_Set): set its hook first. NULL where the text does
 *    not allow it is a bad argument. Whatever goes wrong inside, memory included, is a result: no C++
 *    exception leaves the kit, and none may leave a function of the host's.
 * -# **Records.** The first field of every record is its size, `sizeof` the record; of rows the record that
 *    lists them says the size. A shorter record of an older program is taken, what it lacks is 0; a size that
 *    this kit does not know, such as a longer one, is refused. The rest of a zeroed record is a good default.
 *    Texts and arrays are copied; functions must stay callable until the subject was stopped.
 * -# **Threads.** Functions may be called from any thread, slots and host functions included, unless they say
 *    otherwise. None waits for a client. A subject is started and stopped by one thread, and never by a
 *    function that it calls itself; such a stop would wait for itself and is refused with a line of the log.
 * -# **Processes.** Threads, locks and databases do not survive a `fork`: a program that becomes a daemon
 *    starts the subjects in the process that serves, and a child calls nothing but `exec` and `_exit`.
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
