/** Is this file what it should be?
 * @file
 *
 * Uploads, archives and firmware ask these functions before they keep anything. Each judges a whole file,
 * needs no start, and may be called alone. */
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

/** Judges a file while it arrives, so that a wrong one is refused before its end. */
typedef struct SdkKitPieceCheck {
  /** Begins with a file.
   * @return what is known of it so far; NULL when memory is short, which refuses the file. */
  void* (*begin)(void);
  /** Takes the next bytes.
   * @param state   from begin.
   * @param bytes   the bytes; valid during the call.
   * @param length  their number.
   * @param why     as with @ref SdkKitCheck.
   * @param whySize as there.
   * @return 0 as long as the file can still become good, else -1. */
  int (*piece)(void* state, const char* bytes, size_t length, char* why, size_t whySize);
  /** Releases the state, exactly once for every begin that gave one.
   * @param state from begin. */
  void (*end)(void* state);
} SdkKitPieceCheck;

/** Takes a PNG, JPEG or BMP picture that can be decoded whole: at most 16384 pixels a side and 33554432 in
 * all (8847360 for a progressive JPEG), in a file of at most 32 MiB. A PNG or a JPEG is decoded; a BMP must
 * be uncompressed, and hold all of its rows.
 * @copydetails SdkKitCheck */
SDKAPI_EXPORT int SdkKitContent_Picture(const char* path, char* why, size_t whySize);

/** Tells what a picture is by its content, for names and types; its validity is not judged.
 * @param path the file.
 * @return ".png", ".jpg", ".bmp", or "" for anything else. */
SDKAPI_EXPORT const char* SdkKitContent_Picture_Suffix(const char* path);

/** Takes an EDID of version 1.3 or 1.4: header, a maker of three letters, a preferred timing, as many blocks
 * as it announces (at most 8), and a right checksum in each.
 * @copydetails SdkKitCheck */
SDKAPI_EXPORT int SdkKitContent_Edid(const char* path, char* why, size_t whySize);

/** Takes one JSON value in UTF-8: at most 1 MiB, at most 32 levels deep. @copydetails SdkKitCheck */
SDKAPI_EXPORT int SdkKitContent_Json(const char* path, char* why, size_t whySize);

/** Takes UTF-8 text of at most 1 MiB without control characters other than tabulators and ends of lines.
 * @copydetails SdkKitCheck */
SDKAPI_EXPORT int SdkKitContent_Text(const char* path, char* why, size_t whySize);

SDKAPI_END

#endif
