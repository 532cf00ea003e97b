// Privilege pictures: the list's body, and the parameters of the two writing handlers.
#include <cstring>

#include "base/text.h"
#include "http/handlers.h"
#include "library_fixture.h"

namespace {

using sdktest::AllocatePrivEntries;
using sdktest::JsonReply;
using sdktest::Strings;
using sdktest::TestHost;

class PrivilegesTest : public sdktest::LibraryTest {
 protected:
  static std::string Reply() {
    mg_connection conn("GET", "/getprivjson");
    EXPECT_EQ(FuncGetPrivJson(&conn, nullptr), 1);
    return conn.output;
  }
};

TEST_F(PrivilegesTest, TheRecordIsZeroed) {
  TestHost::Get().privJson = [](PrivList& list) {
    EXPECT_EQ(list.count, 0);
    EXPECT_EQ(list.entries, nullptr);
    return 0;
  };
  EXPECT_EQ(Reply(), JsonReply(200, R"({"picnum":0,"6000list":[]})"));
}

TEST_F(PrivilegesTest, EntriesAreListedInOrder) {
  TestHost::Get().privJson = [](PrivList& list) {
    list.count = 2;
    list.entries = AllocatePrivEntries(2);
    list.entries[0].serialnum = 7;
    list.entries[0].hostcount = 2;
    sdkapi::CopyText(list.entries[0].hostname[0], "RX01");
    sdkapi::CopyText(list.entries[0].hostname[1], "RX02");
    sdkapi::CopyText(list.entries[0].picname, "a.png");
    list.entries[1].serialnum = -1;
    sdkapi::CopyText(list.entries[1].picname, "b \"c\".png");
    return 0;
  };
  EXPECT_EQ(Reply(), JsonReply(200, R"({"picnum":2,"6000list":[)"
                                    R"({"serialnum":7,"picname":"a.png","hostname":["RX01","RX02"]},)"
                                    R"({"serialnum":-1,"picname":"b \"c\".png","hostname":[]}]})"));
}

struct CountCase {
  const char* name;
  int hostcount;
  int listed;
};
class HostCountTest : public PrivilegesTest, public testing::WithParamInterface<CountCase> {};

TEST_P(HostCountTest, ListsUpTo99Names) {
  TestHost::Get().privJson = [](PrivList& list) {
    list.count = 1;
    list.entries = AllocatePrivEntries(1);
    list.entries[0].hostcount = GetParam().hostcount;
    for (auto& hostname : list.entries[0].hostname) sdkapi::CopyText(hostname, "h");
    return 0;
  };
  std::string names;
  for (int i = 0; i < GetParam().listed; ++i) names += i == 0 ? "\"h\"" : ",\"h\"";
  EXPECT_EQ(Reply(), JsonReply(200, R"({"picnum":1,"6000list":[{"serialnum":0,"picname":"","hostname":[)" +
                                        names + "]}]}"));
}

INSTANTIATE_TEST_SUITE_P(Counts, HostCountTest,
                         testing::Values(CountCase{"None", 0, 0}, CountCase{"One", 1, 1},
                                         CountCase{"Most", 99, 99}, CountCase{"AllRows", 100, 0},
                                         CountCase{"Impossible", 1000000, 0}, CountCase{"Negative", -1, 0}),
                         sdktest::ByName{});

TEST_F(PrivilegesTest, ANullArrayEndsTheWalk) {
  TestHost::Get().privJson = [](PrivList& list) {
    list.count = 3;
    return 0;
  };
  EXPECT_EQ(Reply(), JsonReply(200, R"({"picnum":3,"6000list":[]})"));
}

TEST_F(PrivilegesTest, ANegativeCountListsNothing) {
  TestHost::Get().privJson = [](PrivList& list) {
    list.count = -4;
    list.entries = AllocatePrivEntries(1);
    return 0;
  };
  EXPECT_EQ(Reply(), JsonReply(200, R"({"picnum":-4,"6000list":[]})"));
}

TEST_F(PrivilegesTest, ForgottenTerminatorsDoNoHarm) {
  TestHost::Get().privJson = [](PrivList& list) {
    list.count = 1;
    list.entries = AllocatePrivEntries(1);
    list.entries[0].hostcount = 1;
    std::memset(list.entries[0].hostname, 'h', sizeof list.entries[0].hostname);
    std::memset(list.entries[0].picname, 'p', sizeof list.entries[0].picname);
    return 0;
  };
  EXPECT_EQ(Reply(),
            JsonReply(200, R"({"picnum":1,"6000list":[{"serialnum":0,"picname":")" + std::string(127, 'p') +
                               R"(","hostname":[")" + std::string(127, 'h') + "\"]}]}"));
}

