// The host of all tests: every slot is filled, answers what the test's hook says, and records how it was
// called.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "hook.h"
#include "sdkapi/custom.h"
#include "sdkapi/host.h"

namespace sdktest {

// What one call of an upload function saw, copied out of its record.
struct UploadStep {
  std::string slot;
  std::string token;  // custom uploads: empty
  int funcId = 0;     // custom uploads: 0
  std::string name;
  std::string fileName;
  std::string data;  // the valid bytes
  bool restIsZero = true;
  int64_t length = 0;
  int noFileName = 0;
  int pieceState = 0;
  int endFlag = 0;
  int error = 0;
  std::optional<std::string> extra;
  const void* table = nullptr;   // custom uploads: the host function
  const void* record = nullptr;  // the same in all steps of one upload

  // "found file a.png", "piece 7 last file a.png", "piece 4 more note (none) after a.png": field, file name,
  // and the file name that a plain field keeps from before; "final last ..." shows the state that the last
  // left.
  std::string Describe() const;
};

// One call of a slot: its name, its token, its other arguments as texts.
struct Call {
  std::string slot;
  std::string token;
  std::vector<std::string> args;
  std::string step{};  // uploads: UploadStep::Describe

  bool operator==(const Call&) const = default;

  // "DeviceStatusCb()", "SpecifyPrivCb(tok, RX01, a.png)", "UploadImageFileCb(tok, 1) found file a.png"
  std::string Line() const;
};

// The interface's functions carry no context, so there is one host per process.
class TestHost {
 public:
  static TestHost& Get();

  // All slots that the library calls are filled, all reserved ones are NULL.
  static SdkAPISerHandle Table();

  // The host functions of custom routes; their calls are recorded under these names.
  static int CustomGetPost(mg_connection* conn, CustomReqInfo* request);
  static int CustomUpload(mg_connection* conn, UploadCustomCtx* ctx);
  static int CustomDownload(mg_connection* conn, CustomDownloadInfo* info);

  // Forgets all calls and hooks.
  void Reset();
  void ForgetCalls();

  // From here to the end of the process the hooks stay as they are and nothing is recorded, so that the host
  // puts no order of its own between threads.
  void Settle() { settled_ = true; }

  // In order of the calls' beginnings.
  std::vector<Call> Calls() const;
  std::vector<Call> Calls(const std::string& slot) const;
  std::vector<std::string> Lines() const;
  int Count(const std::string& slot) const;
  bool WaitForCount(const std::string& slot, int count) const;
  // Large uploads are for the hooks: beyond the first MiB the steps are kept without their data.
  std::vector<UploadStep> Uploads() const;

  // The same answer for all upload slots and custom uploads; it takes (const UploadStep&, auto& record).
  template <class Answer>
  void OnEveryUpload(const Answer& answer) {
    upload = answer;
    customUpload = answer;
  }

  Hook<int(const Call& call)> everyCall;  // before the call's own hook; the result means nothing
  Hook<int(int* flag)> authQuery;
  Hook<int(LoginInfo& info)> login;
  Hook<int()> logOut;
  Hook<int(ChangeUserRequest& request)> changeUser;
  Hook<int(ManageUserRequest& request)> manageUser;
  Hook<int(DeviceInfo& info)> deviceInfo;
  Hook<int(CustomRestoreArg& arg)> customRestore;
  Hook<int(char* uptime)> deviceStatus;
  Hook<int(DownloadFileInfo& info)> download;  // all five plain slots
  Hook<int(DownloadSettingInfo& info)> downloadSetting;
  Hook<int(PreviewFrame& frame)> preview;
  Hook<int(char* list)> txRxList;
  Hook<int(PrivList& list)> privJson;
  Hook<int(const std::string& hostname, const std::string& file)> specifyPriv;
  Hook<int(const std::string& file)> deletePriv;
  Hook<int(const UploadStep& step, UploadFileCtx& ctx)> upload;  // all five slots
  Hook<int(int event, const std::string& token, const std::string& data)> webSocket;
  Hook<int(mg_connection* conn, CustomReqInfo& request)> customGetPost;
  Hook<int(const UploadStep& step, UploadCustomCtx& ctx)> customUpload;
  Hook<int(mg_connection* conn, CustomDownloadInfo& info)> customDownload;

  // What the slots do: record the call, then ask the hook.
  template <class... Args, class... Values>
  int Answer(Hook<int(Args...)>& hook, Call call, Values&&... values) {
    if (settled_) {
      everyCall.CallSettled(call);
      return hook.CallSettled(std::forward<Values>(values)...);
    }
    everyCall(call);
    Record(std::move(call));
    return hook(std::forward<Values>(values)...);
  }
  template <class Context>
  int AnswerUpload(Hook<int(const UploadStep&, Context&)>& hook, const UploadStep& step, Context& ctx) {
    if (!settled_) Keep(step);
    const bool custom = step.slot.starts_with("CustomUpload");
    Call call{step.slot, step.token, {}, step.Describe()};
    if (!custom) call.args.push_back(std::to_string(step.funcId));
    return Answer(hook, std::move(call), step, ctx);
  }

 private:
  void Record(Call call);
  void Keep(UploadStep step);

  bool settled_ = false;
  mutable std::mutex mutex_;
  std::vector<Call> calls_;
  std::vector<UploadStep> uploads_;
  std::size_t keptBytes_ = 0;
};

// An array of entries as a host allocates it; null when memory is short.
PrivEntry* AllocatePrivEntries(std::size_t count);

}  // namespace sdktest
