/** The host's table of functions and every record that the library exchanges with it. @file
 *
 * The host implements one function per device operation, gathered in @ref SdkAPISerHandle. Every slot may be
 * NULL: requests that need it are then left to the web server (404, or 405 for a method that files do not
 * take). Slots run on worker threads, several at once, and may block; while one blocks, one of the server's
 * 200 workers is held. Arguments are valid during the call and owned by the library. Unless a slot's text
 * says otherwise: result 0 gives 200, -2 gives 401, any other value gives 500, all with an empty body;
 * `token` is the text of the request's "Authorization" header behind its first 7 characters, empty when there
 * is none (possible with authentication off only). From a slot the host may call every function of http.h,
 * values.h and websocket.h and the custom-route registrations (see custom.h for the one exception); it may
 * not call @ref SdkAPISer_Start or @ref SdkAPISer_Stop. */
#ifndef SDKAPI_HOST_H
#define SDKAPI_HOST_H

#include <stdint.h>

#include "sdkapi/export.h"

SDKAPI_BEGIN

struct SdkAPISerHandle;

/** One login attempt: the first two fields are the client's, the others are the host's answer. */
typedef struct LoginInfo {
  char username[32];  /**< in: user name, cut to 31 characters. */
  char password[256]; /**< in: password, cut to 255 characters. */
  char token[1024];   /**< out: session token for the client; empty = none, nothing is registered. Uploads,
                         downloads and privilege changes do not know a token longer than 255 characters. */
  uint64_t lockTime;  /**< out: remaining lock time, reported when code is 2. */
  char wizard[32];    /**< out: optional text, reported when not empty. */
  int32_t firstlogin; /**< out: reported as "firstlogin". */
  uint32_t code; /**< out: 0 success, 1 refused, 2 locked; any other value: left to the web server (404). */
} LoginInfo;

/** A change of the caller's own name or password. */
typedef struct ChangeUserRequest {
  char username[32];     /**< in: current user name. */
  char newusername[32];  /**< in: new user name. */
  char newpassword[256]; /**< in: new password. */
  char oldpassword[256]; /**< in: current password. */
  int32_t changeType;    /**< in: 0 user name, 1 password, 2 both. */
  int32_t code;          /**< out: reported as "code". */
} ChangeUserRequest;

/** Creation or deletion of a user. */
typedef struct ManageUserRequest {
  int32_t role;       /**< in: role number (create only). */
  char username[32];  /**< in: user name. */
  char password[256]; /**< in: password (create only). */
  int32_t action;     /**< in: 0 create, 1 delete. */
  uint32_t code;      /**< out: reported as "code". */
  char reserved[32];  /**< zero. */
} ManageUserRequest;

/** Device information; each field is reported only when the host set it. */
typedef struct DeviceInfo {
  char reserved[512];   /**< zero; neither filled nor read by the library. */
  char model[32];       /**< out: model text. */
  char security[32];    /**< out: security mode text. */
  int32_t timeout;      /**< out: session time-out; preset to -1 = not reported. */
  char devicetime[324]; /**< out: device date and time text. */
} DeviceInfo;

/** Size in bytes of the buffer of @ref SdkAPISerHandle::DeviceStatusCb. */
enum { kDeviceUptimeSize = 32 };

/** Size in bytes of the buffer of @ref SdkAPISerHandle::GetTxRxListCb. */
enum { kTxRxListSize = 20480 };

/** One privilege picture and the hosts it is bound to. */
typedef struct PrivEntry {
  int32_t serialnum;       /**< serial number. */
  int32_t hostcount;       /**< used rows of hostname; more than 99 are reported as an empty list. */
  char hostname[100][128]; /**< names of the hosts. */
  char picname[128];       /**< picture file name. */
} PrivEntry;

/** The list of privilege pictures. */
typedef struct PrivList {
  int32_t count;      /**< number of entries. */
  PrivEntry* entries; /**< array allocated by the host with `malloc`, released by the library. */
} PrivList;

/** Argument of a custom restore. */
typedef struct CustomRestoreArg {
  int32_t code;     /**< always 16. */
  int32_t reserved; /**< 0. */
} CustomRestoreArg;

/** The file that a download slot offers. */
typedef struct DownloadFileInfo {
  char name[256]; /**< out: file name shown to the client; goes into a header as it stands. */
  char path[256]; /**< out: path of the file to send. */
} DownloadFileInfo;

