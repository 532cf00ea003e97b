// A self-signed certificate for 127.0.0.1 with its private key, made for one test run.
#pragma once

#include <string>

namespace integration {

// PEM texts; the key is encrypted when a pass phrase is given.
struct Certificate {
  std::string certificate;
  std::string key;
};

enum class KeyKind { kRsa, kElliptic };

Certificate MakeCertificate(const std::string& passPhrase, const std::string& name = "device under test",
                            KeyKind kind = KeyKind::kRsa);

}  // namespace integration
