// What differs between the built-in families of uploads.
#pragma once

#include "sdkapi/host.h"
#include "server/log.h"
#include "transfer/upload_pipeline.h"

namespace sdkapi {

// Images, texts and archives: one slot each, nothing else differs.
template <UploadSlot SdkAPISerHandle::*kSlot>
struct SlotFamily {
  using Context = UploadFileCtx;
  static constexpr LogSource kLog{"sdkapiupload"};

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

using ImageFamily = SlotFamily<&SdkAPISerHandle::UploadImageFileCb>;
using TextFamily = SlotFamily<&SdkAPISerHandle::UploadTxtFileCb>;
using ArchiveFamily = SlotFamily<&SdkAPISerHandle::UploadZipFileCb>;

// A positive error during the parse still gets the final call; two kinds answer "Invalid File".
struct CertificateFamily : SlotFamily<&SdkAPISerHandle::UploadCertFileCb> {
  static bool Accepts(int error) { return error >= 0; }
  static UploadAnswer Refusal(const Context& ctx) {
    const bool named = ctx.funcId == kCertificateHttps || ctx.funcId == kCertificate8021x;
    return named ? UploadAnswer{406, kInvalidFile} : UploadAnswer{500, ""};
  }
};

// The slot takes no function identifier. A form that cannot be parsed is an invalid file on purpose.
struct FirmwareFamily {
  using Context = UploadFileCtx;
  static constexpr LogSource kLog{"sdkapiupload"};

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

}  // namespace sdkapi
