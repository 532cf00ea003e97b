// Uploads through every route: what reaches the host, and how what cannot be accepted is refused.
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>

#include "chunked.h"
#include "server_test_base.h"
#include "upload_routes.h"

namespace integration {
namespace {

constexpr char kInvalidFile[] = R"({"result":"Invalid File"})";
constexpr char kBoundaryType[] = "Content-Type: multipart/form-data; boundary=BOUNDARYxyz";
constexpr char kUrlencodedType[] = "Content-Type: application/x-www-form-urlencoded";
constexpr char kLongBoundary[] = "12345678901234567890123456789012345678901234567890123456789012345678901";
constexpr char kLongBoundaryType[] =
    "Content-Type: multipart/form-data; "
    "boundary=12345678901234567890123456789012345678901234567890123456789012345678901";

// Forms that fail although no function of the host refused anything.
int StatusOfFailedParse(Refusal refusal) {
  return refusal == Refusal::kFirmware || refusal == Refusal::kInvalidFileCertificate ? 406 : 500;
}

class UploadTest : public ModeTest {
 protected:
  void SetUp() override {
    ModeTest::SetUp();
    ASSERT_EQ(SdkAPISer_Custom_Upload_Api_Add("/custom/upload$", TestHost::CustomUpload), 0);
    Receive();
  }

  void Receive() {
    host().OnEveryUpload([this](const UploadStep& step, auto&) { return receiver_.Take(step); });
  }

  void ExpectRefused(const Response& response, const UploadRoute& route) {
    const int status = StatusOfFailedParse(route.refusal);
    ExpectReply(response, status, status == 406 ? kInvalidFile : "");
  }

  // The host's calls for these steps; custom functions get neither token nor number.
  std::vector<std::string> StepsOf(const UploadRoute& route, const std::vector<std::string>& steps) const {
    const bool custom = route.refusal == Refusal::kCustom;
    const std::string arguments = custom ? "" : token() + ", " + std::to_string(route.funcId);
    std::vector<std::string> lines;
    for (const std::string& step : steps) lines.push_back(route.slot + ("(" + arguments + ") ") + step);
    return lines;
  }

  int FinalCalls() {
    const auto steps = host().Uploads();
    return static_cast<int>(
        std::count_if(steps.begin(), steps.end(), [](const UploadStep& step) { return step.endFlag == 1; }));
  }

  void StartAfresh() {
    receiver_.Clear();
    host().Reset();
    Receive();
  }

