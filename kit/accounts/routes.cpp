// The host's own routes behind the check of rights.
#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "accounts/accounts.h"
#include "accounts/guard.h"
#include "base/guarded.h"
#include "sdkapi/http.h"

namespace sdkkit::accounts {
namespace {

constexpr std::size_t kMostRoutes = 200;
constexpr std::size_t kMostLetters = 127;

// The library gives a function no context of its own: the request's route is the key.
template <class Function>
class Routes {
 public:
  bool Add(const char* uri, Function function) {
    const std::lock_guard lock(mutex_);
    if (functions_.size() >= kMostRoutes && !functions_.contains(uri)) return false;
    functions_[uri] = function;
    return true;
  }
  Function Current() {
    const SdkAPIExtRequest request = CurrentRequest();
    const std::lock_guard lock(mutex_);
    const auto found = functions_.find(request.route);
    return found != functions_.end() ? found->second : nullptr;
  }

 private:
  std::mutex mutex_;
  std::map<std::string, Function, std::less<>> functions_;
};

Routes<CustomGetPostFunction> getPosts;
Routes<CustomUploadFunction> uploads;
Routes<CustomDownloadFunction> downloads;

// GetHttpToken writes up to 1024 characters and no NUL.
std::string TokenOf(mg_connection* conn) {
  std::array<char, 1025> token{};
  GetHttpToken(conn, token.data());
  return token.data();
}

bool May(bool (*may)(std::string_view token), mg_connection* conn) {
  return Guarded(
      kLog, [&] { return may(TokenOf(conn)); }, false);
}

int ServeGetPost(mg_connection* conn, CustomReqInfo* request) {
  constexpr int kJson = 1;
  constexpr std::string_view kRefusal = R"({"error":"not authorised"})";
  const auto function = Guarded(
      kLog, [] { return getPosts.Current(); }, CustomGetPostFunction{});
  if (function != nullptr && May(MayGoOn, conn)) return function(conn, request);
  return SendReponseInfo(conn, 401, kJson, kRefusal.data(), static_cast<int>(kRefusal.size()));
}

int ServeUpload(mg_connection* conn, UploadCustomCtx* ctx) {
  const auto function = Guarded(
      kLog, [] { return uploads.Current(); }, CustomUploadFunction{});
  return function != nullptr && May(MayUpload, conn) ? function(conn, ctx) : kNotAuthorised;
}

int ServeDownload(mg_connection* conn, CustomDownloadInfo* info) {
  const auto function = Guarded(
      kLog, [] { return downloads.Current(); }, CustomDownloadFunction{});
  return function != nullptr && May(MayGoOn, conn) ? function(conn, info) : kNotAuthorised;
}

// The function is there before the first request can come.
template <class Function, class Register>
int Add(Routes<Function>& routes, const char* uri, Function function, Register registerRoute,
        Function served) {
  if (uri == nullptr || function == nullptr || std::string_view(uri).size() > kMostLetters) return -1;
  return Guarded(kLog, [&] { return routes.Add(uri, function) ? registerRoute(uri, served) : -1; });
}

}  // namespace
}  // namespace sdkkit::accounts

int SdkKitAccounts_Get_Post_Add(const char* uri, CustomGetPostFunction function) {
  using namespace sdkkit::accounts;
  return Add(getPosts, uri, function, SdkAPISer_Custom_Get_Post_Api_Add, ServeGetPost);
}

int SdkKitAccounts_Upload_Add(const char* uri, CustomUploadFunction function) {
  using namespace sdkkit::accounts;
  return Add(uploads, uri, function, SdkAPISer_Custom_Upload_Api_Add, ServeUpload);
}

int SdkKitAccounts_Download_Add(const char* uri, CustomDownloadFunction function) {
  using namespace sdkkit::accounts;
  return Add(downloads, uri, function, SdkAPISer_Custom_Download_Api_Add, ServeDownload);
}
