// The logo download, open to every client.
#include "base/text.h"
#include "http/request.h"
#include "sdkapi/host.h"
#include "sdkapi/transfer.h"
#include "server/host_table.h"
#include "server/log.h"
#include "transfer/download_end.h"

namespace {

using namespace sdkapi;

constexpr LogSource kLog{"sdkapi"};

}  // namespace

// No token is read and the global table is used: login pages show the logo.
int FuncDownloadImageFile(mg_connection* conn, void* /*cbdata*/) {
  const auto findFile = GetSerHandle()->DownloadImageFileCb;
  if (findFile == nullptr) return NotRegistered(kLog.error(), __func__);

  DownloadFileInfo info{};
  if (findFile("", &info) != 0) return 0;
  Terminate(info.name);
  Terminate(info.path);
  return EndOptionalDownload(conn, SendHttpDownLoadFile_S(conn, info.path, info.name));
}
