// The five built-in uploads: host calls, parser codes, replies and log lines.
#include <array>
#include <cstring>

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

struct Family {
  const char* name;
  int (*handle)(mg_connection*, void*);
  const char* handler;
  const char* found;
  const char* get;
  const char* slot;
  void (*clear)(SdkAPISerHandle& table);
  const char* url;
  int funcId;
};

const Family kImage = {.name = "Image",
                       .handle = FuncUploadImageFile,
                       .handler = "FuncUploadImageFile",
                       .found = "FuncUploadImageFileAndFileFoundCb",
                       .get = "FuncUploadImageFileAndFileGetCb",
                       .slot = "UploadImageFileCb",
                       .clear = [](SdkAPISerHandle& table) { table.UploadImageFileCb = nullptr; },
                       .url = "/upload/sub/logo",
                       .funcId = 4};
const Family kText = {.name = "Text",
                      .handle = FuncUploadTxtFile,
                      .handler = "FuncUploadTxtFile",
                      .found = "FuncUploadTxtFileAndFileFoundCb",
                      .get = "FuncUploadTxtFileAndFileGetCb",
                      .slot = "UploadTxtFileCb",
                      .clear = [](SdkAPISerHandle& table) { table.UploadTxtFileCb = nullptr; },
                      .url = "/upload/edid",
                      .funcId = 3};
const Family kArchive = {.name = "Archive",
                         .handle = FuncUploadZipFile,
                         .handler = "FuncUploadZipFile",
                         .found = "FuncUploadZipFileAndFileFoundCb",
                         .get = "FuncUploadZipFileAndFileGetCb",
                         .slot = "UploadZipFileCb",
                         .clear = [](SdkAPISerHandle& table) { table.UploadZipFileCb = nullptr; },
                         .url = "/upload/setting",
                         .funcId = -1};
const Family kCertificate = {.name = "Certificate",
                             .handle = FuncUploadCertFile,
                             .handler = "FuncUploadCertFile",
                             .found = "FuncUploadCertFileAndFileFoundCb",
                             .get = "FuncUploadCertFileAndFileGetCb",
                             .slot = "UploadCertFileCb",
                             .clear = [](SdkAPISerHandle& table) { table.UploadCertFileCb = nullptr; },
                             .url = "/upload/security",
                             .funcId = 2};
const Family kFirmware = {.name = "Firmware",
                          .handle = FuncUpgrade,
                          .handler = "FuncUpgrade",
                          .found = "FuncUploadFileAndFileFoundCb",
                          .get = "FuncUploadFileAndFileGetCb",
                          .slot = "UpgradeCb",
                          .clear = [](SdkAPISerHandle& table) { table.UpgradeCb = nullptr; },
                          .url = "/api/v1/fw_upload",
                          .funcId = -1};

void PrintTo(const Family& family, std::ostream* out) { *out << family.name; }

constexpr const char* kInvalidFile = R"({"result":"Invalid File"})";

// One file of two pieces, the second of which ends the field.
FormScript OneFile() { return {{FormField{"file", "a.png", {{"abc", "defg"}, {"defg"}}}}}; }

class UploadTest : public sdktest::LibraryTest {
 protected:
  // Answers a result to the call whose description begins so, 0 to the others.
  static void AnswerAt(const std::string& what, int result) {
    TestHost::Get().upload = [what, result](const UploadStep& step, UploadFileCtx&) {
      return step.Describe().starts_with(what) ? result : 0;
    };
  }
};

class FamilyTest : public UploadTest, public testing::WithParamInterface<Family> {
 protected:
  int Handle(mg_connection& conn) const { return GetParam().handle(&conn, nullptr); }
  std::string Call(const std::string& what, const std::string& token = "tok") const {
    return std::string(GetParam().slot) + "(" + token + ", " + std::to_string(GetParam().funcId) + ") " +
           what;
  }
  // The answer where the parse failed without an error of the host.
  std::string ParseFailure() const {
    return GetParam().handle == FuncUpgrade ? JsonReply(406, kInvalidFile) : JsonReply(500);
  }

  mg_connection conn_{"POST", GetParam().url};
};

INSTANTIATE_TEST_SUITE_P(Families, FamilyTest,
                         testing::Values(kImage, kText, kArchive, kCertificate, kFirmware),
                         sdktest::ByName{});

TEST_P(FamilyTest, AFileReachesTheHostPieceByPiece) {
  conn_.Token("tok").Multipart(OneFile());
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(TestHost::Get().Lines(),
            (Strings{Call("found file a.png"), Call("piece 3 more file a.png"),
                     Call("piece 4 last file a.png"), Call("final last file a.png")}));
  EXPECT_EQ(conn_.output, JsonReply(200));
  EXPECT_EQ(conn_.trace.lines, (Strings{"found file a.png -> 1", "get 3 -> 1", "get 4 -> 1"}));
  EXPECT_EQ(Log(), (Strings{"1 sdkapi req http token tok", "1 sdkapiupload KEY = file start.",
                            "1 sdkapi send =>" + JsonReply(200)}));
  EXPECT_FALSE(conn_.keepAlive);
}

