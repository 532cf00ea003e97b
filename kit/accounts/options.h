// The host's options, checked and copied.
#pragma once

#include <memory>
#include <vector>

#include "accounts/accounts.h"

namespace sdkkit::accounts {

// The host's record with rows of this kit's size.
class Options {
 public:
  // Throws std::invalid_argument, in words for a log, when they cannot be used.
  explicit Options(const SdkKitAccountsOptions* given);

  Settings ToSettings() const;
  Rights ToRights() const;
  std::unique_ptr<Database> OpenDatabase() const;

 private:
  uint32_t MostLogins() const;
  uint32_t MostEach() const;
  int Administrator() const;
  const char* RowsFault() const;
  const char* Fault() const;

  SdkKitAccountsOptions record_;
  std::vector<SdkKitRole> roles_;
  std::vector<SdkKitRight> rights_;
};

}  // namespace sdkkit::accounts
