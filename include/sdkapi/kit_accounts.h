/** Accounts: users, passwords, roles, rights by route, logins and their limits.
 * @file
 *
 * Users live in an SQLite database, passwords as Argon2id hashes, logins in memory. What this does without
 * being asked: it counts an attempt before it looks at the password, by name with address and by address, and
 * lets each failure wait longer, so that nobody locks a user out from another address. It keeps as many
 * logins as the library holds, lets one user's own oldest go for a new one, and always lets an administrator
 * in. It ends a user's other logins, WebSockets included, when the password, the name or the role changes,
 * and all of them with the user. It lets a user whose password is a first one read the device information and
 * change the password, nothing else. It keeps the last administrator. Without authentication it refuses
 * changes, and reading what not every user may read, where a page of another origin asks, or a name that is
 * not the device's is used.
 *
 * Order: SdkKitAccounts_Start(), SdkKitAccounts_Fill(), the other slots, SdkKitAccounts_Guard(),
 * SdkAPISer_Start(); at the end SdkAPISer_Stop(), SdkKitAccounts_Stop(). **What is filled in behind the guard
 * is open to whoever has logged in.** A token is the text behind "Bearer ", as slots get it. */
#ifndef SDKAPI_KIT_ACCOUNTS_H
#define SDKAPI_KIT_ACCOUNTS_H

#include <stddef.h>
#include <stdint.h>

#include "sdkapi/custom.h"
#include "sdkapi/export.h"
#include "sdkapi/extension.h"
#include "sdkapi/host.h"

SDKAPI_BEGIN

struct sqlite3;

/** Sizes of texts. */
enum {
  kKitNameSize = 32 /**< the name of a user or a role with its NUL; 1 to 31 of letters, digits, "._-". */
};

/** Sets of roles: bit N stands for the role number N, 1 to 30, and bit 0 for everybody without a login. */
typedef enum SdkKitRoleSet {
  kKitNobody = 0,             /**< switched off. */
  kKitRole1 = 1 << 1,         /**< role 1: the administrators, unless the host says otherwise. */
  kKitRole2 = 1 << 2,         /**< role 2: the operators by default. */
  kKitRole3 = 1 << 3,         /**< role 3: the viewers by default. */
  kKitEveryUser = 0x7ffffffe, /**< whoever has logged in. */
  kKitEverybody = 0x7fffffff  /**< also without a login. */
} SdkKitRoleSet;

/** A role that users may have. */
typedef struct SdkKitRole {
  int32_t number;   /**< 1 to 30. */
  int32_t reserved; /**< 0. */
  const char* name; /**< at most 31 characters, for lists and the log. */
} SdkKitRole;

/** What else a right says. */
typedef enum SdkKitRightFlag {
  kKitBeforeChange = 1, /**< also for users who have still to change their first password. */
  kKitChanges = 2,      /**< changes something though its method be GET: no page of another origin may ask,
                           and no browser by a GET or HEAD that does not say for which page. */
  kKitNeedsLogin = 4    /**< refused while the authentication is off. */
} SdkKitRightFlag;

/** A row of the rights: who may ask for a route. */
typedef struct SdkKitRight {
  const char* route;  /**< a route as it was registered, without a "$" at its end; "*" at its end stands for
                         any  rest. A name of the host's own serves SdkKitAccounts_May(). */
  const char* method; /**< such as "POST"; NULL: any. */
  uint32_t roles; /**< an SdkKitRoleSet; "/preview", "/stream" and "/download/logo" come without a token and
                     know kKitEverybody and kKitNobody only. */
  uint32_t flags; /**< SdkKitRightFlag, ored. */
} SdkKitRight;

/** Takes the first administrator's password, which nobody knows else; once, when the user is made. Runs
 * within SdkKitAccounts_Start(), SdkKitAccounts_Reset() or SdkKitAccounts_Factory(), on their thread.
 * @param name the user's name.
 * @param password the password; valid during the call. */
typedef void (*SdkKitFirstPassword)(const char* name, const char* password);

