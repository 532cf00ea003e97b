// The accounts: the slots around logins, and who may use which route.
#include "slots/accounts.h"

#include <sdkapi/kit_accounts.h>

#include <array>
#include <stdexcept>

#include "store/database.h"

namespace sim {
namespace {

constexpr uint32_t kWriters = kKitRole1 | kKitRole2;

// What differs from the kit's own rows: exports without users are for everybody, and what others did is
// nothing for viewers.
constexpr std::array kRights{
    SdkKitRight{"/download/setting", nullptr, kKitEveryUser, 0},
    SdkKitRight{"/api/v1/settings/export", nullptr, kKitEveryUser, 0},
    SdkKitRight{"/log", nullptr, kWriters, 0},
    SdkKitRight{"/api/v1/log", nullptr, kWriters, 0},
    SdkKitRight{"/sim/certificates", "POST", kKitRole1, 0},
    SdkKitRight{"/sim/users*", nullptr, kKitRole1, 0},
    SdkKitRight{"/sim/sessions", nullptr, kKitEveryUser, 0},
    SdkKitRight{"/sim/me", nullptr, kKitEveryUser, kKitBeforeChange},
};

}  // namespace

void StartAccounts(const AccountOptions& options) {
  SdkKitAccountsOptions accounts{};
  accounts.size = sizeof accounts;
  accounts.connection = TheDatabase().connection();
  accounts.noAuthentication = options.noAuth ? 1 : 0;
  accounts.rights = kRights.data();
  accounts.rightCount = kRights.size();
  accounts.rightSize = sizeof(SdkKitRight);
  accounts.hostNames = options.hostNames.c_str();
  accounts.firstPasswordStays = options.firstPassword.empty() ? 0 : 1;
  accounts.firstPassword = options.firstPassword.empty() ? "admin" : options.firstPassword.c_str();
  accounts.idleSeconds = options.idleSeconds;
  if (SdkKitAccounts_Start(&accounts) != 0) throw std::runtime_error("the users cannot be opened");
}

void StopAccounts() { SdkKitAccounts_Stop(); }

void FillAccounts(SdkAPISerHandle& table) { SdkKitAccounts_Fill(&table); }

void GuardSlots(SdkAPISerHandle& table) { SdkKitAccounts_Guard(&table); }

}  // namespace sim
