// What all device handlers share: the gate, the empty slot, and the status of a host's result.
#include "http/handlers.h"

#include "library_fixture.h"
#include "sdkapi/device.h"

namespace {

using sdktest::JsonReply;
using sdktest::Strings;
using sdktest::TestHost;

using Handle = int (*)(mg_connection*, void*);

struct Handler {
  const char* name;
  Handle handle;
  const char* uri;
  const char* refusal = "token err!!!!";  // the log text for an unknown token
  std::size_t tokenRoom = 1023;
  std::string call;  // what the host records for the token "tok"
  void (*clear)(SdkAPISerHandle& table);
  void (*answer)(int result);
  int notAuthorised = 401;  // the status for a host's -2
  int failure = 500;        // the status for any other failure
  const char* failureBody = "";
};

const Handler kHandlers[] = {
    {.name = "FuncDeviceInfo",
     .handle = FuncDeviceInfo,
     .uri = "/dev_info",
     .call = "DeviceInfoCb(tok, -1)",
     .clear = [](SdkAPISerHandle& table) { table.DeviceInfoCb = nullptr; },
     .answer = [](int result) { TestHost::Get().deviceInfo = [result](DeviceInfo&) { return result; }; }},
    {.name = "FunDeviceStatus",
     .handle = FunDeviceStatus,
     .uri = "/status",
     .call = "DeviceStatusCb()",
     .clear = [](SdkAPISerHandle& table) { table.DeviceStatusCb = nullptr; },
     .answer = [](int result) { TestHost::Get().deviceStatus = [result](char*) { return result; }; },
     .notAuthorised = 500,
     .failureBody = "{}"},
    {.name = "FuncGetTxRxList",
     .handle = FuncGetTxRxList,
     .uri = "/getTxRxList",
     .call = "GetTxRxListCb(tok)",
     .clear = [](SdkAPISerHandle& table) { table.GetTxRxListCb = nullptr; },
     .answer = [](int result) { TestHost::Get().txRxList = [result](char*) { return result; }; }},
    {.name = "FuncGetPrivJson",
     .handle = FuncGetPrivJson,
     .uri = "/getprivjson",
     .call = "GetPrivJsonCb(tok, 0)",
     .clear = [](SdkAPISerHandle& table) { table.GetPrivJsonCb = nullptr; },
     .answer = [](int result) { TestHost::Get().privJson = [result](PrivList&) { return result; }; }},
    {.name = "FunSpecityPriv",
     .handle = FunSpecityPriv,
     .uri = "/specifypriv",
     .refusal = "GetLoginHandle err!!!!",
     .tokenRoom = 255,
     .call = "SpecifyPrivCb(tok, , )",
     .clear = [](SdkAPISerHandle& table) { table.SpecifyPrivCb = nullptr; },
     .answer =
         [](int result) {
           TestHost::Get().specifyPriv = [result](const std::string&, const std::string&) { return result; };
         },
     .failure = 503},
    {.name = "FunDeletePriv",
     .handle = FunDeletePriv,
     .uri = "/delete_priv",
     .refusal = "GetLoginHandle err!!!!",
     .tokenRoom = 255,
     .call = "DeletePrivCb(tok, )",
     .clear = [](SdkAPISerHandle& table) { table.DeletePrivCb = nullptr; },
     .answer =
         [](int result) { TestHost::Get().deletePriv = [result](const std::string&) { return result; }; },
     .failure = 503},
    {.name = "FuncCustomRestore",
     .handle = FuncCustomRestore,
     .uri = "/custom_restore",
     .call = "CustomRestoreCb(tok, 16, 0)",
     .clear = [](SdkAPISerHandle& table) { table.CustomRestoreCb = nullptr; },
     .answer =
         [](int result) { TestHost::Get().customRestore = [result](CustomRestoreArg&) { return result; }; }},
};

void PrintTo(const Handler& handler, std::ostream* out) { *out << handler.name; }

class DeviceHandlerTest : public sdktest::LibraryTest, public testing::WithParamInterface<Handler> {
 protected:
  int Handle(mg_connection& conn) const { return GetParam().handle(&conn, nullptr); }

