// The request handlers that are not part of the exported interface.
#pragma once

struct mg_connection;

// CivetWeb's rule: 1 when the request is answered (or its answer deliberately withheld), 0 to leave it to the
// web server.
extern "C" {
int FuncNoMethod(mg_connection* conn, void* cbdata);

int FuncNoLogin(mg_connection* conn, void* cbdata);
int FuncLogin(mg_connection* conn, void* cbdata);
int FuncLogOut(mg_connection* conn, void* cbdata);
int FuncChangeUserInfo(mg_connection* conn, void* cbdata);
int FuncManageUser(mg_connection* conn, void* cbdata);

int FuncDeviceInfo(mg_connection* conn, void* cbdata);
int FuncGetTxRxList(mg_connection* conn, void* cbdata);
int FuncGetPrivJson(mg_connection* conn, void* cbdata);
int FunSpecityPriv(mg_connection* conn, void* cbdata);
int FunDeletePriv(mg_connection* conn, void* cbdata);
int FuncCustomRestore(mg_connection* conn, void* cbdata);

int FuncPreview(mg_connection* conn, void* cbdata);

int FuncCustomGetPost(mg_connection* conn, void* cbdata);
int FuncUploadCustomHandle(mg_connection* conn, void* cbdata);
int FuncDownloadCustomHandle(mg_connection* conn, void* cbdata);
}
