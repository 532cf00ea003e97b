// A host that uses all of the extension interface while its clients storm.
#pragma once

#include <string>

namespace integration {

// Options, hooks, slots and limits, for the next start; none of them keeps an ordinary client out.
void SwitchExtensionsOn();

// Uploads whose end was told, since then.
long EndedUploads();

// Whether a close frame's payload is one of those that the governor leads to.
bool IsGovernorsClose(const std::string& payload);

// One step of its thread: sends the text to somebody, ends the login of the token, or does something else, in
// turn.
void Govern(long number, const std::string& token, const std::string& text);

}  // namespace integration
