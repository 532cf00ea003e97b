// The host of all tests: the slots and their records.
#include "test_host.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace sdktest {
namespace {

constexpr std::size_t kKeptBytes = 1 << 20;

TestHost& Host() { return TestHost::Get(); }

int AuthQuery(int* flag) {
  return Host().Answer(Host().authQuery, {"AuthQueryCb", "", {std::to_string(*flag)}}, flag);
}

int Login(LoginInfo* info) {
  return Host().Answer(Host().login, {"LoginCb", "", {info->username, info->password}}, *info);
}

int LogOut() { return Host().Answer(Host().logOut, {"LogOutCb", "", {}}); }

int ChangeUser(const char* token, ChangeUserRequest* request) {
  return Host().Answer(Host().changeUser, {"ChangeUserInfoCb", token, {}}, *request);
}

int ManageUser(const char* token, ManageUserRequest* request) {
  return Host().Answer(Host().manageUser, {"ManageUserCb", token, {}}, *request);
}

int DescribeDevice(const char* token, DeviceInfo* info) {
  return Host().Answer(Host().deviceInfo, {"DeviceInfoCb", token, {std::to_string(info->timeout)}}, *info);
}

int CustomRestore(const char* token, CustomRestoreArg* arg) {
  return Host().Answer(Host().customRestore,
                       {"CustomRestoreCb", token, {std::to_string(arg->code), std::to_string(arg->reserved)}},
                       *arg);
}

int DeviceStatus(char* uptime) {
  return Host().Answer(Host().deviceStatus, {"DeviceStatusCb", "", {}}, uptime);
}

constexpr char kLogSlot[] = "DownloadLogFileCb";
constexpr char kCustomSlot[] = "DownloadCustomCb";
constexpr char kSceneSlot[] = "DownloadSceneFileCb";
constexpr char kEdidSlot[] = "DownloadEdidFileCb";
constexpr char kLogoSlot[] = "DownloadImageFileCb";

template <const char* kSlot>
int Download(const char* token, DownloadFileInfo* info) {
  return Host().Answer(Host().download, {kSlot, token, {}}, *info);
}

int DownloadSetting(const char* token, DownloadSettingInfo* info) {
  return Host().Answer(Host().downloadSetting, {"DownloadSettingFileCb", token, {info->method}}, *info);
}

int Preview(PreviewFrame* frame) {
  return Host().Answer(Host().preview, {"PreviewCb", "", {frame->hostname, std::to_string(frame->state)}},
                       *frame);
}

int TxRxList(const char* token, char* list) {
  return Host().Answer(Host().txRxList, {"GetTxRxListCb", token, {}}, list);
}

int PrivJson(const char* token, PrivList* list) {
  return Host().Answer(Host().privJson, {"GetPrivJsonCb", token, {std::to_string(list->count)}}, *list);
}

int SpecifyPriv(const char* token, const char* hostname, const char* file) {
  return Host().Answer(Host().specifyPriv, {"SpecifyPrivCb", token, {hostname, file}}, hostname, file);
}

int DeletePriv(const char* token, const char* file) {
  return Host().Answer(Host().deletePriv, {"DeletePrivCb", token, {file}}, file);
}

bool IsZero(const char* begin, const char* end) {
  return begin == end ||
         (*begin == 0 && std::memcmp(begin, begin + 1, static_cast<std::size_t>(end - begin) - 1) == 0);
}

// Both upload records begin with the same eight fields.
template <class Context>
UploadStep StepOf(const char* slot, const char* token, int funcId, const Context& ctx) {
  UploadStep step;
  step.slot = slot;
  step.token = token;
  step.funcId = funcId;
  step.name = ctx.name;
  step.fileName = ctx.fileName;
  const auto length = static_cast<std::size_t>(std::clamp<int64_t>(ctx.length, 0, sizeof ctx.data));
  step.data.assign(ctx.data, length);
  step.restIsZero = IsZero(ctx.data + length, ctx.data + sizeof ctx.data);
  step.length = ctx.length;
  step.noFileName = ctx.noFileName;
  step.pieceState = ctx.pieceState;
  step.endFlag = ctx.endFlag;
  step.error = ctx.error;
  step.record = &ctx;
  if (ctx.extra != nullptr) step.extra = ctx.extra;
  return step;
}

int AnswerFile(const char* slot, const char* token, int funcId, UploadFileCtx* ctx) {
  UploadStep step = StepOf(slot, token, funcId, *ctx);
  step.table = ctx->loginHandle;
  return Host().AnswerUpload(Host().upload, step, *ctx);
}

constexpr char kImageSlot[] = "UploadImageFileCb";
constexpr char kTxtSlot[] = "UploadTxtFileCb";
constexpr char kCertSlot[] = "UploadCertFileCb";
constexpr char kZipSlot[] = "UploadZipFileCb";

template <const char* kSlot>
int Upload(const char* token, int funcId, UploadFileCtx* ctx) {
  // A number that the record does not show is recorded as none that there is.
  return AnswerFile(kSlot, token, funcId == ctx->funcId ? funcId : -100, ctx);
}

int Upgrade(const char* token, UploadFileCtx* ctx) {
  return AnswerFile("UpgradeCb", token, ctx->funcId, ctx);
}

int WebSocketEvent(int event, const char* token, const char* data, int length) {
  const char* const slot = data[length] == '\0' ? "WebSocketCb" : "WebSocketCb without a NUL";
  return Host().Answer(Host().webSocket, {slot, token, {std::to_string(event), data, std::to_string(length)}},
                       event, token, std::string(data, static_cast<std::size_t>(length)));
}

bool HasToken(const std::string& slot) {
  for (const char* const without : {"AuthQueryCb", "LoginCb", "LogOutCb", "DeviceStatusCb", "PreviewCb"}) {
    if (slot == without) return false;
  }
  return !slot.starts_with("Custom") || slot == "CustomRestoreCb";
}

}  // namespace

