// The end of uploads, told to the host once each, and limits of their size.
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <utility>

#include "chunked.h"
#include "sdkapi/extension.h"
#include "server_test_base.h"
#include "upload_routes.h"
#include "waiting.h"

namespace integration {
namespace {

constexpr char kInvalidFile[] = R"({"result":"Invalid File"})";

struct End {
  int family;
  int funcId;
  int completed;
  int status;
  std::string token;
  bool custom;
  std::string extra;

  bool operator==(const End&) const = default;
};

void PrintTo(const End& end, std::ostream* out) {
  *out << "family " << end.family << " kind " << end.funcId << " completed " << end.completed << " status "
       << end.status << " token " << end.token << (end.custom ? " custom " : " ") << end.extra;
}

// Hooks carry no context.
std::mutex endsMutex;
std::vector<End> ends;

void Keep(const SdkAPIExtUpload* upload) {
  EXPECT_EQ(upload->size, sizeof(SdkAPIExtUpload));
  EXPECT_NE(upload->file == nullptr, upload->custom == nullptr);
  char*& extra = upload->file != nullptr ? upload->file->extra : upload->custom->extra;
  const std::lock_guard lock(endsMutex);
  ends.push_back({upload->family, upload->funcId, upload->completed, upload->status, upload->token,
                  upload->custom != nullptr, extra != nullptr ? extra : ""});
  std::free(std::exchange(extra, nullptr));
}

std::vector<End> Ends() {
  const std::lock_guard lock(endsMutex);
  return ends;
}

void ForgetEnds() {
  const std::lock_guard lock(endsMutex);
  ends.clear();
}

int FamilyOf(const UploadRoute& route) {
  static const std::map<std::string, int> families{
      {"UploadImageFileCb", kExtUploadImage}, {"UploadTxtFileCb", kExtUploadText},
      {"UploadZipFileCb", kExtUploadArchive}, {"UploadCertFileCb", kExtUploadCertificate},
      {"UpgradeCb", kExtUploadFirmware},      {"CustomUpload", kExtUploadCustom}};
  return families.at(route.slot);
}

int StatusOfFailedParse(const UploadRoute& route) {
  return route.refusal == Refusal::kFirmware || route.refusal == Refusal::kInvalidFileCertificate ? 406 : 500;
}

class UploadEndTest : public ModeTest {
 protected:
  void SetUp() override {
    ModeTest::SetUp();
    ASSERT_EQ(SdkAPISer_Custom_Upload_Api_Add("/custom/upload$", TestHost::CustomUpload), 0);
    ForgetEnds();
    ASSERT_EQ(SdkAPIExt_UploadEnd_Set(Keep), 0);
  }

  void TearDown() override {
    SdkAPIExt_UploadEnd_Set(nullptr);
    for (int family = kExtUploadImage; family <= kExtUploadCustom; ++family) {
      EXPECT_EQ(SdkAPIExt_Upload_Limit_Set(family, 0), 0);
    }
    ModeTest::TearDown();
  }

  End Expected(const UploadRoute& route, int completed, int status, const std::string& extra = "") const {
    const bool custom = route.refusal == Refusal::kCustom;
    return {FamilyOf(route), custom ? -1 : route.funcId, completed, status, token(), custom, extra};
  }

