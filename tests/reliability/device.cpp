// A small host for load and attack: every slot answers, tokens are made up, nothing is recorded.
#include "device.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "certificate.h"
#include "server.h"
#include "test_host.h"

namespace reliability {
namespace {

using sdktest::TestHost;

std::atomic<long> tokens{0};
std::string folder;

template <std::size_t kSize>
void Fill(char (&dst)[kSize], const std::string& text) {
  dst[text.copy(dst, kSize - 1)] = '\0';
}

void Write(const std::string& name, const std::string& content) {
  std::ofstream(folder + "/" + name) << content;
}

void FillHost() {
  TestHost& host = TestHost::Get();
  host.authQuery = [](int* flag) { return *flag = SdkAPISer_AuthenticationSwitch_Get(), 0; };
  host.login = [](LoginInfo& info) { return Fill(info.token, "token-" + std::to_string(++tokens)), 0; };
  host.deviceInfo = [](DeviceInfo& info) { return Fill(info.model, "model"), 0; };
  host.deviceStatus = [](char* uptime) { return std::strcpy(uptime, "1"), 0; };
  host.download = [](DownloadFileInfo& info) {
    Fill(info.name, "file.bin");
    Fill(info.path, folder + "/file.bin");
    return 0;
  };
  host.downloadSetting = [](DownloadSettingInfo& info) {
    Fill(info.name, "settings.bin");
    Fill(info.path, folder + "/file.bin");
    return 0;
  };
  host.preview = [](PreviewFrame& frame) {
    std::memset(frame.frame, 'p', kPreviewBytes);
    frame.length = kPreviewBytes;
    if (frame.state == 1) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return 0;
  };
  host.txRxList = [](char* list) { return std::strcpy(list, "[]"), 0; };
  host.privJson = [](PrivList& list) {
    list.entries = sdktest::AllocatePrivEntries(2);
    list.count = list.entries != nullptr ? 2 : 0;
    return 0;
  };
  host.webSocket = [](int event, const std::string& token, const std::string& data) {
    return event == 1 ? WebSocketSendData(token.c_str(), data.c_str(), static_cast<int>(data.size())) : 0;
  };
  host.Settle();
}

}  // namespace

const std::string& Folder() { return folder; }

void PrepareFolder() {
  folder = (std::filesystem::temp_directory_path() / "sdkapi-reliability-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) throw std::runtime_error("no temporary folder");
  std::filesystem::current_path(folder);  // the web server writes its error log here
  std::atexit([] { std::filesystem::remove_all(folder); });
  std::filesystem::create_directory(folder + "/www");
  Write("www/index.html", "front page");
  Write("file.bin", std::string(kFileBytes, 'f'));
  Write("secret.txt", "not below the document root");
  const integration::Certificate made = integration::MakeCertificate("open sesame");
  Write("server.pem", made.certificate + made.key);
}

Ports Start(bool authentication) {
  FillHost();
  SdkApiSer_Printf([](int, const char*) {});
  SdkAPiSer_Cert_Set((folder + "/server.pem").c_str());
  SdkAPiSer_CertPassword_Set("open sesame");
  SdkAPiSer_DocumentRoot_Set((folder + "/www").c_str());
  SdkAPISer_WebsocketUrl_Set("/ws");
  SdkAPISer_AuthenticationSwitch_Set(authentication ? 1 : 0);
  const SdkAPISerHandle table = TestHost::Table();
  for (int attempt = 0; attempt < 10; ++attempt) {
    const Ports ports{integration::FreePort(), integration::FreePort()};
    SdkAPISer_Port_Set(ports.http, ports.https);
    SdkAPISer_Init();
    if (SdkAPISer_Start(&table) == 0) return ports;
  }
  throw std::runtime_error("the server does not start");
}

}  // namespace reliability
