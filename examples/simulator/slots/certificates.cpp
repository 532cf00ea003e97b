// The certificates of HTTPS and of 802.1X: their start, and the rows of their uploads.
#include "slots/certificates.h"

#include <sdkapi/kit_certificate.h>

#include <charconv>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "model/device.h"
#include "sdkapi/extension.h"
#include "slots/slot_guard.h"
#include "store/files.h"
#include "store/paths.h"

namespace sim {
namespace {

int Refuse(char* why, size_t whySize, const char* reason) {
  std::snprintf(why, whySize, "%s", reason);
  return kRefused;
}

// A port as the "Port" header gives it: 1 to 65535 in decimal digits.
bool IsPortNumber(std::string_view text) {
  unsigned int port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  return error == std::errc() && end == text.data() + text.size() && port >= 1 && port <= 65535;
}

// Said before the file, the client gets 406; after the form it would be 500.
int CheckPort(const SdkKitUpload* upload, char* why, size_t whySize) {
  if (upload->extra == nullptr || IsPortNumber(upload->extra)) return 0;
  return Refuse(why, whySize, "the port is none");
}

// The port stands at the certificate's end, so that both are stored in one step.
int StorePortCertificate(const SdkKitUpload* upload, char* why, size_t whySize) {
  return Guarded([&] {
    auto pem = ReadFile(upload->path, kCertificateLimit);
    if (!pem) return Refuse(why, whySize, "it cannot be read");
    if (upload->extra != nullptr) *pem += std::string("\nPort: ") + upload->extra + '\n';
    return ReplaceFile(kPortCertificate, *pem) ? 0 : Refuse(why, whySize, "it cannot be stored");
  });
}

}  // namespace

void StartCertificates(bool https) {
  SdkKitCertificateOptions certificate{};
  certificate.size = sizeof certificate;
  certificate.folder = kTlsDir;
  certificate.commonName = kDeviceModel;
  certificate.onlyUploaded = https ? 0 : 1;
  if (SdkKitCertificate_Start(&certificate) != 0) throw std::runtime_error("no certificate can be used");
}

SdkKitUploadRow CertificateUpload(int funcId) {
  SdkKitUploadRow row{};
  row.family = kExtUploadCertificate;
  row.funcId = funcId;
  row.mostBytes = kCertificateLimit;
  row.pieces = SdkKitCertificate_Pieces();
  row.accept = SdkKitCertificate_Take;
  return row;
}

SdkKitUploadRow PortCertificateUpload() {
  SdkKitUploadRow row = CertificateUpload(kCertificate8021x);
  row.check = SdkKitCertificate_Check;
  row.begin = CheckPort;
  row.accept = StorePortCertificate;
  return row;
}

}  // namespace sim
