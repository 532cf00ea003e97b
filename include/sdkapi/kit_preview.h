/** Previews: pictures of named sources for any number of viewers.
 * @file
 *
 * Order: @ref SdkKitPreview_Start, the sources, @ref SdkKitPreview_Fill, the server's start; @ref
 * SdkKitPreview_Stop before the server's stop, so that this has no viewer to wait for, or after it.
 *
 * A source runs while somebody looks at it: one thread asks it for pictures and encodes them once for all its
 * viewers. Each viewer gets the newest picture when it is ready for one; a slow viewer misses pictures and
 * holds up nobody. A picture that does not change is sent again every second: browsers show a picture when
 * the next begins, and who has left is noticed. A name without a source, or whose source is not there, gets
 * 404.
 *
 * The preview routes ask for no token, so viewers are counted by their address. */
#ifndef SDKAPI_KIT_PREVIEW_H
#define SDKAPI_KIT_PREVIEW_H

#include <stddef.h>
#include <stdint.h>

#include "sdkapi/export.h"
#include "sdkapi/host.h"

SDKAPI_BEGIN

/** How previews behave. */
typedef struct SdkKitPreviewOptions {
  uint32_t size;              /**< `sizeof` the record. */
  uint32_t picturesPerSecond; /**< at most, 1 to 60; 0 = 25. */
  uint32_t quality;        /**< of what is encoded, 1 to 100; 0 = 85. Less where a picture would not fit. */
  uint32_t mostViewers;    /**< in all; 0 = 64. */
  uint32_t mostPerSource;  /**< viewers of one source; 0 = as many as in all. */
  uint32_t mostPerAddress; /**< viewers from one address; 0 = as many as in all. */
  uint32_t mostSources;    /**< that run at once; 0 = 16. */
  uint32_t reserved;       /**< 0. */
} SdkKitPreviewOptions;

/** What a source's pictures are made of. */
typedef enum SdkKitPreviewFormat {
  kPreviewJpeg = 1, /**< complete JPEG pictures of at most 655360 bytes. */
  kPreviewRgb = 2,  /**< rows of red, green and blue bytes, the uppermost first. */
  kPreviewI420 =
      3 /**< full-range brightness, then the two colour planes (Cb, Cr) at half the size each way. */
} SdkKitPreviewFormat;

/** The room for one picture. */
typedef struct SdkKitPreviewPicture {
  uint32_t size;       /**< `sizeof` the record. */
  uint32_t width;      /**< raw formats: the source's. */
  uint32_t height;     /**< raw formats: the source's. */
  uint32_t reserved;   /**< 0. */
  unsigned char* data; /**< where the picture goes; what the last one left is still there. */
  size_t room;         /**< bytes of data. */
  size_t length;       /**< out, kPreviewJpeg: bytes of the picture. Raw formats fill the room. */
} SdkKitPreviewPicture;

/** A source of pictures. `open`, `picture` and `close` of one run follow each other on one thread at a time.
 */
typedef struct SdkKitPreviewSource {
  uint32_t size;   /**< `sizeof` the record. */
  int32_t format;  /**< @ref SdkKitPreviewFormat. */
  uint32_t width;  /**< raw formats: 16 to 4096, even. */
  uint32_t height; /**< raw formats: 16 to 4096, even. */
  /** Begins a run: its first viewer comes. Runs on that viewer's request, one at a time: meanwhile no other
   * viewer begins. NULL: always there,
   * which a source for every name cannot be.
   * @param name what the viewer asked for; empty for the device's own picture.
   * @return what `picture` and `close` get; NULL when there is no such source, or it is off: 404. */
  void* (*open)(const char* name);
  /** Gives the next picture. Runs on the source's thread, once for all viewers.
   * @param run     what `open` returned; NULL without it.
   * @param picture the room for it.
   * @return 0 for a new picture, 1 when nothing has changed, -1 ends the run and its viewers' streams. */
  int (*picture)(void* run, SdkKitPreviewPicture* picture);
  /** Ends a run that `open` began: the last viewer has left, or the source ended. NULL: nothing to do.
   * @param run what `open` returned. */
  void (*close)(void* run);
} SdkKitPreviewSource;