  Receiver receiver_;
};

INSTANTIATE_TEST_SUITE_P(Modes, UploadTest, AllModes(), ModeName);

TEST_P(UploadTest, EachRouteShowsItsHostTheSameSteps) {
  const std::string body = MultipartBody({{"file", "content", "a.bin"}, {"note", "text", ""}});
  for (const UploadRoute& route : UploadRoutes()) {
    SCOPED_TRACE(route.target);
    StartAfresh();
    ExpectReply(Send(UploadRequest(route.target, body)), 200);
    EXPECT_EQ(host().Lines(), StepsOf(route, {
                                                 "found file a.bin",
                                                 "piece 7 last file a.bin",
                                                 "found note (none) after a.bin",
                                                 "piece 4 last note (none) after a.bin",
                                                 "final last note (none) after a.bin",
                                             }));
  }
}

TEST_P(UploadTest, PrefixRoutesServeLongerUrisWithoutAnIdentifier) {
  for (const char* const target :
       {"/upload/sub/bgx", "/upload/sub/logo/", "/upload/scene/1", "/upload/sub/upgrade2"}) {
    SCOPED_TRACE(target);
    StartAfresh();
    ExpectReply(Send(UploadRequest(target, MultipartBody({{"f", "x", "f"}}))), 200);
    ASSERT_FALSE(host().Uploads().empty());
    EXPECT_EQ(host().Uploads().back().funcId, -1);
  }
}

TEST_P(UploadTest, FilesOfAllSizesArriveByteForByte) {
  for (const UploadRoute& route : UploadRoutes()) {
    for (const std::size_t size : {0U, 1U, 8191U, 32768U, 100000U}) {
      SCOPED_TRACE(std::string(route.target) + " " + std::to_string(size));
      receiver_.Clear();
      const std::string content = SampleBytes(size);
      ExpectReply(
          Send(UploadRequest(route.target, MultipartBody({{"file", content, "f.bin"}, {"n", "v", ""}}))),
          200);
      const auto finished = receiver_.Finished();
      ASSERT_EQ(finished.size(), 1U);
      ASSERT_EQ(finished[0].fields.size(), 2U);
      const ReceivedField& file = finished[0].fields[0];
      EXPECT_TRUE(file.data == content);
      EXPECT_EQ(finished[0].fields[1].data, "v");
      EXPECT_EQ(file.states.empty() ? 0 : file.states.back(), size == 0 ? 0 : 1);
    }
  }
}

TEST_P(UploadTest, PiecesBeforeTheLastSayThatMoreFollows) {
  ExpectReply(Send(UploadRequest("/upload/logo", MultipartBody({{"f", std::string(60000, 'a'), "f"}}))), 200);
  ASSERT_EQ(receiver_.Finished().size(), 1U);
  std::vector<int> states = receiver_.Finished()[0].fields[0].states;
  ASSERT_GT(states.size(), 2U);
  EXPECT_EQ(states.back(), 1);
  states.pop_back();
  EXPECT_EQ(std::count(states.begin(), states.end(), 2), static_cast<long>(states.size()));
}

class LargeUploadTest : public UploadTest {};
INSTANTIATE_TEST_SUITE_P(Schemes, LargeUploadTest, BothSchemes(), ModeName);

TEST_P(LargeUploadTest, FiftyMillionBytesArriveByteForByte) {
  const std::string content = SampleBytes(50000000);
  for (const char* const target : {"/upload/logo", "/api/v1/fw_upload", "/custom/upload"}) {
    SCOPED_TRACE(target);
    receiver_.Clear();
    ExpectReply(Send(UploadRequest(target, MultipartBody({{"file", content, "f.bin"}}))), 200);
    const auto finished = receiver_.Finished();
    ASSERT_EQ(finished.size(), 1U);
    ASSERT_EQ(finished[0].fields.size(), 1U);
    EXPECT_TRUE(finished[0].fields[0].data == content);
  }
}

TEST_P(LargeUploadTest, ARefusalReachesAClientThatIsStillSending) {
  struct Row {
    const char* what;
    const char* contentType;
    bool stranger;
    int result;  // of the host, for a form that it is asked about
    int status;
  };
  const Row rows[] = {
      {"unknown token", kBoundaryType, true, 0, 401},
      {"host refuses the caller", kBoundaryType, false, -2, 401},
      {"host refuses the file", kBoundaryType, false, -1, 500},
      {"no boundary", "Content-Type: multipart/form-data", false, 0, 500},
  };
  const std::string body = MultipartBody({{"f", std::string(20000000, 'x'), "f"}});
  for (const char* const target : {"/upload/logo", "/custom/upload"}) {
    for (const Row& row : rows) {
      SCOPED_TRACE(std::string(target) + " " + row.what);
      host().OnEveryUpload([&](const UploadStep&, auto&) { return row.result; });
      const std::string authorization = row.stranger ? "Authorization: Bearer stranger" : Authorization();
      Connection client(Server::Get().port(mode().https), mode().https);
      EXPECT_TRUE(client.Send(HttpRequest{"POST", target, {row.contentType, authorization}, body}.Bytes()));
      ExpectReply(ParseResponse(client.ReadToEnd()), row.status);
      EXPECT_EQ(client.end(), Connection::End::kEof);
    }
  }
}

TEST_P(UploadTest, NamesArriveDecodedAndCut) {
  struct Row {
    std::string sent;
    std::string received;
  };
  const Row rows[] = {
      {"plain.png", "plain.png"},
      {"my holiday file.png", "my holiday file.png"},
      {"\xd0\xbf\xd0\xbb\xd1\x91\xd0\xbd\xd0\xba\xd0\xb0.png",
       "\xd0\xbf\xd0\xbb\xd1\x91\xd0\xbd\xd0\xba\xd0\xb0.png"},
      {"%22quoted%22 'single'.png", "\"quoted\" 'single'.png"},
      {"semi;colon=equals.png", "semi;colon=equals.png"},
      {"100%25.png", "100%.png"},
      {"no%zzescape.png", "no%zzescape.png"},
      {std::string(127, 'n'), std::string(127, 'n')},
      {std::string(128, 'n'), std::string(127, 'n')},
      {std::string(1000, 'n'), std::string(127, 'n')},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.sent);
    receiver_.Clear();
    ExpectReply(
        Send(UploadRequest("/upload/logo", MultipartBody({{row.sent, "x", "f"}, {"f", "x", row.sent}}))),
        200);
    ASSERT_EQ(receiver_.Finished().size(), 1U);
    const std::vector<ReceivedField> fields = receiver_.Finished()[0].fields;
    ASSERT_EQ(fields.size(), 2U);
    EXPECT_EQ(fields[0].name, row.received);
    EXPECT_EQ(fields[1].fileName, row.received);
  }
}

TEST_P(UploadTest, AFieldWithoutAFileNameKeepsTheOneBefore) {
  const std::string body =
      MultipartBody({{"a", "1", ""}, {"b", "2", "first.png"}, {"c", "3", ""}, {"d", "4", "next"}});
  ExpectReply(Send(UploadRequest("/upload/bg", body)), 200);
  std::vector<std::string> found;
  for (const UploadStep& step : host().Uploads()) {
    if (step.pieceState == 0) found.push_back(step.Describe());
  }
  EXPECT_EQ(found, (std::vector<std::string>{"found a (none)", "found b first.png",
                                             "found c (none) after first.png", "found d next"}));
}

TEST_P(UploadTest, AFormWithoutFieldsGetsTheFinalCallOnly) {
  for (const UploadRoute& route : UploadRoutes()) {
    SCOPED_TRACE(route.target);
    StartAfresh();
    ExpectReply(Send(UploadRequest(route.target, "--BOUNDARYxyz--\r\n")), 200);
    EXPECT_EQ(host().Lines(), StepsOf(route, {"final  "}));
  }
}

TEST_P(UploadTest, AThousandFieldsAreAllOffered) {
  std::vector<Part> parts;
  for (int i = 0; i < 1000; ++i) parts.push_back({"field" + std::to_string(i), std::to_string(i), ""});
  ExpectReply(Send(UploadRequest("/upload/scene", MultipartBody(parts))), 200);
  ASSERT_EQ(receiver_.Finished().size(), 1U);
  const std::vector<ReceivedField> fields = receiver_.Finished()[0].fields;
  ASSERT_EQ(fields.size(), 1000U);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    EXPECT_EQ(fields[i].name, parts[i].name);
    EXPECT_EQ(fields[i].data, parts[i].content);
  }
}

