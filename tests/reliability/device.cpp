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

namespace reliability {
namespace {

std::atomic<long> errorLines{0};
std::atomic<long> tokens{0};
std::string folder;

template <std::size_t kSize>
void Fill(char (&dst)[kSize], const std::string& text) {
  dst[text.copy(dst, kSize - 1)] = '\0';
}

void Write(const std::string& name, const std::string& content) {
  std::ofstream(folder + "/" + name) << content;
}

int Login(LoginInfo* info) {
  Fill(info->token, "token-" + std::to_string(++tokens));
  return 0;
}

int Download(const char*, DownloadFileInfo* info) {
  Fill(info->name, "file.bin");
  Fill(info->path, folder + "/file.bin");
  return 0;
}

int DownloadSetting(const char*, DownloadSettingInfo* info) {
  Fill(info->name, "settings.bin");
  Fill(info->path, folder + "/file.bin");
  return 0;
}

int Preview(PreviewFrame* frame) {
  std::memset(frame->frame, 'p', kPreviewBytes);
  frame->length = kPreviewBytes;
  if (frame->state == 1) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  return 0;
}

int Describe(const char*, DeviceInfo* info) {
  Fill(info->model, "model");
  return 0;
}

int ListUnits(const char*, char* list) {
  std::strcpy(list, "[]");
  return 0;
}

int ListPrivileges(const char*, PrivList* list) {
  list->entries = static_cast<PrivEntry*>(std::calloc(2, sizeof(PrivEntry)));
  list->count = list->entries != nullptr ? 2 : 0;
  return 0;
}

int OnWebSocket(int event, const char* token, const char* data, int length) {
  return event == 1 ? WebSocketSendData(token, data, length) : 0;
}

void CountErrors(int level, const char*) { errorLines += level == 4; }

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

SdkAPISerHandle Table() {
  SdkAPISerHandle table{};
  table.AuthQueryCb = [](int* flag) { return *flag = SdkAPISer_AuthenticationSwitch_Get(), 0; };
  table.LoginCb = Login;
  table.LogOutCb = [] { return 0; };
  table.ChangeUserInfoCb = [](const char*, ChangeUserRequest*) { return 0; };
  table.ManageUserCb = [](const char*, ManageUserRequest*) { return 0; };
  table.DeviceInfoCb = Describe;
  table.CustomRestoreCb = [](const char*, CustomRestoreArg*) { return 0; };
  table.DeviceStatusCb = [](char* uptime) { return std::strcpy(uptime, "1"), 0; };
  table.DownloadLogFileCb = table.DownloadCustomCb = table.DownloadSceneFileCb = Download;
  table.DownloadEdidFileCb = table.DownloadImageFileCb = Download;
  table.DownloadSettingFileCb = DownloadSetting;
  table.PreviewCb = Preview;
  table.GetTxRxListCb = ListUnits;
  table.GetPrivJsonCb = ListPrivileges;
  table.SpecifyPrivCb = [](const char*, const char*, const char*) { return 0; };
  table.DeletePrivCb = [](const char*, const char*) { return 0; };
  const UploadSlot upload = [](const char*, int, UploadFileCtx*) { return 0; };
  table.UploadImageFileCb = table.UploadTxtFileCb = table.UploadCertFileCb = table.UploadZipFileCb = upload;
  table.UpgradeCb = [](const char*, UploadFileCtx*) { return 0; };
  table.WebSocketCb = OnWebSocket;
  return table;
}

Ports Start(bool authentication) {
  SdkApiSer_Printf(CountErrors);
  SdkAPiSer_Cert_Set((folder + "/server.pem").c_str());
  SdkAPiSer_CertPassword_Set("open sesame");
  SdkAPiSer_DocumentRoot_Set((folder + "/www").c_str());
  SdkAPISer_WebsocketUrl_Set("/ws");
  SdkAPISer_AuthenticationSwitch_Set(authentication ? 1 : 0);
  const SdkAPISerHandle table = Table();
  for (int attempt = 0; attempt < 10; ++attempt) {
    const Ports ports{integration::FreePort(), integration::FreePort()};
    SdkAPISer_Port_Set(ports.http, ports.https);
    SdkAPISer_Init();
    if (SdkAPISer_Start(&table) == 0) return ports;
  }
  throw std::runtime_error("the server does not start");
}

long ErrorLines() { return errorLines.load(); }

}  // namespace reliability