/** Starts the previews without a source.
 * @param options how they behave; copied.
 * @return 0; -1 for an unknown size, a number out of its range, when they run already, or without memory. */
SDKAPI_EXPORT int SdkKitPreview_Start(const SdkKitPreviewOptions* options);

/** Puts `PreviewCb` into the host's table.
 * @param table the table; NULL does nothing. */
SDKAPI_EXPORT void SdkKitPreview_Fill(SdkAPISerHandle* table);

/** Sets the source of a name; it replaces what the name had. Viewers of the former one are let go.
 * @param name   a unit's name, at most 31 bytes; empty: the device's own picture; NULL: every name that has
 * none of its own, if its `open` knows that name.
 * @param source the source, copied; NULL takes it away.
 * @return 0; -1 for a bad name or source, one for every name without `open`, while nothing runs, without
 * memory, or for more than 1024 sources.
 */
SDKAPI_EXPORT int SdkKitPreview_Source_Set(const char* name, const SdkKitPreviewSource* source);

/** Makes a JPEG file the source of a name. While somebody looks the file is read again when it has changed;
 * one that cannot be read, is no JPEG or is too large leaves the last picture in place.
 * @param name as with @ref SdkKitPreview_Source_Set, not NULL.
 * @param path the file, at most 255 bytes; it may come later: until then the name gets 404.
 * @return 0; -1 as there, and for a bad path. */
SDKAPI_EXPORT int SdkKitPreview_File_Set(const char* name, const char* path);

/** Shows a picture that the host has, from now on until the next: the first one makes it the source of the
 * name. It waits for no viewer.
 * @param name   as with @ref SdkKitPreview_Source_Set, not NULL.
 * @param jpeg   a complete JPEG picture, copied.
 * @param length its bytes, at most 655360.
 * @return 0; -1 as there, and for what is no JPEG picture of that size. */
SDKAPI_EXPORT int SdkKitPreview_Push(const char* name, const void* jpeg, size_t length);

/** Shows a raw picture in the same way. It is copied and encoded only while somebody looks at the name, and
 * no more often than pictures are sent.
 * @param name   as with @ref SdkKitPreview_Source_Set, not NULL.
 * @param format kPreviewRgb or kPreviewI420.
 * @param width  16 to 4096, even.
 * @param height 16 to 4096, even.
 * @param data   width * height * 3 bytes (RGB) or half of that (I420), copied.
 * @return 0, also when nobody looks; -1 as there, and for a bad picture. */
SDKAPI_EXPORT int SdkKitPreview_Push_Raw(const char* name, int format, uint32_t width, uint32_t height,
                                         const void* data);

/** Makes a JPEG picture of a raw one, for whatever a host does with it.
 * @param format  kPreviewRgb or kPreviewI420.
 * @param width   16 to 4096, even.
 * @param height  16 to 4096, even.
 * @param data    the raw picture, as with @ref SdkKitPreview_Push_Raw.
 * @param quality 1 to 100; less where the picture would have more than 655360 bytes.
 * @param jpeg    gets the picture.
 * @param length  in: bytes of jpeg; out: those of the picture.
 * @return 0; -1 for a bad picture or quality, without memory, or when the room is too small. */
SDKAPI_EXPORT int SdkKitPreview_Encode(int format, uint32_t width, uint32_t height, const void* data,
                                       int quality, void* jpeg, size_t* length);

/** Counts viewers.
 * @param name the source; NULL: of all.
 * @return their number; -1 without memory. */
SDKAPI_EXPORT int SdkKitPreview_Viewers(const char* name);

/** Ends all runs: viewers that wait return at once, and whoever comes later is refused. The sources are gone.
 * When it returns no function of a source runs any more; a function of a source must not call it. May be
 * called when nothing runs. */
SDKAPI_EXPORT void SdkKitPreview_Stop(void);

SDKAPI_END

#endif
