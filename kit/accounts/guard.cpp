// The check of rights, and a function before every slot that asks it.
#include "accounts/guard.h"

#include <atomic>
#include <mutex>
#include <set>
#include <string>

#include "accounts/accounts.h"
#include "accounts/origin.h"
#include "accounts/requester.h"
#include "base/guarded.h"

namespace sdkkit::accounts {
namespace {

// What the host wants called; written before the server starts.
SdkAPISerHandle hostTable{};

bool IsWebSocket(const SdkAPIExtRequest& request) {
  return SdkAPIExt_WebSocket_Current() != 0 && request.size != 0;
}

bool HidesItsPage(const SdkAPIExtRequest& request) {
  return IsSilentBrowser(request.userAgent, request.origin, request.fetchSite);
}

// What every user may read, pages of another origin may, too.
bool IsForEveryPage(const SdkAPIExtRequest& request, const Right& right, std::string_view method) {
  return IsReading(method) && (right.flags & kKitChanges) == 0 && !IsWebSocket(request) &&
         (right.roles & kKitEveryUser) == kKitEveryUser;
}

// Without a token a browser lends everybody's page this device's trust.
const char* OpenFault(const Accounts& accounts, const SdkAPIExtRequest& request, const Right& right,
                      std::string_view method) {
  if ((right.flags & kKitNeedsLogin) != 0) return "it needs a login";
  if (IsForEveryPage(request, right, method)) return nullptr;
  if (IsForeignName(request.host, accounts.settings().hostNames))
    return "it was asked for under a name that is not this device's";
  if (IsForeignPage(request.host, request.origin, request.fetchSite)) return "a page of another origin asks";
  const bool mayBeLink = IsReading(method) && (right.flags & kKitChanges) != 0 && HidesItsPage(request);
  return mayBeLink ? "a link or a picture in any page may ask so" : nullptr;
}

const char* FaultOf(const Accounts& accounts, const std::optional<Session>& user,
                    const SdkAPIExtRequest& request, std::string_view route, std::string_view method) {
  const Right& right = accounts.rights().Find(route, method);
  if (accounts.IsOpen()) {
    if (const char* const fault = OpenFault(accounts, request, right, method)) return fault;
  }
  return accounts.Fault(user, right);
}

// method: nullptr for the request's own.
bool Judge(std::string_view token, const char* method) {
  const auto accounts = TheAccounts();
  if (!accounts) return false;
  const SdkAPIExtRequest request = CurrentRequest();
  const char* const route = request.route[0] != '\0' ? request.route : request.path;
  const auto user = accounts->Who(token);
  const char* const fault =
      FaultOf(*accounts, user, request, route, method != nullptr ? method : request.method);
  NoteRequester(request, user ? user->name : "");
  NoteSession(request, user ? user->id : 0);
  if (fault == nullptr) return true;
  kLog.Audit({.action = "request",
              .outcome = kKitAuditRefused,
              .object = request.method,
              .target = route,
              .reason = fault},
             "refused %s %s to %s from %s: %s", request.method, route, user ? user->name.c_str() : "nobody",
             request.address, fault);
  return false;
}

template <auto kMay, auto kSlot>
struct Before;

// Slots that take a token and tell by -2 that it is not enough.
template <auto kMay, class... Rest, int (*SdkAPISerHandle::*kSlot)(const char*, Rest...)>
struct Before<kMay, kSlot> {
  static int Call(const char* token, Rest... rest) {
    return kMay(token) ? (hostTable.*kSlot)(token, rest...) : kNotAuthorised;
  }
};

// A slot that is guarded already keeps what it guards: guarded twice it would call itself.
template <auto kSlot, class Function>
int Put(SdkAPISerHandle& table, Function before) {
  if (table.*kSlot == nullptr) return 0;
  if (table.*kSlot != before) hostTable.*kSlot = table.*kSlot;
  table.*kSlot = before;
  return 1;
}

template <auto kMay, auto... kSlots>
int PutBefore(SdkAPISerHandle& table) {
  return (Put<kSlots>(table, Before<kMay, kSlots>::Call) + ...);
}

int BeforeDeviceInfo(const char* token, DeviceInfo* info) {
  if (!MayGoOn(token)) return kNotAuthorised;
  const int result = hostTable.DeviceInfoCb(token, info);
  const auto accounts = TheAccounts();
  if (result == 0 && info->timeout == -1 && accounts)
    info->timeout = static_cast<int32_t>(accounts->settings().idleSeconds);
  return result;
}

// Pictures and the logo are asked for without a token; the rights may switch them off.
int BeforePreview(PreviewFrame* frame) {
  constexpr int kOpen = 0;
  return frame->state != kOpen || MayGoOn("") ? hostTable.PreviewCb(frame) : kNotAuthorised;
}

// WebSockets whose opening was refused: the host never hears of them.
class RefusedSockets {
 public:
  void Add(uint64_t id) {
    const std::lock_guard lock(mutex_);
    ids_.insert(id);
  }
  bool Has(uint64_t id) {
    const std::lock_guard lock(mutex_);
    return ids_.contains(id);
  }
  void Remove(uint64_t id) {
    const std::lock_guard lock(mutex_);
    ids_.erase(id);
  }

