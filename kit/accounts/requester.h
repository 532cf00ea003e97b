// The login that the request of this thread came with, and whether it is still there.
#pragma once

#include <stdexcept>

#include "accounts/sessions.h"
#include "sdkapi/extension.h"

namespace sdkkit::accounts {

// It has ended before what was asked for was done.
class RequesterGone : public std::runtime_error {
 public:
  RequesterGone() : std::runtime_error("the login that asks has ended") {}
};

// Notes the login whose rights were judged for a request; 0 without one.
void NoteSession(const SdkAPIExtRequest& request, uint64_t session);

// Throws RequesterGone where a login was noted for the request that this thread serves, and has ended since.
// Asked under the connection's lock, under which users and their logins go: who was deleted, or has another
// role, leaves nothing behind that was asked for before.
void RequireRequester(const Sessions& sessions);

// A request that ends its own login may go on.
void ReleaseRequester();

}  // namespace sdkkit::accounts