/** How accounts are kept. Zeroed but for `size` and `path` it is a good default. */
typedef struct SdkKitAccountsOptions {
  uint32_t size;              /**< `sizeof` the record. */
  int32_t noAuthentication;   /**< 1: no login is needed, everybody is an administrator. The start sets the
                                 library's switch by it. */
  uint32_t roleSize;          /**< `sizeof` one of the roles; 0 without any. */
  uint32_t rightSize;         /**< `sizeof` one of the rights; 0 without any. */
  const char* path;           /**< the database's file, made when missing; not used with a connection. */
  struct sqlite3* connection; /**< NULL, or a connection of the host's with its mutexes on, open until the
                                 stop: then a transaction of the host's that holds the connection's mutex
                                 (sqlite3_db_mutex) contains what is changed here. */
  const SdkKitRole* roles;    /**< NULL: 1 "administrator", 2 "operator", 3 "viewer". */
  size_t roleCount;           /**< roles, at most 30. */
  int32_t administrator;      /**< the role of administrators; 0: 1. */
  uint32_t writers;           /**< who may change what no row speaks of; 0: kKitRole1 | kKitRole2. */
  const SdkKitRight* rights;  /**< rows, of which the first that fits counts; behind them stand the kit's own
                                 (docs/kit/accounts.md). May be NULL. */
  size_t rightCount;          /**< rows, at most 1000. */
  const char* firstName;      /**< the first administrator, made where there is no user; NULL: "admin". */
  const char* firstPassword;  /**< of that one; how strong it is is not judged. NULL: a random one, for
                                 tellFirstPassword. */
  SdkKitFirstPassword tellFirstPassword; /**< NULL: a line on standard output. */
  int32_t firstPasswordStays;            /**< 1: the first password need not be changed. */
  uint32_t idleSeconds;                  /**< a login ends when it was not used for so long; 0: 1800. */
  uint32_t totalSeconds;                 /**< a login ends so long after it began; 0: 43200. */
  uint32_t mostLogins;     /**< at once, 2 to 20; 0: 20; mostLoginsEach of them for administrators only. */
  uint32_t mostLoginsEach; /**< of one user, at most half of mostLogins; 0: 8, or that half. */
  uint32_t mostUsers;      /**< 0: 100. */
  const char* hostNames;   /**< without authentication: the device's names, separated by commas, under which
                              changes and WebSockets may be asked for, beside its addresses and "localhost".
                              Any other name in "Host" could be that of a stranger's page, which leads here
                              since it was loaded. NULL: none. */
} SdkKitAccountsOptions;

/** A user. */
typedef struct SdkKitUser {
  uint32_t size;               /**< `sizeof` the record, set by the caller; in a list by the first one. */
  int32_t role;                /**< number of the role. */
  int32_t firstlogin;          /**< 1 until the first password was changed. */
  int32_t reserved;            /**< 0. */
  char name[kKitNameSize];     /**< the user's name. */
  char roleName[kKitNameSize]; /**< the role's name. */
} SdkKitUser;

/** A login of a user. */
typedef struct SdkKitSession {
  uint32_t size;                 /**< as SdkKitUser::size. */
  int32_t role;                  /**< the user's role. */
  uint64_t id;                   /**< names the login without its token; never 0, never used again. */
  uint64_t ageSeconds;           /**< since the login. */
  uint64_t idleSeconds;          /**< since its last use. */
  uint32_t webSockets;           /**< its open WebSockets. */
  int32_t own;                   /**< 1: the login of the token that asks. */
  char name[kKitNameSize];       /**< the user's name. */
  char address[kExtAddressSize]; /**< the client's address. */
} SdkKitSession;

