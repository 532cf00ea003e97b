/** Is this file what it should be?
 * @file
 *
 * Uploads, archives and firmware ask these functions before they keep anything. */
#ifndef SDKAPI_KIT_CONTENT_H
#define SDKAPI_KIT_CONTENT_H

#include <stddef.h>

#include "sdkapi/export.h"

SDKAPI_BEGIN

/** Judges the content of a whole file.
 * Runs on any thread, several at once; it must not keep the path.
 * @param path    the file, not yet under the name that it will have.
 * @param why     gets the reason of a refusal, in words for a log, with its NUL.
 * @param whySize bytes of why, at least 1.
 * @return 0 when it is good, -1 when it is refused. */
typedef int (*SdkKitCheck)(const char* path, char* why, size_t whySize);

SDKAPI_END

#endif
