// Builds the web server's option vector from the configuration.
#include "server/options.h"

#include <array>
#include <cstddef>
#include <cstring>

#include "base/text.h"
#include "sdkapi/server.h"
#include "server/config.h"
#include "server/option_overrides.h"

namespace sdkapi {
namespace {

constexpr std::size_t kOptionEntries = 126;
constexpr std::size_t kOwnOptions = 14;
static_assert(2 * (kOwnOptions + kMostOverrides) < kOptionEntries, "the vector ends with a NULL");

std::array<const char*, kOptionEntries> s_Options{};

// The value of an option that was added, or null.
const char* AddedValue(const char* key) {
  for (std::size_t i = 0; s_Options[i] != nullptr; i += 2) {
    if (std::strcmp(s_Options[i], key) == 0) return s_Options[i + 1];
  }
  return nullptr;
}

// Copies, so that a setter called after Init takes effect at the next Init only. The ports are not copied.
char documentRoot[kConfigTextSize];
char certificatePath[kConfigTextSize];

constexpr const char* kAdditionalHeaders =
    "Content-Security-Policy: frame-ancestors *;\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Strict-Transport-Security: max-age=63072000; includeSubdomains; preload";

class OptionWriter {
 public:
  OptionWriter() { s_Options.fill(nullptr); }

  // The last word is the host's.
  void Add(const char* key, const char* value) {
    const char* const override = OverrideOf(key);
    Append(key, override != nullptr ? override : value);
  }

  // What the host set beyond the options that were added.
  void AddTheRest() {
    for (const OptionOverride& override : Overrides()) {
      if (override.value != nullptr && AddedValue(override.key) == nullptr)
        Append(override.key, override.value);
    }
  }

 private:
  void Append(const char* key, const char* value) {
    s_Options[next_++] = key;
    s_Options[next_++] = value;
  }

  std::size_t next_ = 0;
};

}  // namespace

const char** GetOptionsParam() { return s_Options.data(); }

const char* OptionValue(const char* key) {
  const char* const value = AddedValue(key);
  return value != nullptr ? value : "";
}

}  // namespace sdkapi

int SdkAPISer_Init(void) {
  using namespace sdkapi;
  CopyText(documentRoot, DocumentRootPath());
  CopyText(certificatePath, CertificatePath());
  TakeOverrides();

  OptionWriter options;
  options.Add("document_root", documentRoot[0] != '\0' ? documentRoot : ".");
  options.Add("listening_ports", ListeningPorts());
  options.Add("request_timeout_ms", "10000");
  options.Add("error_log_file", "error.log");
  options.Add("enable_websocket_ping_pong", "yes");
  options.Add("websocket_timeout_ms", "60000");
  options.Add("enable_keep_alive", "yes");
  options.Add("keep_alive_timeout_ms", "60000");
  if (certificatePath[0] != '\0') options.Add("ssl_certificate", certificatePath);
  options.Add("ssl_protocol_version", "4");  // TLS 1.2 is the oldest accepted version
  // The list is fixed. OpenSSL 3 offers no 3DES, although it is named: the TLS scan holds what is offered.
  options.Add("ssl_cipher_list", "DES-CBC3-SHA:AES128-GCM-SHA256");
  options.Add("enable_auth_domain_check", "no");
  options.Add("additional_header", kAdditionalHeaders);
  options.Add("access_control_allow_origin", "");
  options.AddTheRest();
  return 0;
}
