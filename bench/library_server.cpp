// The library with a host that does next to nothing. It calls only what the first version exports, so that
// other revisions of the library can be measured below it.
#include <sdkapi/sdkapi.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "replies.h"
#include "server.h"

namespace {

std::string folder;
std::atomic<bool> sending{false};

// A guest gets no token, so that a run of many logins does not fill the registry.
int Login(LoginInfo* info) {
  if (std::strcmp(info->username, "guest") == 0) return 0;
  const char* const token = info->username[0] != '\0' ? info->username : bench::kToken;
  std::snprintf(info->token, sizeof info->token, "%s", token);
  return 0;
}

int Device(const char* /*token*/, DeviceInfo* info) {
  std::strcpy(info->model, "BENCH");
  std::strcpy(info->security, "tls1.2");
  info->timeout = 300;
  return 0;
}

int Upload(const char* /*token*/, int /*funcId*/, UploadFileCtx* /*ctx*/) { return 0; }

int Download(const char* /*token*/, DownloadSettingInfo* info) {
  std::snprintf(info->path, sizeof info->path, "%s/%s", folder.c_str(), info->method);
  std::strcpy(info->name, "file");
  return 0;
}

int Preview(PreviewFrame* frame) {
  if (frame->state == 0) std::memset(frame->frame, 'p', bench::kPictureSize);
  frame->length = bench::kPictureSize;
  return 0;
}

// A number sends so many texts to all; the driver counts them. Anything else is echoed.
int WebSocket(int event, const char* token, const char* data, int length) {
  if (event != 1) return 0;
  const int count = std::atoi(data);
  if (count == 0) return WebSocketSendData(token, data, length);
  if (sending.exchange(true)) return 0;
  std::thread([count] {
    for (int i = 0; i < count; ++i) WebSocketSendDataALL(bench::kEventText, sizeof bench::kEventText - 1);
    sending = false;
  }).detach();
  return 0;
}

int Custom(mg_connection* /*conn*/, CustomReqInfo* /*request*/) { return 0; }

void AddRoutes(int count) {
  for (int i = 0; i < count; ++i) {
    SdkAPISer_Custom_Get_Post_Api_Add(("/bench/route" + std::to_string(i) + "$").c_str(), Custom);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const bench::Arguments arguments(argc, argv);
  folder = arguments.folder;
  SdkAPISerHandle table{};
  table.LoginCb = Login;
  table.DeviceInfoCb = Device;
  table.UploadImageFileCb = Upload;
  table.DownloadSettingFileCb = Download;
  table.PreviewCb = Preview;
  table.WebSocketCb = WebSocket;
  SdkAPISer_Port_Set(arguments.http, arguments.https);
  SdkAPiSer_Cert_Set(arguments.certificate.c_str());
  SdkAPiSer_DocumentRoot_Set(folder.c_str());
  SdkAPISer_AuthenticationSwitch_Set(1);
  SdkAPISer_Init();
  if (SdkAPISer_Start(&table) != 0) return 2;
  AddRoutes(arguments.routes);
  bench::WaitForEnd();
  SdkAPISer_Stop(nullptr);
  return 0;
}