TEST_P(FamilyTest, EachStepShowsItsStateInTheRecord) {
  conn_.Token("tok").Multipart(OneFile());
  Handle(conn_);
  const auto steps = TestHost::Get().Uploads();
  ASSERT_EQ(steps.size(), 4U);
  EXPECT_EQ(steps[0].data, "");
  EXPECT_EQ(steps[1].data, "abc");
  EXPECT_EQ(steps[2].data, "defg");
  EXPECT_EQ(steps[3].length, 0);
  EXPECT_EQ(steps[3].endFlag, 1);
  EXPECT_EQ(steps[3].pieceState, 1) << "kept from the last field";
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(steps[i].endFlag, 0);
    EXPECT_TRUE(steps[i].restIsZero) << "data is zeroed for every piece";
  }
  for (const UploadStep& step : steps) {
    EXPECT_EQ(step.error, 0);
    EXPECT_EQ(step.extra, std::nullopt);
    EXPECT_EQ(step.noFileName, 0);
  }
}

TEST_P(FamilyTest, TheParserGetsTheConnection) {
  conn_.Multipart(OneFile());
  Handle(conn_);
  EXPECT_EQ(conn_.trace.handler.user_data, &conn_);
  EXPECT_TRUE(conn_.trace.userDataSet);
  EXPECT_EQ(conn_.userData, nullptr) << "nothing of the upload outlives the form";
}

TEST_P(FamilyTest, TheStoreCallbackLogsTheSize) {
  conn_.Multipart(OneFile());
  Handle(conn_);
  LogCapture::Clear();
  EXPECT_EQ(conn_.trace.handler.field_store("/path", 5000000000LL, &conn_), 0);
  EXPECT_EQ(Log(), Strings{"1 sdkapiupload file_size = 5000000000."});
}

TEST_P(FamilyTest, WithAuthenticationOnTheLoginsTableAndTokenAreUsed) {
  RequireLogin();
  LogIn("tok");
  conn_.Token("tok").Multipart(OneFile());
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(TestHost::Get().Lines().size(), 4U);
  for (const UploadStep& step : TestHost::Get().Uploads()) {
    EXPECT_EQ(step.token, "tok");
    EXPECT_EQ(step.table, GetLoginHandle("tok"));
  }
}

TEST_P(FamilyTest, WithAuthenticationOffTheTablesDataIsNotReadAsAToken) {
  SdkAPISerHandle table = TestHost::Table();
  std::strcpy(table.data, "the host's own");
  Install(table);
  conn_.Token("tok").Multipart(OneFile());
  Handle(conn_);
  ASSERT_EQ(TestHost::Get().Uploads().size(), 4U);
  for (const UploadStep& step : TestHost::Get().Uploads()) EXPECT_EQ(step.token, "tok");
}

TEST_P(FamilyTest, AnUnknownTokenIsNotAuthorised) {
  RequireLogin();
  conn_.Token("nobody").Multipart(OneFile());
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(conn_.output, JsonReply(401));
  EXPECT_EQ(Log(), (Strings{"1 sdkapi req http token nobody", "4 sdkapiupload GetLoginHandle err nobody!!!!",
                            "1 sdkapi send =>" + JsonReply(401)}));
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
  EXPECT_FALSE(conn_.trace.ran);
}

TEST_P(FamilyTest, ALongTokenIsCutTo255Characters) {
  RequireLogin();
  LogIn(std::string(255, 't'));
  conn_.Token(std::string(300, 't')).Multipart(OneFile());
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(conn_.output, JsonReply(200));
}

TEST_P(FamilyTest, AnEmptySlotIsLeftToTheWebServer) {
  SdkAPISerHandle table = TestHost::Table();
  GetParam().clear(table);
  Install(table);
  conn_.Multipart(OneFile());
  EXPECT_EQ(Handle(conn_), 0);
  EXPECT_EQ(conn_.output, "");
  EXPECT_FALSE(conn_.trace.ran);
  EXPECT_EQ(Log(), Strings{std::string("4 sdkapiupload ") + GetParam().handler + " not registered!!!!"});
}

TEST_P(FamilyTest, WithoutAUriNothingIsDone) {
  conn_.uri.reset();
  conn_.Token("tok").Multipart(OneFile());
  EXPECT_EQ(Handle(conn_), 0);
  EXPECT_EQ(conn_.output, "");
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
}

// As a parser would that goes on behind its request.
TEST_P(FamilyTest, OutsideOfAFormAFieldIsRefused) {
  conn_.Multipart(OneFile());
  EXPECT_EQ(Handle(conn_), 1);
  TestHost::Get().Reset();
  char path[8] = {};
  const mg_form_data_handler& form = conn_.trace.handler;
  EXPECT_EQ(form.field_found("late", "late", path, sizeof path, &conn_), MG_FORM_FIELD_STORAGE_ABORT);
  EXPECT_EQ(form.field_get("late", "x", 1, &conn_), MG_FORM_FIELD_HANDLE_ABORT);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{});
}

