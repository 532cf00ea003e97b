// The host's options, checked and copied.
#pragma once

#include <memory>
#include <optional>

#include "accounts/accounts.h"

namespace sdkkit::accounts {

// What is wrong with them; null when nothing is.
const char* OptionsFault(const SdkKitAccountsOptions& options);

Settings SettingsOf(const SdkKitAccountsOptions& options);
Rights RightsOf(const SdkKitAccountsOptions& options);
std::unique_ptr<Database> OpenDatabase(const SdkKitAccountsOptions& options);

}  // namespace sdkkit::accounts