/** The file that a settings export offers. */
typedef struct DownloadSettingInfo {
  char method[32]; /**< in: query parameter "method", cut to 31 characters; empty without one. */
  char name[256];  /**< out: file name shown to the client; goes into a header as it stands. */
  char path[256];  /**< out: path of the file to send. */
} DownloadSettingInfo;

/** One preview stream, the same object in all calls of the stream. */
typedef struct PreviewFrame {
  char hostname[32];           /**< source unit named by the URL; empty for the device's own source. */
  int32_t state;               /**< 0 open, 1 next picture, 2 close. */
  unsigned char frame[655360]; /**< out: the picture, a complete JPEG. */
  int64_t length; /**< out: bytes of frame; 0 or more than 655360 ends the stream, below 0 sends a part
                     without a picture. */
} PreviewFrame;

/** What images are uploaded for: `funcId` of @ref SdkAPISerHandle::UploadImageFileCb. */
typedef enum UploadImageKind {
  kImageSleep = 0,         /**< `/upload/sleepimage`: the picture of a sleeping output; no built-in route. */
  kImageLogo = 1,          /**< `/upload/logo`: the logo. */
  kImageBackground = 2,    /**< `/upload/bg`: the background. */
  kImageSubBackground = 3, /**< `/upload/sub/bg`: a unit's background. */
  kImageSubLogo = 4,       /**< `/upload/sub/logo`: a unit's logo. */
  kImageSubPng = 5,        /**< `/upload/sub/png`: a unit's PNG picture. */
  kImageSubSetBackground = 6, /**< `/upload/sub/setbgimage`: a unit's background, set at once. */
  kImageSubSetBase = 7,       /**< `/upload/sub/setbaseimage`: a unit's base picture, set at once. */
  kImagePrivilege = 8,        /**< `/upload/priv`: a privilege picture. */
} UploadImageKind;

/** What certificates are uploaded for: `funcId` of @ref SdkAPISerHandle::UploadCertFileCb. */
typedef enum UploadCertificateKind {
  kCertificateHttps = 0,       /**< `/api/v1/security/https_setting`: the server's own, for HTTPS. */
  kCertificate8021x = 1,       /**< `/api/v1/security/ieee802_1x_setting`: for IEEE 802.1X. */
  kCertificateSecurity = 2,    /**< `/upload/security`: by the older URL. */
  kCertificateSubSecurity = 3, /**< `/upload/sub/security`: a unit's. */
} UploadCertificateKind;

/** What archives are uploaded for: `funcId` of @ref SdkAPISerHandle::UploadZipFileCb. */
typedef enum UploadArchiveKind {
  kArchiveSettings = 0,       /**< `/settings/import`: settings; no built-in route. */
  kArchiveSubUpgrade = 1,     /**< `/upload/sub/upgrade`: a unit's upgrade. */
  kArchiveSettingsImport = 2, /**< `/api/v1/settings/import`: settings, by the newer URL. */
} UploadArchiveKind;

/** What texts are uploaded for: `funcId` of @ref SdkAPISerHandle::UploadTxtFileCb. */
typedef enum UploadTextKind {
  kTextChannel = 0, /**< `/upload/channel`: the channel list; no built-in route. */
  kTextXyte = 1,    /**< `/upload/xyte`. */
  kTextScene = 2,   /**< `/upload/scene`: scenes. */
  kTextEdid = 3,    /**< `/upload/edid`: EDID data. */
} UploadTextKind;

/** `funcId` of an upload whose URL names no kind: `/upload/setting`, another spelling, a URI below a route.
 */
enum { kUploadUnnamed = -1 };

/** The state of one upload, the same object in every call of one upload.
 *
 * Calls per form field: one "found" call (pieceState 0, length 0), then one call per piece received. After
 * the whole form: one final call (endFlag 1, length 0; the other fields keep what the last field left). An
 * empty file has a found call only. pieceState 1 is set when the bytes behind a piece are CR LF; a file that
 * holds CR LF can therefore show 1 before its end: take the next found call or the final call as the end of a
 * field. When the form turns out malformed or the client goes away there is no final call: throw away what
 * was stored when the next upload of the kind begins, or keep it under a temporary name until the final call.
 */
