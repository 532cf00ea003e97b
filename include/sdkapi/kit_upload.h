/** Uploads that are stored safely, and the downloads that give them back.
 * @file
 *
 * A host says in a table what it takes: which kind of upload, how many bytes, which content, under which
 * name. A file arrives in a temporary one, is judged, brought to the disk and renamed, so that whoever looks
 * sees the old file or the new one, also after a loss of power. One file a form; the names of clients are
 * made safe; all that is stored and under way together stays within a budget; an upload that breaks off
 * leaves nothing.
 *
 * Who may upload is the matter of the accounts or of `begin`. Each refusal and each stored file is a line of
 * the log (subject "upload"). */
#ifndef SDKAPI_KIT_UPLOAD_H
#define SDKAPI_KIT_UPLOAD_H

#include <stddef.h>
#include <stdint.h>

#include "sdkapi/custom.h"
#include "sdkapi/export.h"
#include "sdkapi/host.h"
#include "sdkapi/kit_content.h"

SDKAPI_BEGIN

struct SdkKitUploadRow;

/** What is known of one upload. No text but `extra` is NULL; all are valid during the call. */
typedef struct SdkKitUpload {
  uint32_t size;                     /**< `sizeof` the record. */
  int32_t ended;                     /**< 1 in its last report, else 0. */
  int32_t stored;                    /**< 1 when it ended well. */
  int32_t reserved;                  /**< 0. */
  const struct SdkKitUploadRow* row; /**< the kit's copy of the row that takes it. */
  const char* url;                   /**< what the client asked for, as sent. */
  const char* token;                 /**< the request's token. */
  const char* fileName;              /**< the client's file name made safe; may be empty. */
  const char* extra;                 /**< the "Port" header of an 802.1X certificate; NULL without one. */
  const char* path; /**< in `accept` the temporary file, in `stored` its place; else empty. */
  const char*
      sha256;      /**< in `accept` and `stored` the hash of its bytes, 64 hexadecimal digits; else empty. */
  const char* why; /**< why it was refused; empty as long as it was not. */
  uint64_t bytes;  /**< what has arrived. */
} SdkKitUpload;

/** The download slots that can give a file back. */
typedef enum SdkKitDownload {
  kKitDownloadNone = 0,
  kKitDownloadScene = 1,  /**< DownloadSceneFileCb. */
  kKitDownloadEdid = 2,   /**< DownloadEdidFileCb. */
  kKitDownloadLogo = 3,   /**< DownloadImageFileCb: asks for no token. */
  kKitDownloadCustom = 4, /**< DownloadCustomCb. */
} SdkKitDownload;

/** One kind of file that a host takes. The rest of a zeroed row takes anything of at most 1 MiB. Its
 * functions run on the worker of the upload, for several uploads at once and without a lock, and may block:
 * the client waits. */
typedef struct SdkKitUploadRow {
  int32_t family;     /**< which uploads: a @ref SdkAPIExtFamily. */
  int32_t funcId;     /**< their kind within the family; nothing for firmware and custom routes. */
  const char* route;  /**< the pattern that serves them, such as "/upload/setting$". Needed for custom routes,
                         and for kUploadUnnamed: URIs below other routes have no kind either. NULL: any. */
  const char* file;   /**< its place below the root. One that ends in "/" is a folder in which each file has
                         the client's name. NULL: `accept` takes the file, and nothing is kept. */
  uint64_t mostBytes; /**< of the file; 0 = 1048576. */
  uint64_t leastBytes;           /**< of the file. */
  uint32_t mostFiles;            /**< in a folder; 0 = 100. Replacing one is always possible. */
  int32_t download;              /**< of @ref SdkKitDownload the slot that gives it back. */
  const char* downloadRoute;     /**< a custom route that gives it back; NULL: none. */
  const char* downloadName;      /**< the name that a downloading client sees; NULL: the file's own. A picture
                                    without a suffix gets that of its content. */
  const char* downloadOtherwise; /**< the file that is given as long as none is stored; NULL: none. */
  SdkKitCheck check;             /**< judges the whole file; NULL: anything is good. */
  const SdkKitPieceCheck* pieces; /**< judges it while it arrives; NULL: only when it is whole. */
  /** Is asked first, when the file's field begins.
   * @param upload  what is known.
   * @param why     gets the reason of a refusal, for the log.
   * @param whySize bytes of why.
   * @return 0 to take it; -2 for 401; any other value refuses it. */
  int (*begin)(const SdkKitUpload* upload, char* why, size_t whySize);
  /** Is asked last, when the file was found good, before it takes its place. May read and append to it.
   * @param upload  what is known.
   * @param why     gets the reason of a refusal, for the log.
   * @param whySize bytes of why.
   * @return 0 to take it; any other value refuses it. */
  int (*accept)(const SdkKitUpload* upload, char* why, size_t whySize);
  /** Is told that the file has its place, also after the next loss of power.
   * @param upload what is known. */
  void (*stored)(const SdkKitUpload* upload);
} SdkKitUploadRow;