TEST_P(UploadTest, AChunkedFormIsRead) {
  const std::string content = SampleBytes(70000);
  const std::string body = MultipartBody({{"f", content, "f"}});
  ExpectReply(Send("POST /upload/logo HTTP/1.1\r\nHost: a\r\n" + Authorization() + "\r\n" + kBoundaryType +
                   "\r\nTransfer-Encoding: chunked\r\n\r\n" + sdktest::Chunked(body, 5000)),
              200);
  ASSERT_EQ(receiver_.Finished().size(), 1U);
  EXPECT_TRUE(receiver_.Finished()[0].fields[0].data == content);
}

enum class At { kFound, kGet, kFinal };

struct Outcome {
  int status;
  bool finalCall;
};

// What the interface promises for a host's result at a step.
Outcome ExpectedOutcome(Refusal refusal, At at, int result) {
  if (at == At::kFinal) return {500, true};
  if (result == -2) return {401, false};
  switch (refusal) {
    case Refusal::kInvalidFileCertificate:
      return result > 0 ? Outcome{200, true} : Outcome{406, false};
    case Refusal::kCertificate:
      return result > 0 ? Outcome{200, true} : Outcome{500, false};
    case Refusal::kFirmware:
      return result == -1 ? Outcome{500, false} : Outcome{406, false};
    default:
      return {500, false};
  }
}

TEST_P(UploadTest, HostErrorsAreAnsweredAsTheirFamilySays) {
  const std::string body = MultipartBody({{"bad", std::string(20000, 'b'), "b"}, {"good", "g", "g"}});
  for (const UploadRoute& route : UploadRoutes()) {
    for (const At at : {At::kFound, At::kGet, At::kFinal}) {
      for (const int result : {-2, -1, 5}) {
        SCOPED_TRACE(std::string(route.target) + " step " + std::to_string(static_cast<int>(at)) +
                     " result " + std::to_string(result));
        StartAfresh();
        host().OnEveryUpload([&](const UploadStep& step, auto&) {
          if (step.endFlag == 1) return at == At::kFinal ? result : 0;
          const At now = step.pieceState == 0 ? At::kFound : At::kGet;
          return now == at && step.name == "bad" ? result : 0;
        });
        const Outcome expected = ExpectedOutcome(route.refusal, at, result);
        ExpectReply(Send(UploadRequest(route.target, body)), expected.status,
                    expected.status == 406 ? kInvalidFile : "");
        EXPECT_EQ(FinalCalls(), expected.finalCall ? 1 : 0);
        int bad = 0;
        int good = 0;
        for (const UploadStep& step : host().Uploads()) {
          (step.name == "bad" ? bad : good) += step.endFlag == 0 ? 1 : 0;
        }
        EXPECT_EQ(good, 2) << "the field behind the refused one is still offered";
        EXPECT_EQ(bad, at == At::kFound ? 1 : at == At::kGet ? 2 : 4) << "its rest is skipped";
      }
    }
  }
}

