// An archive taken apart into a staging folder, everything in it judged.
#pragma once

#include <string>

#include "archive/change.h"
#include "archive/parts.h"

namespace sdkkit::archive {

// False for an archive that is refused; `why` then says what is wrong with it, or with the disk.
bool Unpack(const Parts& parts, const std::string& path, Staging& staging, std::string& why);

// Writes an export; false when something in it breaks the bounds of an import, or the disk refuses it.
bool Pack(const Parts& parts, const Method& method, TempFile& file, std::string& why);

}  // namespace sdkkit::archive
