// The values that the host's setters left, for options and start.
#pragma once

#include <cstddef>

namespace sdkapi {

constexpr std::size_t kConfigTextSize = 128;

// All point at the module's buffers: a later setter call shows through.
const char* ListeningPorts();
const char* CertificatePath();
char* GetCertPassword();
const char* DocumentRootPath();
const char* WebsocketUrl();

}  // namespace sdkapi