  mg_connection conn_{"GET", GetParam().uri};
};

TEST_P(DeviceHandlerTest, AnUnknownTokenIsNotAuthorised) {
  RequireLogin();
  LogIn("tok");
  conn_.Token("nobody");
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(conn_.output, JsonReply(401));
  EXPECT_EQ(Log(), (Strings{"1 sdkapi req http token nobody", std::string("4 sdkapi ") + GetParam().refusal,
                            "1 sdkapi send =>" + JsonReply(401)}));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
}

TEST_P(DeviceHandlerTest, WithoutATokenNothingIsAuthorised) {
  RequireLogin();
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(conn_.output, JsonReply(401));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
}

TEST_P(DeviceHandlerTest, TheLoginsTokenReachesTheHost) {
  RequireLogin();
  LogIn("tok");
  conn_.Token("tok");
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{GetParam().call});
  EXPECT_EQ(conn_.output.substr(0, 17), "HTTP/1.1 200 OK\r\n");
  EXPECT_FALSE(conn_.keepAlive);
}

TEST_P(DeviceHandlerTest, WithAuthenticationOffAnyTokenReachesTheHost) {
  conn_.Token("tok");
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{GetParam().call});
}

TEST_P(DeviceHandlerTest, ATokenLongerThanItsRoomIsCut) {
  conn_.Token(std::string(1200, 't'));
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(Log()[0], "1 sdkapi req http token " + std::string(GetParam().tokenRoom, 't'));
}

TEST_P(DeviceHandlerTest, AnEmptySlotIsLeftToTheWebServer) {
  SdkAPISerHandle table = TestHost::Table();
  GetParam().clear(table);
  Install(table);
  EXPECT_EQ(Handle(conn_), 0);
  EXPECT_EQ(conn_.output, "");
  EXPECT_TRUE(conn_.keepAlive);
  EXPECT_EQ(Log(), Strings{std::string("4 sdkapi ") + GetParam().name + " not registered!!!!"});
}

TEST_P(DeviceHandlerTest, TheSlotOfTheLoginsCopyCounts) {
  RequireLogin();
  LogIn("tok");
  SdkAPISerHandle table = TestHost::Table();
  GetParam().clear(table);
  Install(table);
  conn_.Token("tok");
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{GetParam().call});
}

TEST_P(DeviceHandlerTest, TheHostsRefusalGivesItsStatus) {
  GetParam().answer(-2);
  EXPECT_EQ(Handle(conn_), 1);
  const int status = GetParam().notAuthorised;
  EXPECT_EQ(conn_.output, JsonReply(status, status == 401 ? "" : GetParam().failureBody));
  EXPECT_EQ(Log(), Strings{"1 sdkapi send =>" + conn_.output});
}

TEST_P(DeviceHandlerTest, TheHostsFailureGivesItsStatus) {
  for (const int result : {-1, 1, 5, -3, 2147483647}) {
    GetParam().answer(result);
    mg_connection conn("GET", GetParam().uri);
    EXPECT_EQ(Handle(conn), 1);
    EXPECT_EQ(conn.output, JsonReply(GetParam().failure, GetParam().failureBody)) << result;
  }
}

TEST_P(DeviceHandlerTest, MethodAndBodyAreNotLookedAt) {
  mg_connection get("GET", GetParam().uri);
  mg_connection post("POST", GetParam().uri);
  post.Body(std::string(3000, 'b'));
  Handle(get);
  Handle(post);
  EXPECT_EQ(get.output, post.output);
  EXPECT_EQ(post.bodyRead, 3000U) << "an unread body is drained";
}

INSTANTIATE_TEST_SUITE_P(Handlers, DeviceHandlerTest, testing::ValuesIn(kHandlers), sdktest::ByName{});

}  // namespace
