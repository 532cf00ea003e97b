// What the host is told of an upload's end, and limits of its size.
#include <cstring>
#include <vector>

#include "http/handlers.h"
#include "library_fixture.h"
#include "sdkapi/extension.h"

namespace {

using sdktest::FormField;
using sdktest::FormScript;
using sdktest::JsonReply;
using sdktest::LogCapture;
using sdktest::Strings;
using sdktest::TestHost;

std::vector<SdkAPIExtUpload> ends;
std::string answeredBefore;  // what the client had when the hook ran
mg_connection* client;

void Keep(const SdkAPIExtUpload* upload) {
  ends.push_back(*upload);
  answeredBefore = client->output;
}

FormScript OneFile() { return {{FormField{"file", "a.png", {{"abc"}}}}}; }

class UploadEndTest : public sdktest::LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    ends.clear();
    client = &conn_;
    ASSERT_EQ(SdkAPIExt_UploadEnd_Set(Keep), 0);
    conn_.Token("tok").Multipart(OneFile());
  }

  mg_connection conn_{"POST", "/upload/logo"};
};

TEST_F(UploadEndTest, TheEndIsToldBeforeTheAnswer) {
  FuncUploadImageFile(&conn_, nullptr);
  ASSERT_EQ(ends.size(), 1U);
  EXPECT_EQ(ends[0].size, sizeof(SdkAPIExtUpload));
  EXPECT_EQ(ends[0].family, kExtUploadImage);
  EXPECT_EQ(ends[0].funcId, 1);
  EXPECT_EQ(ends[0].completed, 1);
  EXPECT_EQ(ends[0].status, 200);
  EXPECT_EQ(ends[0].reserved, 0);
  EXPECT_NE(ends[0].file, nullptr);
  EXPECT_EQ(ends[0].custom, nullptr);
  EXPECT_EQ(answeredBefore, "");
  EXPECT_EQ(conn_.output, JsonReply(200));
}

TEST_F(UploadEndTest, ACustomUploadHasItsOwnRecord) {
  FuncUploadCustomHandle(&conn_, reinterpret_cast<void*>(TestHost::CustomUpload));
  ASSERT_EQ(ends.size(), 1U);
  EXPECT_EQ(ends[0].family, kExtUploadCustom);
  EXPECT_EQ(ends[0].funcId, -1);
  EXPECT_EQ(ends[0].file, nullptr);
  EXPECT_NE(ends[0].custom, nullptr);
}

TEST_F(UploadEndTest, AFailedFormEndsWithoutAFinalCall) {
  conn_.form.result = -1;
  FuncUpgrade(&conn_, nullptr);
  ASSERT_EQ(ends.size(), 1U);
  EXPECT_EQ(ends[0].completed, 0);
  EXPECT_EQ(ends[0].status, 406);
}

TEST_F(UploadEndTest, AFormWithoutFieldsHasNoEnd) {
  conn_.form.fields.clear();
  FuncUploadImageFile(&conn_, nullptr);
  EXPECT_TRUE(ends.empty());
}

TEST_F(UploadEndTest, WithoutALimitNothingIsLimited) {
  conn_.bodyLimitPassed = true;
  FuncUploadImageFile(&conn_, nullptr);
  EXPECT_EQ(conn_.output, JsonReply(200));
}

TEST_F(UploadEndTest, WhatPassedTheLimitIsAnswered413) {
  ASSERT_EQ(SdkAPIExt_Upload_Limit_Set(kExtUploadImage, 1000000), 0);
  conn_.bodyLimitPassed = true;
  TestHost::Get().upload = [this](const auto&, UploadFileCtx&) {
    EXPECT_EQ(conn_.bodyLimit, 1000000);
    return 0;
  };
  FuncUploadImageFile(&conn_, nullptr);
  EXPECT_EQ(conn_.output, JsonReply(413));
  EXPECT_EQ(conn_.bodyLimit, 0) << "the rest is read away";
  ASSERT_EQ(ends.size(), 1U);
  EXPECT_EQ(ends[0].completed, 0);
  EXPECT_EQ(ends[0].status, 413);
}

TEST_F(UploadEndTest, WhatIsAnnouncedIsRefusedAtOnce) {
  ASSERT_EQ(SdkAPIExt_Upload_Limit_Set(kExtUploadImage, 99), 0);
  conn_.contentLength = 100;
  FuncUploadImageFile(&conn_, nullptr);
  EXPECT_EQ(conn_.output, JsonReply(413));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
  EXPECT_FALSE(conn_.trace.ran);
  EXPECT_TRUE(ends.empty());
}

TEST_F(UploadEndTest, AsMuchAsMayComeIsTaken) {
  ASSERT_EQ(SdkAPIExt_Upload_Limit_Set(kExtUploadImage, 100), 0);
  conn_.contentLength = 100;
  FuncUploadImageFile(&conn_, nullptr);
  EXPECT_EQ(conn_.output, JsonReply(200));
}

TEST_F(UploadEndTest, LimitsRefuseBadArguments) {
  for (const int family : {-1, kExtUploadCustom + 1, 1000}) {
    EXPECT_EQ(SdkAPIExt_Upload_Limit_Set(family, 1), -1);
    EXPECT_EQ(Log(), Strings{"4 sdkapiext SdkAPIExt_Upload_Limit_Set: family unknown!!!!"});
    LogCapture::Clear();
  }
  EXPECT_EQ(SdkAPIExt_Upload_Limit_Set(kExtUploadImage, -1), -1);
  EXPECT_EQ(Log(), Strings{"4 sdkapiext SdkAPIExt_Upload_Limit_Set: fewer than no bytes!!!!"});
  EXPECT_EQ(SdkAPIExt_Upload_Limit_Set(kExtUploadCustom, 0), 0);
}

TEST_F(UploadEndTest, ARefusalOfTheCallerComesFirst) {
  ASSERT_EQ(SdkAPIExt_Upload_Limit_Set(kExtUploadImage, 1000000), 0);
  conn_.bodyLimitPassed = true;
  TestHost::Get().upload = [](const auto&, UploadFileCtx&) { return -2; };
  FuncUploadImageFile(&conn_, nullptr);
  EXPECT_EQ(conn_.output, JsonReply(401));
}

}  // namespace