 private:
  std::mutex mutex_;
  std::set<uint64_t> ids_;
};
RefusedSockets refused;

int BeforeWebSocket(int event, const char* token, const char* data, int length) {
  enum Event : int { kOpened = 0, kText = 1, kClosed = 2 };
  constexpr int kPolicyViolation = 1008;
  const uint64_t id = SdkAPIExt_WebSocket_Current();
  if (event == kOpened && !MayGoOn(token)) {
    Guarded(kLog, [&] { return refused.Add(id), 0; });
    return SdkAPIExt_WebSocket_Close(id, kPolicyViolation, "not authorised");
  }
  if (refused.Has(id)) {
    if (event == kClosed) refused.Remove(id);
    return kNotAuthorised;
  }
  if (event == kText && !MayGoOn(token)) return kNotAuthorised;
  return hostTable.WebSocketCb(event, token, data, length);
}

std::atomic<bool> isGuarded{false};

void Guard(SdkAPISerHandle& table) {
  using Table = SdkAPISerHandle;
  int slots =
      PutBefore<MayGoOn, &Table::ChangeUserInfoCb, &Table::ManageUserCb, &Table::CustomRestoreCb,
                &Table::DownloadLogFileCb, &Table::DownloadCustomCb, &Table::DownloadSceneFileCb,
                &Table::GetTxRxListCb, &Table::GetPrivJsonCb, &Table::SpecifyPrivCb, &Table::DeletePrivCb,
                &Table::DownloadEdidFileCb, &Table::DownloadSettingFileCb, &Table::DownloadImageFileCb>(
          table);
  slots += PutBefore<MayUpload, &Table::UploadImageFileCb, &Table::UploadTxtFileCb, &Table::UploadCertFileCb,
                     &Table::UploadZipFileCb, &Table::UpgradeCb>(table);
  slots += Put<&Table::DeviceInfoCb>(table, BeforeDeviceInfo);
  slots += Put<&Table::PreviewCb>(table, BeforePreview);
  slots += Put<&Table::WebSocketCb>(table, BeforeWebSocket);
  if (slots == 0) kLog.Error("the table that is guarded has no slot yet: what is filled in later is open");
  isGuarded = true;
}

}  // namespace

bool MayGoOn(std::string_view token) {
  return Guarded(
      kLog, [&] { return Judge(token, nullptr); }, false);
}

bool IsGuarded() { return isGuarded; }

bool MayUpload(std::string_view token) {
  return Guarded(
      kLog, [&] { return Judge(token, "POST"); }, false);
}

}  // namespace sdkkit::accounts

void SdkKitAccounts_Guard(SdkAPISerHandle* table) {
  if (table != nullptr) sdkkit::accounts::Guard(*table);
}

int SdkKitAccounts_May(const char* token, const char* route, const char* method) {
  using namespace sdkkit::accounts;
  return sdkkit::Guarded(kLog, [&] {
    const auto accounts = TheAccounts();
    if (!accounts || route == nullptr) return -1;
    const auto user = accounts->Who(token != nullptr ? token : "");
    const char* const asked = method != nullptr ? method : "GET";
    return FaultOf(*accounts, user, sdkkit::CurrentRequest(), route, asked) == nullptr ? 0 : -1;
  });
}