TEST_P(UploadTest, TheLastErrorDecides) {
  struct Row {
    int first;
    int second;
    int status;  // of a firmware upload
  };
  for (const Row& row :
       {Row{-1, 5, 406}, Row{5, -1, 500}, Row{5, -2, 401}, Row{-2, 0, 401}, Row{-1, 0, 500}}) {
    SCOPED_TRACE(std::to_string(row.first) + " then " + std::to_string(row.second));
    host().OnEveryUpload(
        [&](const UploadStep& step, auto&) { return step.name == "1" ? row.first : row.second; });
    ExpectReply(Send(UploadRequest("/api/v1/fw_upload", MultipartBody({{"1", "x", "f"}, {"2", "y", "g"}}))),
                row.status, row.status == 406 ? kInvalidFile : "");
  }
}

TEST_P(UploadTest, WhatTheHostWritesIntoTheDataIsGoneAtTheNextCall) {
  const std::string content = SampleBytes(20000);
  const std::string body = MultipartBody({{"one", content, "f.bin"}, {"two", "short", ""}});
  for (const UploadRoute& route : UploadRoutes()) {
    SCOPED_TRACE(route.target);
    StartAfresh();
    int dirty = 0;
    host().OnEveryUpload([&](const UploadStep& step, auto& record) {
      const std::string behind(record.data + record.length, record.data + sizeof record.data);
      if (step.endFlag == 0 && behind.find_first_not_of('\0') != std::string::npos) ++dirty;
      receiver_.Take(step);
      std::memset(record.data, 'h', sizeof record.data);
      return 0;
    });
    ExpectReply(Send(UploadRequest(route.target, body)), 200);
    EXPECT_EQ(dirty, 0);
    ASSERT_EQ(receiver_.Finished().size(), 1U);
    EXPECT_TRUE(receiver_.Finished()[0].fields[0].data == content);
    EXPECT_EQ(receiver_.Finished()[0].fields[1].data, "short");
  }
}

TEST_P(UploadTest, TheExtraBlockIsTheHostsToTakeOrToReplace) {
  for (const UploadRoute& route : UploadRoutes()) {
    for (const bool replace : {false, true}) {
      SCOPED_TRACE(std::string(route.target) + (replace ? " replaced" : " taken"));
      host().OnEveryUpload([&](const UploadStep&, auto& record) {
        std::free(record.extra);
        record.extra = replace ? static_cast<char*>(std::calloc(1, 100)) : nullptr;
        return 0;
      });
      HttpRequest request = UploadRequest(route.target, MultipartBody({{"f", "x", "f"}}));
      request.headers.emplace_back("Port: eth0");
      ExpectReply(Send(request), 200);
    }
  }
}

TEST_P(UploadTest, AHostThatClearsItsLoginHandleIsNotCalledAgain) {
  const std::string body = MultipartBody({{"one", std::string(20000, 'x'), "f"}, {"two", "y", ""}});
  for (const UploadRoute& route : UploadRoutes()) {
    if (route.refusal == Refusal::kCustom) continue;
    for (const bool inFound : {true, false}) {
      SCOPED_TRACE(std::string(route.target) + (inFound ? " found" : " get"));
      LogCapture::Clear();
      int calls = 0;
      host().upload = [&](const UploadStep& step, UploadFileCtx& record) {
        ++calls;
        if (inFound || step.pieceState != 0) record.loginHandle = nullptr;
        return 0;
      };
      ExpectRefused(Send(UploadRequest(route.target, body)), route);
      EXPECT_EQ(calls, inFound ? 1 : 2);
      // The parser asks once more after an abort in a long field.
      const auto lines = LogCapture::Records();
      EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const LogRecord& line) {
        return line.level == 4 && line.text.find("FileGetCb not registered!!!!") != std::string::npos;
      }));
    }
  }
}

struct BadForm {
  const char* what;
  const char* contentType;  // whole header line
  std::string body;
};

