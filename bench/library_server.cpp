// The library with a host that does next to nothing.
//
// usage: bench-library HTTP HTTPS CERTIFICATE FOLDER [ROUTES]
#include <sdkapi/sdkapi.h>
#include <signal.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include "replies.h"

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

// "go N" sends N texts to all; the driver counts them.
int WebSocket(int event, const char* /*token*/, const char* data, int /*length*/) {
  if (event != 1 || sending.exchange(true)) return 0;
  const int count = std::atoi(data);
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
  if (argc < 5) return 1;
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  folder = argv[4];
  SdkAPISerHandle table{};
  table.LoginCb = Login;
  table.DeviceInfoCb = Device;
  table.UploadImageFileCb = Upload;
  table.DownloadSettingFileCb = Download;
  table.PreviewCb = Preview;
  table.WebSocketCb = WebSocket;
  SdkAPISer_Port_Set(std::atoi(argv[1]), std::atoi(argv[2]));
  SdkAPiSer_Cert_Set(argv[3]);
  SdkAPiSer_DocumentRoot_Set(argv[4]);
  SdkAPISer_AuthenticationSwitch_Set(1);
  SdkAPISer_Init();
  if (SdkAPISer_Start(&table) != 0) return 2;
  if (argc > 5) AddRoutes(std::atoi(argv[5]));
  std::puts("ready");
  std::fflush(stdout);
  int received = 0;
  sigwait(&signals, &received);
  SdkAPISer_Stop(nullptr);
  return 0;
}
