// The device's users: passwords and roles.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sdkapi/sdkapi.h"

namespace sim {

enum Role : int { kAdministrator = 1, kOperator = 2, kViewer = 3 };

struct User {
  std::string name;
  int role;
  int firstLogin;
};

// Makes the first administrator on an empty database. Without authentication every token is an
// administrator's.
void StartUsers(bool authenticate);

std::vector<User> ListUsers();
std::optional<User> FindUser(const std::string& name);

// The user of a login's token; nothing when the token is unknown to the device.
std::optional<User> UserForToken(std::string_view token);
bool MayWrite(std::string_view token);
bool IsAdministrator(std::string_view token);

// All users with their password hashes, for the settings archive.
nlohmann::json ExportUsers();
// The first administrator alone.
nlohmann::json FactoryUsers();
// An empty text for a list that StoreUsers takes, else what is wrong with it.
std::string UsersFault(const nlohmann::json& users);
// Replaces all users.
bool StoreUsers(const nlohmann::json& users);

// Slots of the host table.
int AnswerAuthQuery(int* flag);
int Login(LoginInfo* info);
int LogOut();
int ChangeUser(const char* token, ChangeUserRequest* request);
int ManageUser(const char* token, ManageUserRequest* request);

}  // namespace sim