// Every form here fails as a whole: it is answered as a form that cannot be parsed, and never concluded.
const std::vector<BadForm>& BadForms() {
  const std::string start = "--BOUNDARYxyz\r\n";
  const std::string field = start + "Content-Disposition: form-data; name=\"x\"\r\n\r\n";
  const std::string whole = MultipartBody({{"f", "content", "f.bin"}});
  static const std::vector<BadForm> forms{
      {"urlencoded, name too long", kUrlencodedType, std::string(1100, 'n') + "=x"},
      {"urlencoded, name longer than any buffer", kUrlencodedType, std::string(9000, 'n') + "=x"},
      {"JSON", "Content-Type: application/json", "{}"},
      {"multipart without a boundary", "Content-Type: multipart/form-data", whole},
      {"multipart with an empty boundary", "Content-Type: multipart/form-data; boundary=", whole},
      {"another parameter instead", "Content-Type: multipart/form-data; charset=utf-8", whole},
      {"boundary without an end", "Content-Type: multipart/form-data; boundary=\"BOUNDARYxyz", whole},
      {"boundary of 71 characters", kLongBoundaryType, MultipartBody({{"f", "c", "f"}}, kLongBoundary)},
      {"boundary in another parameter", "Content-Type: multipart/form-data; x=\"; boundary=BOUNDARYxyz\"",
       whole},
      {"other multipart", "Content-Type: multipart/mixed; boundary=BOUNDARYxyz", whole},
      {"other boundary", "Content-Type: multipart/form-data; boundary=OTHERxyz", whole},
      {"no body", kBoundaryType, ""},
      {"no form in the body", kBoundaryType, "just text"},
      {"no delimiter in a long body", kBoundaryType, SampleBytes(30000)},
      {"part without a body", kBoundaryType, field + "--BOUNDARYxyz--"},
      {"part without a body, line end behind", kBoundaryType, field + "--BOUNDARYxyz--\r\n"},
      {"good part, then one without a body", kBoundaryType,
       start + "Content-Disposition: form-data; name=\"g\"\r\n\r\ngood\r\n" + field + "--BOUNDARYxyz--"},
      {"part without a disposition", kBoundaryType,
       start + "Content-Type: text/plain\r\n\r\nx\r\n--BOUNDARYxyz--\r\n"},
      {"part without a name", kBoundaryType,
       start + "Content-Disposition: form-data; filename=\"a\"\r\n\r\nx\r\n--BOUNDARYxyz--\r\n"},
      {"cut inside the data", kBoundaryType, whole.substr(0, whole.size() - 22)},
      {"cut inside the part head", kBoundaryType, whole.substr(0, 40)},
      {"cut before the closing dashes", kBoundaryType, whole.substr(0, whole.size() - 4)},
      {"field name too long", kBoundaryType, MultipartBody({{std::string(1100, 'n'), "x", "f"}})},
      {"file name too long", kBoundaryType, MultipartBody({{"f", "x", std::string(1100, 'n')}})},
  };
  return forms;
}

TEST_P(UploadTest, MalformedFormsFailAsAWholeOnEveryRoute) {
  for (const UploadRoute& route : UploadRoutes()) {
    for (const BadForm& form : BadForms()) {
      SCOPED_TRACE(std::string(route.target) + ": " + form.what);
      StartAfresh();
      ExpectRefused(Send(HttpRequest{"POST", route.target, {form.contentType}, form.body}), route);
      EXPECT_EQ(FinalCalls(), 0);
      for (const UploadStep& step : host().Uploads()) {
        EXPECT_NE(step.name, "x") << "a part without a body is no field";
      }
    }
  }
}

TEST_P(UploadTest, ARequestWithoutBodyAndQueryIsNoForm) {
  for (const UploadRoute& route : UploadRoutes()) {
    SCOPED_TRACE(route.target);
    ExpectRefused(Get(route.target), route);
    ExpectRefused(Send(HttpRequest{"POST", std::string(route.target) + "?a=1", {}, ""}), route);
  }
  EXPECT_TRUE(host().Calls().empty());
}

using Fields = std::vector<std::pair<std::string, std::string>>;

// What the host received: names and values of plain fields, whose pieces all say that more may follow.
Fields PlainFields(const Receiver& receiver) {
  Fields fields;
  for (const ReceivedUpload& upload : receiver.Finished()) {
    for (const ReceivedField& field : upload.fields) {
      EXPECT_EQ(field.fileName, "");
      EXPECT_EQ(std::count(field.states.begin(), field.states.end(), 2),
                static_cast<long>(field.states.size()));
      fields.emplace_back(field.name, field.data);
    }
  }
  return fields;
}

struct UrlencodedForm {
  std::string sent;
  Fields received;
};

const std::vector<UrlencodedForm>& UrlencodedForms() {
  static const std::vector<UrlencodedForm> forms{
      {"a=b", {{"a", "b"}}},
      {"a=b&c=d&a=e", {{"a", "b"}, {"c", "d"}, {"a", "e"}}},
      {"a=&b=", {{"a", ""}, {"b", ""}}},
      {"=a", {{"", "a"}}},
      {"a=%", {{"a", "%"}}},
      {"a=%4", {{"a", "%4"}}},
      {"a=%&b=%4&c=d", {{"a", "%"}, {"b", "%4"}, {"c", "d"}}},
      {"note=abc%4", {{"note", "abc%4"}}},
      {"a=%41%2b+%zz", {{"a", "A+ %zz"}}},
      {"a=%00", {{"a", std::string(1, '\0')}}},
      {"%41%26=b", {{"A&", "b"}}},
      {"a=b&rest", {{"a", "b"}}},
      {"a=b&", {{"a", "b"}}},
      {"rest", {}},
      {"a==b", {{"a", "=b"}}},
  };
  return forms;
}

