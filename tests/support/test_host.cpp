// A host whose every function is scripted by the test: the slots and their records.
#include "test_host.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>

namespace sdktest {
namespace {

std::mutex mutex;
std::vector<std::string> calls;
std::vector<UploadStep> uploads;
HostScript script;

template <class Function, class... Arguments>
int Run(const Function& function, Arguments&&... arguments) {
  return function ? function(std::forward<Arguments>(arguments)...) : 0;
}

int AuthQuery(int* flag) {
  TestHost::Record("AuthQueryCb(" + std::to_string(*flag) + ")");
  return Run(script.authQuery, flag);
}

int Login(LoginInfo* info) {
  TestHost::Record("LoginCb(" + std::string(info->username) + ", " + info->password + ")");
  return Run(script.login, *info);
}

int LogOut() {
  TestHost::Record("LogOutCb()");
  return Run(script.logOut);
}

int ChangeUser(const char* token, ChangeUserRequest* request) {
  TestHost::Record("ChangeUserInfoCb(" + std::string(token) + ")");
  return Run(script.changeUser, *request);
}

int ManageUser(const char* token, ManageUserRequest* request) {
  TestHost::Record("ManageUserCb(" + std::string(token) + ")");
  return Run(script.manageUser, *request);
}

int DeviceInfoSlot(const char* token, DeviceInfo* info) {
  TestHost::Record("DeviceInfoCb(" + std::string(token) + ")");
  return Run(script.deviceInfo, *info);
}

int CustomRestore(const char* token, CustomRestoreArg* arg) {
  TestHost::Record("CustomRestoreCb(" + std::string(token) + ", " + std::to_string(arg->code) + ", " +
                   std::to_string(arg->reserved) + ")");
  return Run(script.customRestore, *arg);
}

int DeviceStatus(char* uptime) {
  TestHost::Record("DeviceStatusCb()");
  return Run(script.deviceStatus, uptime);
}

constexpr char kLogSlot[] = "DownloadLogFileCb";
constexpr char kCustomSlot[] = "DownloadCustomCb";
constexpr char kSceneSlot[] = "DownloadSceneFileCb";
constexpr char kEdidSlot[] = "DownloadEdidFileCb";
constexpr char kLogoSlot[] = "DownloadImageFileCb";

template <const char* kSlot>
int Download(const char* token, DownloadFileInfo* info) {
  TestHost::Record(std::string(kSlot) + "(" + token + ")");
  return Run(script.download, *info);
}

int DownloadSetting(const char* token, DownloadSettingInfo* info) {
  TestHost::Record("DownloadSettingFileCb(" + std::string(token) + ", " + info->method + ")");
  return Run(script.downloadSetting, *info);
}

int Preview(PreviewFrame* frame) {
  TestHost::Record("PreviewCb(" + std::string(frame->hostname) + ", " + std::to_string(frame->state) + ")");
  return Run(script.preview, *frame);
}

int TxRxList(const char* token, char* list) {
  TestHost::Record("GetTxRxListCb(" + std::string(token) + ")");
  return Run(script.txRxList, list);
}

int PrivJson(const char* token, PrivList* list) {
  TestHost::Record("GetPrivJsonCb(" + std::string(token) + ")");
  return Run(script.privJson, *list);
}

int SpecifyPriv(const char* token, const char* hostname, const char* file) {
  TestHost::Record("SpecifyPrivCb(" + std::string(token) + ", " + hostname + ", " + file + ")");
  return Run(script.specifyPriv, hostname, file);
}

int DeletePriv(const char* token, const char* file) {
  TestHost::Record("DeletePrivCb(" + std::string(token) + ", " + file + ")");
  return Run(script.deletePriv, file);
}

// Both upload records begin with the same eight fields.
template <class Context>
UploadStep StepOf(const Context& ctx) {
  UploadStep step;
  step.name = ctx.name;
  step.fileName = ctx.fileName;
  const auto length = static_cast<std::size_t>(std::clamp<int64_t>(ctx.length, 0, sizeof ctx.data));
  step.data.assign(ctx.data, length);
  step.restIsZero =
      std::all_of(ctx.data + length, ctx.data + sizeof ctx.data, [](char byte) { return byte == 0; });
  step.length = ctx.length;
  step.noFileName = ctx.noFileName;
  step.pieceState = ctx.pieceState;
  step.endFlag = ctx.endFlag;
  step.error = ctx.error;
  if (ctx.extra != nullptr) step.extra = ctx.extra;
  return step;
}

void Keep(const UploadStep& step) {
  const std::lock_guard lock(mutex);
  calls.push_back(step.Describe());
  uploads.push_back(step);
}

int RunUpload(const char* slot, const char* token, UploadFileCtx* ctx) {
  UploadStep step = StepOf(*ctx);
  step.slot = slot;
  step.token = token;
  step.funcId = ctx->funcId;
  step.table = ctx->loginHandle;
  Keep(step);
  return Run(script.upload, step, *ctx);
}

constexpr char kImageSlot[] = "UploadImageFileCb";
constexpr char kTxtSlot[] = "UploadTxtFileCb";
constexpr char kCertSlot[] = "UploadCertFileCb";
constexpr char kZipSlot[] = "UploadZipFileCb";

template <const char* kSlot>
int Upload(const char* token, int funcId, UploadFileCtx* ctx) {
  if (funcId != ctx->funcId) TestHost::Record("funcId differs from the record");
  return RunUpload(kSlot, token, ctx);
}

int Upgrade(const char* token, UploadFileCtx* ctx) { return RunUpload("UpgradeCb", token, ctx); }

int WebSocketEvent(int event, const char* token, const char* data, int length) {
  TestHost::Record("WebSocketCb(" + std::to_string(event) + ", " + token + ", \"" + data + "\", " +
                   std::to_string(length) + ")");
  return Run(script.webSocket, event, token, std::string(data, static_cast<std::size_t>(length)));
}

}  // namespace

std::string UploadStep::Describe() const {
  std::string what = "final";
  if (endFlag == 0) {
    what =
        pieceState == 0 ? "found" : "piece " + std::to_string(length) + (pieceState == 1 ? " last" : " more");
  }
  const std::string arguments = slot == "CustomUpload" ? "" : token + ", " + std::to_string(funcId);
  const std::string file = noFileName != 0 ? "(none)" : fileName;
  return slot + "(" + arguments + ") " + what + " " + name + " " + file;
}

HostScript& TestHost::Script() { return script; }

SdkAPISerHandle TestHost::Table() {
  SdkAPISerHandle table{};
  table.AuthQueryCb = AuthQuery;
  table.LoginCb = Login;
  table.LogOutCb = LogOut;
  table.ChangeUserInfoCb = ChangeUser;
  table.ManageUserCb = ManageUser;
  table.DeviceInfoCb = DeviceInfoSlot;
  table.CustomRestoreCb = CustomRestore;
  table.DeviceStatusCb = DeviceStatus;
  table.DownloadLogFileCb = Download<kLogSlot>;
  table.DownloadCustomCb = Download<kCustomSlot>;
  table.DownloadSceneFileCb = Download<kSceneSlot>;
  table.PreviewCb = Preview;
  table.GetTxRxListCb = TxRxList;
  table.GetPrivJsonCb = PrivJson;
  table.SpecifyPrivCb = SpecifyPriv;
  table.DeletePrivCb = DeletePriv;
  table.DownloadEdidFileCb = Download<kEdidSlot>;
  table.DownloadSettingFileCb = DownloadSetting;
  table.DownloadImageFileCb = Download<kLogoSlot>;
  table.UploadImageFileCb = Upload<kImageSlot>;
  table.UploadTxtFileCb = Upload<kTxtSlot>;
  table.UploadCertFileCb = Upload<kCertSlot>;
  table.UploadZipFileCb = Upload<kZipSlot>;
  table.UpgradeCb = Upgrade;
  table.WebSocketCb = WebSocketEvent;
  return table;
}

void TestHost::Reset() {
  const std::lock_guard lock(mutex);
  calls.clear();
  uploads.clear();
  script = HostScript{};
}

std::vector<std::string> TestHost::Calls() {
  const std::lock_guard lock(mutex);
  return calls;
}

std::vector<UploadStep> TestHost::Uploads() {
  const std::lock_guard lock(mutex);
  return uploads;
}

void TestHost::Record(const std::string& call) {
  const std::lock_guard lock(mutex);
  calls.push_back(call);
}

int TestHost::CustomGetPost(mg_connection* conn, CustomReqInfo* request) {
  const std::string body = request->body == nullptr ? "NULL" : "body";
  Record("CustomGetPost(" + body + ", " + std::to_string(request->bodyLength) + ", " +
         std::to_string(request->method) + ")");
  return Run(script.customGetPost, conn, *request);
}

int TestHost::CustomUpload(mg_connection* conn, UploadCustomCtx* ctx) {
  UploadStep step = StepOf(*ctx);
  step.slot = "CustomUpload";
  step.table = reinterpret_cast<const void*>(ctx->hostFunction);
  if (conn != ctx->conn) Record("conn differs from the record");
  Keep(step);
  return Run(script.customUpload, step, *ctx);
}

int TestHost::CustomDownload(mg_connection* conn, CustomDownloadInfo* info) {
  Record("CustomDownload()");
  return Run(script.customDownload, conn, *info);
}

PrivEntry* AllocatePrivEntries(std::size_t count) {
  return static_cast<PrivEntry*>(std::calloc(count, sizeof(PrivEntry)));
}

}  // namespace sdktest
