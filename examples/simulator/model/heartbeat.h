// Whether the device still does what it does every second.
#pragma once

namespace sim {

// It has done it once more.
void Beat();

// False once it has not for so long that nothing of it can be expected any more.
bool BeatsStill();

}  // namespace sim
