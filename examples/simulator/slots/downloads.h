// The download slots' own files.
#pragma once

namespace sim {

// Draws the logo that is served until one is uploaded.
void PrepareBuiltInLogo();

}  // namespace sim
