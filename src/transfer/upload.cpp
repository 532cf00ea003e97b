// The built-in uploads: images, texts, archives, certificates and firmware.
#include <cstdlib>
#include <cstring>

#include "http/handlers.h"
#include "http/request.h"
#include "sdkapi/host.h"
#include "sdkapi/http.h"
#include "sdkapi/transfer.h"
#include "server/host_table.h"
#include "server/log.h"
#include "transfer/upload_callbacks.h"
#include "transfer/upload_families.h"
#include "transfer/upload_pipeline.h"

namespace {

using namespace sdkapi;

constexpr LogSource kLog{"sdkapiupload"};

using UploadRequest = Request<256>;

// The handler's own names: for the log and for the parser.
struct UploadNames {
  const char* handler;
  FieldFound found;
  FieldGet get;
};

template <class Family>
void Prepare(Upload<Family>& upload, const UploadRequest& request, const char* url) {
  upload.ctx.funcId = UploadUrlConversionFuncID(url);
  upload.ctx.loginHandle = request.host();
  upload.token = request.token();
  // The global table's data is the host's own and never read; a login's data is its token.
  upload.parseToken = request.host() == GetSerHandle() ? request.token() : request.host()->data;
}

constexpr std::size_t kPortSize = 128;

// Copies the "Port" header, cut to its size. False when memory is short; without the header nothing is
// copied.
bool CopyPortHeader(const mg_connection* conn, UploadFileCtx& ctx) {
  const char* const port = GetHttpHeadValue(conn, "Port");
  if (port == nullptr) return true;
  ctx.extra = static_cast<char*>(std::calloc(kPortSize, 1));
  if (ctx.extra == nullptr) return false;
  std::memcpy(ctx.extra, port, strnlen(port, kPortSize - 1));
  return true;
}

// What a family needs from the request beyond the form: the 802.1X certificate's port.
template <class Family>
bool ReadExtra(const mg_connection* conn, UploadFileCtx& ctx) {
  if constexpr (std::is_same_v<Family, CertificateFamily>) {
    if (ctx.funcId == kCertificate8021x) return CopyPortHeader(conn, ctx);
  }
  return true;
}

template <class Family>
int HandleUpload(mg_connection* conn, const UploadNames& names) {
  const char* const url = GetHttpUrl(conn);
  if (url == nullptr) return 0;
  const UploadRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("GetLoginHandle err %s!!!!", request.token());
    return request.Answer(401);
  }
  Upload<Family> upload{};
  Prepare(upload, request, url);
  if (!Family::Bound(upload.ctx)) return NotRegistered(kLog.error(), names.handler);

  if (!ReadExtra<Family>(conn, upload.ctx)) return request.Answer(500);
  const bool parsed = ParseForm(conn, upload, names.found, names.get, FuncUploadFileAndFileStoreCb);
  // The host may have cleared its slot, or the login handle, in the last field's calls.
  if (parsed && !Family::Bound(upload.ctx)) NotRegistered(kLog.error(), names.handler);
  return ReplyToUpload(request, upload, parsed);
}

}  // namespace

int FuncUploadImageFile(mg_connection* conn, void* /*cbdata*/) {
  return HandleUpload<ImageFamily>(
      conn, {__func__, FuncUploadImageFileAndFileFoundCb, FuncUploadImageFileAndFileGetCb});
}

int FuncUploadTxtFile(mg_connection* conn, void* /*cbdata*/) {
  return HandleUpload<TextFamily>(conn,
                                  {__func__, FuncUploadTxtFileAndFileFoundCb, FuncUploadTxtFileAndFileGetCb});
}

int FuncUploadZipFile(mg_connection* conn, void* /*cbdata*/) {
  return HandleUpload<ArchiveFamily>(
      conn, {__func__, FuncUploadZipFileAndFileFoundCb, FuncUploadZipFileAndFileGetCb});
}

int FuncUploadCertFile(mg_connection* conn, void* /*cbdata*/) {
  return HandleUpload<CertificateFamily>(
      conn, {__func__, FuncUploadCertFileAndFileFoundCb, FuncUploadCertFileAndFileGetCb});
}

int FuncUpgrade(mg_connection* conn, void* /*cbdata*/) {
  return HandleUpload<FirmwareFamily>(conn,
                                      {__func__, FuncUploadFileAndFileFoundCb, FuncUploadFileAndFileGetCb});
}

extern "C" {

int FuncUploadImageFileAndFileFoundCb(const char* key, const char* filename, char* /*path*/,
                                      std::size_t /*pathlen*/, void* user_data) {
  return OnFieldFound<ImageFamily>(key, filename, user_data, __func__);
}

int FuncUploadImageFileAndFileGetCb(const char* /*key*/, const char* value, std::size_t valuelen,
                                    void* user_data) {
  return OnFieldGet<ImageFamily>(value, valuelen, user_data, __func__);
}

int FuncUploadTxtFileAndFileFoundCb(const char* key, const char* filename, char* /*path*/,
                                    std::size_t /*pathlen*/, void* user_data) {
  return OnFieldFound<TextFamily>(key, filename, user_data, __func__);
}

int FuncUploadTxtFileAndFileGetCb(const char* /*key*/, const char* value, std::size_t valuelen,
                                  void* user_data) {
  return OnFieldGet<TextFamily>(value, valuelen, user_data, __func__);
}

int FuncUploadZipFileAndFileFoundCb(const char* key, const char* filename, char* /*path*/,
                                    std::size_t /*pathlen*/, void* user_data) {
  return OnFieldFound<ArchiveFamily>(key, filename, user_data, __func__);
}

int FuncUploadZipFileAndFileGetCb(const char* /*key*/, const char* value, std::size_t valuelen,
                                  void* user_data) {
  return OnFieldGet<ArchiveFamily>(value, valuelen, user_data, __func__);
}

int FuncUploadCertFileAndFileFoundCb(const char* key, const char* filename, char* /*path*/,
                                     std::size_t /*pathlen*/, void* user_data) {
  return OnFieldFound<CertificateFamily>(key, filename, user_data, __func__);
}

int FuncUploadCertFileAndFileGetCb(const char* /*key*/, const char* value, std::size_t valuelen,
                                   void* user_data) {
  return OnFieldGet<CertificateFamily>(value, valuelen, user_data, __func__);
}

int FuncUploadFileAndFileFoundCb(const char* key, const char* filename, char* /*path*/,
                                 std::size_t /*pathlen*/, void* user_data) {
  return OnFieldFound<FirmwareFamily>(key, filename, user_data, __func__);
}

int FuncUploadFileAndFileGetCb(const char* /*key*/, const char* value, std::size_t valuelen,
                               void* user_data) {
  return OnFieldGet<FirmwareFamily>(value, valuelen, user_data, __func__);
}

// Not reached: no field is ever stored by the web server. It completes the parser's record.
int FuncUploadFileAndFileStoreCb(const char* /*path*/, long long file_size, void* /*user_data*/) {
  kLog.info()("file_size = %lld.", file_size);
  return 0;
}

}  // extern "C"
