// Uploads and downloads of the host's own routes.
#include "sdkapi/transfer.h"

#include <cstddef>

#include "base/text.h"
#include "custom/host_function.h"
#include "http/handlers.h"
#include "http/request.h"
#include "sdkapi/custom.h"
#include "sdkapi/extension.h"
#include "server/log.h"
#include "transfer/upload_pipeline.h"

namespace {

using namespace sdkapi;

constexpr LogSource kLog{"sdkapicustom"};

// The host's function comes from the route, not from the login's table.
struct CustomFamily {
  using Context = UploadCustomCtx;
  static constexpr int kFamily = kExtUploadCustom;
  static constexpr LogSource kLog = ::kLog;
  static constexpr const char* kFound = "FuncUploadCustomFoundCb";
  static constexpr const char* kGet = "FuncUploadCustomGetCb";

  static bool Bound(const Context& ctx) { return ctx.hostFunction != nullptr; }
  static int Call(Context& ctx, const char* /*token*/) { return ctx.hostFunction(ctx.conn, &ctx); }
  static void OnUnbound(Context& ctx) { ctx.error = -1; }
  static bool Accepts(int error) { return error == 0; }
  static UploadAnswer Refusal(const Context& /*ctx*/) { return {500, ""}; }
};

}  // namespace

extern "C" int FuncUploadCustomHandle(mg_connection* conn, void* cbdata) {
  const TransferRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("GetLoginHandle err %s!!!!", request.token());
    return request.Answer(401);
  }
  Upload<CustomFamily> upload{};
  upload.ctx.conn = conn;
  upload.ctx.hostFunction = HostFunctionOf<CustomUploadFunction>(cbdata);
  return ReplyToUpload(request, upload, ParseForm(conn, upload));
}

extern "C" int FuncDownloadCustomHandle(mg_connection* conn, void* cbdata) {
  const TransferRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("GetLoginHandle err!!!!");
    return request.Answer(401);
  }
  const auto findFile = HostFunctionOf<CustomDownloadFunction>(cbdata);
  if (findFile == nullptr) return NotRegistered(kLog.error(), __func__);

  CustomDownloadInfo info{};
  const int result = findFile(conn, &info);
  if (result != 0) return request.Answer(StatusFor(result));
  Terminate(info.downloadName);
  Terminate(info.filePath);
  SendHttpDownLoadFile(conn, info.filePath, info.downloadName);
  return 1;
}
