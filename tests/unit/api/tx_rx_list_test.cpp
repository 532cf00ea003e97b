// The list of transmitter and receiver units: the body.
#include <cstring>

#include "http/handlers.h"
#include "library_fixture.h"

namespace {

using sdktest::JsonReply;
using sdktest::TestHost;

struct ListCase {
  const char* name;
  std::string text;
  std::string body;
};
class TxRxListTest : public sdktest::LibraryTest, public testing::WithParamInterface<ListCase> {};

std::string Repeat(const std::string& text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += text;
  return all;
}

TEST_P(TxRxListTest, IsOneString) {
  TestHost::Get().txRxList = [](char* list) {
    EXPECT_EQ(std::string(list, 20480), std::string(20480, '\0'));
    std::memcpy(list, GetParam().text.data(), GetParam().text.size());
    return 0;
  };
  mg_connection conn("GET", "/getTxRxList");
  EXPECT_EQ(FuncGetTxRxList(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, JsonReply(200, GetParam().body));
}

INSTANTIATE_TEST_SUITE_P(Texts, TxRxListTest,
                         testing::Values(ListCase{"Empty", "", R"({"list":""})"},
                                         ListCase{"Plain", "RX01,TX02", R"({"list":"RX01,TX02"})"},
                                         ListCase{"Quotes", R"([{"name":"RX"}])",
                                                  R"({"list":"[{\"name\":\"RX\"}]"})"},
                                         ListCase{"Controls", "a\r\n\tb\\", R"({"list":"a\r\n\tb\\"})"},
                                         ListCase{"LongestOfQuotes", std::string(20479, '"'),
                                                  "{\"list\":\"" + Repeat("\\\"", 20479) + "\"}"},
                                         ListCase{"ForgottenTerminator", std::string(20480, 'x'),
                                                  "{\"list\":\"" + std::string(20479, 'x') + "\"}"}),
                         sdktest::ByName{});

}  // namespace