typedef struct UploadFileCtx {
  char data[32768];   /**< the current piece of the current field, zero behind length in every found and piece
                         call; the host may write into it. */
  char name[128];     /**< name of the current form field, cut to 127 characters. */
  char fileName[128]; /**< its file name, cut to 127 characters; kept from before without one. */
  int64_t length;     /**< valid bytes in data; 0 in the found call and the final call. */
  int32_t noFileName; /**< 1 when the field has no file name (a plain value), else 0. */
  int32_t pieceState; /**< 0 found; 1 last piece of the field; 2 more pieces follow. */
  int32_t endFlag;    /**< 1 in the final call, else 0. */
  int32_t reserved; /**< 0 at the first call; the library does not touch it; the host may keep a number there
                         during the upload. */
  /** 802.1X certificate: the "Port" header, at most 127 characters; else NULL. What stands here after the
   * reply is released with `free`, once: a host that keeps the block puts NULL here; it may also leave a
   * block from its own `malloc`, in any upload. */
  char* extra;
  /** The table that this upload calls. When the host clears it, the parse is aborted, nothing is called any
   * more, and the upload is refused. */
  struct SdkAPISerHandle* loginHandle;
  int32_t error;  /**< 0, or the last non-zero result of a slot in this upload. */
  int32_t funcId; /**< the file's kind within its family, kUploadUnnamed when the URL names none. */
} UploadFileCtx;

/** An upload slot: see @ref UploadFileCtx for the sequence of calls.
 * @param token  the request's token, at most 255 characters.
 * @param funcId the file's kind, told from the URL: an @ref UploadImageKind, @ref UploadTextKind,
 *               @ref UploadCertificateKind or @ref UploadArchiveKind by slot; kUploadUnnamed when the URL
 * names none.
 * @param ctx    the upload's state, the same object in every call of one upload.
 * @return 0 to accept, -2 for 401, any other value is an error (500). */
typedef int (*UploadSlot)(const char* token, int funcId, UploadFileCtx* ctx);

/** A download slot: fills info and returns 0 to have the file sent.
 * @param token the request's token, at most 255 characters.
 * @param info  zeroed; name and path are filled by the host.
 * @return 0 to send the file, -2 for 401, any other value for 500. */
typedef int (*DownloadSlot)(const char* token, DownloadFileInfo* info);

/** A slot that the library never calls; its place keeps the later slots where they are. */
typedef void (*ReservedSlot)(void);

/** The host's functions. 1296 bytes: 34 slots and 1024 bytes of data. The library copies the table at
 * @ref SdkAPISer_Start, and once more for every login. */
