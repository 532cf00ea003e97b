// The device's users: what of them the other parts ask for. The kit keeps them.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "sdkapi/kit_accounts.h"

namespace sim {

bool MayWrite(const std::string& token);
bool MayAdminister(const std::string& token);
// The logins that the token's user may see.
std::vector<SdkKitSession> ListSessions(const std::string& token);
// The number of the token's login; 0 where nobody has to log in.
uint64_t LoginOf(const std::string& token);

// {"users":[{"name","role","firstlogin"},...]}
nlohmann::json UsersBody();

// All users with their password hashes, for the settings archive.
nlohmann::json ExportUsers();
// The first administrator alone.
nlohmann::json FactoryUsers();
// An empty text for a list that StoreUsers takes, else what is wrong with it.
std::string UsersFault(const nlohmann::json& users);
// Replaces all users.
bool StoreUsers(const nlohmann::json& users);

}  // namespace sim