TEST_P(FamilyTest, AFormWithoutFieldsGetsTheFinalCallOnly) {
  conn_.Token("tok").Multipart({});
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(TestHost::Get().Lines(), Strings{Call("final  ")});
  EXPECT_EQ(conn_.output, JsonReply(200));
}

TEST_P(FamilyTest, AnEmptyFileHasAFoundCallOnly) {
  conn_.Token("tok").Multipart({{FormField{"file", "a.png", {{""}}}}});
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(TestHost::Get().Lines(), (Strings{Call("found file a.png"), Call("final file a.png")}));
  EXPECT_EQ(conn_.trace.lines, (Strings{"found file a.png -> 1", "get 0 -> 1"}));
}

TEST_P(FamilyTest, AFieldWithoutAFileNameKeepsTheOneBefore) {
  conn_.Token("tok").Multipart({{FormField{"file", "a.png", {{"x"}}}, FormField{"note", "", {{"y"}}}}});
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(TestHost::Get().Lines(),
            (Strings{Call("found file a.png"), Call("piece 1 last file a.png"),
                     Call("found note (none) after a.png"), Call("piece 1 last note (none) after a.png"),
                     Call("final last note (none) after a.png")}));
  for (const UploadStep& step : TestHost::Get().Uploads()) EXPECT_EQ(step.fileName, "a.png");
}

// The web server's interface has no name for a field that is none of a file's.
TEST_P(FamilyTest, NamesThatAreNoTextAreEmpty) {
  conn_.Token("tok").Multipart({{FormField{std::nullopt, std::nullopt, {{"x"}}}}});
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(TestHost::Get().Lines(),
            (Strings{Call("found  (none)"), Call("piece 1 last  (none)"), Call("final last  (none)")}));
}

TEST_P(FamilyTest, AFieldFoundAfterDataShowsNoDataOfTheFieldBefore) {
  conn_.Multipart(
      {{FormField{"file", "a.png", {{std::string(5000, 'x')}}}, FormField{"second", "b.png", {{"y"}}}}});
  Handle(conn_);
  const auto steps = TestHost::Get().Uploads();
  ASSERT_EQ(steps.size(), 5U);
  EXPECT_EQ(steps[2].pieceState, 0);
  EXPECT_EQ(steps[2].length, 0);
  EXPECT_TRUE(steps[2].restIsZero);
  EXPECT_EQ(steps[3].data, "y");
  EXPECT_TRUE(steps[3].restIsZero);
}

TEST_P(FamilyTest, WhatTheHostWritesIntoTheRecordIsGoneAtTheNextCall) {
  for (const std::size_t place : {std::size_t{0}, std::size_t{5}, sizeof(UploadFileCtx::data) - 1}) {
    TestHost::Get().Reset();
    TestHost::Get().upload = [place](const UploadStep&, UploadFileCtx& ctx) {
      ctx.data[place] = 'h';
      std::memset(ctx.name, 'h', sizeof ctx.name);
      return 0;
    };
    mg_connection conn("POST", GetParam().url);
    conn.Multipart({{FormField{"one", "a", {{"xyz", "X"}, {"yz"}}}, FormField{"two", "b", {{"y"}}}}});
    EXPECT_EQ(Handle(conn), 1);
    const auto steps = TestHost::Get().Uploads();
    ASSERT_EQ(steps.size(), 6U);
    EXPECT_EQ(steps[0].name, "one");
    EXPECT_EQ(steps[2].data, "yz");
    EXPECT_EQ(steps[3].name, "two");
    for (std::size_t i = 0; i < 5; ++i) EXPECT_TRUE(steps[i].restIsZero) << i;
    EXPECT_FALSE(steps[5].restIsZero) << "the final call keeps what the last field left";
  }
}

struct LongNameCase {
  std::size_t length;
  std::size_t kept;
};

TEST_P(FamilyTest, LongNamesAreCutTo127Characters) {
  for (const LongNameCase& row : {LongNameCase{127, 127}, LongNameCase{128, 127}, LongNameCase{1000, 127}}) {
    TestHost::Get().Reset();
    mg_connection conn("POST", GetParam().url);
    conn.Multipart({{FormField{std::string(row.length, 'k'), std::string(row.length, 'f'), {{"x"}}}}});
    EXPECT_EQ(Handle(conn), 1);
    ASSERT_EQ(TestHost::Get().Uploads().size(), 3U);
    EXPECT_EQ(TestHost::Get().Uploads()[0].name, std::string(row.kept, 'k'));
    EXPECT_EQ(TestHost::Get().Uploads()[0].fileName, std::string(row.kept, 'f'));
  }
}