std::string UploadStep::Describe() const {
  const char* const state = pieceState == 0 ? "" : pieceState == 1 ? " last" : " more";
  std::string what = endFlag != 0 ? "final" : pieceState == 0 ? "found" : "piece";
  if (what == "piece" || length != 0) what += " " + std::to_string(length);
  what += state;
  what += " " + name + " " + (noFileName != 0 ? "(none)" : fileName);
  return noFileName != 0 && !fileName.empty() ? what + " after " + fileName : what;
}

std::string Call::Line() const {
  std::vector<std::string> all = args;
  if (HasToken(slot)) all.insert(all.begin(), token);
  std::string line = slot + "(";
  for (const std::string& argument : all) line += (&argument == &all.front() ? "" : ", ") + argument;
  return line + (step.empty() ? ")" : ") " + step);
}

TestHost& TestHost::Get() {
  static TestHost host;
  return host;
}

SdkAPISerHandle TestHost::Table() {
  SdkAPISerHandle table{};
  table.AuthQueryCb = AuthQuery;
  table.LoginCb = Login;
  table.LogOutCb = LogOut;
  table.ChangeUserInfoCb = ChangeUser;
  table.ManageUserCb = ManageUser;
  table.DeviceInfoCb = DescribeDevice;
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

int TestHost::CustomGetPost(mg_connection* conn, CustomReqInfo* request) {
  return Host().Answer(Host().customGetPost,
                       {"CustomGetPost",
                        "",
                        {request->body == nullptr ? "NULL" : "body", std::to_string(request->bodyLength),
                         std::to_string(request->method)}},
                       conn, *request);
}

int TestHost::CustomUpload(mg_connection* conn, UploadCustomCtx* ctx) {
  const bool fits = ctx->conn == conn && ctx->hostFunction == CustomUpload;
  UploadStep step = StepOf(fits ? "CustomUpload" : "CustomUpload with another's record", "", 0, *ctx);
  step.table = reinterpret_cast<const void*>(ctx->hostFunction);
  return Host().AnswerUpload(Host().customUpload, step, *ctx);
}

int TestHost::CustomDownload(mg_connection* conn, CustomDownloadInfo* info) {
  return Host().Answer(Host().customDownload, {"CustomDownload", "", {}}, conn, *info);
}

void TestHost::Reset() {
  everyCall = nullptr;
  authQuery = nullptr;
  login = nullptr;
  logOut = nullptr;
  changeUser = nullptr;
  manageUser = nullptr;
  deviceInfo = nullptr;
  customRestore = nullptr;
  deviceStatus = nullptr;
  download = nullptr;
  downloadSetting = nullptr;
  preview = nullptr;
  txRxList = nullptr;
  privJson = nullptr;
  specifyPriv = nullptr;
  deletePriv = nullptr;
  upload = nullptr;
  webSocket = nullptr;
  customGetPost = nullptr;
  customUpload = nullptr;
  customDownload = nullptr;
  ForgetCalls();
}

void TestHost::ForgetCalls() {
  const std::lock_guard lock(mutex_);
  calls_.clear();
  uploads_.clear();
  keptBytes_ = 0;
}

std::vector<Call> TestHost::Calls() const {
  const std::lock_guard lock(mutex_);
  return calls_;
}

std::vector<Call> TestHost::Calls(const std::string& slot) const {
  std::vector<Call> found;
  const std::lock_guard lock(mutex_);
  std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(found),
               [&](const Call& call) { return call.slot == slot; });
  return found;
}

std::vector<std::string> TestHost::Lines() const {
  std::vector<std::string> lines;
  for (const Call& call : Calls()) lines.push_back(call.Line());
  return lines;
}

int TestHost::Count(const std::string& slot) const { return static_cast<int>(Calls(slot).size()); }

bool TestHost::WaitForCount(const std::string& slot, int count) const {
  return Eventually([&] { return Count(slot) >= count; });
}

std::vector<UploadStep> TestHost::Uploads() const {
  const std::lock_guard lock(mutex_);
  return uploads_;
}

void TestHost::Record(Call call) {
  const std::lock_guard lock(mutex_);
  calls_.push_back(std::move(call));
}

void TestHost::Keep(UploadStep step) {
  const std::lock_guard lock(mutex_);
  keptBytes_ += step.data.size();
  if (keptBytes_ > kKeptBytes) step.data.clear();
  uploads_.push_back(std::move(step));
}

PrivEntry* AllocatePrivEntries(std::size_t count) {
  return static_cast<PrivEntry*>(std::calloc(count, sizeof(PrivEntry)));
}

}  // namespace sdktest
