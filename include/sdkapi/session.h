/** Handle lists, the session stack and the table of a login. @file
 *
 * The containers behind the sessions, usable by the host for lists of its own. */
#ifndef SDKAPI_SESSION_H
#define SDKAPI_SESSION_H

#include <pthread.h>
#include <stdint.h>

#include "sdkapi/export.h"
#include "sdkapi/host.h"

SDKAPI_BEGIN

/** A list head, or a node of the list; not circular. */
typedef struct HandleManage {
  void* value;               /**< node: the stored pointer; head: NULL. */
  pthread_mutex_t mutex;     /**< head: the list's lock; node: not used. */
  struct HandleManage* next; /**< following node (head: the first one); NULL at the end. */
  struct HandleManage* prev; /**< preceding node (first node: the head); head: NULL. */
} HandleManage;

/** Called by @ref HandleManagePostLoop for each node, under the list's lock: it must not call any
 * HandleManage function on the same list.
 * @param value   the stored pointer.
 * @param arg     number given to the loop.
 * @param context pointer given to the loop.
 * @return not looked at. */
typedef int (*HandleManageCallback)(void* value, uint32_t arg, void* context);

/** Makes a list empty and its lock ready. Call it once before any other use of the list.
 * @param head the list, owned by the caller; may be NULL.
 * @return 0, or -1 when head is NULL. */
SDKAPI_EXPORT int HandleManageInitHead(HandleManage* head);

/** Appends a pointer at the end. Callable from any thread; takes the list's lock.
 * @param head  the list.
 * @param value the pointer; stays the caller's. The same value may be added several times.
 * @return 0; -1 when an argument is NULL or memory is short. */
SDKAPI_EXPORT int HandleManageAddHandle(HandleManage* head, void* value);

/** Inserts a pointer at the front. @copydetails HandleManageAddHandle */
SDKAPI_EXPORT int HandleManageAddHandle1(HandleManage* head, void* value);

/** Removes the first node that holds a pointer. Callable from any thread; takes the list's lock.
 * @param head  the list.
 * @param value the pointer, compared by identity; what it points at is not touched.
 * @return 0; -1 when an argument is NULL or no node holds the pointer. */
SDKAPI_EXPORT int HandleManageDelHandle(HandleManage* head, void* value);

/** Reads the first pointer. Callable from any thread; takes the list's lock unless the list is empty.
 * @param head the list.
 * @return the pointer; NULL when head is NULL or the list is empty. */
SDKAPI_EXPORT void* HandleManageGetNextHandle(HandleManage* head);

/** Counts the nodes. Callable from any thread; takes the list's lock.
 * @param head the list.
 * @return the number of nodes; -1 when head is NULL. */
SDKAPI_EXPORT int HandleManageGetUsrCount(HandleManage* head);

/** Calls a function for each pointer from the front, all under the list's lock.
 * @param head     the list.
 * @param callback the function.
 * @param arg      handed to it.
 * @param context  handed to it, may be NULL.
 * @return 0, or -1 when head or callback is NULL. */
SDKAPI_EXPORT int HandleManagePostLoop(HandleManage* head, HandleManageCallback callback, uint32_t arg,
                                       void* context);

/** A head or node of a circular list without a lock. */
typedef struct OnvifList {
  struct OnvifList* next; /**< following node; the head itself when empty. */
  struct OnvifList* prev; /**< preceding node; the head itself when empty. */
} OnvifList;

/** Makes a circular list empty. Takes no lock.
 * @param head the list, not NULL.
 * @return head. */
SDKAPI_EXPORT OnvifList* onvif_list_init(OnvifList* head);

/** Appends a node at the end. Takes no lock.
 * @param head the list, not NULL.
 * @param node the node, not NULL; stays the caller's.
 * @return head. */
SDKAPI_EXPORT OnvifList* onvif_list_add_tail(OnvifList* head, OnvifList* node);

/** Takes a node out of its list; its own fields stay as they are. Takes no lock.
 * @param node the node, not NULL.
 * @return the node's old predecessor. */
SDKAPI_EXPORT OnvifList* onvif_list_remove(OnvifList* node);

/** Called when a session's time is over.
 * @param userid the session's identifier.
 * @return -1 to keep the session, any other value to remove it. */
typedef int (*UserTimeoutCallback)(const char* userid);

/** Reads the system's up-time.
 * @param seconds receives the seconds since the system started, 0 on failure.
 * @return 0, or -1 on failure. */
SDKAPI_EXPORT int GetUpTime(int64_t* seconds);

/** Adds a session that lasts 43200 seconds. Callable from any thread.
 * @param id NUL-terminated identifier of 1 to 1024 characters; its first 255 are stored and compared.
 * @return 0; -1 for a refused identifier; 100 when all 20 places are taken. */
SDKAPI_EXPORT int AddUsrIdToStack(const char* id);

/** Renews the oldest session of an identifier for 43200 seconds. Callable from any thread.
 * @param id NUL-terminated identifier of 1 to 1024 characters.
 * @return 0, also when there is no such session; -1 for a refused identifier. */
SDKAPI_EXPORT int UpdateUsrIdStack(const char* id);

/** Removes the session of an identifier that stands first. @copydetails UpdateUsrIdStack */
SDKAPI_EXPORT int DelUsrIdStack(const char* id);

/** Empties the session stack. The server's start calls it; a host has no need to.
 * @param callback called when a session's time is over; NULL keeps the earlier one.
 * @return 0. */
SDKAPI_EXPORT int InitUsrIdStack(UserTimeoutCallback callback);

/** Tells a running time-out loop to end; sessions stay.
 * @return 0. */
SDKAPI_EXPORT int UnInitUsrIdStack(void);

/** Finds the table that a request with a token must use. Callable from any thread.
 * @param token NUL-terminated token, compared byte for byte; may be NULL.
 * @return with authentication off the server's table, whatever the token; with authentication on the login's
 *         own copy: valid inside a host function that serves a request with this token, elsewhere only until
 *         the login ends; NULL when there is none. */
SDKAPI_EXPORT SdkAPISerHandle* GetLoginHandle(const char* token);

SDKAPI_END

#endif
