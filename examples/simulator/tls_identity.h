// The device's own certificate, made on first start.
#pragma once

#include <string>

namespace sim {

// Makes tls/server.pem with a key protected by the phrase in tls/passphrase, where they are missing. Returns
// the pass phrase.
std::string PrepareTlsIdentity();

}  // namespace sim
