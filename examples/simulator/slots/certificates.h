// The certificates of HTTPS and of 802.1X: their start, and the rows of their uploads.
#pragma once

#include "sdkapi/kit_upload.h"

namespace sim {

// Without HTTPS uploads are kept all the same: for the start that has it.
void StartCertificates(bool https);

// One for HTTPS, used after the next start; and one for 802.1X, kept with its port.
SdkKitUploadRow CertificateUpload(int funcId);
SdkKitUploadRow PortCertificateUpload();

}  // namespace sim
