// The media half of the device: the slots that move files and pictures, and their life cycle.
#pragma once

#include "sdkapi/sdkapi.h"

namespace sim {

// Slots of the host table; their results follow sdkapi/host.h.
int DownloadLog(const char* token, DownloadFileInfo* info);
int DownloadCustomFile(const char* token, DownloadFileInfo* info);

int PrivilegeList(const char* token, PrivList* list);
int BindPrivilege(const char* token, const char* hostname, const char* file);
int DeletePrivilege(const char* token, const char* file);

// Registers the file routes below /sim; call it after each start of the server.
void RegisterFileRoutes();

// Call StartMedia before the server starts, with the working directory set to the data folder and the
// database open.
void StartMedia();

// Call StopMedia before the server stops: waiting preview calls return at once, running uploads are refused.
void StopMedia();

}  // namespace sim
