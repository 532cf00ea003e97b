// The device's own route about its certificates.
#pragma once

namespace sim {

// Registers /sim/certificates; call it after each start of the server.
void RegisterCertificateRoutes();

}  // namespace sim
