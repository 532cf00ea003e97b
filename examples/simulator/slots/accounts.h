// The accounts: the slots around logins, and who may use which route.
#pragma once

#include <cstdint>
#include <string>

#include "sdkapi/sdkapi.h"

namespace sim {

struct AccountOptions {
  bool noAuth = false;
  uint32_t idleSeconds = 43200;
  std::string firstPassword;  // empty: "admin", to be changed at the first login
  std::string hostNames;      // separated by commas
};

// Opens the users in the device's database; makes the first administrator on an empty one.
void StartAccounts(const AccountOptions& options);
void StopAccounts();

// Puts the slots into the host table.
void FillAccounts(SdkAPISerHandle& table);
// Has the rights judged before every slot of the table; the last that is done with it.
void GuardSlots(SdkAPISerHandle& table);

}  // namespace sim
