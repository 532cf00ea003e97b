// The preview streams: which viewer watches which source.
#pragma once

namespace sim {

void StartPreviews();

// Waiting calls return at once, later ones are refused; close calls are still expected.
void StopPreviews();

}  // namespace sim