TEST_P(FamilyTest, AnEmptyFieldNameClearsTheNameBefore) {
  conn_.Multipart({{FormField{"file", "a.png", {{"x"}}}, FormField{"", "b.png", {{"y"}}}}});
  Handle(conn_);
  ASSERT_EQ(TestHost::Get().Uploads().size(), 5U);
  EXPECT_EQ(TestHost::Get().Uploads()[2].name, "");
}

struct BehindCase {
  std::string behind;
  int pieceState;
};

TEST_P(FamilyTest, OnlyCrLfBehindAPieceMarksTheLast) {
  for (const BehindCase& row :
       {BehindCase{"\r\n--BBBB", 1}, BehindCase{"\r\n", 1}, BehindCase{"\r", 2}, BehindCase{"\rx", 2},
        BehindCase{"\n\r", 2}, BehindCase{"x\r\n", 2}, BehindCase{"", 2}, BehindCase{"\n", 2}}) {
    TestHost::Get().Reset();
    mg_connection conn("POST", GetParam().url);
    conn.Multipart({{FormField{"file", "a.png", {{"abc", row.behind}}}}});
    Handle(conn);
    ASSERT_EQ(TestHost::Get().Uploads().size(), 3U);
    EXPECT_EQ(TestHost::Get().Uploads()[1].pieceState, row.pieceState) << testing::PrintToString(row.behind);
  }
}

TEST_P(FamilyTest, BytesOfAnyValueArriveAsTheyAre) {
  std::string bytes;
  for (int round = 0; round < 20; ++round) {
    for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  }
  conn_.Multipart({{FormField{"file", "a.png", {{bytes}}}}});
  Handle(conn_);
  ASSERT_EQ(TestHost::Get().Uploads().size(), 3U);
  EXPECT_EQ(TestHost::Get().Uploads()[1].data, bytes);
}

struct PieceCase {
  std::size_t length;
  std::vector<int64_t> pieces;
};

TEST_P(FamilyTest, LargeValuesAreSplitIntoConsecutivePieces) {
  for (const PieceCase& row :
       {PieceCase{8191, {8191}}, PieceCase{32767, {32767}}, PieceCase{32768, {32768}},
        PieceCase{32769, {32768, 1}}, PieceCase{100000, {32768, 32768, 32768, 1696}}}) {
    TestHost::Get().Reset();
    std::string bytes;
    for (std::size_t i = 0; i < row.length; ++i) bytes += static_cast<char>('a' + i % 23);
    mg_connection conn("POST", GetParam().url);
    conn.Multipart({{FormField{"file", "a.png", {{bytes}}}}});
    EXPECT_EQ(Handle(conn), 1);
    std::vector<int64_t> lengths;
    std::string arrived;
    for (const UploadStep& step : TestHost::Get().Uploads()) {
      if (step.length > 0) lengths.push_back(step.length);
      arrived += step.data;
    }
    EXPECT_EQ(lengths, row.pieces);
    EXPECT_TRUE(arrived == bytes) << row.length;
    EXPECT_EQ(conn.output, JsonReply(200));
  }
}

TEST_P(FamilyTest, AnErrorAtTheFoundCallSkipsTheFieldOnly) {
  AnswerAt("found one", -2);
  conn_.Token("tok").Multipart({{FormField{"one", "a", {{"x"}}}, FormField{"two", "b", {{"y"}}}}});
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(conn_.trace.lines, (Strings{"found one a -> 0", "found two b -> 1", "get 1 -> 1"}));
  EXPECT_EQ(TestHost::Get().Lines(),
            (Strings{Call("found one a"), Call("found two b"), Call("piece 1 last two b")}));
  EXPECT_EQ(conn_.output, JsonReply(401)) << "-2 of any call makes it a 401";
  EXPECT_EQ(TestHost::Get().Uploads()[2].error, -2);
}

TEST_P(FamilyTest, AnErrorAtAPieceSkipsTheRestOfItsField) {
  AnswerAt("piece 3", -2);
  conn_.Multipart({{FormField{"one", "a", {{"xyz", "X"}, {"more"}}}, FormField{"two", "b", {{"y"}}}}});
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(conn_.trace.lines, (Strings{"found one a -> 1", "get 3 -> 8", "found two b -> 1", "get 1 -> 1"}));
  EXPECT_EQ(conn_.output, JsonReply(401));
}

TEST_P(FamilyTest, TheLastErrorCounts) {
  TestHost::Get().upload = [](const UploadStep& step, UploadFileCtx&) {
    if (step.pieceState != 0) return 0;
    return step.name == "one" ? -2 : -1;
  };
  conn_.Multipart({{FormField{"one", "a", {{"x"}}}, FormField{"two", "b", {{"y"}}}}});
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(conn_.output, JsonReply(500));
  EXPECT_EQ(TestHost::Get().Lines().size(), 2U) << "no final call";
}

TEST_P(FamilyTest, AnyErrorOfTheFinalCallIsAServerError) {
  for (const int result : {-2, -1, 1, 5}) {
    AnswerAt("final", result);
    mg_connection conn("POST", GetParam().url);
    conn.Multipart(OneFile());
    EXPECT_EQ(Handle(conn), 1);
    EXPECT_EQ(conn.output, JsonReply(500)) << result;
  }
}

