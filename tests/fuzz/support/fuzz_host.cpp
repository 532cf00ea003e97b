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

namespace fuzz {
namespace {

thread_local int result = 0;
thread_local Uploads uploads;
bool manyUploads = false;
int port = 0;
std::string folder;

template <std::size_t kSize>
bool Ends(const char (&text)[kSize]) {
  return std::memchr(text, '\0', kSize) != nullptr;
}

bool IsToken(const char* token) { return token != nullptr && std::strlen(token) < 1024; }

template <std::size_t kSize>
void Fill(char (&dst)[kSize], std::string_view text) {
  text.copy(dst, kSize - 1);
}

int AuthQuery(int* flag) {
  *flag = SdkAPISer_AuthenticationSwitch_Get();
  return 0;
}

int Login(LoginInfo* info) {
  FUZZ_CHECK(Ends(info->username) && Ends(info->password));
  FUZZ_CHECK(info->token[0] == '\0' && info->wizard[0] == '\0' && info->code == 0);
  Fill(info->token, kToken);
  if (result != 0) info->code = static_cast<uint32_t>(result);
  return result == -1 ? -1 : 0;
}

int ChangeUser(const char* token, ChangeUserRequest* request) {
  FUZZ_CHECK(IsToken(token) && Ends(request->username) && Ends(request->newusername));
  FUZZ_CHECK(Ends(request->newpassword) && Ends(request->oldpassword));
  FUZZ_CHECK(request->changeType >= 0 && request->changeType <= 2);
  return result;
}

int ManageUser(const char* token, ManageUserRequest* request) {
  FUZZ_CHECK(IsToken(token) && Ends(request->username) && Ends(request->password));
  FUZZ_CHECK(request->action == 0 || request->action == 1);
  return result;
}

int Describe(const char* token, DeviceInfo* info) {
  FUZZ_CHECK(IsToken(token));
  Fill(info->model, "model");
  return result;
}

int Status(char* uptime) {
  std::memset(uptime, '9', kDeviceUptimeSize);
  return result;
}

int Restore(const char* token, CustomRestoreArg* arg) {
  FUZZ_CHECK(IsToken(token) && arg->code == 16);
  return result;
}

int Download(const char* token, DownloadFileInfo* info) {
  FUZZ_CHECK(IsToken(token));
  Fill(info->name, "file");
  Fill(info->path, folder + "/file");
  return result;
}

int DownloadSetting(const char* token, DownloadSettingInfo* info) {
  FUZZ_CHECK(IsToken(token) && Ends(info->method));
  Fill(info->name, "file");
  Fill(info->path, folder + "/absent");
  return result;
}

int Preview(PreviewFrame* frame) {
  static thread_local int left = 0;
  FUZZ_CHECK(Ends(frame->hostname) && frame->state >= 0 && frame->state <= 2);
  if (frame->state == 0) left = 3;
  frame->length = 100;
  return result != 0 ? result : --left < 0;
}

int UnitList(const char* token, char* list) {
  FUZZ_CHECK(IsToken(token));
  std::strcpy(list, "[]");
  return result;
}

int Privileges(const char* token, PrivList* list) {
  FUZZ_CHECK(IsToken(token));
  list->count = 1;
  list->entries = static_cast<PrivEntry*>(std::calloc(1, sizeof(PrivEntry)));
  return result;
}

int SpecifyPrivilege(const char* token, const char* hostname, const char* file) {
  FUZZ_CHECK(IsToken(token) && std::strlen(hostname) < 128 && std::strlen(file) < 256);
  return result;
}

int DeletePrivilege(const char* token, const char* file) {
  FUZZ_CHECK(IsToken(token) && std::strlen(file) < 256);
  return result;
}

template <class Context>
int Collect(Context* ctx) {
  FUZZ_CHECK(ctx->length >= 0 && ctx->length <= int64_t{sizeof ctx->data});
  FUZZ_CHECK(Ends(ctx->name) && Ends(ctx->fileName));
  FUZZ_CHECK(ctx->pieceState >= 0 && ctx->pieceState <= 2);
  FUZZ_CHECK(ctx->noFileName == 0 || ctx->noFileName == 1);
  if (manyUploads && uploads.finals != 0) uploads = {};
  FUZZ_CHECK(uploads.finals == 0);
  if (ctx->endFlag != 0) {
    FUZZ_CHECK(ctx->endFlag == 1 && ctx->length == 0);
    ++uploads.finals;
  } else if (ctx->pieceState == 0) {
    FUZZ_CHECK(ctx->length == 0);
    ++uploads.found;
  } else {
    FUZZ_CHECK(uploads.found > 0);
    uploads.content.append(ctx->data, static_cast<std::size_t>(ctx->length));
  }
  return result;
}

int Upload(const char* token, int funcId, UploadFileCtx* ctx) {
  FUZZ_CHECK(IsToken(token) && funcId >= -1 && funcId <= 8 && funcId == ctx->funcId);
  return Collect(ctx);
}

int Upgrade(const char* token, UploadFileCtx* ctx) {
  FUZZ_CHECK(IsToken(token));
  return Collect(ctx);
}

int CustomUpload(mg_connection* conn, UploadCustomCtx* ctx) {
  FUZZ_CHECK(ctx->conn == conn);
  return Collect(ctx);
}

int CustomRequest(mg_connection* conn, CustomReqInfo* request) {
  FUZZ_CHECK((request->body == nullptr) == (request->bodyLength == 0) || request->bodyLength <= 0);
  FUZZ_CHECK(request->method >= 0 && request->method <= 2);
  char value[64];
  GetHttpUrlParam(conn, "a", value, sizeof value);
  SendReponseInfo(conn, 200, 1, "{}", 2);
  return result;
}

int CustomDownload(mg_connection*, CustomDownloadInfo* info) {
  Fill(info->downloadName, "file");
  Fill(info->filePath, folder + "/file");
  return result;
}

int WebSocketEvent(int event, const char* token, const char* data, int length) {
  FUZZ_CHECK(event >= 0 && event <= 2 && IsToken(token) && length >= 0);
  FUZZ_CHECK(data[length] == '\0');
  if (event == 1) {
    WebSocketSendData(token, data, length);
    WebSocketSendDataALL(data, length);
  }
  return result;
}

SdkAPISerHandle Table() {
  SdkAPISerHandle table{};
  table.AuthQueryCb = AuthQuery;
  table.LoginCb = Login;
  table.LogOutCb = [] { return 0; };
  table.ChangeUserInfoCb = ChangeUser;
  table.ManageUserCb = ManageUser;
  table.DeviceInfoCb = Describe;
  table.CustomRestoreCb = Restore;
  table.DeviceStatusCb = Status;
  table.DownloadLogFileCb = table.DownloadCustomCb = table.DownloadSceneFileCb = Download;
  table.DownloadEdidFileCb = table.DownloadImageFileCb = Download;
  table.DownloadSettingFileCb = DownloadSetting;
  table.PreviewCb = Preview;
  table.GetTxRxListCb = UnitList;
  table.GetPrivJsonCb = Privileges;
  table.SpecifyPrivCb = SpecifyPrivilege;
  table.DeletePrivCb = DeletePrivilege;
  table.UploadImageFileCb = table.UploadTxtFileCb = table.UploadCertFileCb = table.UploadZipFileCb = Upload;
  table.UpgradeCb = Upgrade;
  table.WebSocketCb = WebSocketEvent;
  return table;
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
  const SdkAPISerHandle table = Table();
  bool running = false;
  for (int attempt = 0; attempt < 10 && !running; ++attempt) {
    port = FreePort();
    SdkAPISer_Port_Set(port, 0);
    SdkAPISer_Init();
    running = SdkAPISer_Start(&table) == 0;
  }
  FUZZ_CHECK(running);
  SdkAPISer_Custom_Get_Post_Api_Add("/custom/request", CustomRequest);
  SdkAPISer_Custom_Upload_Api_Add("/custom/upload", CustomUpload);
  SdkAPISer_Custom_Download_Api_Add("/custom/download", CustomDownload);
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
