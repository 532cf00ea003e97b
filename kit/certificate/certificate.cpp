// The exported functions: the choice of a start, the checks of uploads, what a certificate says.
#include <cstdio>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>

#include "base/file.h"
#include "base/guarded.h"
#include "base/record.h"
#include "base/verdict.h"
#include "certificate/info.h"
#include "certificate/keeper.h"
#include "certificate/pem_reader.h"
#include "certificate/server_check.h"
#include "sdkapi/kit_certificate.h"
#include "sdkapi/server.h"

namespace sdkkit {
namespace {

constexpr Log kLog{"certificate"};

struct InUse {
  std::mutex mutex;
  std::shared_ptr<CertificateKeeper> keeper;
};

InUse& Place() {
  static InUse place;
  return place;
}

std::shared_ptr<CertificateKeeper> Keeper() {
  const std::lock_guard lock(Place().mutex);
  return Place().keeper;
}

std::string PassPhrase() {
  const auto keeper = Keeper();
  return keeper ? keeper->passPhrase() : "";
}

void* BeginPieces() {
  PemReader* reader = nullptr;
  Guarded(kLog, [&] {
    reader = std::make_unique<PemReader>(PassPhrase()).release();
    return 0;
  });
  return reader;
}

int FeedPiece(void* state, const char* bytes, size_t length, char* why, size_t whySize) {
  return Guarded(kLog, [&] {
    return Verdict(static_cast<PemReader*>(state)->Feed({bytes, length}), why, whySize);
  });
}

void EndPieces(void* state) { const std::unique_ptr<PemReader> owned(static_cast<PemReader*>(state)); }

int Tell(const std::string& path, SdkKitCertificateInfo* info) {
  if (!IsKnown(info)) return -1;
  SdkKitCertificateInfo told{};
  if (!Describe(ReadFile(path, kMostPemBytes).value_or(""), told)) return -1;
  WriteRecord(told, info);
  return 0;
}

// What makes something of names, and says why it cannot.
template <class Work>
int Refusable(const SdkKitCertificateNames* names, char* why, size_t whySize, Work work) {
  const auto chosen = ReadRecord(names);
  if (why == nullptr || whySize == 0 || (names != nullptr && !chosen)) return -1;
  std::snprintf(why, whySize, "it cannot be made");
  return Guarded(kLog, [&] {
    const auto keeper = Keeper();
    return Verdict(keeper ? work(*keeper, chosen ? &*chosen : nullptr) : "certificates are not started", why,
                   whySize);
  });
}

constexpr SdkKitPieceCheck kPieces{BeginPieces, FeedPiece, EndPieces};

}  // namespace
}  // namespace sdkkit

int SdkKitCertificate_Start(const SdkKitCertificateOptions* options) {
  using namespace sdkkit;
  return Guarded(kLog, [&] {
    const auto chosen = options != nullptr ? ReadRecord(options) : SdkKitCertificateOptions{};
    if (!chosen) throw std::invalid_argument("no start: the options have an unknown size");
    const auto keeper = std::make_shared<CertificateKeeper>(*chosen);
    keeper->Choose();
    SdkAPiSer_Cert_Set(keeper->inUse().c_str());
    SdkAPiSer_CertPassword_Set(keeper->passPhrase().c_str());
    const std::lock_guard lock(Place().mutex);
    Place().keeper = keeper;
    return 0;
  });
}

int SdkKitCertificate_Check(const char* path, char* why, size_t whySize) {
  using namespace sdkkit;
  if (path == nullptr || why == nullptr || whySize == 0) return -1;
  std::snprintf(why, whySize, "it cannot be checked");
  return Guarded(kLog, [&] {
    std::string fault = LoadFault(path, PassPhrase());
    if (fault.empty()) fault = DateFault(path);
    return Verdict(fault, why, whySize);
  });
}

const SdkKitPieceCheck* SdkKitCertificate_Pieces(void) { return &sdkkit::kPieces; }

int SdkKitCertificate_Take(const SdkKitUpload* upload, char* why, size_t whySize) {
  using namespace sdkkit;
  if (upload == nullptr || why == nullptr || whySize == 0) return -1;
  return Guarded(kLog, [&] {
    const auto keeper = Keeper();
    return Verdict(keeper ? keeper->Take(upload->path) : "certificates are not started", why, whySize);
  });
}

int SdkKitCertificate_Status(SdkKitCertificateStatus* status) {
  using namespace sdkkit;
  return Guarded(kLog, [&] {
    const auto keeper = Keeper();
    if (!keeper || !IsKnown(status)) return -1;
    SdkKitCertificateStatus told{};
    keeper->Fill(told);
    WriteRecord(told, status);
    return 0;
  });
}

int SdkKitCertificate_Info(const char* path, SdkKitCertificateInfo* info) {
  using namespace sdkkit;
  return Guarded(kLog, [&] {
    const auto keeper = Keeper();
    if (path == nullptr && !keeper) return -1;
    return Tell(path != nullptr ? path : keeper->inUse(), info);
  });
}

int SdkKitCertificate_Waiting(SdkKitCertificateInfo* info) {
  using namespace sdkkit;
  return Guarded(kLog, [&] {
    const auto keeper = Keeper();
    return keeper ? Tell(keeper->pending(), info) : -1;
  });
}

int SdkKitCertificate_Make(const SdkKitCertificateNames* names, char* why, size_t whySize) {
  using namespace sdkkit;
  return Refusable(names, why, whySize,
                   [](CertificateKeeper& keeper, const auto* chosen) { return keeper.Make(chosen); });
}

int SdkKitCertificate_Request(const SdkKitCertificateNames* names, char* pem, size_t size, char* why,
                              size_t whySize) {
  using namespace sdkkit;
  if (pem == nullptr) return -1;
  return Refusable(names, why, whySize,
                   [&](const CertificateKeeper& keeper, const auto* chosen) -> std::string {
                     std::string request;
                     if (std::string fault = keeper.Request(chosen, request); !fault.empty()) return fault;
                     if (request.size() >= size) return "it does not fit";
                     std::snprintf(pem, size, "%s", request.c_str());
                     return "";
                   });
}

int SdkKitCertificate_Discard(void) {
  using namespace sdkkit;
  return Guarded(kLog, [&] {
    const auto keeper = Keeper();
    return keeper && keeper->Discard() ? 0 : -1;
  });
}

void SdkKitCertificate_Stop(void) {
  const std::lock_guard lock(sdkkit::Place().mutex);
  sdkkit::Place().keeper = nullptr;
}