TEST_P(FamilyTest, AParseFailureGetsNoFinalCall) {
  FormScript form = OneFile();
  form.result = -1;
  conn_.Token("tok").Multipart(form);
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(conn_.output, ParseFailure());
  EXPECT_EQ(TestHost::Get().Lines().back(), Call("piece 4 last file a.png"));
}

TEST_P(FamilyTest, AFieldThatWasCountedButNeverOfferedIsAParseFailure) {
  FormField lost{"name", "my file.png", {{"x"}}};
  lost.offered = false;
  conn_.Multipart({{FormField{"one", "a", {{"x"}}}, lost}});
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(conn_.output, ParseFailure());
  EXPECT_EQ(TestHost::Get().Lines().size(), 2U);
}

TEST_P(FamilyTest, AnImpossiblePieceLengthIsAParseFailureAndNothingIsCopied) {
  for (const std::size_t length :
       {std::size_t{0} - 2, std::size_t{0} - 1, std::size_t{1} << 31, std::size_t{1} << 40}) {
    TestHost::Get().Reset();
    FormPiece piece{"x"};
    piece.length = length;
    mg_connection conn("POST", GetParam().url);
    conn.Multipart({{FormField{"file", "a.png", {piece}}}});
    EXPECT_EQ(Handle(conn), 1);
    EXPECT_EQ(conn.trace.lines[1], "get " + std::to_string(length) + " -> 16");
    EXPECT_EQ(conn.output, ParseFailure());
    EXPECT_EQ(TestHost::Get().Lines().size(), 1U) << "the found call only";
  }
}

TEST_P(FamilyTest, TheLargestLengthIsAPiece) {
  AnswerAt("piece", -2);
  FormPiece piece{std::string(40000, 'x')};  // of which the refusal of the first part leaves the rest unread
  piece.length = std::size_t{INT32_MAX};
  conn_.Multipart({{FormField{"file", "a.png", {piece}}}});
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(conn_.trace.lines[1], "get 2147483647 -> 8");
  EXPECT_EQ(conn_.output, JsonReply(401));
}

TEST_P(FamilyTest, ASlotThatVanishesBeforeAFieldAbortsTheParse) {
  TestHost::Get().upload = [clear = GetParam().clear](const UploadStep& step, UploadFileCtx& ctx) {
    if (step.pieceState == 1) clear(*ctx.loginHandle);
    return 0;
  };
  conn_.Token("tok").Multipart({{FormField{"one", "a", {{"x"}}}, FormField{"two", "b", {{"y"}}}}});
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(conn_.trace.lines, (Strings{"found one a -> 1", "get 1 -> 1", "found two b -> 16"}));
  EXPECT_EQ(LogCapture::LinesWithoutReplies(),
            (Strings{"1 sdkapi req http token tok", "1 sdkapiupload KEY = one start.",
                     "1 sdkapiupload KEY = two start.",
                     std::string("4 sdkapiupload ") + GetParam().found + " not registered!!!!"}));
  EXPECT_EQ(conn_.output, ParseFailure()) << "no final call through an empty slot";
}

TEST_P(FamilyTest, ASlotThatVanishesBeforeAPieceAbortsTheParse) {
  TestHost::Get().upload = [clear = GetParam().clear](const UploadStep&, UploadFileCtx& ctx) {
    clear(*ctx.loginHandle);
    return 0;
  };
  conn_.Multipart(OneFile());
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(conn_.trace.lines, (Strings{"found file a.png -> 1", "get 3 -> 16"}));
  EXPECT_EQ(LogCapture::LinesWithoutReplies(),
            (Strings{"1 sdkapiupload KEY = file start.",
                     std::string("4 sdkapiupload ") + GetParam().get + " not registered!!!!"}));
  EXPECT_EQ(conn_.output, ParseFailure());
}

TEST_P(FamilyTest, ASlotThatVanishesBeforeTheFinalCallIsNotCalled) {
  TestHost::Get().upload = [clear = GetParam().clear](const UploadStep& step, UploadFileCtx& ctx) {
    if (step.pieceState == 1) clear(*ctx.loginHandle);
    return 0;
  };
  conn_.Multipart(OneFile());
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(LogCapture::LinesWithoutReplies().back(),
            std::string("4 sdkapiupload ") + GetParam().handler + " not registered!!!!");
  EXPECT_EQ(conn_.output, ParseFailure());
}

// In which call the host clears the login handle, and who finds it gone.
struct ClearedHandleCase {
  const char* at;
  Strings parser;
  const char* Family::*finder;
};

