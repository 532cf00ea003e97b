// Uploads and downloads of the host's own routes.
#include <unistd.h>

#include <cstring>
#include <fstream>

#include "base/text.h"
#include "http/handlers.h"
#include "library_fixture.h"

namespace {

using sdktest::FormField;
using sdktest::FormPiece;
using sdktest::FormScript;
using sdktest::JsonReply;
using sdktest::LogCapture;
using sdktest::Strings;
using sdktest::TestHost;
using sdktest::UploadStep;

void* const kUploadHost = reinterpret_cast<void*>(TestHost::CustomUpload);
void* const kDownloadHost = reinterpret_cast<void*>(TestHost::CustomDownload);

FormScript OneFile() { return {{FormField{"file", "a.png", {{"abc", "defg"}, {"defg"}}}}}; }

class CustomUploadTest : public sdktest::LibraryTest {
 protected:
  static void AnswerAt(const std::string& what, int result) {
    TestHost::Get().customUpload = [what, result](const UploadStep& step, UploadCustomCtx&) {
      return step.Describe().starts_with(what) ? result : 0;
    };
  }

  mg_connection conn_{"POST", "/own/upload"};
};

TEST_F(CustomUploadTest, AFileReachesTheHostPieceByPiece) {
  TestHost::Get().customUpload = [this](const UploadStep& step, UploadCustomCtx& ctx) {
    EXPECT_EQ(step.table, kUploadHost);
    EXPECT_EQ(ctx.conn, &conn_);
    EXPECT_EQ(ctx.extra, nullptr);
    EXPECT_EQ(ctx.reserved, 0);
    return 0;
  };
  conn_.Token("tok").Multipart(OneFile());
  EXPECT_EQ(FuncUploadCustomHandle(&conn_, kUploadHost), 1);
  EXPECT_EQ(TestHost::Get().Lines(),
            (Strings{"CustomUpload() found file a.png", "CustomUpload() piece 3 more file a.png",
                     "CustomUpload() piece 4 last file a.png", "CustomUpload() final last file a.png"}));
  EXPECT_EQ(TestHost::Get().Uploads()[1].data, "abc");
  EXPECT_EQ(TestHost::Get().Uploads()[2].data, "defg");
  EXPECT_EQ(TestHost::Get().Uploads()[3].length, 0);
  EXPECT_EQ(conn_.output, JsonReply(200));
  EXPECT_EQ(Log(), (Strings{"1 sdkapi req http token tok", "1 sdkapicustom KEY = file start.",
                            "1 sdkapi send =>" + JsonReply(200)}));
}

TEST_F(CustomUploadTest, TheParserGetsTheConnection) {
  conn_.Multipart(OneFile());
  FuncUploadCustomHandle(&conn_, kUploadHost);
  EXPECT_EQ(conn_.trace.handler.user_data, &conn_);
  EXPECT_EQ(conn_.userData, nullptr);
}

TEST_F(CustomUploadTest, AnEmptyFormGetsTheFinalCall) {
  conn_.Multipart({});
  EXPECT_EQ(FuncUploadCustomHandle(&conn_, kUploadHost), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"CustomUpload() final  "});
  EXPECT_EQ(conn_.output, JsonReply(200));
}

TEST_F(CustomUploadTest, AFieldWithoutAFileNameKeepsTheOneBefore) {
  conn_.Multipart({{FormField{"file", "a.png", {{"x"}}}, FormField{"note", "", {{"y"}}}}});
  FuncUploadCustomHandle(&conn_, kUploadHost);
  ASSERT_EQ(TestHost::Get().Uploads().size(), 5U);
  EXPECT_EQ(TestHost::Get().Uploads()[2].noFileName, 1);
  EXPECT_EQ(TestHost::Get().Uploads()[2].fileName, "a.png");
}

TEST_F(CustomUploadTest, LargeValuesAreSplitIntoConsecutivePieces) {
  std::string bytes;
  for (std::size_t i = 0; i < 40000; ++i) bytes += static_cast<char>('a' + i % 23);
  conn_.Multipart({{FormField{"file", "a.png", {{bytes}}}}});
  FuncUploadCustomHandle(&conn_, kUploadHost);
  ASSERT_EQ(TestHost::Get().Uploads().size(), 4U);
  EXPECT_EQ(TestHost::Get().Uploads()[1].length, 32768);
  EXPECT_TRUE(TestHost::Get().Uploads()[1].data + TestHost::Get().Uploads()[2].data == bytes);
}