/** What a change of users leads to; `code` in the replies. */
typedef enum SdkKitUserCode {
  kKitUserDone = 0,              /**< done. */
  kKitUserWrongPassword = 1,     /**< the old password is wrong. */
  kKitUserWeakPassword = 2,      /**< the new password has fewer than 8 characters, or is weak:
                                    DataFormatverification(). */
  kKitUserExists = 3,            /**< there is a user of the new name. */
  kKitUserUnknown = 4,           /**< there is no such user. */
  kKitUserLastAdministrator = 5, /**< the last administrator stays one. */
  kKitUserBadName = 6,           /**< 1 to 31 of letters, digits, "._-". */
  kKitUserBadRole = 7,           /**< no role has this number. */
  kKitUserLocked = 8,            /**< too many wrong passwords; later again. */
  kKitUserTooMany = 9            /**< there are as many users as there may be. */
} SdkKitUserCode;

/** Opens the accounts, makes the first administrator where there is no user, sets the limits of logins
 * (SdkAPIExt_Login_Limits_Set) and the switch of the token check (SdkAPISer_AuthenticationSwitch_Set), and
 * starts a thread that watches the time.
 * @param options how; copied, texts and rows included.
 * @return 0; -1 for a bad record, a second start, or a database that cannot be used. */
SDKAPI_EXPORT int SdkKitAccounts_Start(const SdkKitAccountsOptions* options);

/** Puts login and user administration into a table: AuthQueryCb, LoginCb, LogOutCb, ChangeUserInfoCb,
 * ManageUserCb. They refuse everything while the accounts are not started.
 * @param table the table; NULL does nothing. */
SDKAPI_EXPORT void SdkKitAccounts_Fill(SdkAPISerHandle* table);

/** Puts a check of the rights before every slot of a table that is filled, with this device's routes and
 * WebSockets. Who may not gets 401, a WebSocket code 1008; the log gets an audit line. Fills in
 * DeviceInfo::timeout where the host's function left -1. A slot that is guarded already stays as it is, so a
 * table can be filled and guarded again for the next start.
 * @param table the table, once all slots are filled and before the server starts; NULL does nothing. One
 * without a slot is an error in the log: what is filled in later is not guarded. */
SDKAPI_EXPORT void SdkKitAccounts_Guard(SdkAPISerHandle* table);

/** Ends the watch of time and closes the database, but not a connection of the host's; after the server's
 * stop. Waits for calls of other threads that are under way: never call it within a change of the same
 * database (SdkKitStorage_Change_Begin). When it returns, the connection is not used any more. Does nothing
 * without a start. */
SDKAPI_EXPORT void SdkKitAccounts_Stop(void);

/** Tells who has logged in with a token. Without authentication that is an administrator.
 * @param token a request's token; may be NULL.
 * @param user filled on success; its size is set by the caller.
 * @return 0; -1 when nobody has, for an unknown size, or without a start. */
SDKAPI_EXPORT int SdkKitAccounts_Who(const char* token, SdkKitUser* user);

/** Tells what the rights say, without a line in the log: for what a request asks for beside its route, such
 * as commands over a WebSocket.
 * @param token a request's token; may be NULL.
 * @param route a route or the host's own name in the rights.
 * @param method such as "POST"; NULL: "GET".
 * @return 0 when the user may; -1 when not, without a route, or without a start. */
SDKAPI_EXPORT int SdkKitAccounts_May(const char* token, const char* route, const char* method);

/** Adds a get/post route behind the check of rights; while the server runs, as
 * SdkAPISer_Custom_Get_Post_Api_Add(), and again after each of its starts. Who may not gets 401 with
 * `{"error":"not authorised"}`.
 * @param uri pattern, at most 127 characters, copied.
 * @param function the host's function; not NULL.
 * @return 0; -1 for a bad argument, more than 200 routes, or without a server. */
SDKAPI_EXPORT int SdkKitAccounts_Get_Post_Add(const char* uri, CustomGetPostFunction function);

/** Adds an upload route behind the check of rights. @copydetails SdkKitAccounts_Get_Post_Add */
SDKAPI_EXPORT int SdkKitAccounts_Upload_Add(const char* uri, CustomUploadFunction function);

/** Adds a download route behind the check of rights. @copydetails SdkKitAccounts_Get_Post_Add */
SDKAPI_EXPORT int SdkKitAccounts_Download_Add(const char* uri, CustomDownloadFunction function);