TEST_P(FamilyTest, ALoginHandleThatTheHostClearedIsNoHandle) {
  for (const ClearedHandleCase& row :
       {ClearedHandleCase{"found one", {"found one a -> 1", "get 3 -> 16"}, &Family::get},
        ClearedHandleCase{"piece 3 more", {"found one a -> 1", "get 3 -> 1", "get 2 -> 16"}, &Family::get},
        ClearedHandleCase{"piece 2 last",
                          {"found one a -> 1", "get 3 -> 1", "get 2 -> 1", "found two b -> 16"},
                          &Family::found},
        ClearedHandleCase{"piece 1 last",
                          {"found one a -> 1", "get 3 -> 1", "get 2 -> 1", "found two b -> 1", "get 1 -> 1"},
                          &Family::handler}}) {
    SCOPED_TRACE(row.at);
    TestHost::Get().Reset();
    LogCapture::Clear();
    TestHost::Get().upload = [&row](const UploadStep& step, UploadFileCtx& ctx) {
      if (step.Describe().starts_with(row.at)) ctx.loginHandle = nullptr;
      return 0;
    };
    mg_connection conn("POST", GetParam().url);
    conn.Multipart({{FormField{"one", "a", {{"xyz", "X"}, {"yz"}}}, FormField{"two", "b", {{"y"}}}}});
    EXPECT_EQ(Handle(conn), 1);
    EXPECT_EQ(conn.trace.lines, row.parser);
    EXPECT_EQ(conn.output, ParseFailure());
    EXPECT_EQ(LogCapture::LinesWithoutReplies().back(),
              std::string("4 sdkapiupload ") + GetParam().*row.finder + " not registered!!!!");
    EXPECT_EQ(TestHost::Get().Uploads().back().endFlag, 0);
  }
}

TEST_P(FamilyTest, ALoginHandleClearedBetweenThePiecesOfOneValueIsNoHandle) {
  TestHost::Get().upload = [](const UploadStep& step, UploadFileCtx& ctx) {
    if (step.pieceState == 2) ctx.loginHandle = nullptr;
    return 0;
  };
  conn_.Multipart({{FormField{"file", "a.png", {{std::string(40000, 'x')}}}}});
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(conn_.trace.lines, (Strings{"found file a.png -> 1", "get 40000 -> 16"}));
  EXPECT_EQ(conn_.output, ParseFailure());
}

TEST_P(FamilyTest, EveryRequestReachesTheParser) {
  for (const char* const type :
       {"", "application/x-www-form-urlencoded", "multipart/form-data; boundary=B"}) {
    TestHost::Get().Reset();
    mg_connection conn("POST", GetParam().url);
    conn.form = OneFile();
    conn.Body("a=%").Header("Content-Type", type);
    EXPECT_EQ(Handle(conn), 1);
    EXPECT_TRUE(conn.trace.ran) << type;
    EXPECT_EQ(conn.output, JsonReply(200)) << type;
  }
}

TEST_P(FamilyTest, AQueryReachesTheParser) {
  mg_connection conn("GET", GetParam().url);
  conn.form = OneFile();
  conn.Query("a=1");
  EXPECT_EQ(Handle(conn), 1);
  EXPECT_TRUE(conn.trace.ran);
  EXPECT_EQ(conn.output, JsonReply(200));
}

TEST_P(FamilyTest, AChunkedFormIsParsed) {
  conn_.form = OneFile();
  conn_.ChunkedBody("").Header("Content-Type", "multipart/form-data; boundary=BBBB");
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_TRUE(conn_.trace.ran);
  EXPECT_EQ(conn_.output, JsonReply(200));
}

TEST_P(FamilyTest, ARefusedUploadDrainsTheBody) {
  RequireLogin();
  conn_.Multipart(OneFile());
  conn_.Body(std::string(200000, 'b'));
  EXPECT_EQ(Handle(conn_), 1);
  EXPECT_EQ(conn_.bodyRead, 200000U);
  EXPECT_FALSE(conn_.keepAlive);
}

// How a family answers the host's error for a field.
struct ErrorCase {
  const char* name;
  const Family* family;
  const char* url;
  int error;
  int status;
  const char* body = "";
  bool finalCall = false;
};
class ErrorTest : public UploadTest, public testing::WithParamInterface<ErrorCase> {};

TEST_P(ErrorTest, OfAnyCallDecidesTheAnswer) {
  for (const char* const what : {"found", "piece 3", "piece 4"}) {
    TestHost::Get().Reset();
    AnswerAt(what, GetParam().error);
    mg_connection conn("POST", GetParam().url);
    conn.Multipart(OneFile());
    EXPECT_EQ(GetParam().family->handle(&conn, nullptr), 1);
    EXPECT_EQ(conn.output, JsonReply(GetParam().status, GetParam().body)) << what;
    EXPECT_EQ(TestHost::Get().Uploads().back().endFlag, GetParam().finalCall ? 1 : 0) << what;
    EXPECT_EQ(TestHost::Get().Uploads().back().error, GetParam().finalCall ? GetParam().error : 0) << what;
  }
}

constexpr const char* kHttps = "/api/v1/security/https_setting";
constexpr const char* k8021x = "/api/v1/security/ieee802_1x_setting";

