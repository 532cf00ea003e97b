// The device's own routes about users and logins.
#pragma once

namespace sim {

// Registers /sim/me, /sim/sessions and /sim/users; call it after each start of the server.
void RegisterAccountRoutes();

}  // namespace sim
