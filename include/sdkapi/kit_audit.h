/** Who did or tried what, as records for programs: what the log's audit lines say in words.
 * @file
 *
 * Every audit line of the kit comes with a record, made where the act is known: nothing is read back from a
 * text that clients have a part in. A host writes its own acts with @ref SdkKitAudit_Write. */
#ifndef SDKAPI_KIT_AUDIT_H
#define SDKAPI_KIT_AUDIT_H

#include <stdint.h>

#include "sdkapi/export.h"

SDKAPI_BEGIN

/** What became of an act. */
typedef enum SdkKitAuditOutcome {
  kKitAuditDone = 0,   /**< it was carried out. */
  kKitAuditRefused = 1 /**< it was refused, or it failed; `reason` says why. */
} SdkKitAuditOutcome;

/** One act. Texts are single lines without secrets and without control characters, at most 255 bytes each;
 * object and target can be a client's own words. */
typedef struct SdkKitAuditEntry {
  uint32_t size;       /**< `sizeof` the record. */
  int32_t outcome;     /**< @ref SdkKitAuditOutcome. */
  const char* subject; /**< the part that speaks, such as "accounts"; a name that no client chooses. */
  const char* action;  /**< what was done, such as "log-in"; as the subject. */
  const char* user;    /**< whose login it was done with; empty: nobody's, or the device itself. */
  const char* address; /**< the client's address; empty: the device itself. */
  const char* object;  /**< what it was done to, such as a user, a file's name or a version; may be empty. */
  const char* target;  /**< what belongs to it, such as the route of an upload; may be empty. */
  const char* reason;  /**< why it was refused, in words; empty when it was done. */
} SdkKitAuditEntry;

/** Takes one act, after its line in the log.
 * Runs on the thread that acts, several at once; must not call the kit, @ref SdkKitEvents_Publish aside.
 * @param entry no text is NULL; valid during the call. */
typedef void (*SdkKitAuditHook)(const SdkKitAuditEntry* entry);

/** Sets the function that takes the acts.
 * @param hook the function; NULL: nobody. It stays callable until the process ends. */
SDKAPI_EXPORT void SdkKitAudit_Set(SdkKitAuditHook hook);

/** Writes an act of the host's own: an audit line in the log, and a record for the hook.
 * @param entry texts without secrets, cut and cleaned here. Where `user` or `address` is NULL, it is that of
 * the request that the calling thread serves, empty on threads that serve none; the user is known to the
 * accounts of the kit. Other texts that are NULL are empty.
 * @return 0; -1 for an unknown size or outcome, or without subject or action. */
SDKAPI_EXPORT int SdkKitAudit_Write(const SdkKitAuditEntry* entry);

SDKAPI_END

#endif
