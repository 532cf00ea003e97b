/** The runner: what a device program is around its slots.
 * @file
 *
 * Command line and configuration file, the lock on the data folder, the log, signals, systemd, and an end
 * within a bound. A program's `main` is one call of @ref SdkKitRun.
 *
 * **Options** that every program has; a program adds its own (@ref SdkKitOption):
 * | option | meaning |
 * |---|---|
 * | `--http-port N`, `--https-port N` | 0 switches one off |
 * | `--data-dir DIR` | database, keys, files, logs; made when missing |
 * | `--www DIR` | document root |
 * | `--no-auth` | no token check, whatever the program sets |
 * | `--log-level N` | lines copied to standard error: 1 all, 4 what `log/errors.log` gets |
 * | `--config FILE` | the same names in a file, one `name = value` a line; the command line wins |
 * | `--help`, `--version` | |
 *
 * **The data folder** is the working directory from then on, and this process is the only one that uses it.
 * Files are made for this user alone. `log/device.log` has every line of the library, the kit, the web server
 * and the host, `log/errors.log` those that matter; both rotate, three files of 1 MiB each.
 *
 * **Signals.** The first SIGTERM or SIGINT stops the device, a second one ends the process at once. SIGHUP
 * opens the log files anew, after somebody moved them away. */
#ifndef SDKAPI_KIT_RUNNER_H
#define SDKAPI_KIT_RUNNER_H

#include <stddef.h>
#include <stdint.h>

#include "sdkapi/export.h"
#include "sdkapi/host.h"
#include "sdkapi/kit_log.h"

SDKAPI_BEGIN

/** How a program ends. */
typedef enum SdkKitExit {
  kKitExitDone = 0,        /**< stopped by a signal; or only told its help or its version. */
  kKitExitFailed = 1,      /**< it could not start; standard error says why. */
  kKitExitPortTaken = 2,   /**< "port N is already in use". */
  kKitExitFolderInUse = 3, /**< another process uses the data folder. */
  kKitExitStuck = 4,       /**< it did not stop within its time, and was ended. */
  kKitExitUsage = 64       /**< a command line or a configuration file that makes no sense. */
} SdkKitExit;

/** What an option takes. */
typedef enum SdkKitOptionKind {
  kKitOptionFlag = 0,   /**< nothing; `number` becomes 1. In a file: `true` or `false`. */
  kKitOptionNumber = 1, /**< a whole number. */
  kKitOptionText = 2,   /**< a text. */
  kKitOptionPath = 3    /**< the path of a file that exists; given to the program as an absolute one. */
} SdkKitOptionKind;

/** An option of the program's own. */
typedef struct SdkKitOption {
  const char* name; /**< without the dashes, such as "model". */
  const char* help; /**< one line. */
  int32_t kind;     /**< @ref SdkKitOptionKind. */
  uint32_t room;    /**< bytes of `text`, its NUL included. */
  int64_t least;    /**< a number's bounds; both 0: any number. */
  int64_t most;     /**< see `least`. */
  int64_t* number;  /**< gets a flag or a number; holds the default. */
  char* text;       /**< gets a text or a path; holds the default. A longer one is refused. */
} SdkKitOption;

/** What the command line and the configuration file said. The texts hold until the process ends. */
typedef struct SdkKitSettings {
  uint32_t size;            /**< `sizeof` the record. */
  int32_t httpPort;         /**< 0: switched off. */
  int32_t httpsPort;        /**< 0: switched off. */
  int32_t noAuth;           /**< 1 with `--no-auth`. */
  const char* dataFolder;   /**< absolute; the working directory, too. */
  const char* documentRoot; /**< absolute; empty without one. */
} SdkKitSettings;

/** A device program. Functions may be NULL; they run on the thread of @ref SdkKitRun unless they say
 * otherwise. */
typedef struct SdkKitProgram {
  uint32_t size;               /**< `sizeof` the record. */
  uint32_t optionSize;         /**< `sizeof` one of its options; 0 without any. */
  const char* name;            /**< as it is called, such as "sdkapi-simulator"; needed. */
  const char* version;         /**< for `--version`; needed. */
  const char* description;     /**< for `--help`; NULL: none. */
  const char* dataFolder;      /**< default of `--data-dir`; NULL: "./data". */
  const char* documentRoot;    /**< default of `--www`; NULL: nothing is served from files. */
  const char* configFile;      /**< read when it is there and `--config` names no other; NULL: none. */
  const char* webSocketUrl;    /**< the WebSocket endpoint; NULL: the library's. */
  int32_t httpPort;            /**< default of `--http-port`. */
  int32_t httpsPort;           /**< default of `--https-port`. */
  uint32_t stopSeconds;        /**< the most that a stop may take; 0 = 20. */
  uint32_t reserved;           /**< 0. */
  const SdkKitOption* options; /**< the program's own options; NULL without any. */
  size_t optionCount;          /**< how many. */
  /** Starts what the slots need, and fills the table. The data folder is locked and entered, the log is open,
   * no request comes yet. Certificates are set here (@ref SdkAPiSer_Cert_Set).
   * @param settings what was asked for.
   * @param table zeroed; to be filled.
   * @return 0; anything else ends the program with @ref kKitExitFailed. */
  int (*prepare)(const SdkKitSettings* settings, SdkAPISerHandle* table);
  /** Adds routes; requests come already.
   * @param settings what was asked for.
   * @return 0; anything else stops the server and ends the program with @ref kKitExitFailed. */
  int (*started)(const SdkKitSettings* settings);
  /** Lets viewers and others go, so that no slot keeps the server from stopping. Runs on another thread. */
  void (*stopping)(void);
  /** Ends what `prepare` started, also after a failed start. No request comes any more; on a stop it runs on
   * the thread of `stopping`. */
  void (*stopped)(void);
  /** Tells whether the device works; asked when systemd wants a sign of life. NULL: it does while this thread
   * runs. Must not block.
   * @return 0 when it works; anything else keeps the sign of life back. */
  int (*healthy)(void);
  /** Takes every line that `log/errors.log` gets, without secrets, with control characters escaped; runs as
   * an @ref SdkKitLogHook. */
  SdkKitLogHook logged;
} SdkKitProgram;

/** Runs a device program until a signal ends it. One at a time. To be called from `main`, before there are
 * other threads; it takes the hooks of the logs, blocks SIGTERM, SIGINT and SIGHUP for good, and sets the
 * file mode mask to 077.
 * @param argc as `main` has it.
 * @param argv as `main` has it.
 * @param program the program; its record and its options are copied, what they point to holds until the
 * return.
 * @return one of @ref SdkKitExit, for `main` to return. */
SDKAPI_EXPORT int SdkKitRun(int argc, char** argv, const SdkKitProgram* program);

/** Ends the running program as the first SIGTERM does. For any thread, slots included; does nothing while no
 * program runs. A slot or host function answers its client before it calls: the stop may let no more be sent.
 */
SDKAPI_EXPORT void SdkKitRun_Stop(void);

SDKAPI_END

#endif
