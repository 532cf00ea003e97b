// A host whose every function is recorded and can be scripted by a test.
#include "host.h"

#include <algorithm>

#include "waiting.h"

namespace integration {
namespace {

std::string Text(const char* text) { return text != nullptr ? text : "<null>"; }

int AuthQuery(int* flag) {
  Host::Get().Record({"AuthQueryCb", "", {std::to_string(*flag)}});
  return Host::Get().authQuery(flag);
}

int Login(LoginInfo* info) {
  Host::Get().Record({"LoginCb", "", {info->username, info->password}});
  return Host::Get().login(info);
}

int LogOut() {
  Host::Get().Record({"LogOutCb", "", {}});
  return Host::Get().logOut();
}

int ChangeUserInfo(const char* token, ChangeUserRequest* r) {
  Host::Get().Record(
      {"ChangeUserInfoCb",
       Text(token),
       {r->username, r->newusername, r->newpassword, r->oldpassword, std::to_string(r->changeType)}});
  return Host::Get().changeUser(r);
}

int ManageUser(const char* token, ManageUserRequest* r) {
  Host::Get().Record({"ManageUserCb",
                      Text(token),
                      {r->username, r->password, std::to_string(r->role), std::to_string(r->action)}});
  return Host::Get().manageUser(r);
}

int DeviceInformation(const char* token, DeviceInfo* info) {
  Host::Get().Record({"DeviceInfoCb", Text(token), {std::to_string(info->timeout)}});
  return Host::Get().deviceInfo(info);
}

int DeviceStatus(char* uptime) {
  Host::Get().Record({"DeviceStatusCb", "", {}});
  return Host::Get().deviceStatus(uptime);
}

int CustomRestore(const char* token, CustomRestoreArg* arg) {
  Host::Get().Record(
      {"CustomRestoreCb", Text(token), {std::to_string(arg->code), std::to_string(arg->reserved)}});
  return Host::Get().customRestore();
}

int Download(const char* slot, const char* token, DownloadFileInfo* info) {
  Host::Get().Record({slot, Text(token), {}});
  return Host::Get().download(info);
}

int DownloadLog(const char* t, DownloadFileInfo* i) { return Download("DownloadLogFileCb", t, i); }
int DownloadCustom(const char* t, DownloadFileInfo* i) { return Download("DownloadCustomCb", t, i); }
int DownloadScene(const char* t, DownloadFileInfo* i) { return Download("DownloadSceneFileCb", t, i); }
int DownloadEdid(const char* t, DownloadFileInfo* i) { return Download("DownloadEdidFileCb", t, i); }
int DownloadImage(const char* t, DownloadFileInfo* i) { return Download("DownloadImageFileCb", t, i); }

int DownloadSetting(const char* token, DownloadSettingInfo* info) {
  Host::Get().Record({"DownloadSettingFileCb", Text(token), {info->method}});
  return Host::Get().downloadSetting(info);
}

int Preview(PreviewFrame* frame) {
  Host::Get().Record({"PreviewCb", "", {frame->hostname, std::to_string(frame->state)}});
  return Host::Get().preview(frame);
}

int GetTxRxList(const char* token, char* list) {
  Host::Get().Record({"GetTxRxListCb", Text(token), {}});
  return Host::Get().txRxList(list);
}

int GetPrivJson(const char* token, PrivList* list) {
  Host::Get().Record({"GetPrivJsonCb", Text(token), {std::to_string(list->count)}});
  return Host::Get().privList(list);
}

int SpecifyPriv(const char* token, const char* hostname, const char* file) {
  Host::Get().Record({"SpecifyPrivCb", Text(token), {Text(hostname), Text(file)}});
  return Host::Get().specifyPriv();
}

int DeletePriv(const char* token, const char* file) {
  Host::Get().Record({"DeletePrivCb", Text(token), {Text(file)}});
  return Host::Get().deletePriv();
}

// One line per step: the state of the record as the host sees it, without the data.
template <class Context>
int Upload(const char* slot, const char* token, int funcId, const Context* c) {
  Host::Get().Record({slot,
                      Text(token),
                      {std::to_string(funcId), std::to_string(c->pieceState), std::to_string(c->length),
                       std::to_string(c->endFlag), c->name, c->fileName, std::to_string(c->noFileName)}});
  return Host::Get().upload({slot, c, c->data, c->length, c->name, c->fileName, c->noFileName, c->pieceState,
                             c->endFlag, c->extra});
}

int UploadImage(const char* t, int id, UploadFileCtx* c) { return Upload("UploadImageFileCb", t, id, c); }
int UploadTxt(const char* t, int id, UploadFileCtx* c) { return Upload("UploadTxtFileCb", t, id, c); }
int UploadCert(const char* t, int id, UploadFileCtx* c) { return Upload("UploadCertFileCb", t, id, c); }
int UploadZip(const char* t, int id, UploadFileCtx* c) { return Upload("UploadZipFileCb", t, id, c); }
int Upgrade(const char* t, UploadFileCtx* c) { return Upload("UpgradeCb", t, c->funcId, c); }

int WebSocketEvent(int event, const char* token, const char* data, int length) {
  Host::Get().Record(
      {"WebSocketCb", Text(token), {std::to_string(event), Text(data), std::to_string(length)}});
  return Host::Get().webSocket(event, token, data, length);
}

}  // namespace

Host& Host::Get() {
  static Host host;
  return host;
}

void Host::Reset() {
  authQuery = nullptr;
  login = nullptr;
  logOut = nullptr;
  changeUser = nullptr;
  manageUser = nullptr;
  deviceInfo = nullptr;
  deviceStatus = nullptr;
  customRestore = nullptr;
  download = nullptr;
  downloadSetting = nullptr;
  preview = nullptr;
  txRxList = nullptr;
  privList = nullptr;
  specifyPriv = nullptr;
  deletePriv = nullptr;
  upload = nullptr;
  webSocket = nullptr;
  const std::lock_guard lock(mutex_);
  calls_.clear();
}

SdkAPISerHandle Host::Table() {
  SdkAPISerHandle table{};
  table.AuthQueryCb = AuthQuery;
  table.LoginCb = Login;
  table.LogOutCb = LogOut;
  table.ChangeUserInfoCb = ChangeUserInfo;
  table.ManageUserCb = ManageUser;
  table.DeviceInfoCb = DeviceInformation;
  table.CustomRestoreCb = CustomRestore;
  table.DeviceStatusCb = DeviceStatus;
  table.DownloadLogFileCb = DownloadLog;
  table.DownloadCustomCb = DownloadCustom;
  table.DownloadSceneFileCb = DownloadScene;
  table.PreviewCb = Preview;
  table.GetTxRxListCb = GetTxRxList;
  table.GetPrivJsonCb = GetPrivJson;
  table.SpecifyPrivCb = SpecifyPriv;
  table.DeletePrivCb = DeletePriv;
  table.DownloadEdidFileCb = DownloadEdid;
  table.DownloadSettingFileCb = DownloadSetting;
  table.DownloadImageFileCb = DownloadImage;
  table.UploadImageFileCb = UploadImage;
  table.UploadTxtFileCb = UploadTxt;
  table.UploadCertFileCb = UploadCert;
  table.UploadZipFileCb = UploadZip;
  table.UpgradeCb = Upgrade;
  table.WebSocketCb = WebSocketEvent;
  return table;
}

int Host::CustomUpload(mg_connection* conn, UploadCustomCtx* ctx) {
  const bool consistent = ctx->conn == conn && ctx->hostFunction == CustomUpload && ctx->extra == nullptr;
  return Upload("CustomUpload", "", consistent ? -1 : -100, ctx);
}

void Host::Record(Call call) {
  const std::lock_guard lock(mutex_);
  calls_.push_back(std::move(call));
}

std::vector<Call> Host::Calls() const {
  const std::lock_guard lock(mutex_);
  return calls_;
}

std::vector<Call> Host::Calls(const std::string& slot) const {
  std::vector<Call> found;
  const std::lock_guard lock(mutex_);
  std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(found),
               [&](const Call& call) { return call.slot == slot; });
  return found;
}

int Host::Count(const std::string& slot) const { return static_cast<int>(Calls(slot).size()); }

bool Host::WaitForCount(const std::string& slot, int count) const {
  return Eventually([&] { return Count(slot) >= count; });
}

}  // namespace integration
