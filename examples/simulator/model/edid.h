// EDIDs as units have them: hexadecimal text.
#pragma once

#include <string>

namespace sim {

// A 1920x1080 display of this device's own make, with this number as its serial number.
std::string FactoryEdid(int number);

// An empty text for 128 or 256 bytes that the device takes, else what is wrong with them.
std::string EdidFault(const std::string& digits);

}  // namespace sim
