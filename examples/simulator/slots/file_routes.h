// The device's own file routes: a list, thumbnails, and a note that clients leave and fetch.
#pragma once

namespace sim {

// Registers /sim/files, /sim/picture, /sim/upload and /sim/download; call it after each start of the server.
void RegisterFileRoutes();

}  // namespace sim