INSTANTIATE_TEST_SUITE_P(
    Errors, ErrorTest,
    testing::Values(
        ErrorCase{.name = "ImageRefused", .family = &kImage, .url = kImage.url, .error = -2, .status = 401},
        ErrorCase{.name = "ImageFailed", .family = &kImage, .url = kImage.url, .error = -1, .status = 500},
        ErrorCase{.name = "ImagePositive", .family = &kImage, .url = kImage.url, .error = 5, .status = 500},
        ErrorCase{.name = "TextRefused", .family = &kText, .url = kText.url, .error = -2, .status = 401},
        ErrorCase{.name = "TextFailed", .family = &kText, .url = kText.url, .error = -1, .status = 500},
        ErrorCase{.name = "TextPositive", .family = &kText, .url = kText.url, .error = 5, .status = 500},
        ErrorCase{
            .name = "ArchiveRefused", .family = &kArchive, .url = kArchive.url, .error = -2, .status = 401},
        ErrorCase{
            .name = "ArchiveFailed", .family = &kArchive, .url = kArchive.url, .error = -1, .status = 500},
        ErrorCase{
            .name = "ArchivePositive", .family = &kArchive, .url = kArchive.url, .error = 5, .status = 500},
        ErrorCase{.name = "HttpsRefused", .family = &kCertificate, .url = kHttps, .error = -2, .status = 401},
        ErrorCase{.name = "HttpsFailed",
                  .family = &kCertificate,
                  .url = kHttps,
                  .error = -1,
                  .status = 406,
                  .body = kInvalidFile},
        ErrorCase{.name = "HttpsNegative",
                  .family = &kCertificate,
                  .url = kHttps,
                  .error = -7,
                  .status = 406,
                  .body = kInvalidFile},
        ErrorCase{.name = "HttpsPositive",
                  .family = &kCertificate,
                  .url = kHttps,
                  .error = 5,
                  .status = 200,
                  .finalCall = true},
        ErrorCase{.name = "Ieee8021xFailed",
                  .family = &kCertificate,
                  .url = k8021x,
                  .error = -1,
                  .status = 406,
                  .body = kInvalidFile},
        ErrorCase{.name = "Ieee8021xPositive",
                  .family = &kCertificate,
                  .url = k8021x,
                  .error = 1,
                  .status = 200,
                  .finalCall = true},
        ErrorCase{.name = "SecurityFailed",
                  .family = &kCertificate,
                  .url = "/upload/security",
                  .error = -1,
                  .status = 500},
        ErrorCase{.name = "SecurityPositive",
                  .family = &kCertificate,
                  .url = "/upload/security",
                  .error = 5,
                  .status = 200,
                  .finalCall = true},
        ErrorCase{.name = "SubSecurityFailed",
                  .family = &kCertificate,
                  .url = "/upload/sub/security",
                  .error = -1,
                  .status = 500},
        ErrorCase{.name = "UnlistedCertificate",
                  .family = &kCertificate,
                  .url = "/upload/security/x",
                  .error = -1,
                  .status = 500},
        ErrorCase{.name = "FirmwareRefused",
                  .family = &kFirmware,
                  .url = kFirmware.url,
                  .error = -2,
                  .status = 401},
        ErrorCase{
            .name = "FirmwareFailed", .family = &kFirmware, .url = kFirmware.url, .error = -1, .status = 500},
        ErrorCase{.name = "FirmwareNegative",
                  .family = &kFirmware,
                  .url = kFirmware.url,
                  .error = -3,
                  .status = 406,
                  .body = kInvalidFile},
        ErrorCase{.name = "FirmwarePositive",
                  .family = &kFirmware,
                  .url = kFirmware.url,
                  .error = 5,
                  .status = 406,
                  .body = kInvalidFile}),
    sdktest::ByName{});

struct UrlCase {
  const char* name;
  const Family* family;
  const char* url;
  int funcId;
};
class UploadUrlTest : public UploadTest, public testing::WithParamInterface<UrlCase> {};

TEST_P(UploadUrlTest, ReachesTheHostAsItsNumber) {
  mg_connection conn("POST", GetParam().url);
  conn.Multipart(OneFile());
  EXPECT_EQ(GetParam().family->handle(&conn, nullptr), 1);
  ASSERT_EQ(TestHost::Get().Uploads().size(), 4U);
  for (const UploadStep& step : TestHost::Get().Uploads()) EXPECT_EQ(step.funcId, GetParam().funcId);
}