/** Tells all users, in the order of their names.
 * @param users room for *count records, whose first has its size set; may be NULL if *count is 0.
 * @param count in: the room. Out: the number of users, which may be larger.
 * @return 0; -1 for a bad argument or a failure. */
SDKAPI_EXPORT int SdkKitAccounts_List(SdkKitUser* users, size_t* count);

/** Makes a user, who has to change the password first. Hashing it takes as long as a login does.
 * @param name the name, 1 to 31 of letters, digits, "._-".
 * @param password the first password, judged as every new one (@ref kKitUserWeakPassword).
 * @param role number of the role.
 * @return an SdkKitUserCode; -1 for a failure. */
SDKAPI_EXPORT int SdkKitAccounts_Create(const char* name, const char* password, int role);

/** Deletes a user, whose logins end.
 * @param name the name.
 * @return an SdkKitUserCode; -1 for a failure. */
SDKAPI_EXPORT int SdkKitAccounts_Delete(const char* name);

/** Gives a user another role; the logins end.
 * @param name the name.
 * @param role number of the role.
 * @return an SdkKitUserCode; -1 for a failure. */
SDKAPI_EXPORT int SdkKitAccounts_SetRole(const char* name, int role);

/** Gives a user a new first password, as for somebody who has forgotten the own one: it has to be changed,
 * and the logins end.
 * @param name the name.
 * @param password the first password.
 * @return an SdkKitUserCode; -1 for a failure. */
SDKAPI_EXPORT int SdkKitAccounts_SetPassword(const char* name, const char* password);

/** Tells a result about a user in words, as the log and the audit have them.
 * @param code an SdkKitUserCode, or another result of these functions.
 * @return English words that hold for ever, such as "there is no such user"; empty for @ref kKitUserDone. */
SDKAPI_EXPORT const char* SdkKitAccounts_CodeText(int code);

/** Tells the logins that a token's user may see: the own ones, as an administrator all; the oldest first.
 * @param token a request's token; NULL: all, for the host itself.
 * @param sessions room for *count records, whose first has its size set; may be NULL if *count is 0.
 * @param count in: the room. Out: the number of logins, which may be larger.
 * @return 0; -1 for a bad argument or a token that nobody has. */
SDKAPI_EXPORT int SdkKitAccounts_Sessions(const char* token, SdkKitSession* sessions, size_t* count);

/** Ends a login, WebSockets included.
 * @param token a request's token, whose user must see that login; NULL: the host itself.
 * @param id the login.
 * @return 0; -1 when there is none, or not for this user. */
SDKAPI_EXPORT int SdkKitAccounts_EndSession(const char* token, uint64_t id);

/** Back to the first administrator alone; all logins end.
 * @return 0; -1 for a failure. */
SDKAPI_EXPORT int SdkKitAccounts_Reset(void);

/** Tells all users as JSON, hashes of passwords included: `[{"name","hash","role","firstlogin"},...]`.
 * @param json becomes the text, from `malloc`; the caller releases it with `free`.
 * @return 0; -1 for a failure. */
SDKAPI_EXPORT int SdkKitAccounts_Export(char** json);

/** Tells the users of the factory state in the same form, for SdkKitAccounts_Import(): the first
 * administrator alone. A random first password is told with each call.
 * @param json as for SdkKitAccounts_Export().
 * @return 0; -1 for a failure. */
SDKAPI_EXPORT int SdkKitAccounts_Factory(char** json);

/** Whether a text could be imported: users of known roles and different names, hashes of exactly the kind
 * that this kit makes, an administrator among them.
 * @param json the text.
 * @param length its bytes.
 * @param why gets a reason in words; may be NULL.
 * @param whySize bytes of why.
 * @return 0 when it could; -1 when not. */
SDKAPI_EXPORT int SdkKitAccounts_Check(const char* json, size_t length, char* why, size_t whySize);

/** Replaces all users, or none. Logins of users who are the same as before go on, all others end.
 * @copydetails SdkKitAccounts_Check */
SDKAPI_EXPORT int SdkKitAccounts_Import(const char* json, size_t length, char* why, size_t whySize);

SDKAPI_END

#endif
