/** The settings as one archive: export, import, and the return to factory state, each whole or not at all.
 * @file
 *
 * A host declares the parts of its settings once: documents (texts that it makes and takes, such as its users
 * as JSON) and files below its root folder. Out of that come the slots for the export and for the factory
 * restore, and a function that imports an uploaded archive.
 *
 * -# **Nothing changes before everything was looked at.** An archive is taken apart into a staging folder:
 *    names, numbers and sizes are bounded while it is unpacked, and each part is judged by its own function.
 * -# **A kill or a loss of power at any instant leaves the old state or the new one.** What was judged is
 *    written down in a journal, and only then applied. @ref SdkKitArchive_Start finishes what was
 *    written down whole, and throws away the rest.
 * -# **What can be exported can be imported.** The same bounds hold for both, and each export is judged as an
 *    import would be before it is offered.
 * -# **What an archive does not hold stays as it is.**
 * -# **One at a time.** Exports, imports and restores wait for each other, and so do the host's functions
 *    that they call. These run on the thread that asked, or on one of the kit's (a change that is finished
 *    late). What they call of this part of the kit is refused, SdkKitArchive_Text_Add() and
 *    SdkKitArchive_Most() aside. */
#ifndef SDKAPI_KIT_ARCHIVE_H
#define SDKAPI_KIT_ARCHIVE_H

#include <stddef.h>
#include <stdint.h>

#include "sdkapi/export.h"
#include "sdkapi/host.h"
#include "sdkapi/kit_content.h"

SDKAPI_BEGIN

/** A text that a document's function is making. */
typedef struct SdkKitArchiveText SdkKitArchiveText;

/** Appends to a document's text. To be called by the function that makes the document, on its thread.
 * @param text   as that function got it.
 * @param bytes  what to append, copied; may be NULL if length is 0.
 * @param length its bytes.
 * @return 0; -1 when the document becomes longer than its row allows, or memory is short. */
SDKAPI_EXPORT int SdkKitArchive_Text_Add(SdkKitArchiveText* text, const char* bytes, size_t length);

/** A document: a text of the host's, in the archive as one entry. Its functions run one at a time. */
typedef struct SdkKitArchiveDocument {
  const char* name; /**< the entry's name, such as "users.json". */
  uint32_t methods; /**< the exports that hold it: bits, see @ref SdkKitArchiveMethod; 0 = none. */
  uint32_t most;    /**< bytes of its text; 0 = 1 MiB. */
  /** Makes the text for an export.
   * @param text where it goes, see @ref SdkKitArchive_Text_Add.
   * @return 0; -1 fails the export. */
  int (*make)(SdkKitArchiveText* text);
  /** Makes the text of factory state; NULL: the document is no part of a restore.
   * @param text where it goes.
   * @return 0; -1 fails the restore. */
  int (*factory)(SdkKitArchiveText* text);
  /** Judges a text that a client sent, and changes nothing. A document whose name ends in ".json" has
   * been found to be JSON of at most 32 levels before. NULL: everything is good.
   * @param text    the text with a NUL behind it.
   * @param length  its bytes, without that NUL.
   * @param why     gets the reason of a refusal, in words for a log, with its NUL.
   * @param whySize bytes of why, at least 1.
   * @return 0 when it is good, -1 when it is refused. */
  int (*check)(const char* text, size_t length, char* why, size_t whySize);
  /** Makes the device what the text says. It must be able to do so twice: after a loss of power it is called
   * again with the same text.
   * @param text   a text that was judged good, with a NUL behind it.
   * @param length its bytes.
   * @return 0; -1 when it could not, and has changed nothing. */
  int (*apply)(const char* text, size_t length);
} SdkKitArchiveDocument;

/** A file, or all files of a folder, below the root; in the archive under the same path. */
typedef struct SdkKitArchiveFile {
  const char* path;   /**< such as "files/logo"; with "/" at its end every file of that folder. */
  uint32_t methods;   /**< the exports that hold it; 0 = none: then it is only deleted by a restore. */
  uint32_t mostFiles; /**< of a folder; 0 = 256. */
  uint64_t most;      /**< bytes of one file; 0 = 8 MiB. */
  SdkKitCheck check;  /**< judges one; NULL: everything is good. */
  int32_t keep;       /**< 1: a restore leaves it, else 0. */
  int32_t reserved;   /**< 0. */
} SdkKitArchiveFile;

/** A kind of export: the value of the query parameter "method" and what it means. */
typedef struct SdkKitArchiveMethod {
  const char* name;  /**< such as "full". The first one is meant when a client names none. */
  uint32_t bit;      /**< the bit of `methods` that its parts have. */
  uint32_t reserved; /**< 0. */
} SdkKitArchiveMethod;

