// Who did what, as a record beside its line in the log.
#pragma once

#include <string>
#include <string_view>

#include "sdkapi/extension.h"
#include "sdkapi/kit_audit.h"

namespace sdkkit {

// What an audit line is about. A null user or address is that of the request that this thread serves.
struct Act {
  const char* action;
  SdkKitAuditOutcome outcome = kKitAuditDone;
  const char* object = "";
  const char* target = "";
  const char* reason = "";
  const char* user = nullptr;
  const char* address = nullptr;
};

// Gives the act to the host's hook.
void TellAct(const char* subject, const Act& act);

// Notes who asks by the request that this thread serves: for acts whose own place knows no user.
void NoteRequester(const SdkAPIExtRequest& request, std::string_view user);
// Whom it noted for this request; empty for another one.
std::string RequesterOf(const SdkAPIExtRequest& request);

}  // namespace sdkkit
