// Whether the server can use a PEM file: it is loaded as the server loads it, and shakes hands.
#pragma once

#include <string>

#include "certificate/owned.h"

namespace sdkkit {

// The longest PEM file that is looked at.
inline constexpr std::uint64_t kMostPemBytes = std::uint64_t{256} << 10;

// Why the server could not start with this file; empty when it could. The date is no reason: it stops no
// start.
std::string LoadFault(const std::string& path, const std::string& passPhrase);

// The same for certificate and key in memory, as far as that goes.
std::string MatchFault(X509* certificate, EVP_PKEY* key);

// Whether its time is over; empty when it is not.
std::string DateFault(const std::string& path);

// The first certificate of a PEM text; empty without one.
CertificatePtr CertificateOf(const std::string& pem);

}  // namespace sdkkit
