// The one check before every slot and route.
#pragma once

#include <string_view>

namespace sdkkit::accounts {

// Whether the request that this thread serves may go on; else the log has an audit line that says who and
// why.
bool MayGoOn(std::string_view token);

// The same for an upload: it changes something, so it needs what a POST needs, by whatever method it comes.
bool MayUpload(std::string_view token);

// Whether any table is guarded.
bool IsGuarded();

}  // namespace sdkkit::accounts