TEST_P(UploadTest, UrlencodedBodiesReachTheHost) {
  std::vector<UrlencodedForm> forms = UrlencodedForms();
  forms.push_back({std::string("a=b\0c&d=e", 9), {{"a", std::string("b\0c", 3)}, {"d", "e"}}});
  forms.push_back({std::string("a=\0%\0", 5), {{"a", std::string("\0%\0", 3)}}});
  // An escape stands at every place of the parser's buffer's end once.
  for (std::size_t before = 8180; before < 8196; ++before) {
    const std::string text(before, 'x');
    forms.push_back({"n=" + text + "%41%4&m=%", {{"n", text + "A%4"}, {"m", "%"}}});
    forms.push_back({"n=" + text + "%", {{"n", text + "%"}}});
  }
  for (const UrlencodedForm& form : forms) {
    SCOPED_TRACE(form.sent.substr(0, 40) + " " + std::to_string(form.sent.size()));
    for (const char* const type : {kUrlencodedType, "X-None: 1"}) {
      receiver_.Clear();
      ExpectReply(Send(HttpRequest{"POST", "/upload/scene", {type}, form.sent}), 200);
      EXPECT_EQ(receiver_.Finished().size(), 1U);
      EXPECT_TRUE(PlainFields(receiver_) == form.received);
    }
  }
}

TEST_P(UploadTest, QueriesReachTheHost) {
  for (const UrlencodedForm& form : UrlencodedForms()) {
    SCOPED_TRACE(form.sent);
    receiver_.Clear();
    ExpectReply(Get("/upload/scene?" + form.sent), 200);
    EXPECT_TRUE(PlainFields(receiver_) == form.received);
  }
}

TEST_P(UploadTest, EachRouteShowsItsHostTheStepsOfAnUrlencodedForm) {
  for (const UploadRoute& route : UploadRoutes()) {
    SCOPED_TRACE(route.target);
    StartAfresh();
    ExpectReply(Send(HttpRequest{"POST", route.target, {kUrlencodedType}, "a=text&b="}), 200);
    EXPECT_EQ(host().Lines(), StepsOf(route, {
                                                 "found a (none)",
                                                 "piece 4 more a (none)",
                                                 "found b (none)",
                                                 "final b (none)",
                                             }));
  }
}

TEST_P(UploadTest, ALargeUrlencodedValueArrivesByteForByte) {
  std::string escaped;
  std::string content;
  for (int i = 0; i < 30000; ++i) {
    escaped += i % 7 == 0 ? "%2B" : "y";
    content += i % 7 == 0 ? "+" : "y";
  }
  ExpectReply(Send(HttpRequest{"POST", "/upload/scene", {kUrlencodedType}, "n=" + escaped + "&m=1"}), 200);
  EXPECT_TRUE(PlainFields(receiver_) == (Fields{{"n", content}, {"m", "1"}}));
}

TEST_P(UploadTest, AnUrlencodedBodyCutShortFailsAsAWhole) {
  for (const UploadRoute& route : UploadRoutes()) {
    for (const char* const part : {"", "a", "a=", "a=%", "a=b&c", "a=b&c=%4"}) {
      SCOPED_TRACE(std::string(route.target) + " " + part);
      StartAfresh();
      Connection client(Server::Get().port(mode().https), mode().https);
      ASSERT_TRUE(client.Send("POST " + std::string(route.target) + " HTTP/1.1\r\nHost: a\r\n" +
                              Authorization() + "\r\nContent-Length: 100\r\n\r\n" + part));
      client.FinishSending();
      ExpectRefused(ParseResponse(client.ReadToEnd()), route);
      EXPECT_EQ(FinalCalls(), 0);
    }
  }
}

TEST_P(UploadTest, ErrorsOfUrlencodedFieldsAreAnsweredAsOthersAre) {
  for (const UploadRoute& route : UploadRoutes()) {
    for (const int result : {-2, -1, 5}) {
      for (const int state : {0, 2}) {
        SCOPED_TRACE(std::string(route.target) + " " + std::to_string(result) + " " + std::to_string(state));
        StartAfresh();
        host().OnEveryUpload([&](const UploadStep& step, auto&) {
          return step.endFlag == 0 && step.pieceState == state ? result : 0;
        });
        const Outcome expected = ExpectedOutcome(route.refusal, state == 0 ? At::kFound : At::kGet, result);
        ExpectReply(Send(HttpRequest{"POST", route.target, {kUrlencodedType}, "a=1&b=2"}), expected.status,
                    expected.status == 406 ? kInvalidFile : "");
        EXPECT_EQ(FinalCalls(), expected.finalCall ? 1 : 0);
      }
    }
  }
}

