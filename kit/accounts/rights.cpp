// The kit's own rows, and the search.
#include "accounts/rights.h"

#include <algorithm>

#include "sdkapi/kit_accounts.h"

namespace sdkkit::accounts {
namespace {

bool FitsRoute(std::string_view pattern, std::string_view route) {
  if (!pattern.ends_with('*')) return pattern == route;
  pattern.remove_suffix(1);
  return route.starts_with(pattern);
}

bool Fits(const Right& row, std::string_view route, std::string_view method) {
  return (row.method.empty() || row.method == method) && FitsRoute(row.route, route);
}

}  // namespace

Rights::Rights(std::vector<Right> rows, uint32_t administrators, uint32_t writers) : rows_(std::move(rows)) {
  const Right own[] = {
      {"/dev_info", "", kKitEveryUser, kKitBeforeChange},
      {"/getdevicetime", "", kKitEveryUser, kKitBeforeChange},
      {"/change/password", "", kKitEveryUser, kKitBeforeChange},
      {"/change/usrorpasswd", "", kKitEveryUser, kKitBeforeChange},
      {"/createuser", "", administrators, 0},
      {"/deleteuser", "", administrators, 0},
      // A link in somebody's page would be enough where no token is asked for, and so would a HEAD, which
      // browsers send for every page without its origin.
      {"/custom_restore", "GET", administrators, kKitChanges | kKitNeedsLogin},
      {"/custom_restore", "HEAD", administrators, kKitChanges | kKitNeedsLogin},
      {"/custom_restore", "", administrators, 0},
      {"/specifypriv", "", writers, kKitChanges},
      {"/delete_priv", "", writers, kKitChanges},
      {"/api/v1/fw_upload", "", administrators, 0},
      {"/upload/sub/upgrade", "", administrators, 0},
      {"/upload/setting", "", administrators, 0},
      {"/api/v1/settings/*", "", administrators, 0},
      {"/download/setting", "", administrators, 0},
      {"/api/v1/security/*", "", administrators, 0},
      {"/upload/security", "", administrators, 0},
      {"/upload/sub/security", "", administrators, 0},
      {"/preview", "", kKitEverybody, 0},
      {"/stream", "", kKitEverybody, 0},
      {"/download/logo", "", kKitEverybody, 0},
      {"*", "GET", kKitEveryUser, 0},
      {"*", "HEAD", kKitEveryUser, 0},
      {"*", "", writers, 0},
  };
  rows_.insert(rows_.end(), std::begin(own), std::end(own));
}

const Right& Rights::Find(std::string_view route, std::string_view method) const {
  if (route.ends_with('$')) route.remove_suffix(1);
  return *std::ranges::find_if(rows_, [&](const Right& row) { return Fits(row, route, method); });
}

bool IsReading(std::string_view method) { return method == "GET" || method == "HEAD"; }

}  // namespace sdkkit::accounts
