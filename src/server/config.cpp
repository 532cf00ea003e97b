// The setters of the server's configuration and the texts they fill.
#include "server/config.h"

#include <cstdio>

#include "base/text.h"
#include "sdkapi/server.h"

namespace sdkapi {
namespace {

using ConfigText = char[kConfigTextSize];

ConfigText s_HttpHttpsPort;
ConfigText s_CertPath;
ConfigText s_CertPassword;
ConfigText s_DocumentRootPath;
ConfigText s_WebsocketUrl;

int Set(ConfigText& value, const char* text) {
  if (text == nullptr) return -1;
  CopyText(value, text);
  return 0;
}

}  // namespace

const char* ListeningPorts() { return s_HttpHttpsPort; }
const char* CertificatePath() { return s_CertPath; }
char* GetCertPassword() { return s_CertPassword; }
const char* DocumentRootPath() { return s_DocumentRootPath; }
const char* WebsocketUrl() { return s_WebsocketUrl; }

}  // namespace sdkapi

int SdkAPISer_Port_Set(int httpPort, int httpsPort) {
  // The trailing "s" is the web server's mark of a TLS port.
  char(&ports)[sdkapi::kConfigTextSize] = sdkapi::s_HttpHttpsPort;
  if (httpsPort >= 1 && httpPort >= 1) {
    std::snprintf(ports, sizeof ports, "%d,%ds", httpPort, httpsPort);
  } else if (httpsPort >= 1) {
    std::snprintf(ports, sizeof ports, "%ds", httpsPort);
  } else {
    std::snprintf(ports, sizeof ports, "%d", httpPort >= 1 ? httpPort : 80);
  }
  return 0;
}

int SdkAPiSer_Cert_Set(const char* certPath) { return sdkapi::Set(sdkapi::s_CertPath, certPath); }

int SdkAPiSer_CertPassword_Set(const char* password) { return sdkapi::Set(sdkapi::s_CertPassword, password); }

int SdkAPiSer_DocumentRoot_Set(const char* path) { return sdkapi::Set(sdkapi::s_DocumentRootPath, path); }

int SdkAPISer_WebsocketUrl_Set(const char* url) { return sdkapi::Set(sdkapi::s_WebsocketUrl, url); }

// Kept in the interface on purpose; the server listens on all interfaces.
int SdkAPISer_Bind_Networkcard_Set(const char* /*name*/) { return 0; }
