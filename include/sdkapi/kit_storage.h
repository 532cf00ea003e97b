/** What a device keeps, whole at any loss of power: files replaced in one step, and changes of a database.
 * @file
 *
 * The other subjects store their own things in this way; these functions are for the host's. They need no
 * start. A reason for a failure is a line of the log (subject "storage"). They wait for the disk. */
#ifndef SDKAPI_KIT_STORAGE_H
#define SDKAPI_KIT_STORAGE_H

#include <stddef.h>

#include "sdkapi/export.h"

SDKAPI_BEGIN

struct sqlite3;

/** Sizes of storage. */
enum {
  kKitStorageNameSize = 128 /**< of the longest name that SdkKitStorage_Name() makes, with its NUL. */
};

/** Makes a folder, with those above it that are missing, for this user only and durably. Removes from it
 * what a kill left there of SdkKitStorage_Replace(), so call it at the start, for each folder of the host's.
 * @param folder its path; with or without a "/" at its end.
 * @return 0 when it is there; -1 when it cannot be made. */
SDKAPI_EXPORT int SdkKitStorage_Folder_Make(const char* folder);

/** Brings to the disk which names a folder holds, after a file was made, renamed or removed in it.
 * @param folder its path.
 * @return 0; -1 when the disk refuses it. */
SDKAPI_EXPORT int SdkKitStorage_Folder_Sync(const char* folder);

/** Replaces a file, or makes it. Whoever looks, also after a loss of power, sees the old bytes or the new
 * ones. They are written beside it first, under a name that begins with ".new-".
 * @param path   its path; the folder is there.
 * @param bytes  its new content; may be NULL if length is 0.
 * @param length their number.
 * @return 0 once they are on the disk; -1: it is what it was, or, when only the folder could not be brought
 * to the disk, new until a loss of power. */
SDKAPI_EXPORT int SdkKitStorage_Replace(const char* path, const void* bytes, size_t length);

/** Makes a client's file name one safe part of a path, in the way in which the uploads do: letters, digits,
 * "._-" and blanks stay, everything else and a dot at the beginning become "_".
 * @param name the client's.
 * @param safe gets the name with its NUL, cut where it has no room.
 * @param size bytes of safe, at least 1; @ref kKitStorageNameSize are always enough.
 * @return 0; -1 for an empty name. */
SDKAPI_EXPORT int SdkKitStorage_Name(const char* name, char* safe, size_t size);

/** Opens a database, or makes it, with the settings with which a change that was committed outlives a loss of
 * power, and any thread may use it. SdkKitAccounts_Start() takes such a connection, too.
 * @param path       its path.
 * @param connection gets the connection, which the caller closes by sqlite3_close(); NULL after a failure.
 * @return 0, or -1. */
SDKAPI_EXPORT int SdkKitStorage_Database_Open(const char* path, struct sqlite3** connection);

/** A change under way. */
typedef struct SdkKitStorageChange SdkKitStorageChange;

/** Makes the statements of this thread one change, until SdkKitStorage_Change_End(). Other threads'
 * statements on the connection, the kit's included, wait for its end and never become a part of it, as
 * they would within a bare BEGIN. A change within another one is a part of it: undone, it undoes what is its
 * own; committed, it holds when the outer one does.
 * @param connection the connection, with its mutexes on.
 * @return the change; NULL when it cannot begin. */
SDKAPI_EXPORT SdkKitStorageChange* SdkKitStorage_Change_Begin(struct sqlite3* connection);

/** Ends a change, on the thread that began it.
 * @param change what SdkKitStorage_Change_Begin() gave; gone afterwards. NULL does nothing.
 * @param commit 1: it is to hold; 0: it is undone.
 * @return 0; -1 when it was to hold and is undone. */
SDKAPI_EXPORT int SdkKitStorage_Change_End(SdkKitStorageChange* change, int commit);

SDKAPI_END

#endif
