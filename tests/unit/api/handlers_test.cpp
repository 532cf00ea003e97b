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
  const char* refusal;  // the log text for an unknown token
  std::size_t tokenRoom;
  std::string call;  // what the host records for the token "tok"
  void (*clear)(SdkAPISerHandle& table);
  void (*answer)(int result);
  int notAuthorised;  // the status for a host's -2
  int failure;        // the status for any other failure
  const char* failureBody;
};

const Handler kHandlers[] = {
    {"FuncDeviceInfo", FuncDeviceInfo, "/dev_info", "token err!!!!", 1023, "DeviceInfoCb(tok, -1)",
     [](SdkAPISerHandle& table) { table.DeviceInfoCb = nullptr; },
     [](int result) { TestHost::Get().deviceInfo = [result](DeviceInfo&) { return result; }; }, 401, 500, ""},
    {"FunDeviceStatus", FunDeviceStatus, "/status", "token err!!!!", 1023, "DeviceStatusCb()",
     [](SdkAPISerHandle& table) { table.DeviceStatusCb = nullptr; },
     [](int result) { TestHost::Get().deviceStatus = [result](char*) { return result; }; }, 500, 500, "{}"},
    {"FuncGetTxRxList", FuncGetTxRxList, "/getTxRxList", "token err!!!!", 1023, "GetTxRxListCb(tok)",
     [](SdkAPISerHandle& table) { table.GetTxRxListCb = nullptr; },
     [](int result) { TestHost::Get().txRxList = [result](char*) { return result; }; }, 401, 500, ""},
    {"FuncGetPrivJson", FuncGetPrivJson, "/getprivjson", "token err!!!!", 1023, "GetPrivJsonCb(tok, 0)",
     [](SdkAPISerHandle& table) { table.GetPrivJsonCb = nullptr; },
     [](int result) { TestHost::Get().privJson = [result](PrivList&) { return result; }; }, 401, 500, ""},
    {"FunSpecityPriv", FunSpecityPriv, "/specifypriv", "GetLoginHandle err!!!!", 255,
     "SpecifyPrivCb(tok, , )", [](SdkAPISerHandle& table) { table.SpecifyPrivCb = nullptr; },
     [](int result) {
       TestHost::Get().specifyPriv = [result](const std::string&, const std::string&) { return result; };
     },
     401, 503, ""},
    {"FunDeletePriv", FunDeletePriv, "/delete_priv", "GetLoginHandle err!!!!", 255, "DeletePrivCb(tok, )",
     [](SdkAPISerHandle& table) { table.DeletePrivCb = nullptr; },
     [](int result) { TestHost::Get().deletePriv = [result](const std::string&) { return result; }; }, 401,
     503, ""},
    {"FuncCustomRestore", FuncCustomRestore, "/custom_restore", "token err!!!!", 1023,
     "CustomRestoreCb(tok, 16, 0)", [](SdkAPISerHandle& table) { table.CustomRestoreCb = nullptr; },
     [](int result) { TestHost::Get().customRestore = [result](CustomRestoreArg&) { return result; }; }, 401,
     500, ""},
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
