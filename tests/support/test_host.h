// A host whose every function is scripted by the test and records how it was called.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

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
  const void* table = nullptr;  // custom uploads: the host function

  // "found", "piece more", "piece last" or "final", with the slot and its arguments.
  std::string Describe() const;
};

// The test's answers. An empty function answers 0 and fills nothing.
struct HostScript {
  std::function<int(int* flag)> authQuery;
  std::function<int(LoginInfo& info)> login;
  std::function<int()> logOut;
  std::function<int(ChangeUserRequest& request)> changeUser;
  std::function<int(ManageUserRequest& request)> manageUser;
  std::function<int(DeviceInfo& info)> deviceInfo;
  std::function<int(CustomRestoreArg& arg)> customRestore;
  std::function<int(char* uptime)> deviceStatus;
  std::function<int(DownloadFileInfo& info)> download;  // all five plain slots
  std::function<int(DownloadSettingInfo& info)> downloadSetting;
  std::function<int(PreviewFrame& frame)> preview;
  std::function<int(char* list)> txRxList;
  std::function<int(PrivList& list)> privJson;
  std::function<int(const std::string& hostname, const std::string& file)> specifyPriv;
  std::function<int(const std::string& file)> deletePriv;
  std::function<int(const UploadStep& step, UploadFileCtx& ctx)> upload;  // all five slots
  std::function<int(int event, const std::string& token, const std::string& data)> webSocket;
  std::function<int(mg_connection* conn, CustomReqInfo& request)> customGetPost;
  std::function<int(const UploadStep& step, UploadCustomCtx& ctx)> customUpload;
  std::function<int(mg_connection* conn, CustomDownloadInfo& info)> customDownload;
};

// One host for the whole process: the interface's functions carry no context.
class TestHost {
 public:
  static HostScript& Script();

  // All slots that the library calls are filled, all reserved ones are NULL.
  static SdkAPISerHandle Table();

  static void Reset();

  // One line a call, for instance "DeviceInfoCb(tok)", in order of the calls' beginnings.
  static std::vector<std::string> Calls();
  static std::vector<UploadStep> Uploads();

  // Names of upload, download and custom functions, as they appear in Calls().
  static int CustomGetPost(mg_connection* conn, CustomReqInfo* request);
  static int CustomUpload(mg_connection* conn, UploadCustomCtx* ctx);
  static int CustomDownload(mg_connection* conn, CustomDownloadInfo* info);

  static void Record(const std::string& call);
};

// An array of entries as a host allocates it; null when memory is short.
PrivEntry* AllocatePrivEntries(std::size_t count);

}  // namespace sdktest
