// Passwords: Argon2id with the kit's own cost, a bounded number at once.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace sdkkit::accounts {

// Starts the library behind; throws when it cannot.
void StartPasswords();

// Nothing when too many hashes are being made or waited for: the caller tells its client to come again.
std::optional<std::string> HashPassword(std::string_view password);

enum class Match { kYes, kNo, kBusy };

// Against no hash it takes as long as against one.
Match MatchPassword(const std::optional<std::string>& hash, std::string_view password);

// Whether a hash is of exactly the kind that HashPassword makes: another one may cost any time and memory.
bool IsOwnHash(std::string_view hash);

// Of unmistakable characters, long enough that nobody guesses it, and strong by the library's rule.
std::string RandomPassword();

bool IsStrongPassword(const std::string& password);

// 1 to 31 of letters, digits, dot, underscore and dash.
bool IsName(std::string_view name);

}  // namespace sdkkit::accounts
