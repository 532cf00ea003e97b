/** Firmware that is signed, newer, written beside the running one, and taken back when it does not start.
 * @file
 *
 * A container is made by `scripts/make-firmware`: the line "SDKFW2", a line of JSON with model, version, size
 * and SHA-256 of the image, the Ed25519 signature of both lines as 128 hexadecimal digits, and the image. The
 * upload slot judges it while it arrives, and refuses it with 406 as soon as something is wrong: most of the
 * wrong ones within their first kilobyte. The image goes straight to the host, which writes it into the slot
 * that is not running. Only when all of it is there and right the host makes that slot the next one to start.
 *
 * -# **A trial.** The new firmware is on trial until it calls @ref SdkKitFirmware_Confirm. Each start is
 * counted before anything else happens; after the most starts without a confirmation the host is asked to go
 * back.
 * -# **A kill at any instant** leaves the running firmware or the new one, on trial. */
#ifndef SDKAPI_KIT_FIRMWARE_H
#define SDKAPI_KIT_FIRMWARE_H

#include <stddef.h>
#include <stdint.h>

#include "sdkapi/export.h"
#include "sdkapi/host.h"

SDKAPI_BEGIN

/** Sizes of firmware. */
enum {
  kKitFirmwareKeySize = 32,    /**< bytes of a public key. */
  kKitFirmwareVersionSize = 16 /**< of a version with its NUL. */
};

/** What a container says of its image. No text is NULL; all are valid during the call. */
typedef struct SdkKitFirmwareImage {
  uint32_t size;       /**< `sizeof` the record. */
  int32_t downgrade;   /**< 1: it is older than what runs, and the client has asked for that. */
  uint64_t bytes;      /**< of the image. */
  const char* version; /**< its version. */
  const char* sha256;  /**< of the image, 64 hexadecimal digits. */
} SdkKitFirmwareImage;

/** How far an upgrade is. */
typedef enum SdkKitFirmwarePhase {
  kKitFirmwareReceiving = 1,  /**< the image arrives, and is written; at most four times a second. */
  kKitFirmwareInstalling = 2, /**< all of it is there and right; it is made durable. */
  kKitFirmwareInstalled = 3,  /**< it is the next one to start: the host restarts now. */
  kKitFirmwareFailed = 4,     /**< nothing has changed. */
  kKitFirmwareRolledBack = 5, /**< told by the old firmware's start: the new one did not confirm itself. */
  kKitFirmwareRefused = 6     /**< an upload was refused at once; an upgrade that is under way goes on. */
} SdkKitFirmwarePhase;

/** What is told of an upgrade. No text is NULL. */
typedef struct SdkKitFirmwareProgress {
  uint32_t size;       /**< `sizeof` the record. */
  int32_t phase;       /**< one of SdkKitFirmwarePhase. */
  uint32_t percent;    /**< of the image that has arrived. */
  uint32_t reserved;   /**< 0. */
  const char* version; /**< of the image; empty as long as it is not known. */
  const char* why;     /**< the reason of a failure, in words for a log; else empty. */
  const char* token;   /**< of the request that brings the image; empty where there is none. */
} SdkKitFirmwareProgress;

/** The options of @ref SdkKitFirmware_Start. The functions run on the worker of the upload, one after the
 * other and without a lock, and may block: the client waits. A `close(0)` can come on the thread that stops,
 * `rollBack` and what `progress` is told of it within the start. `may` and the `progress` of a refusal run
 * for several clients at once. */
