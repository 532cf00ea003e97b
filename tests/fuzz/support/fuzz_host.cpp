// A host that checks what the library hands it, and the library's server running in this process.
#include "fuzz_host.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "server/lifecycle.h"
#include "test_host.h"

namespace fuzz {
namespace {

using sdktest::TestHost;
using sdktest::UploadStep;

thread_local int result = 0;
thread_local Uploads uploads;
bool manyUploads = false;
int port = 0;
std::string folder;

template <std::size_t kSize>
bool Ends(const char (&text)[kSize]) {
  return std::memchr(text, '\0', kSize) != nullptr;
}

template <std::size_t kSize>
void Fill(char (&dst)[kSize], std::string_view text) {
  text.copy(dst, kSize - 1);
}

template <class Context>
int Collect(const Context& ctx) {
  FUZZ_CHECK(ctx.length >= 0 && ctx.length <= int64_t{sizeof ctx.data});
  FUZZ_CHECK(Ends(ctx.name) && Ends(ctx.fileName));
  FUZZ_CHECK(ctx.pieceState >= 0 && ctx.pieceState <= 2);
  FUZZ_CHECK(ctx.noFileName == 0 || ctx.noFileName == 1);
  if (manyUploads && uploads.finals != 0) uploads = {};
  FUZZ_CHECK(uploads.finals == 0);
  if (ctx.endFlag != 0) {
    FUZZ_CHECK(ctx.endFlag == 1 && ctx.length == 0);
    ++uploads.finals;
  } else if (ctx.pieceState == 0) {
    FUZZ_CHECK(ctx.length == 0);
    ++uploads.found;
  } else {
    FUZZ_CHECK(uploads.found > 0);
    uploads.content.append(ctx.data, static_cast<std::size_t>(ctx.length));
  }
  return result;
}

void CheckUsers(TestHost& host) {
  host.authQuery = [](int* flag) { return *flag = SdkAPISer_AuthenticationSwitch_Get(), 0; };
  host.login = [](LoginInfo& info) {
    FUZZ_CHECK(Ends(info.username) && Ends(info.password));
    FUZZ_CHECK(info.token[0] == '\0' && info.wizard[0] == '\0' && info.code == 0);
    Fill(info.token, kToken);
    if (result != 0) info.code = static_cast<uint32_t>(result);
    return result == -1 ? -1 : 0;
  };
  host.changeUser = [](ChangeUserRequest& request) {
    FUZZ_CHECK(Ends(request.username) && Ends(request.newusername));
    FUZZ_CHECK(Ends(request.newpassword) && Ends(request.oldpassword));
    FUZZ_CHECK(request.changeType >= 0 && request.changeType <= 2);
    return result;
  };
  host.manageUser = [](ManageUserRequest& request) {
    FUZZ_CHECK(Ends(request.username) && Ends(request.password));
    FUZZ_CHECK(request.action == 0 || request.action == 1);
    return result;
  };
}

void CheckDevice(TestHost& host) {
  host.deviceInfo = [](DeviceInfo& info) { return Fill(info.model, "model"), result; };
  host.deviceStatus = [](char* uptime) { return std::memset(uptime, '9', kDeviceUptimeSize), result; };
  host.customRestore = [](CustomRestoreArg& arg) {
    FUZZ_CHECK(arg.code == 16);
    return result;
  };
  host.txRxList = [](char* list) { return std::strcpy(list, "[]"), result; };
  host.privJson = [](PrivList& list) {
    list.count = 1;
    list.entries = sdktest::AllocatePrivEntries(1);
    return result;
  };
  host.specifyPriv = [](const std::string& hostname, const std::string& file) {
    FUZZ_CHECK(hostname.size() < 128 && file.size() < 256);
    return result;
  };
  host.deletePriv = [](const std::string& file) {
    FUZZ_CHECK(file.size() < 256);
    return result;
  };
}

void CheckTransfers(TestHost& host) {
  host.download = [](DownloadFileInfo& info) {
    Fill(info.name, "file");
    Fill(info.path, folder + "/file");
    return result;
  };
  host.downloadSetting = [](DownloadSettingInfo& info) {
    FUZZ_CHECK(Ends(info.method));
    Fill(info.name, "file");
    Fill(info.path, folder + "/absent");
    return result;
  };
  host.preview = [](PreviewFrame& frame) {
    static thread_local int left = 0;
    FUZZ_CHECK(Ends(frame.hostname) && frame.state >= 0 && frame.state <= 2);
    if (frame.state == 0) left = 3;
    frame.length = 100;
    return result != 0 ? result : --left < 0;
  };
  host.upload = [](const UploadStep& step, UploadFileCtx& ctx) {
    FUZZ_CHECK(step.funcId >= -1 && step.funcId <= 8);
    return Collect(ctx);
  };
  host.customUpload = [](const UploadStep& step, UploadCustomCtx& ctx) {
    FUZZ_CHECK(step.slot == "CustomUpload");
    return Collect(ctx);
  };
  host.customDownload = [](mg_connection*, CustomDownloadInfo& info) {
    Fill(info.downloadName, "file");
    Fill(info.filePath, folder + "/file");
    return 0;
  };
}

void CheckMessages(TestHost& host) {
  host.customGetPost = [](mg_connection* conn, CustomReqInfo& request) {
    FUZZ_CHECK((request.body == nullptr) == (request.bodyLength == 0) || request.bodyLength <= 0);
    FUZZ_CHECK(request.method >= 0 && request.method <= 2);
    char value[64];
    GetHttpUrlParam(conn, "a", value, sizeof value);
    SendReponseInfo(conn, 200, 1, "{}", 2);
    return result;
  };
  host.webSocket = [](int event, const std::string& token, const std::string& data) {
    FUZZ_CHECK(event >= 0 && event <= 2);
    if (event == 1) {
      WebSocketSendData(token.c_str(), data.c_str(), static_cast<int>(data.size()));
      WebSocketSendDataALL(data.c_str(), static_cast<int>(data.size()));
    }
    return result;
  };
}

void FillHost() {
  TestHost& host = TestHost::Get();
  host.everyCall = [](const sdktest::Call& call) {
    FUZZ_CHECK(call.token.size() < 1024);
    FUZZ_CHECK(call.slot != "WebSocketCb without a NUL");
    return 0;
  };
  CheckUsers(host);
  CheckDevice(host);
  CheckTransfers(host);
  CheckMessages(host);
  host.Settle();
}

int FreePort() {
  const int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  socklen_t length = sizeof address;
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  FUZZ_CHECK(bind(fd, generic, length) == 0 && getsockname(fd, generic, &length) == 0);
  close(fd);
  return ntohs(address.sin_port);
}

void MakeFolder() {
  char name[] = "/tmp/sdkapi-fuzz-XXXXXX";
  FUZZ_CHECK(mkdtemp(name) != nullptr && chdir(name) == 0);
  folder = name;
  std::filesystem::create_directory(folder + "/www");
  std::ofstream(folder + "/file") << std::string(4000, 'f');
  std::atexit([] { std::filesystem::remove_all(folder); });
}

mg_context* Start() {
  MakeFolder();
  SdkApiSer_Printf([](int level, const char* text) {
    FUZZ_CHECK((level == 1 || level == 4) && std::strlen(text) < 2112);
  });
  SdkAPiSer_DocumentRoot_Set((folder + "/www").c_str());
  SdkAPISer_WebsocketUrl_Set("/ws");
  FillHost();
  const SdkAPISerHandle table = TestHost::Table();
  bool running = false;
  for (int attempt = 0; attempt < 10 && !running; ++attempt) {
    port = FreePort();
    SdkAPISer_Port_Set(port, 0);
    SdkAPISer_Init();
    running = SdkAPISer_Start(&table) == 0;
  }
  FUZZ_CHECK(running);
  SdkAPISer_Custom_Get_Post_Api_Add("/custom/request", TestHost::CustomGetPost);
  SdkAPISer_Custom_Upload_Api_Add("/custom/upload", TestHost::CustomUpload);
  SdkAPISer_Custom_Download_Api_Add("/custom/download", TestHost::CustomDownload);
  return sdkapi::GetMgContext();
}

}  // namespace

void Fail(const char* expression, const char* file, int line) {
  std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, expression);
  std::abort();
}

mg_context* Server() {
  static mg_context* const context = Start();
  return context;
}

int Port() {
  Server();
  return port;
}

void Authenticate(bool on) {
  Server();
  SdkAPISer_AuthenticationSwitch_Set(on ? 1 : 0);
  if (!on || GetLoginHandle(kToken) != nullptr) return;
  SetResult(0);
  Serve("POST /api/v1/auth/login HTTP/1.1\r\nContent-Length: 2\r\n\r\n{}");
  FUZZ_CHECK(GetLoginHandle(kToken) != nullptr);
}

std::string_view Serve(std::string_view bytes) {
  uploads = {};
  FuzzServe(Server(), bytes.data(), bytes.size());
  std::size_t size = 0;
  const char* const text = FuzzReply(&size);
  return {text, size};
}

void SetResult(int next) { result = next; }

void StartUploadsAfterFinalCalls() { manyUploads = true; }

Uploads& Collected() { return uploads; }

}  // namespace fuzz