/** What a client asks for. */
typedef enum SdkKitArchiveAct {
  kKitArchiveExport = 1, /**< an export. */
  kKitArchiveImport = 2, /**< an import. */
  kKitArchiveRestore = 3 /**< factory state. */
} SdkKitArchiveAct;

/** The options of @ref SdkKitArchive_Start. */
typedef struct SdkKitArchiveOptions {
  uint32_t size;         /**< `sizeof` the record. */
  uint32_t methodSize;   /**< `sizeof` one of its methods. */
  uint32_t documentSize; /**< `sizeof` one of its documents; 0 without any. */
  uint32_t fileSize;     /**< `sizeof` one of its rows of files; 0 without any. */
  const char* format;    /**< names the device's kind of archive, such as "matrix-settings-1"; an archive with
                            another one is refused. NULL = "settings-1". */
  const char* root;      /**< the folder that the files' paths begin in; NULL = the working directory. */
  const char* staging;   /**< a folder below the root, of this part of the kit alone; NULL = "staging". */
  uint64_t most;         /**< bytes of all parts, unpacked; 0 = 512 MiB. */
  const SdkKitArchiveMethod* methods;     /**< at least one, 32 at most. */
  size_t methodCount;                     /**< how many. */
  const SdkKitArchiveDocument* documents; /**< in the order in which they are applied. */
  size_t documentCount;                   /**< how many. */
  const SdkKitArchiveFile* files;         /**< the files. */
  size_t fileCount;                       /**< how many. */
  /** Begins to change all documents together; NULL when each stands for itself.
   * @return 0; -1 when it cannot. */
  int (*begin)(void);
  /** Ends that change.
   * @param commit 1: it is to hold, durably; 0: it is undone.
   * @return 0; -1 when it is not known to hold: it is then done again, until it does. */
  int (*end)(int commit);
  /** Decides who may; NULL: whoever is logged in.
   * @param token  the request's token.
   * @param act    one of SdkKitArchiveAct.
   * @param method the export's method; empty for other acts.
   * @return 0 when they may; anything else is the slot's answer, such as -2 for 401. */
  int (*may)(const char* token, int act, const char* method);
  /** Is told that an import or a restore has been done, also one that was finished late; NULL: nobody is.
   * @param act one of SdkKitArchiveAct. */
  void (*done)(int act);
} SdkKitArchiveOptions;

/** Copies the rows, and finishes a change that was interrupted: to be called when `apply` can work, before
 * the server's start.
 * @param options what the settings are made of; the record and everything in it is copied.
 * @return 0; -1 for a bad record, when it has been started before, or when an interrupted change could not be
 * finished: then the device is in neither state, and should try again instead of going on. */
SDKAPI_EXPORT int SdkKitArchive_Start(const SdkKitArchiveOptions* options);

/** Puts the functions for DownloadSettingFileCb and CustomRestoreCb into a table.
 * @param table the table; NULL does nothing. */
SDKAPI_EXPORT void SdkKitArchive_Fill(struct SdkAPISerHandle* table);

/** Takes over what an archive holds. Where storage fails behind the point of no return, the change is
 * pending: it is done as soon as storage works, by a thread of the kit's or at the next start, and until
 * then other changes are refused.
 * @param path    the archive; it stays where it is.
 * @param why     gets the reason of a refusal, in words for a log; may be NULL if whySize is 0.
 * @param whySize bytes of why.
 * @return 0 when it is done; -1 when it was refused, and nothing has changed, or when it is pending. */
SDKAPI_EXPORT int SdkKitArchive_Import(const char* path, char* why, size_t whySize);

/** Returns to factory state: the factory text of each document that has one, and no files but those that are
 * kept.
 * @return as @ref SdkKitArchive_Import. */
SDKAPI_EXPORT int SdkKitArchive_Restore(void);

/** Writes an archive, to be sent or kept.
 * @param method   one of the methods' names; empty or NULL = the first one.
 * @param path     gets the path of the archive, which stays until the next export of this method.
 * @param pathSize bytes of path.
 * @return 0; -1 for an unknown method, or when the settings break their own bounds, storage fails, or the
 * path has no room. */
SDKAPI_EXPORT int SdkKitArchive_Export(const char* method, char* path, size_t pathSize);

/** Tells how long an uploaded archive can be: what the upload's limit should be.
 * @return the bytes; 0 before the start. */
SDKAPI_EXPORT uint64_t SdkKitArchive_Most(void);

/** Ends this part of the kit, once calls of other threads that are under way have returned. A pending change
 * waits for the next start. When it returns none of the host's functions runs any more. */
SDKAPI_EXPORT void SdkKitArchive_Stop(void);

SDKAPI_END

#endif