struct LegalForm {
  const char* what;
  std::string parameters;  // behind the media type
  std::string boundary;
  std::string before;
  std::string behind;
};

TEST_P(UploadTest, EveryLegalMultipartFormIsRead) {
  const std::string usual = "; boundary=BOUNDARYxyz";
  const LegalForm forms[] = {
      {"boundary of 1 character", "; boundary=B", "B", "", ""},
      {"boundary of 2 characters", "; boundary=-b", "-b", "", ""},
      {"boundary of 3 characters", "; boundary=xyz", "xyz", "", ""},
      {"boundary of 70 characters", "; boundary=" + std::string(kLongBoundary, 70),
       std::string(kLongBoundary, 70), "", ""},
      {"another parameter first", "; charset=utf-8; boundary=BOUNDARYxyz", "BOUNDARYxyz", "", ""},
      {"another parameter behind", "; boundary=BOUNDARYxyz ; charset=utf-8", "BOUNDARYxyz", "", ""},
      {"quoted", "; boundary=\"BOUND xyz;=:\"; charset=utf-8", "BOUND xyz;=:", "", ""},
      {"quoted parameter first", "; x=\"a;boundary=b\\\"c\"; Boundary=\"B\"", "B", "", ""},
      {"without a blank", ";boundary=BOUNDARYxyz", "BOUNDARYxyz", "", ""},
      {"preamble", usual, "BOUNDARYxyz", "A - preamble, with -- hyphens.\r\n", ""},
      {"empty line as preamble", usual, "BOUNDARYxyz", "\r\n", ""},
      {"delimiter inside a line of the preamble", usual, "BOUNDARYxyz", "see --BOUNDARYxyz\r\n", ""},
      {"epilogue", usual, "BOUNDARYxyz", "", "Nobody reads this.\r\n--BOUNDARYxyz\r\n"},
      {"long epilogue", usual, "BOUNDARYxyz", "", std::string(30000, '-')},
      {"both", usual, "BOUNDARYxyz", "-\r\n", "-"},
  };
  for (const LegalForm& form : forms) {
    SCOPED_TRACE(form.what);
    receiver_.Clear();
    const std::string body = MultipartBody({{"f", "content", "f.bin"}, {"n", "", ""}}, form.boundary);
    ExpectReply(Send(HttpRequest{"POST",
                                 "/upload/logo",
                                 {"Content-Type: multipart/form-data" + form.parameters},
                                 form.before + body + form.behind}),
                200);
    ASSERT_EQ(receiver_.Finished().size(), 1U);
    const std::vector<ReceivedField> fields = receiver_.Finished()[0].fields;
    ASSERT_EQ(fields.size(), 2U);
    EXPECT_EQ(fields[0].data, "content");
    EXPECT_EQ(fields[0].states, std::vector<int>{1});
    EXPECT_EQ(fields[1].data, "");
  }
}

TEST_P(UploadTest, APreambleOfAnyLengthIsSkipped) {
  const std::string content = SampleBytes(20000);
  const std::string body = MultipartBody({{"f", content, "f"}});
  for (std::size_t length :
       {8100U, 8175U, 8176U, 8177U, 8178U, 8187U, 8188U, 8189U, 8190U, 8191U, 8192U, 50000U}) {
    SCOPED_TRACE(length);
    receiver_.Clear();
    ExpectReply(Send(UploadRequest("/upload/logo", std::string(length, '-') + "\r\n" + body)), 200);
    ASSERT_EQ(receiver_.Finished().size(), 1U);
    EXPECT_TRUE(receiver_.Finished()[0].fields[0].data == content);
  }
}

TEST_P(UploadTest, TheLastLineEndMayBeMissing) {
  const std::string body = MultipartBody({{"f", "content", "f"}});
  ExpectReply(Send(UploadRequest("/upload/logo", body.substr(0, body.size() - 2))), 200);
  EXPECT_EQ(receiver_.Finished().size(), 1U);
}

