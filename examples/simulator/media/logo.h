// The logo that the device shows until one is uploaded.
#pragma once

namespace sim {

// Draws it into its file.
void DrawBuiltInLogo();

}  // namespace sim