typedef struct SdkAPISerHandle {
  /** 0: is a login required?
   * @param flag -1 at the call; write 1 for "no login needed" (authentication off).
   * @return ignored. */
  int (*AuthQueryCb)(int* flag);
  /** 1: decide a login.
   * @param info the attempt and the host's answer.
   * @return below 0: left to the web server (404); otherwise info->code decides. */
  int (*LoginCb)(LoginInfo* info);
  /** 2: a login ended (log-out, or its WebSocket closed). When a WebSocket closed, what @ref WebSocketCb says
   * about event 2 holds here.
   * @return ignored. */
  int (*LogOutCb)(void);
  /** 3: change a user's name or password.
   * @param token the request's token, at most 1023 characters.
   * @param request the change.
   * @return 0 for 200 with request->code, -2 for 401, any other value for no reply at all. */
  int (*ChangeUserInfoCb)(const char* token, ChangeUserRequest* request);
  /** 4: create or delete a user.
   * @param token the request's token, at most 1023 characters.
   * @param request the user.
   * @return 0 for 200 with request->code, -2 for 401, any other value for 500. */
  int (*ManageUserCb)(const char* token, ManageUserRequest* request);
  /** 5: fill the device information.
   * @param token the request's token, at most 1023 characters.
   * @param info zeroed, timeout -1; filled by the host.
   * @return 0 for 200, -2 for 401, any other value for 500. */
  int (*DeviceInfoCb)(const char* token, DeviceInfo* info);
  ReservedSlot reserved6; /**< 6: never called. */
  /** 7: restore the device's custom settings.
   * @param token the request's token, at most 1023 characters.
   * @param arg what to restore.
   * @return 0 for 200, -2 for 401, any other value for 500. */
  int (*CustomRestoreCb)(const char* token, CustomRestoreArg* arg);
  ReservedSlot reserved8;  /**< 8: never called. */
  ReservedSlot reserved9;  /**< 9: never called. */
  ReservedSlot reserved10; /**< 10: never called. */
  /** 11: write the up-time text, at most 31 characters and a NUL.
   * @param uptime buffer of 32 bytes (kDeviceUptimeSize), zeroed.
   * @return 0 for 200, any other value for 500. */
  int (*DeviceStatusCb)(char* uptime);
  ReservedSlot reserved12;          /**< 12: never called. */
  ReservedSlot reserved13;          /**< 13: never called. */
  ReservedSlot reserved14;          /**< 14: never called. */
  ReservedSlot reserved15;          /**< 15: never called. */
  ReservedSlot reserved16;          /**< 16: never called. */
  DownloadSlot DownloadLogFileCb;   /**< 17: log file. */
  DownloadSlot DownloadCustomCb;    /**< 18: custom file. */
  DownloadSlot DownloadSceneFileCb; /**< 19: scene file. */
  /** 20: one step of a preview stream.
   * @param frame the stream; valid until the call with state 2 has returned.
   * @return 0 to go on; another value: 404 (state 0), end of the stream (state 1). */
  int (*PreviewCb)(PreviewFrame* frame);
  /** 21: write the unit list as one text, at most 20479 characters and a NUL.
   * @param token the request's token, at most 1023 characters.
   * @param list buffer of 20480 bytes (kTxRxListSize).
   * @return 0 for 200, -2 for 401, any other value for 500. */
  int (*GetTxRxListCb)(const char* token, char* list);
  /** 22: fill the privilege list.
   * @param token the request's token, at most 1023 characters.
   * @param list zeroed; list->entries comes from the host's `malloc`.
   * @return 0 for 200, -2 for 401, any other value for 500. */
  int (*GetPrivJsonCb)(const char* token, PrivList* list);
  /** 23: bind a picture to a host.
   * @param token the request's token, at most 255 characters.
   * @param hostname query parameter "hostname", cut to 127 characters; empty without one.
   * @param file query parameter "file", cut to 255 characters; empty without one.
   * @return 0 for 200, -2 for 401, any other value for 503. */
  int (*SpecifyPrivCb)(const char* token, const char* hostname, const char* file);
  /** 24: delete a privilege picture.
   * @param token the request's token, at most 255 characters.
   * @param file query parameter "file", cut to 255 characters; empty without one.
   * @return 0 for 200, -2 for 401, any other value for 503. */
  int (*DeletePrivCb)(const char* token, const char* file);
  DownloadSlot DownloadEdidFileCb; /**< 25: EDID file. */
  /** 26: settings export.
   * @param token the request's token, at most 255 characters.
   * @param info method is set, name and path are filled by the host.
   * @return 0 to send the file; any other value leaves the request to the web server. */
  int (*DownloadSettingFileCb)(const char* token, DownloadSettingInfo* info);
  /** 27: logo; asks for no token (always empty); failure leaves the request to the web server. */
  DownloadSlot DownloadImageFileCb;
  UploadSlot UploadImageFileCb; /**< 28: images; funcId is an @ref UploadImageKind. */
  UploadSlot UploadTxtFileCb;   /**< 29: text files; funcId is an @ref UploadTextKind. */
  /** 30: certificates; funcId is an @ref UploadCertificateKind. A negative error gives 406 for
   * kCertificateHttps and kCertificate8021x. */
  UploadSlot UploadCertFileCb;
  UploadSlot UploadZipFileCb; /**< 31: archives; funcId is an @ref UploadArchiveKind, or kUploadUnnamed. */
  /** 32: firmware, called as an upload slot; an error other than -1 and -2 while parsing gives 406.
   * @param token the request's token, at most 255 characters.
   * @param ctx the upload's state.
   * @return 0 to accept, -2 for 401, any other value is an error. */
  int (*UpgradeCb)(const char* token, UploadFileCtx* ctx);
  /** 33: WebSocket event 0 connected, 1 text received, 2 closed. Events 0 and 2, and @ref LogOutCb at a
   * close, run under the server's context lock, and while they run every request waits: keep them short, take
   * no lock in them that another thread holds while it registers a route or stops the server.
   * @param event 0, 1 or 2.
   * @param token the connection's token, at most 1023 characters.
   * @param data the text of event 1, empty at events 0 and 2; a NUL follows it.
   * @param length bytes of data.
   * @return at event 1 a value other than 0 closes the connection; ignored at events 0 and 2. */
  int (*WebSocketCb)(int event, const char* token, const char* data, int length);
  char data[1024]; /**< a login's copy holds its token here; the host's own copy is not read. */
} SdkAPISerHandle;

SDKAPI_END

#endif