typedef struct SdkKitFirmwareOptions {
  uint32_t size;             /**< `sizeof` the record. */
  uint32_t keyCount;         /**< public keys, 1 to 16. */
  const unsigned char* keys; /**< @ref kKitFirmwareKeySize bytes each: a container is good when it is signed
                                for one of them. */
  const char* model;         /**< what containers must be made for. */
  const char* version;       /**< what runs now: numbers with dots, such as "1.10.2", and an optional suffix
                                behind a "-" that makes it older than the same without; 15 characters. */
  const char* state;         /**< the file in which a trial is kept; NULL = "firmware.state" in the working
                                directory. */
  uint32_t mostStarts;       /**< of a firmware on trial; 0 = 3. */
  uint32_t mayDowngrade;     /**< 1: a client may ask for an older version by "?downgrade=1"; 0: never. */
  uint64_t most;             /**< bytes of an image; 0 = 512 MiB. */
  /** Decides who may; NULL: whoever is logged in.
   * @param token the request's token.
   * @return 0 when they may; -2 for 401; anything else for 500. */
  int (*may)(const char* token);
  /** Begins to write the slot that is not running. The head was found right.
   * @param image what is coming.
   * @return 0; -1 when there is no room for it. */
  int (*open)(const SdkKitFirmwareImage* image);
  /** Takes the next bytes of the image.
   * @param bytes  the bytes; valid during the call.
   * @param length their number.
   * @return 0; -1 when they cannot be written. */
  int (*write)(const char* bytes, size_t length);
  /** Ends writing; called exactly once for each good @ref open.
   * @param good 1: the image is whole and right, and is to be made durable; 0: it is of no use.
   * @return 0; -1 when it could not be made durable. */
  int (*close)(int good);
  /** Makes the written slot the one to start next, in one step and durably.
   * @param version the image's version.
   * @return 0; -1 when the running one still is. */
  int (*activate)(const char* version);
  /** Makes the slot before it the one to start next, in one step and durably; may be called again.
   * @return 0; -1 when it could not. */
  int (*rollBack)(void);
  /** Is told how far an upgrade is; NULL: nobody is.
   * @param progress what is known. */
  void (*progress)(const SdkKitFirmwareProgress* progress);
} SdkKitFirmwareOptions;

/** Begins, and counts this start when the running firmware is on trial. To be called early: what crashes
 * before it is never counted. Takes the ends of firmware uploads for itself.
 * @param options copied.
 * @return 0; -1 for a bad record, when it has been started before, when the trial's file cannot be written,
 * or when the trial has failed: `rollBack` was called then, and the process should end. */
SDKAPI_EXPORT int SdkKitFirmware_Start(const SdkKitFirmwareOptions* options);

/** Puts the function for UpgradeCb into a table.
 * @param table the table; NULL does nothing. */
SDKAPI_EXPORT void SdkKitFirmware_Fill(struct SdkAPISerHandle* table);

/** Tells whether the running firmware is on trial. Until it is confirmed, other firmware is refused.
 * @return 1 on trial, else 0. */
SDKAPI_EXPORT int SdkKitFirmware_Trial(void);

/** Ends the trial: the running firmware works. What "works" means is the host's to know; at least the server
 * has started.
 * @return 0, also when there is no trial; -1 when the trial's file could not be removed. */
SDKAPI_EXPORT int SdkKitFirmware_Confirm(void);

/** Reads a public key as `make-firmware keys` writes it: 64 hexadecimal digits.
 * @param path the file.
 * @param key  gets the key.
 * @return 0; -1 when there is no key in the file. */
SDKAPI_EXPORT int SdkKitFirmware_Key_Read(const char* path, unsigned char key[kKitFirmwareKeySize]);

/** Compares two versions.
 * @param left  a version.
 * @param right another one.
 * @return below 0 when left is older, above 0 when it is newer, 0 when they are the same, or when one of them
 * is no version. */
SDKAPI_EXPORT int SdkKitFirmware_Version_Compare(const char* left, const char* right);

/** Ends this part of the kit: an upload under way is refused with its next bytes, and `close(0)` is called
 * for it. Called after the server's stop, none of the host's functions runs any more when it returns. */
SDKAPI_EXPORT void SdkKitFirmware_Stop(void);

SDKAPI_END

#endif
