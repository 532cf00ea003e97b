// Keys, self-signed certificates and signing requests that the device makes.
#pragma once

#include <cstdint>
#include <string>

#include "certificate/names.h"
#include "certificate/owned.h"

namespace sdkkit {

// A self-signed certificate with its new key, encrypted, as PEM. Throws std::runtime_error.
std::string MakeIdentity(const Subject& subject, std::uint32_t validDays, const std::string& passPhrase);

// A key as PEM, encrypted. Throws std::runtime_error.
std::string EncryptedKey(EVP_PKEY* key, const std::string& passPhrase);

// A signing request for a key, as PEM. Throws std::runtime_error.
std::string MakeRequest(const Subject& subject, EVP_PKEY* key);

// 32 random hexadecimal digits.
std::string MakePassPhrase();

}  // namespace sdkkit
