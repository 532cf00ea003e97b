// The certificate of the HTTPS server: the one in use, and the uploaded one that waits for the next start.
#include "slots/certificates.h"

#include <sdkapi/kit_certificate.h>

#include <stdexcept>

#include "model/device.h"
#include "store/paths.h"

namespace sim {

void StartCertificates(bool https) {
  SdkKitCertificateOptions certificate{};
  certificate.size = sizeof certificate;
  certificate.folder = kTlsDir;
  certificate.commonName = kDeviceModel;
  certificate.onlyUploaded = https ? 0 : 1;
  if (SdkKitCertificate_Start(&certificate) != 0) throw std::runtime_error("no certificate can be used");
}

}  // namespace sim
