// A host's way to the web server's options.
#include "sdkapi/extension.h"

#include "server/lifecycle.h"
#include "server/log.h"
#include "server/option_overrides.h"
#include "server/refusal.h"

int SdkAPIExt_Option_Set(const char* key, const char* value) {
  using namespace sdkapi;
  const char* const name = key != nullptr ? OptionName(key) : nullptr;
  if (name == nullptr) return Refuse(kExtensionLog.error(), __func__, "option unknown");
  if (!ServerIsStopped()) return Refuse(kExtensionLog.error(), __func__, "the server runs");
  const char* const reason = SetOverride(name, value);
  return reason == nullptr ? 0 : Refuse(kExtensionLog.error(), __func__, reason);
}
