// Adding the host's own routes.
#include "http/handlers.h"
#include "library_fixture.h"

namespace {

using sdktest::Route;
using sdktest::Server;
using sdktest::Strings;
using sdktest::TestHost;

struct Kind {
  const char* name;
  int (*add)(const char* uri, bool withFunction);
  mg_request_handler handler;
  void* cbdata;
};
void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }

class RegistrationTest : public sdktest::LibraryTest, public testing::WithParamInterface<Kind> {
 protected:
  RegistrationTest() { SdkAPISer_Init(); }

  static void Start() {
    const SdkAPISerHandle table = TestHost::Table();
    ASSERT_EQ(SdkAPISer_Start(&table), 0);
    Server().routes.clear();
  }
};

TEST_P(RegistrationTest, BindsTheHostFunctionWhileTheServerRuns) {
  Start();
  EXPECT_EQ(GetParam().add("/own$", true), 0);
  ASSERT_EQ(Server().routes.size(), 1U);
  EXPECT_EQ(Server().routes[0].uri, "/own$");
  EXPECT_EQ(Server().routes[0].handler, GetParam().handler);
  EXPECT_EQ(Server().routes[0].cbdata, GetParam().cbdata);
  EXPECT_EQ(Log(), Strings{});
}

TEST_P(RegistrationTest, TakesANullFunctionAndTheSamePatternAgain) {
  Start();
  EXPECT_EQ(GetParam().add("/own", true), 0);
  EXPECT_EQ(GetParam().add("/own", false), 0);
  ASSERT_EQ(Server().routes.size(), 2U);
  EXPECT_EQ(Server().routes[1].cbdata, nullptr);
}

TEST_P(RegistrationTest, RefusesANullPattern) {
  Start();
  EXPECT_EQ(GetParam().add(nullptr, true), -1);
  EXPECT_TRUE(Server().routes.empty());
  EXPECT_EQ(Log(), Strings{});
}

TEST_P(RegistrationTest, AsksForTheServerBeforeThePattern) {
  EXPECT_EQ(GetParam().add(nullptr, true), -1);
  EXPECT_EQ(Log(), Strings{"4 sdkapi ctx error.."});
}

TEST_P(RegistrationTest, IsRefusedWhileNoServerRuns) {
  EXPECT_EQ(GetParam().add("/own", true), -1);
  EXPECT_EQ(Log(), Strings{"4 sdkapi ctx error.."});
  EXPECT_TRUE(Server().routes.empty());
}

TEST_P(RegistrationTest, IsRefusedAfterAStop) {
  Start();
  SdkAPISer_Stop(nullptr);
  sdktest::LogCapture::Clear();
  EXPECT_EQ(GetParam().add("/own", true), -1);
  EXPECT_EQ(Log(), Strings{"4 sdkapi ctx error.."});
  EXPECT_TRUE(Server().routes.empty());
}

TEST_P(RegistrationTest, IsRefusedAfterAFailedStart) {
  Server().failStart = true;
  const SdkAPISerHandle table = TestHost::Table();
  EXPECT_EQ(SdkAPISer_Start(&table), -1);
  EXPECT_EQ(GetParam().add("/own", true), -1);
  EXPECT_TRUE(Server().routes.empty());
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, RegistrationTest,
    testing::Values(Kind{"GetPost",
                         [](const char* uri, bool with) {
                           return SdkAPISer_Custom_Get_Post_Api_Add(uri,
                                                                    with ? TestHost::CustomGetPost : nullptr);
                         },
                         FuncCustomGetPost, reinterpret_cast<void*>(TestHost::CustomGetPost)},
                    Kind{"Upload",
                         [](const char* uri, bool with) {
                           return SdkAPISer_Custom_Upload_Api_Add(uri,
                                                                  with ? TestHost::CustomUpload : nullptr);
                         },
                         FuncUploadCustomHandle, reinterpret_cast<void*>(TestHost::CustomUpload)},
                    Kind{"Download",
                         [](const char* uri, bool with) {
                           return SdkAPISer_Custom_Download_Api_Add(
                               uri, with ? TestHost::CustomDownload : nullptr);
                         },
                         FuncDownloadCustomHandle, reinterpret_cast<void*>(TestHost::CustomDownload)}),
    sdktest::ByName{});

}  // namespace
