// Device information and up-time: the bodies.
#include <cstring>

#include "base/text.h"
#include "http/handlers.h"
#include "library_fixture.h"
#include "sdkapi/device.h"

namespace {

using sdktest::JsonReply;
using sdktest::TestHost;

struct InfoCase {
  const char* name;
  void (*fill)(DeviceInfo& info);
  std::string body;
};
class DeviceInfoTest : public sdktest::LibraryTest, public testing::WithParamInterface<InfoCase> {};

TEST_P(DeviceInfoTest, ReportsWhatTheHostSet) {
  TestHost::Get().deviceInfo = [](DeviceInfo& info) {
    DeviceInfo expected{};
    expected.timeout = -1;
    EXPECT_EQ(std::memcmp(&info, &expected, sizeof expected), 0) << "zeroed, time-out preset";
    GetParam().fill(info);
    return 0;
  };
  for (const char* const uri : {"/dev_info", "/getdevicetime"}) {
    mg_connection conn("GET", uri);
    EXPECT_EQ(FuncDeviceInfo(&conn, nullptr), 1);
    EXPECT_EQ(conn.output, JsonReply(200, GetParam().body));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Records, DeviceInfoTest,
    testing::Values(
        InfoCase{"Nothing", [](DeviceInfo&) {}, "{}"},
        InfoCase{"All",
                 [](DeviceInfo& record) {
                   sdkapi::CopyText(record.model, "M1");
                   sdkapi::CopyText(record.security, "high");
                   record.timeout = 300;
                   sdkapi::CopyText(record.devicetime, "2024-01-02 03:04:05");
                 },
                 R"({"model":"M1","security":"high","timeout":"300","devicetime":"2024-01-02 03:04:05"})"},
        InfoCase{"TimeoutOnly", [](DeviceInfo& record) { record.timeout = 300; }, R"({"timeout":"300"})"},
        InfoCase{"TimeoutZero", [](DeviceInfo& record) { record.timeout = 0; }, R"({"timeout":"0"})"},
        InfoCase{"TimeoutNegative", [](DeviceInfo& record) { record.timeout = -2147483647 - 1; },
                 R"({"timeout":"-2147483648"})"},
        InfoCase{"ModelOnly", [](DeviceInfo& record) { sdkapi::CopyText(record.model, "M\"1\""); },
                 R"({"model":"M\"1\""})"},
        InfoCase{"SecurityOnly", [](DeviceInfo& record) { sdkapi::CopyText(record.security, "s"); },
                 R"({"security":"s"})"},
        InfoCase{"TimeOnly", [](DeviceInfo& record) { sdkapi::CopyText(record.devicetime, "t"); },
                 R"({"devicetime":"t"})"},
        InfoCase{"ReservedIsNotRead",
                 [](DeviceInfo& record) { std::memset(record.reserved, 'r', sizeof record.reserved); }, "{}"},
        InfoCase{"ForgottenTerminators",
                 [](DeviceInfo& record) {
                   std::memset(record.model, 'm', sizeof record.model);
                   std::memset(record.security, 's', sizeof record.security);
                   std::memset(record.devicetime, 't', sizeof record.devicetime);
                 },
                 R"({"model":")" + std::string(31, 'm') + R"(","security":")" + std::string(31, 's') +
                     R"(","devicetime":")" + std::string(323, 't') + "\"}"}),
    sdktest::ByName{});

class DeviceStatusTest : public sdktest::LibraryTest {};

TEST_F(DeviceStatusTest, ReportsTheHostsText) {
  TestHost::Get().deviceStatus = [](char* uptime) {
    EXPECT_EQ(std::string(uptime, 32), std::string(32, '\0'));
    std::strcpy(uptime, "3 days");
    return 0;
  };
  mg_connection conn;
  EXPECT_EQ(FunDeviceStatus(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, JsonReply(200, R"({"device_status":{"uptime":"3 days"}})"));
}

TEST_F(DeviceStatusTest, ReportsAnEmptyText) {
  mg_connection conn;
  EXPECT_EQ(FunDeviceStatus(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, JsonReply(200, R"({"device_status":{"uptime":""}})"));
}

TEST_F(DeviceStatusTest, AForgottenTerminatorDoesNoHarm) {
  TestHost::Get().deviceStatus = [](char* uptime) {
    std::memset(uptime, 'u', 32);
    return 0;
  };
  mg_connection conn;
  FunDeviceStatus(&conn, nullptr);
  EXPECT_EQ(conn.output, JsonReply(200, R"({"device_status":{"uptime":")" + std::string(31, 'u') + "\"}}"));
}

}  // namespace