/** What a host takes, and where it goes. */
typedef struct SdkKitUploadOptions {
  uint32_t size;               /**< set by the caller: sizeof(SdkKitUploadOptions). */
  uint32_t rowSize;            /**< set by the caller: sizeof(SdkKitUploadRow). */
  const SdkKitUploadRow* rows; /**< the kinds of files. */
  uint32_t rowCount;           /**< their number. */
  uint32_t mostAtOnce;         /**< uploads under way; 0 = 32. One more is refused. One user, or
                                  one address where nobody has to log in, has a quarter of them, four if there
                                  are so many. */
  const char* root;            /**< the folder of the files; made when missing. With the longest file name 254
                                  characters at most. */
  const char* temporary; /**< the folder of what is under way, on the same file system; NULL: ".incoming" in
                            the root. What a kill left there is removed at the start. */
  uint64_t budget;       /**< bytes below the root, with what is under way; 0 = 268435456. A file that
                            replaces another counts what it is longer. While it arrives both are there. Files
      without       a place count apart: all of them together as much as the largest one may be. */
  /** Is told how uploads go on: at most four times a second each, and at their end. Runs on the upload's
   * worker, several at once. NULL: nobody is.
   * @param upload what is known. */
  void (*progress)(const SdkKitUpload* upload);
} SdkKitUploadOptions;

/** What the files need. */
typedef struct SdkKitUploadUsage {
  uint32_t size;     /**< set by the caller: sizeof(SdkKitUploadUsage). */
  uint32_t underWay; /**< uploads that run now. */
  uint64_t stored;   /**< bytes below the root. */
  uint64_t arriving; /**< bytes of the uploads that run now. */
  uint64_t budget;   /**< the most that both may be. */
} SdkKitUploadUsage;

/** Begins: makes the folders, removes what a kill left, and limits the bodies of the families that have rows
 * (SdkAPIExt_Upload_Limit_Set()). Takes SdkAPIExt_UploadEnd_Set() for itself. Call it before the server's
 * start.
 * @param options copied.
 * @return 0; -1 for an unknown size, a row that says too little or leads out of the root, a folder that
 * cannot be made, or when it has been started. */
SDKAPI_EXPORT int SdkKitUpload_Start(const SdkKitUploadOptions* options);

/** Puts the upload slots of all families with a row, and the download slots that rows name, into the table.
 * Which these are is known from the start on: before it this fills nothing and says so in the log.
 * @param table the host's; NULL does nothing. */
SDKAPI_EXPORT void SdkKitUpload_Fill(SdkAPISerHandle* table);

/** Registers the custom routes of the rows, once the server runs. A host with routes that somebody guards
 * binds SdkKitUpload_Custom() and SdkKitUpload_Custom_Download() there instead.
 * @return 0; -1 when one was refused, or without a start or a server. */
SDKAPI_EXPORT int SdkKitUpload_Routes_Add(void);

/** Serves a custom upload route that has a row. @copydetails CustomUploadFunction */
SDKAPI_EXPORT int SdkKitUpload_Custom(struct mg_connection* conn, UploadCustomCtx* ctx);

/** Serves a custom download route that has a row. @copydetails CustomDownloadFunction */
SDKAPI_EXPORT int SdkKitUpload_Custom_Download(struct mg_connection* conn, CustomDownloadInfo* info);

/** Tells what the files need.
 * @param usage filled.
 * @return 0; -1 for an unknown size, or when it is not started. */
SDKAPI_EXPORT int SdkKitUpload_Usage(SdkKitUploadUsage* usage);

/** Ends: every upload is refused from now on, those under way with their next bytes. Call it after the
 * server's stop, or before that to have uploads end; a function that judges a file may still run then. */
SDKAPI_EXPORT void SdkKitUpload_Stop(void);

SDKAPI_END

#endif
