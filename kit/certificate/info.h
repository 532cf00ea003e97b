// What a certificate says.
#pragma once

#include <string>

#include "sdkapi/kit_certificate.h"

namespace sdkkit {

// Fills all but the size, with what the first certificate of a PEM text says. False without one.
bool Describe(const std::string& pem, SdkKitCertificateInfo& info);

}  // namespace sdkkit
