// The uploads that the device takes: their kinds, limits and content, and who may.
#pragma once

#include "sdkapi/sdkapi.h"

namespace sim {

inline constexpr const char* kBuiltInLogo = "export/logo.jpg";  // until one is uploaded
inline constexpr const char* kPortCertificate = "tls/ieee802_1x.pem";

// Call them before the server's start, and before its stop.
void StartUploads();
void StopUploads();

// Puts the upload slots, and the download slots that give back what they stored, into the table.
void FillUploadSlots(SdkAPISerHandle& table);

}  // namespace sim