TEST_F(PrivilegesTest, TheLargestListArrivesWhole) {
  TestHost::Get().privJson = [](PrivList& list) {
    list.count = 200;
    list.entries = AllocatePrivEntries(200);
    for (int i = 0; i < 200; ++i) {
      list.entries[i].serialnum = i;
      list.entries[i].hostcount = 99;
      for (auto& hostname : list.entries[i].hostname) std::memset(hostname, 'n', sizeof hostname - 1);
      sdkapi::CopyText(list.entries[i].picname, "p.png");
    }
    return 0;
  };
  std::string names = "\"" + std::string(127, 'n') + "\"";
  for (int i = 1; i < 99; ++i) names += ",\"" + std::string(127, 'n') + "\"";
  std::string body = R"({"picnum":200,"6000list":[)";
  for (int i = 0; i < 200; ++i) {
    body += (i == 0 ? "" : ",") + std::string(R"({"serialnum":)") + std::to_string(i) +
            R"(,"picname":"p.png","hostname":[)" + names + "]}";
  }
  EXPECT_EQ(Reply(), JsonReply(200, body + "]}"));
}

// The sanitizer's leak check tells whether the array was released.
TEST_F(PrivilegesTest, TheArrayIsReleasedAfterAFailureToo) {
  for (const int result : {-2, -1}) {
    TestHost::Get().privJson = [result](PrivList& list) {
      list.count = 1;
      list.entries = AllocatePrivEntries(1);
      return result;
    };
    EXPECT_EQ(Reply(), JsonReply(result == -2 ? 401 : 500));
  }
}

struct ParamCase {
  const char* name;
  std::string query;
  std::string specify;
  std::string remove;
};
class PrivParamTest : public PrivilegesTest, public testing::WithParamInterface<ParamCase> {};

TEST_P(PrivParamTest, ReachesTheHost) {
  mg_connection specify("GET", "/specifypriv");
  mg_connection remove("GET", "/delete_priv");
  specify.Token("tok").Query(GetParam().query);
  remove.Token("tok").Query(GetParam().query);
  EXPECT_EQ(FunSpecityPriv(&specify, nullptr), 1);
  EXPECT_EQ(FunDeletePriv(&remove, nullptr), 1);
  EXPECT_EQ(TestHost::Get().Lines(), (Strings{"SpecifyPrivCb(tok, " + GetParam().specify + ")",
                                              "DeletePrivCb(tok, " + GetParam().remove + ")"}));
  EXPECT_EQ(specify.output, JsonReply(200));
  EXPECT_EQ(remove.output, JsonReply(200));
}

INSTANTIATE_TEST_SUITE_P(
    Queries, PrivParamTest,
    testing::Values(ParamCase{"Both", "file=a.png&hostname=RX01", "RX01, a.png", "a.png"},
                    ParamCase{"OtherOrder", "hostname=RX01&file=a.png", "RX01, a.png", "a.png"},
                    ParamCase{"Encoded", "hostname=R%20X&file=a%2Fb.png", "R X, a/b.png", "a/b.png"},
                    ParamCase{"None", "", ", ", ""}, ParamCase{"FileOnly", "file=a.png", ", a.png", "a.png"},
                    ParamCase{"HostOnly", "hostname=RX01", "RX01, ", ""},
                    ParamCase{"Longest",
                              "hostname=" + std::string(127, 'h') + "&file=" + std::string(255, 'f'),
                              std::string(127, 'h') + ", " + std::string(255, 'f'), std::string(255, 'f')},
                    ParamCase{"LongHostIsCut", "hostname=" + std::string(255, 'h') + "&file=f",
                              std::string(127, 'h') + ", f", "f"},
                    ParamCase{"MuchTooLongHostIsCut", "hostname=" + std::string(1000, 'h') + "&file=f",
                              std::string(127, 'h') + ", f", "f"},
                    ParamCase{"LongFileIsCut", "hostname=h&file=" + std::string(256, 'f'),
                              "h, " + std::string(255, 'f'), std::string(255, 'f')},
                    ParamCase{"MuchTooLongFileIsCut", "hostname=h&file=" + std::string(1000, 'f'),
                              "h, " + std::string(255, 'f'), std::string(255, 'f')}),
    sdktest::ByName{});

TEST_F(PrivilegesTest, AWriteFailureOfTheHostIsUnavailable) {
  TestHost::Get().deletePriv = [](const std::string&) { return -1; };
  mg_connection conn("GET", "/delete_priv");
  conn.Query("file=a.png");
  EXPECT_EQ(FunDeletePriv(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, JsonReply(503));
}

}  // namespace
