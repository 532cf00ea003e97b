// The settings as one archive: which documents and files they are made of.
#pragma once

#include <cstddef>

#include "sdkapi/sdkapi.h"

namespace sim {

// Bytes of an uploaded archive: what the kit says of the bounds below, known when the upload rows are made.
inline constexpr size_t kSettingsLimit = size_t{516} << 20;

// Declares the settings, and finishes an import or a restore that was interrupted; the database is open by
// then.
void StartSettings();
void StopSettings();

// Puts the export and the restore into the host table.
void FillSettings(SdkAPISerHandle& table);

}  // namespace sim
