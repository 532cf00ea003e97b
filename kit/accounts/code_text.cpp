// Results about users in words.
#include <array>
#include <cstddef>

#include "accounts/accounts.h"

namespace sdkkit::accounts {
namespace {

// In the order of SdkKitUserCode.
constexpr std::array kCodeWords = {
    "",
    "wrong password",
    "weak password",
    "there is a user of this name",
    "there is no such user",
    "the last administrator stays one",
    "no possible name",
    "no such role",
    "too many wrong passwords",
    "too many users",
};

}  // namespace
}  // namespace sdkkit::accounts

const char* SdkKitAccounts_CodeText(int code) {
  using namespace sdkkit::accounts;
  if (code == kNotAuthorised) return "the role has no right to it";
  const auto index = static_cast<std::size_t>(code);
  return index < kCodeWords.size() ? kCodeWords[index] : "it failed";
}
