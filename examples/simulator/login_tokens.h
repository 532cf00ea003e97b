// The tokens of logins, and the lock-out after wrong passwords. Nothing of it outlives the process.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sim {

// Seconds until a name may try again; 0 when it may now.
int64_t LockedSeconds(const std::string& name);
void NoteFailure(const std::string& name);

// A new token for a user whose password was right; earlier failures are forgotten.
std::string RememberToken(const std::string& name);

// The name of the user who logged in with a token.
std::optional<std::string> OwnerOfToken(std::string_view token);

void RenameTokens(const std::string& from, const std::string& to);
void EndTokensOf(const std::string& name);

// Forgets tokens whose login the library has ended.
void ForgetEndedLogins();
void ForgetAllLogins();

}  // namespace sim
