// How the console's files are sent: asked for again each time, and shown in no other page.
#pragma once

namespace sim {

// Before the server's start; throws when the web server does not take it.
void SetConsoleHeaders();

}  // namespace sim
