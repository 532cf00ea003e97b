/** Where the kit's lines go.
 * @file */
#ifndef SDKAPI_KIT_LOG_H
#define SDKAPI_KIT_LOG_H

#include "sdkapi/export.h"

SDKAPI_BEGIN

/** How much a line of the kit matters. */
typedef enum SdkKitLogLevel {
  kKitInfo = 1,    /**< what the device does. */
  kKitAudit = 2,   /**< who did or tried what: logins, refusals, changes. */
  kKitWarning = 3, /**< it goes on, but somebody should look. */
  kKitError = 4    /**< something was not done. */
} SdkKitLogLevel;

/** Takes one line of the kit.
 * Runs on the thread that has something to say, several at once; must not call the kit.
 * @param level one of SdkKitLogLevel.
 * @param subject the part of the kit that speaks, such as "accounts".
 * @param text the line, at most 1023 characters, without secrets. Control characters that a client sent are
 * shown as "?"; it is one line. Valid during the call. */
typedef void (*SdkKitLogHook)(int level, const char* subject, const char* text);

/** Sets the function that takes the kit's lines. Set it before the first start: a start that is refused says
 * why there. @ref SdkKitRun takes it for its own log.
 * @param hook the function; NULL: lines go nowhere. It stays callable until the process ends. */
SDKAPI_EXPORT void SdkKitLog_Set(SdkKitLogHook hook);

/** Writes a line of the host's own among those of the kit, cut and cleaned as these.
 * @param level one of SdkKitLogLevel; any other writes nothing.
 * @param subject the part of the host that speaks; a name that no client chooses.
 * @param text the line, without secrets. */
SDKAPI_EXPORT void SdkKitLog_Write(int level, const char* subject, const char* text);

SDKAPI_END

#endif
