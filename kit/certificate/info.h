// What a certificate says.
#pragma once

#include <openssl/x509.h>

#include "sdkapi/kit_certificate.h"

namespace sdkkit {

// Fills all but the size.
void Describe(X509* certificate, SdkKitCertificateInfo& info);

}  // namespace sdkkit
