// The certificate of the HTTPS server: the one in use, and the uploaded one that waits for the next start.
#pragma once

namespace sim {

// Without HTTPS uploads are kept all the same: for the start that has it.
void StartCertificates(bool https);

}  // namespace sim