struct ErrorCase {
  const char* what;
  int result;
  int status;
};
class CustomErrorTest : public CustomUploadTest, public testing::WithParamInterface<ErrorCase> {};

TEST_P(CustomErrorTest, OfTheHostDecidesTheAnswer) {
  AnswerAt(GetParam().what, GetParam().result);
  conn_.Multipart(OneFile());
  EXPECT_EQ(FuncUploadCustomHandle(&conn_, kUploadHost), 1);
  EXPECT_EQ(conn_.output, JsonReply(GetParam().status));
  const bool inFinalCall = std::strcmp(GetParam().what, "final") == 0;
  EXPECT_EQ(TestHost::Get().Uploads().back().endFlag, inFinalCall ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(Errors, CustomErrorTest,
                         testing::Values(ErrorCase{"found", 3, 500}, ErrorCase{"found", -1, 500},
                                         ErrorCase{"found", -2, 401}, ErrorCase{"piece 3", 3, 500},
                                         ErrorCase{"piece 3", -2, 401}, ErrorCase{"piece 4", -1, 500},
                                         ErrorCase{"piece 4", -2, 401}, ErrorCase{"final", 3, 500},
                                         ErrorCase{"final", -1, 500}, ErrorCase{"final", -2, 500}));

TEST_F(CustomUploadTest, AnUnknownTokenIsNotAuthorised) {
  RequireLogin();
  conn_.Token("nobody").Multipart(OneFile());
  EXPECT_EQ(FuncUploadCustomHandle(&conn_, kUploadHost), 1);
  EXPECT_EQ(conn_.output, JsonReply(401));
  EXPECT_EQ(Log(), (Strings{"1 sdkapi req http token nobody", "4 sdkapicustom GetLoginHandle err nobody!!!!",
                            "1 sdkapi send =>" + JsonReply(401)}));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
}

TEST_F(CustomUploadTest, AnyLoginReachesTheHostWhateverItsTable) {
  SdkAPISerHandle table{};
  table.LoginCb = TestHost::Table().LoginCb;
  Install(table);
  RequireLogin();
  LogIn("tok");
  conn_.Token("tok").Multipart(OneFile());
  EXPECT_EQ(FuncUploadCustomHandle(&conn_, kUploadHost), 1);
  EXPECT_EQ(conn_.output, JsonReply(200));
}

TEST_F(CustomUploadTest, WithoutAHostFunctionTheFirstFieldAbortsTheParse) {
  conn_.Multipart(OneFile());
  EXPECT_EQ(FuncUploadCustomHandle(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.trace.lines, Strings{"found file a.png -> 16"});
  EXPECT_EQ(conn_.output, JsonReply(500));
  EXPECT_EQ(LogCapture::LinesWithoutReplies(),
            (Strings{"1 sdkapicustom KEY = file start.",
                     "4 sdkapicustom FuncUploadCustomFoundCb not registered!!!!"}));
}

TEST_F(CustomUploadTest, WithoutAHostFunctionAnEmptyFormIsAServerError) {
  conn_.Multipart({});
  EXPECT_EQ(FuncUploadCustomHandle(&conn_, nullptr), 1);
  EXPECT_EQ(conn_.output, JsonReply(500));
}

TEST_F(CustomUploadTest, AFunctionThatVanishesBeforeAPieceAbortsTheParse) {
  TestHost::Get().customUpload = [](const UploadStep&, UploadCustomCtx& ctx) {
    ctx.hostFunction = nullptr;
    return 0;
  };
  conn_.Multipart(OneFile());
  EXPECT_EQ(FuncUploadCustomHandle(&conn_, kUploadHost), 1);
  EXPECT_EQ(conn_.trace.lines, (Strings{"found file a.png -> 1", "get 3 -> 16"}));
  EXPECT_EQ(conn_.output, JsonReply(500));
  EXPECT_EQ(LogCapture::LinesWithoutReplies().back(),
            "4 sdkapicustom FuncUploadCustomGetCb not registered!!!!");
}

TEST_F(CustomUploadTest, AFunctionThatVanishesAfterARefusalIsAServerError) {
  TestHost::Get().customUpload = [](const UploadStep&, UploadCustomCtx& ctx) {
    ctx.hostFunction = nullptr;
    return -2;
  };
  conn_.Multipart({{FormField{"one", "a", {{"x"}}}, FormField{"two", "b", {{"y"}}}}});
  EXPECT_EQ(FuncUploadCustomHandle(&conn_, kUploadHost), 1);
  EXPECT_EQ(conn_.output, JsonReply(500));
}

TEST_F(CustomUploadTest, AFunctionClearedBetweenThePiecesOfOneValueAbortsTheParse) {
  TestHost::Get().customUpload = [](const UploadStep& step, UploadCustomCtx& ctx) {
    if (step.pieceState == 2) ctx.hostFunction = nullptr;
    return 0;
  };
  conn_.Multipart({{FormField{"file", "a.png", {{std::string(40000, 'x')}}}}});
  EXPECT_EQ(FuncUploadCustomHandle(&conn_, kUploadHost), 1);
  EXPECT_EQ(conn_.trace.lines, (Strings{"found file a.png -> 1", "get 40000 -> 16"}));
  EXPECT_EQ(conn_.output, JsonReply(500));
}

TEST_F(CustomUploadTest, WhatTheHostWritesIntoTheRecordIsGoneAtTheNextCall) {
  TestHost::Get().customUpload = [](const UploadStep&, UploadCustomCtx& ctx) {
    std::memset(ctx.data, 'h', sizeof ctx.data);
    return 0;
  };
  conn_.Multipart({{FormField{"one", "a", {{"xyz"}}}, FormField{"two", "b", {{"y"}}}}});
  EXPECT_EQ(FuncUploadCustomHandle(&conn_, kUploadHost), 1);
  const auto steps = TestHost::Get().Uploads();
  ASSERT_EQ(steps.size(), 5U);
  EXPECT_EQ(steps[1].data, "xyz");
  EXPECT_EQ(steps[3].data, "y");
  for (std::size_t i = 0; i < 4; ++i) EXPECT_TRUE(steps[i].restIsZero) << i;
}

TEST_F(CustomUploadTest, WhatTheParserCannotReadIsAServerError) {
  FormScript malformed = OneFile();
  malformed.result = -1;
  FormField lost{"name", "my file.png", {{"x"}}};
  lost.offered = false;
  FormPiece impossible{"x"};
  impossible.length = std::size_t{0} - 2;
  for (const FormScript& form : {malformed, FormScript{{FormField{"one", "a", {{"x"}}}, lost}},
                                 FormScript{{FormField{"one", "a", {impossible}}}}}) {
    TestHost::Get().Reset();
    mg_connection conn("POST", "/own/upload");
    conn.Multipart(form);
    EXPECT_EQ(FuncUploadCustomHandle(&conn, kUploadHost), 1);
    EXPECT_EQ(conn.output, JsonReply(500));
    EXPECT_EQ(TestHost::Get().Uploads().back().endFlag, 0);
  }
}

TEST_F(CustomUploadTest, UrlencodedFormsReachTheParser) {
  conn_.form = OneFile();
  conn_.Body("a=%").Header("Content-Type", "application/x-www-form-urlencoded");
  EXPECT_EQ(FuncUploadCustomHandle(&conn_, kUploadHost), 1);
  EXPECT_TRUE(conn_.trace.ran);
  EXPECT_EQ(conn_.output, JsonReply(200));
}

TEST_F(CustomUploadTest, TheStoreCallbackLogsTheSize) {
  conn_.Multipart(OneFile());
  FuncUploadCustomHandle(&conn_, kUploadHost);
  LogCapture::Clear();
  EXPECT_EQ(conn_.trace.handler.field_store("/path", 12, &conn_), 0);
  EXPECT_EQ(Log(), Strings{"1 sdkapicustom file_size = 12."});
}

class CustomDownloadTest : public sdktest::LibraryTest {
 protected:
  CustomDownloadTest() {
    char pattern[] = "/tmp/sdkapi-custom-XXXXXX";
    close(mkstemp(pattern));
    path_ = pattern;
  }
  ~CustomDownloadTest() override { unlink(path_.c_str()); }

  static std::string Head(const std::string& name) {
    return "HTTP/1.1 200 OK\r\nContent-Disposition: attachment;filename=\"" + name +
           "\"\r\nContent-Type: application/octet-stream\r\nTransfer-Encoding: chunked\r\n\r\n";
  }
  static void Offer(const std::string& path) {
    TestHost::Get().customDownload = [path](mg_connection*, CustomDownloadInfo& info) {
      const CustomDownloadInfo zero{};
      EXPECT_EQ(std::memcmp(&info, &zero, sizeof zero), 0);
      sdkapi::CopyText(info.downloadName, "own.txt");
      sdkapi::CopyText(info.filePath, path.c_str());
      return 0;
    };
  }

  std::string path_;
  mg_connection conn_{"GET", "/own/download"};
};

TEST_F(CustomDownloadTest, SendsTheHostsFile) {
  std::ofstream(path_) << "content";
  Offer(path_);
  conn_.Token("tok");
  EXPECT_EQ(FuncDownloadCustomHandle(&conn_, kDownloadHost), 1);
  EXPECT_EQ(conn_.output, Head("own.txt") + "7\r\ncontent\r\n0\r\n\r\n");
  EXPECT_EQ(TestHost::Get().Lines(), Strings{"CustomDownload()"});
  EXPECT_EQ(Log(), Strings{"1 sdkapi req http token tok"});
}

TEST_F(CustomDownloadTest, AMissingFileLeavesTheHeadAlone) {
  Offer("/no/such/file");
  EXPECT_EQ(FuncDownloadCustomHandle(&conn_, kDownloadHost), 1);
  EXPECT_EQ(conn_.output, Head("own.txt"));
  EXPECT_EQ(Log(), Strings{"4 sdkapidownload open file error"});
  EXPECT_FALSE(conn_.keepAlive);
}

TEST_F(CustomDownloadTest, TheHostsResultsGiveTheirStatus) {
  for (const auto& [result, status] : {std::pair{-2, 401}, {-1, 500}, {1, 500}, {5, 500}}) {
    TestHost::Get().customDownload = [result = result](mg_connection*, CustomDownloadInfo&) {
      return result;
    };
    mg_connection conn("GET", "/own/download");
    EXPECT_EQ(FuncDownloadCustomHandle(&conn, kDownloadHost), 1);
    EXPECT_EQ(conn.output, JsonReply(status));
  }
}

TEST_F(CustomDownloadTest, AnUnknownTokenIsNotAuthorised) {
  RequireLogin();
  conn_.Token("nobody");
  EXPECT_EQ(FuncDownloadCustomHandle(&conn_, kDownloadHost), 1);
  EXPECT_EQ(conn_.output, JsonReply(401));
  EXPECT_EQ(Log(), (Strings{"1 sdkapi req http token nobody", "4 sdkapicustom GetLoginHandle err!!!!",
                            "1 sdkapi send =>" + JsonReply(401)}));
}

TEST_F(CustomDownloadTest, WithoutAHostFunctionItIsLeftToTheWebServer) {
  EXPECT_EQ(FuncDownloadCustomHandle(&conn_, nullptr), 0);
  EXPECT_EQ(conn_.output, "");
  EXPECT_EQ(Log(), Strings{"4 sdkapicustom FuncDownloadCustomHandle not registered!!!!"});
}

TEST_F(CustomDownloadTest, APathWithoutATerminatorEndsWithItsField) {
  std::ofstream(path_) << "content";
  std::string path = path_;
  while (path.size() < 254) path.insert(4, "/.");  // the same file by a longer name
  if (path.size() < 255) path.insert(4, "/");
  TestHost::Get().customDownload = [&path](mg_connection*, CustomDownloadInfo& info) {
    sdkapi::CopyText(info.downloadName, "own.txt");
    path.copy(info.filePath, path.size());
    info.filePath[path.size()] = 'x';
    return 0;
  };
  ASSERT_EQ(path.size(), sizeof CustomDownloadInfo::filePath - 1);
  EXPECT_EQ(FuncDownloadCustomHandle(&conn_, kDownloadHost), 1);
  EXPECT_EQ(conn_.output, Head("own.txt") + "7\r\ncontent\r\n0\r\n\r\n");
}

TEST_F(CustomDownloadTest, ForgottenTerminatorsDoNoHarm) {
  TestHost::Get().customDownload = [](mg_connection*, CustomDownloadInfo& info) {
    std::memset(&info, 'x', sizeof info);
    return 0;
  };
  EXPECT_EQ(FuncDownloadCustomHandle(&conn_, kDownloadHost), 1);
  EXPECT_EQ(conn_.output, Head(std::string(255, 'x')));
}

}  // namespace