  std::string Chunked(const std::string& target, const std::string& body) const {
    return "POST " + target + " HTTP/1.1\r\nHost: a\r\n" + Authorization() +
           "\r\nContent-Type: multipart/form-data; boundary=BOUNDARYxyz\r\nTransfer-Encoding: "
           "chunked\r\n\r\n" +
           sdktest::Chunked(body, 5000);
  }
};

INSTANTIATE_TEST_SUITE_P(Modes, UploadEndTest, AllModes(), ModeName);

TEST_P(UploadEndTest, AWholeUploadEndsOnceWithItsRecord) {
  for (const UploadRoute& route : UploadRoutes()) {
    for (const int result : {0, 7}) {
      SCOPED_TRACE(std::string(route.target) + " final call " + std::to_string(result));
      ForgetEnds();
      host().OnEveryUpload([&](const UploadStep& step, auto& record) {
        if (step.endFlag == 0) return 0;
        std::free(record.extra);
        record.extra = strdup("of the host");
        return result;
      });
      ExpectReply(Send(UploadRequest(route.target, MultipartBody({{"f", "x", "f"}, {"n", "y", ""}}))),
                  result == 0 ? 200 : 500);
      EXPECT_EQ(Ends(), std::vector{Expected(route, 1, result == 0 ? 200 : 500, "of the host")});
    }
  }
}

TEST_P(UploadEndTest, ARefusedUploadEndsWithItsStatus) {
  for (const UploadRoute& route : UploadRoutes()) {
    SCOPED_TRACE(route.target);
    ForgetEnds();
    host().OnEveryUpload([](const UploadStep&, auto&) { return -2; });
    ExpectReply(Send(UploadRequest(route.target, MultipartBody({{"f", "x", "f"}, {"n", "y", ""}}))), 401);
    EXPECT_EQ(Ends(), std::vector{Expected(route, 0, 401)});
  }
}

TEST_P(UploadEndTest, ABadFormEndsOnce) {
  const std::string whole = MultipartBody({{"f", "content", "f.bin"}, {"g", "more", ""}});
  for (const UploadRoute& route : UploadRoutes()) {
    SCOPED_TRACE(route.target);
    ForgetEnds();
    const int status = StatusOfFailedParse(route);
    ExpectReply(Send(UploadRequest(route.target, whole.substr(0, whole.size() - 22))), status,
                status == 406 ? kInvalidFile : "");
    EXPECT_EQ(Ends(), std::vector{Expected(route, 0, status)});
  }
}

TEST_P(UploadEndTest, AClientThatVanishesEndsItsUpload) {
  for (const UploadRoute& route : UploadRoutes()) {
    for (const bool reset : {false, true}) {
      SCOPED_TRACE(std::string(route.target) + (reset ? " reset" : " closed"));
      ForgetEnds();
      host().ForgetCalls();
      HttpRequest request = UploadRequest(route.target, MultipartBody({{"f", SampleBytes(60000), "f"}}));
      request.headers.push_back(Authorization());
      const std::string bytes = request.Bytes();
      Connection client(Server::Get().port(mode().https), mode().https);
      ASSERT_TRUE(client.Send(bytes.substr(0, bytes.size() - 20000)));
      ASSERT_TRUE(host().WaitForCount(route.slot, 1));
      EXPECT_TRUE(Ends().empty());
      reset ? client.Abort() : client.Close();
      ASSERT_TRUE(Eventually([] { return !Ends().empty(); }));
      EXPECT_EQ(Ends(), std::vector{Expected(route, 0, StatusOfFailedParse(route))});
    }
  }
}

TEST_P(UploadEndTest, WithoutACallForAFieldNoEndIsTold) {
  for (const UploadRoute& route : UploadRoutes()) {
    SCOPED_TRACE(route.target);
    ExpectReply(Send(UploadRequest(route.target, "--BOUNDARYxyz--\r\n")), 200);
    Send(UploadRequest(route.target, "no form"));
    EXPECT_TRUE(Ends().empty());
  }
}

TEST_P(UploadEndTest, NoEndIsToldToAHostThatTookItsHookBack) {
  ASSERT_EQ(SdkAPIExt_UploadEnd_Set(nullptr), 0);
  ExpectReply(Send(UploadRequest("/upload/logo", MultipartBody({{"f", "x", "f"}}))), 200);
  EXPECT_TRUE(Ends().empty());
}

TEST_P(UploadEndTest, MoreThanTheLimitIsRefusedBeforeTheHostIsCalled) {
  const std::string body = MultipartBody({{"f", SampleBytes(3000), "f"}});
  for (const UploadRoute& route : UploadRoutes()) {
    SCOPED_TRACE(route.target);
    host().ForgetCalls();
    LogCapture::Clear();
    const auto size = static_cast<int64_t>(body.size());
    ASSERT_EQ(SdkAPIExt_Upload_Limit_Set(FamilyOf(route), size - 1), 0);
    ExpectReply(Send(UploadRequest(route.target, body)), 413);
    EXPECT_TRUE(host().Calls().empty());
    EXPECT_TRUE(Ends().empty());
    const char* const source = route.refusal == Refusal::kCustom ? "sdkapicustom" : "sdkapiupload";
    EXPECT_EQ(LogCapture::Count(4, "upload is larger than allowed!!!!", source), 1);
    ASSERT_EQ(SdkAPIExt_Upload_Limit_Set(FamilyOf(route), size), 0);
    ExpectReply(Send(UploadRequest(route.target, body)), 200);
    ASSERT_EQ(SdkAPIExt_Upload_Limit_Set(FamilyOf(route), 0), 0);
    ForgetEnds();
  }
}

TEST_P(UploadEndTest, AChunkedBodyIsCutAtTheLimit) {
  const std::string body = MultipartBody({{"f", SampleBytes(60000), "f"}});
  const auto size = static_cast<int64_t>(body.size());
  for (const UploadRoute& route : UploadRoutes()) {
    SCOPED_TRACE(route.target);
    for (const int64_t limit : {size - 1, int64_t{30000}}) {
      ForgetEnds();
      host().Reset();
      ASSERT_EQ(SdkAPIExt_Upload_Limit_Set(FamilyOf(route), limit), 0);
      ExpectReply(Send(Chunked(route.target, body)), 413);
      EXPECT_EQ(Ends(), std::vector{Expected(route, 0, 413)});
      std::size_t received = 0;
      for (const UploadStep& step : host().Uploads()) received += step.data.size();
      EXPECT_LE(received, static_cast<std::size_t>(limit));
    }
    ForgetEnds();
    ASSERT_EQ(SdkAPIExt_Upload_Limit_Set(FamilyOf(route), size), 0);
    ExpectReply(Send(Chunked(route.target, body)), 200);
    EXPECT_EQ(Ends(), std::vector{Expected(route, 1, 200)});
    ASSERT_EQ(SdkAPIExt_Upload_Limit_Set(FamilyOf(route), 0), 0);
  }
}

TEST_P(UploadEndTest, WhatTheHostDoesNotSeeCountsToo) {
  ASSERT_EQ(SdkAPIExt_Upload_Limit_Set(kExtUploadImage, 20000), 0);
  // The field is skipped, and what stands before the form belongs to none.
  host().OnEveryUpload([](const UploadStep&, auto&) { return 5; });
  ExpectReply(Send(Chunked("/upload/logo", MultipartBody({{"f", SampleBytes(60000), "f"}}))), 413);
  const std::string preamble = std::string(60000, 'p') + "\r\n";
  ExpectReply(Send(Chunked("/upload/logo", preamble + MultipartBody({{"f", "x", "f"}}))), 413);
}

TEST_P(UploadEndTest, AClientThatIsStillSendingReadsItsRefusal) {
  ASSERT_EQ(SdkAPIExt_Upload_Limit_Set(kExtUploadImage, 1000), 0);
  HttpRequest request =
      UploadRequest("/upload/logo", MultipartBody({{"f", std::string(20000000, 'x'), "f"}}));
  request.headers.push_back(Authorization());
  Connection client(Server::Get().port(mode().https), mode().https);
  EXPECT_TRUE(client.Send(request.Bytes()));
  ExpectReply(ParseResponse(client.ReadToEnd()), 413);
  EXPECT_EQ(client.end(), Connection::End::kEof);
}

TEST_P(UploadEndTest, EachFamilyHasItsOwnLimit) {
  ASSERT_EQ(SdkAPIExt_Upload_Limit_Set(kExtUploadText, 10), 0);
  ExpectReply(Send(UploadRequest("/upload/logo", MultipartBody({{"f", "x", "f"}}))), 200);
  ExpectReply(Send(UploadRequest("/upload/edid", MultipartBody({{"f", "x", "f"}}))), 413);
}

TEST_P(UploadEndTest, AStrangerIsRefusedAsEver) {
  if (!mode().auth) return;
  ASSERT_EQ(SdkAPIExt_Upload_Limit_Set(kExtUploadImage, 10), 0);
  ExpectReply(SendBare(UploadRequest("/upload/logo", MultipartBody({{"f", "x", "f"}}))), 401);
}

TEST_P(UploadEndTest, BadLimitsChangeNothing) {
  ASSERT_EQ(SdkAPIExt_Upload_Limit_Set(kExtUploadText, 10), 0);
  struct Row {
    int family;
    int64_t bytes;
    const char* reason;
  };
  for (const Row& row : {Row{-1, 5, "family unknown"}, Row{6, 5, "family unknown"},
                         Row{kExtUploadText, -1, "fewer than no bytes"}}) {
    LogCapture::Clear();
    EXPECT_EQ(SdkAPIExt_Upload_Limit_Set(row.family, row.bytes), -1);
    const std::string line = std::string("SdkAPIExt_Upload_Limit_Set: ") + row.reason + "!!!!";
    EXPECT_EQ(LogCapture::Count(4, line, "sdkapiext"), 1);
  }
  ExpectReply(Send(UploadRequest("/upload/edid", MultipartBody({{"f", "x", "f"}}))), 413);
}

// The composer that hosts use has its nine statuses, whatever the library answers itself.
TEST_P(UploadEndTest, TheHostsComposerStillRefuses413) {
  char out[1024] = "untouched";
  EXPECT_EQ(GroupRespHttpMsg(413, "{}", 2, out, 1), -1);
  EXPECT_STREQ(out, "untouched");
}

}  // namespace
}  // namespace integration
