// The built-in uploads: images, texts, archives, certificates and firmware.
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "http/handlers.h"
#include "http/request.h"
#include "sdkapi/extension.h"
#include "sdkapi/host.h"
#include "sdkapi/http.h"
#include "sdkapi/transfer.h"
#include "server/host_table.h"
#include "server/log.h"
#include "transfer/upload_pipeline.h"

namespace {

using namespace sdkapi;

constexpr LogSource kLog{"sdkapiupload"};

// Images, texts and archives: one slot each, nothing else differs.
template <UploadSlot SdkAPISerHandle::*kSlot>
struct SlotFamily {
  using Context = UploadFileCtx;
  static constexpr LogSource kLog = ::kLog;

  static bool Bound(const Context& ctx) {
    return ctx.loginHandle != nullptr && ctx.loginHandle->*kSlot != nullptr;
  }
  static int Call(Context& ctx, const char* token) {
    return (ctx.loginHandle->*kSlot)(token, ctx.funcId, &ctx);
  }
  static void OnUnbound(Context& /*ctx*/) {}
  static bool Accepts(int error) { return error == 0; }
  static UploadAnswer Refusal(const Context& /*ctx*/) { return {500, ""}; }
};

struct ImageFamily : SlotFamily<&SdkAPISerHandle::UploadImageFileCb> {
  static constexpr int kFamily = kExtUploadImage;
  static constexpr const char* kHandler = "FuncUploadImageFile";
  static constexpr const char* kFound = "FuncUploadImageFileAndFileFoundCb";
  static constexpr const char* kGet = "FuncUploadImageFileAndFileGetCb";
};

struct TextFamily : SlotFamily<&SdkAPISerHandle::UploadTxtFileCb> {
  static constexpr int kFamily = kExtUploadText;
  static constexpr const char* kHandler = "FuncUploadTxtFile";
  static constexpr const char* kFound = "FuncUploadTxtFileAndFileFoundCb";
  static constexpr const char* kGet = "FuncUploadTxtFileAndFileGetCb";
};

struct ArchiveFamily : SlotFamily<&SdkAPISerHandle::UploadZipFileCb> {
  static constexpr int kFamily = kExtUploadArchive;
  static constexpr const char* kHandler = "FuncUploadZipFile";
  static constexpr const char* kFound = "FuncUploadZipFileAndFileFoundCb";
  static constexpr const char* kGet = "FuncUploadZipFileAndFileGetCb";
};

// A positive error during the parse still gets the final call; two kinds answer "Invalid File".
struct CertificateFamily : SlotFamily<&SdkAPISerHandle::UploadCertFileCb> {
  static constexpr int kFamily = kExtUploadCertificate;
  static constexpr const char* kHandler = "FuncUploadCertFile";
  static constexpr const char* kFound = "FuncUploadCertFileAndFileFoundCb";
  static constexpr const char* kGet = "FuncUploadCertFileAndFileGetCb";

  static bool Accepts(int error) { return error >= 0; }
  static UploadAnswer Refusal(const Context& ctx) {
    const bool named = ctx.funcId == kCertificateHttps || ctx.funcId == kCertificate8021x;
    return named ? UploadAnswer{406, kInvalidFile} : UploadAnswer{500, ""};
  }
};

// The slot takes no function identifier. A form that cannot be parsed is an invalid file on purpose.
struct FirmwareFamily {
  using Context = UploadFileCtx;
  static constexpr int kFamily = kExtUploadFirmware;
  static constexpr LogSource kLog = ::kLog;
  static constexpr const char* kHandler = "FuncUpgrade";
  static constexpr const char* kFound = "FuncUploadFileAndFileFoundCb";
  static constexpr const char* kGet = "FuncUploadFileAndFileGetCb";

  static bool Bound(const Context& ctx) {
    return ctx.loginHandle != nullptr && ctx.loginHandle->UpgradeCb != nullptr;
  }
  static int Call(Context& ctx, const char* token) { return ctx.loginHandle->UpgradeCb(token, &ctx); }
  static void OnUnbound(Context& /*ctx*/) {}
  static bool Accepts(int error) { return error == 0; }
  static UploadAnswer Refusal(const Context& ctx) {
    return ctx.error == -1 ? UploadAnswer{500, ""} : UploadAnswer{406, kInvalidFile};
  }
};

template <class Family>
void Prepare(Upload<Family>& upload, const TransferRequest& request, const char* url) {
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
int HandleUpload(mg_connection* conn) {
  const char* const url = GetHttpUrl(conn);
  if (url == nullptr) return 0;
  const TransferRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("GetLoginHandle err %s!!!!", request.token());
    return request.Answer(401);
  }
  Upload<Family> upload{};
  Prepare(upload, request, url);
  if (!Family::Bound(upload.ctx)) return NotRegistered(kLog.error(), Family::kHandler);

  if (!ReadExtra<Family>(conn, upload.ctx)) return request.Answer(500);
  const bool parsed = ParseForm(conn, upload);
  // The host may have cleared its slot, or the login handle, in the last field's calls.
  if (parsed && !Family::Bound(upload.ctx)) NotRegistered(kLog.error(), Family::kHandler);
  return ReplyToUpload(request, upload, parsed);
}

}  // namespace

int FuncUploadImageFile(mg_connection* conn, void* /*cbdata*/) { return HandleUpload<ImageFamily>(conn); }
int FuncUploadTxtFile(mg_connection* conn, void* /*cbdata*/) { return HandleUpload<TextFamily>(conn); }
int FuncUploadZipFile(mg_connection* conn, void* /*cbdata*/) { return HandleUpload<ArchiveFamily>(conn); }
int FuncUploadCertFile(mg_connection* conn, void* /*cbdata*/) {
  return HandleUpload<CertificateFamily>(conn);
}
int FuncUpgrade(mg_connection* conn, void* /*cbdata*/) { return HandleUpload<FirmwareFamily>(conn); }
