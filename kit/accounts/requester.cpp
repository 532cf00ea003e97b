// What is noted by thread: a worker serves one request at a time.
#include "accounts/requester.h"

#include <string>

#include "base/request.h"

namespace sdkkit::accounts {
namespace {

struct Noted {
  uint64_t session = 0;
  int32_t port = 0;
  std::string address;
  std::string route;
};
thread_local Noted t_noted;

bool IsServedStill() {
  const SdkAPIExtRequest request = CurrentRequest();
  return request.size != 0 && request.port == t_noted.port && request.address == t_noted.address &&
         request.route == t_noted.route;
}

}  // namespace

void NoteSession(const SdkAPIExtRequest& request, uint64_t session) {
  t_noted = {session, request.port, request.address, request.route};
}

// On threads that serve no request nothing was noted.
void RequireRequester(const Sessions& sessions) {
  if (t_noted.session != 0 && IsServedStill() && !sessions.Has(t_noted.session)) throw RequesterGone();
}

void ReleaseRequester() { t_noted.session = 0; }

}  // namespace sdkkit::accounts