TEST_P(UploadTest, AnUnknownTokenIsRefusedBeforeTheHostIsAsked) {
  if (!mode().auth) return;
  for (const UploadRoute& route : UploadRoutes()) {
    SCOPED_TRACE(route.target);
    LogCapture::Clear();
    HttpRequest request = UploadRequest(route.target, MultipartBody({{"f", "x", "f"}}));
    request.headers.push_back("Authorization: Bearer stranger");
    ExpectReply(SendBare(request), 401);
    EXPECT_EQ(LogCapture::Count(4, "GetLoginHandle err stranger!!!!",
                                route.refusal == Refusal::kCustom ? "sdkapicustom" : "sdkapiupload"),
              1);
  }
  EXPECT_TRUE(host().Calls().empty());
}

TEST_P(UploadTest, ThePortHeaderReachesThe8021xCertificateOnly) {
  for (const UploadRoute& route : UploadRoutes()) {
    for (const std::string& port : {std::string("LAN 2"), std::string(300, 'p'), std::string()}) {
      SCOPED_TRACE(std::string(route.target) + " " + port);
      std::vector<std::string> seen;
      host().OnEveryUpload([&](const UploadStep& step, auto&) {
        seen.push_back(step.extra.value_or("<null>"));
        return 0;
      });
      HttpRequest request = UploadRequest(route.target, MultipartBody({{"f", "x", "f"}}));
      if (!port.empty()) request.headers.push_back("Port: " + port);
      ExpectReply(Send(request), 200);
      const bool reads =
          std::strcmp(route.target, "/api/v1/security/ieee802_1x_setting") == 0 && !port.empty();
      EXPECT_EQ(seen, std::vector<std::string>(3, reads ? port.substr(0, 127) : "<null>"));
    }
  }
}

TEST_P(UploadTest, ThirtyUploadsAtOnceKeepApart) {
  std::vector<std::thread> clients;
  std::atomic<int> accepted{0};
  const std::string sample = SampleBytes(200000);
  const auto contentOf = [&](int i) { return sample.substr(static_cast<std::size_t>(i) * 1000); };
  for (int i = 0; i < 30; ++i) {
    clients.emplace_back([&, i] {
      const std::string body = MultipartBody({{"f" + std::to_string(i), contentOf(i), "f"}});
      if (Send(UploadRequest("/upload/logo", body)).status() == 200) ++accepted;
    });
  }
  for (std::thread& client : clients) client.join();
  EXPECT_EQ(accepted.load(), 30);
  const auto finished = receiver_.Finished();
  ASSERT_EQ(finished.size(), 30U);
  for (const ReceivedUpload& upload : finished) {
    ASSERT_EQ(upload.fields.size(), 1U);
    EXPECT_TRUE(upload.fields[0].data == contentOf(std::atoi(upload.fields[0].name.c_str() + 1)));
  }
}

TEST_P(UploadTest, AVanishingClientIsForgotten) {
  const int files = OpenFiles();
  for (const UploadRoute& route : UploadRoutes()) {
    SCOPED_TRACE(route.target);
    StartAfresh();
    {
      Connection client(Server::Get().port(mode().https), mode().https);
      const std::string head = "POST " + std::string(route.target) + " HTTP/1.1\r\nHost: a\r\n" +
                               Authorization() + "\r\n" + kBoundaryType +
                               "\r\nContent-Length: 1000000\r\n\r\n";
      const std::string form = MultipartBody({{"f", std::string(500000, 'x'), "f"}});
      ASSERT_TRUE(client.Send(head + form.substr(0, 100000)));
      ASSERT_TRUE(host().WaitForCount(route.slot, 2));
      client.Abort();
    }
    EXPECT_TRUE(Eventually([&] { return OpenFiles() <= files; }));
    EXPECT_EQ(FinalCalls(), 0);
    ExpectReply(Send(UploadRequest(route.target, MultipartBody({{"f", "x", "f"}}))), 200);
  }
}

TEST_P(UploadTest, ARefusedFileIsReadToItsEnd) {
  host().OnEveryUpload([](const UploadStep&, auto&) { return 5; });
  const std::string body = MultipartBody({{"f", std::string(5000000, 'x'), "f"}});
  for (const char* const target : {"/upload/logo", "/api/v1/fw_upload", "/custom/upload"}) {
    SCOPED_TRACE(target);
    Connection client(Server::Get().port(mode().https), mode().https);
    HttpRequest request = UploadRequest(target, body);
    request.headers.push_back(Authorization());
    EXPECT_TRUE(client.Send(request.Bytes()));
    const bool firmware = std::strcmp(target, "/api/v1/fw_upload") == 0;
    ExpectReply(ParseResponse(client.ReadToEnd()), firmware ? 406 : 500, firmware ? kInvalidFile : "");
    EXPECT_EQ(client.end(), Connection::End::kEof);
  }
}

}  // namespace
}  // namespace integration
