// The downloads that ask for a token: log, custom, scene and EDID files, and the settings export.
#include "base/text.h"
#include "http/accessors.h"
#include "http/request.h"
#include "sdkapi/host.h"
#include "sdkapi/transfer.h"
#include "server/log.h"
#include "transfer/download_end.h"
#include "transfer/file_sender.h"

namespace {

using namespace sdkapi;

constexpr LogSource kLog{"sdkapidownload"};

// One route's declaration: its handler's name in the log, and its slot.
struct Download {
  const char* handler;
  DownloadSlot SdkAPISerHandle::*slot;
};

int ServeDownload(mg_connection* conn, const Download& download) {
  const TransferRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("GetLoginHandle err!!!!");
    return request.Answer(401);
  }
  const DownloadSlot findFile = request.host()->*download.slot;
  if (findFile == nullptr) return NotRegistered(kLog.error(), download.handler);

  DownloadFileInfo info{};
  const int result = findFile(request.token(), &info);
  if (result != 0) return request.Answer(StatusFor(result));
  Terminate(info.name);
  Terminate(info.path);
  SendHttpDownLoadFile(conn, info.path, info.name);
  return 1;
}

}  // namespace

int SendHttpDownLoadFile(mg_connection* conn, const char* path, const char* name) {
  return SendFile(conn, path, name, kLog);
}

int FuncDownloadLogFile(mg_connection* conn, void* /*cbdata*/) {
  return ServeDownload(conn, {__func__, &SdkAPISerHandle::DownloadLogFileCb});
}

int FuncDownloadCustom(mg_connection* conn, void* /*cbdata*/) {
  return ServeDownload(conn, {__func__, &SdkAPISerHandle::DownloadCustomCb});
}

int FuncDownloadSceneFile(mg_connection* conn, void* /*cbdata*/) {
  return ServeDownload(conn, {__func__, &SdkAPISerHandle::DownloadSceneFileCb});
}

int FuncDownloadEdidFile(mg_connection* conn, void* /*cbdata*/) {
  return ServeDownload(conn, {__func__, &SdkAPISerHandle::DownloadEdidFileCb});
}

// Unlike the others: a failure of the slot is left to the web server, without a reply of ours.
int FuncDownloadSettingFile(mg_connection* conn, void* /*cbdata*/) {
  const TransferRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("GetLoginHandle err!!!!");
    return request.Answer(401);
  }
  DownloadSettingInfo info{};
  ReadUrlParam(conn, "method", info.method);
  const auto findFile = request.host()->DownloadSettingFileCb;
  if (findFile == nullptr) return NotRegistered(kLog.error(), __func__);

  if (findFile(request.token(), &info) != 0) return 0;
  Terminate(info.name);
  Terminate(info.path);
  return EndOptionalDownload(conn, SendHttpDownLoadFile(conn, info.path, info.name));
}