INSTANTIATE_TEST_SUITE_P(
    Urls, UploadUrlTest,
    testing::Values(
        UrlCase{"SubBg", &kImage, "/upload/sub/bg", 3}, UrlCase{"SubLogo", &kImage, "/upload/sub/logo", 4},
        UrlCase{"SubPng", &kImage, "/upload/sub/png", 5},
        UrlCase{"SubSetBg", &kImage, "/upload/sub/setbgimage", 6},
        UrlCase{"SubSetBase", &kImage, "/upload/sub/setbaseimage", 7},
        UrlCase{"Priv", &kImage, "/upload/priv", 8}, UrlCase{"Bg", &kImage, "/upload/bg", 2},
        UrlCase{"Logo", &kImage, "/upload/logo", 1}, UrlCase{"Longer", &kImage, "/upload/sub/bgx", -1},
        UrlCase{"Scene", &kText, "/upload/scene", 2}, UrlCase{"Xyte", &kText, "/upload/xyte", 1},
        UrlCase{"Edid", &kText, "/upload/edid", 3}, UrlCase{"Security", &kCertificate, "/upload/security", 2},
        UrlCase{"SubSecurity", &kCertificate, "/upload/sub/security", 3},
        UrlCase{"Https", &kCertificate, kHttps, 0}, UrlCase{"Ieee8021x", &kCertificate, k8021x, 1},
        UrlCase{"SubUpgrade", &kArchive, "/upload/sub/upgrade", 1},
        UrlCase{"Setting", &kArchive, "/upload/setting", -1},
        UrlCase{"Import", &kArchive, "/api/v1/settings/import", 2},
        UrlCase{"Firmware", &kFirmware, "/api/v1/fw_upload", -1}),
    sdktest::ByName{});

struct PortCase {
  const char* name;
  const char* url;
  std::optional<std::string> header;
  std::optional<std::string> extra;
};
class PortHeaderTest : public UploadTest, public testing::WithParamInterface<PortCase> {};

TEST_P(PortHeaderTest, ReachesTheHostForThe8021xCertificateOnly) {
  // Also after a refusal: the sanitizer's leak check tells whether the copy was released.
  for (const int result : {0, -2, -1}) {
    TestHost::Get().Reset();
    AnswerAt("found", result);
    mg_connection conn("POST", GetParam().url);
    if (GetParam().header) conn.Header("Port", *GetParam().header);
    conn.Multipart(OneFile());
    EXPECT_EQ(FuncUploadCertFile(&conn, nullptr), 1);
    ASSERT_FALSE(TestHost::Get().Uploads().empty());
    for (const UploadStep& step : TestHost::Get().Uploads()) EXPECT_EQ(step.extra, GetParam().extra);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Headers, PortHeaderTest,
    testing::Values(PortCase{"Given", k8021x, "eth0", "eth0"},
                    PortCase{"Absent", k8021x, std::nullopt, std::nullopt}, PortCase{"Empty", k8021x, "", ""},
                    PortCase{"Cut", k8021x, std::string(300, 'p'), std::string(127, 'p')},
                    PortCase{"OtherCertificate", kHttps, "eth0", std::nullopt},
                    PortCase{"NoCertificateNumber", "/upload/security", "eth0", std::nullopt}),
    sdktest::ByName{});

TEST_F(UploadTest, OtherFamiliesWithNumberOneReadNoPort) {
  mg_connection conn("POST", "/upload/logo");
  conn.Header("Port", "eth0").Multipart(OneFile());
  FuncUploadImageFile(&conn, nullptr);
  ASSERT_FALSE(TestHost::Get().Uploads().empty());
  EXPECT_EQ(TestHost::Get().Uploads()[0].funcId, 1);
  EXPECT_EQ(TestHost::Get().Uploads()[0].extra, std::nullopt);
}

TEST_F(UploadTest, ACertificateFormThatCannotBeParsedIsAnInvalidFileForTwoNumbers) {
  for (const auto& [url, reply] : {std::pair<const char*, std::string>{kHttps, JsonReply(406, kInvalidFile)},
                                   {k8021x, JsonReply(406, kInvalidFile)},
                                   {"/upload/security", JsonReply(500)},
                                   {"/upload/sub/security", JsonReply(500)}}) {
    mg_connection conn("POST", url);
    conn.Body("nonsense");
    conn.form.result = -1;
    EXPECT_EQ(FuncUploadCertFile(&conn, nullptr), 1);
    EXPECT_EQ(conn.output, reply) << url;
  }
}

TEST_F(UploadTest, ALogOutInTheMiddleOfAnUploadDoesNotTakeItsTableAway) {
  RequireLogin();
  LogIn("tok");
  TestHost::Get().upload = [](const UploadStep& step, UploadFileCtx&) {
    if (step.pieceState != 0) return 0;
    mg_connection logOut("POST", "/logout");
    logOut.Token("tok");
    EXPECT_EQ(FuncLogOut(&logOut, nullptr), 1);
    return 0;
  };
  mg_connection conn("POST", "/upload/logo");
  conn.Token("tok").Multipart(OneFile());
  EXPECT_EQ(FuncUploadImageFile(&conn, nullptr), 1);
  EXPECT_EQ(conn.output, JsonReply(200));
  EXPECT_EQ(TestHost::Get().Uploads().size(), 4U);
  for (const UploadStep& step : TestHost::Get().Uploads()) EXPECT_EQ(step.token, "tok");
}

}  // namespace
