// A host whose every function is recorded and can be scripted by a test.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "sdkapi/sdkapi.h"
#include "waiting.h"

namespace integration {

// One call of a slot: its name, its token, its other arguments as texts.
struct Call {
  std::string slot;
  std::string token;
  std::vector<std::string> args;

  bool operator==(const Call&) const = default;
};

// One step of an upload, from whichever record the host was given.
struct UploadStep {
  const char* slot;
  const void* upload;  // the same in all steps of one upload
  const char* data;
  int64_t length;
  const char* name;
  const char* fileName;
  int noFileName;
  int pieceState;
  int endFlag;
  const char* extra;
};

template <class Signature>
class Hook;

// A replaceable function that may be called from any thread while it is replaced.
template <class... Args>
class Hook<int(Args...)> {
 public:
  using Function = std::function<int(Args...)>;

  Hook& operator=(Function function) {
    const std::lock_guard lock(mutex_);
    function_ = function != nullptr ? std::make_shared<Function>(std::move(function)) : nullptr;
    return *this;
  }

  int operator()(Args... args) {
    const auto function = Current();
    if (function == nullptr) return 0;
    Rendezvous();
    const int result = (*function)(args...);
    Rendezvous();
    return result;
  }

 private:
  std::shared_ptr<Function> Current() {
    const std::lock_guard lock(mutex_);
    return function_;
  }

  std::mutex mutex_;
  std::shared_ptr<Function> function_;
};

// The slots are plain C functions, so there is one host per process.
class Host {
 public:
  static Host& Get();

  // Forgets all calls and scripts.
  void Reset();
  // Every slot the library may call is filled.
  static SdkAPISerHandle Table();

  // The host function of custom uploads; its calls are recorded as "CustomUpload".
  static int CustomUpload(mg_connection* conn, UploadCustomCtx* ctx);

  void Record(Call call);
  std::vector<Call> Calls() const;
  std::vector<Call> Calls(const std::string& slot) const;
  int Count(const std::string& slot) const;
  bool WaitForCount(const std::string& slot, int count) const;

  Hook<int(int*)> authQuery;
  Hook<int(LoginInfo*)> login;
  Hook<int()> logOut;
  Hook<int(ChangeUserRequest*)> changeUser;
  Hook<int(ManageUserRequest*)> manageUser;
  Hook<int(DeviceInfo*)> deviceInfo;
  Hook<int(char*)> deviceStatus;
  Hook<int()> customRestore;
  Hook<int(DownloadFileInfo*)> download;
  Hook<int(DownloadSettingInfo*)> downloadSetting;
  Hook<int(PreviewFrame*)> preview;
  Hook<int(char*)> txRxList;
  Hook<int(PrivList*)> privList;
  Hook<int()> specifyPriv;
  Hook<int()> deletePriv;
  Hook<int(const UploadStep&)> upload;
  Hook<int(int, const char*, const char*, int)> webSocket;

 private:
  mutable std::mutex mutex_;
  std::vector<Call> calls_;
};

}  // namespace integration
