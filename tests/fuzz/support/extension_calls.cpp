// Calls of the extension interface, chosen by the bytes of an input: the calls, and hooks that check.
#include "extension_calls.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz_host.h"
#include "neutral_extensions.h"
#include "sdkapi/extension.h"

namespace fuzz {
namespace {

constexpr std::size_t kRoom = 4;  // records of a list

bool IsResult(int result) { return result == 0 || result == -1; }

bool IsPrintable(const char* text) {
  return std::none_of(text, text + std::strlen(text),
                      [](char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0; });
}

// The right size three times out of four.
template <class Record>
uint32_t SizeFor(Input& input) {
  const uint8_t choice = input.Byte();
  return choice % 4 != 0 ? sizeof(Record) : static_cast<uint32_t>(input.Number());
}

std::string Token(Input& input) {
  switch (input.Byte() % 4) {
    case 0:
      return std::string(input.Text());
    case 1:
      return std::string(1023U + input.Byte() % 3U, 't');
    default:
      return kToken;
  }
}

uint64_t SocketId(Input& input) {
  if (input.Byte() % 4 == 0) return input.Number();
  SdkAPIExtWebSocket socket{};
  socket.size = sizeof socket;
  std::size_t count = 1;
  FUZZ_CHECK(SdkAPIExt_WebSocket_List(&socket, &count) == 0);
  return socket.id;
}

// Hooks: what they get is whole, and they may call everything.

void TakeEndedLogin(const char* token, int reason) {
  FUZZ_CHECK(std::strlen(token) < 1024);
  FUZZ_CHECK(reason >= kExtLoginIdle && reason <= kExtLoginNoRoom);
  FUZZ_CHECK(SdkAPIExt_Login_Limits_Check() == 0);
  FUZZ_CHECK(IsResult(SdkAPIExt_Login_End(token)));
}

void TakeServerMessage(const SdkAPIExtServerMessage* message) {
  FUZZ_CHECK(message->size == sizeof *message && message->reserved == 0);
  FUZZ_CHECK(std::strlen(message->text) < 1024 && IsPrintable(message->text));
  FUZZ_CHECK(std::strlen(message->address) < kExtAddressSize);
  FUZZ_CHECK(IsPrintable(message->method) && std::strlen(message->path) < 256 && IsPrintable(message->path));
}

void TakeUploadEnd(const SdkAPIExtUpload* upload) {
  FUZZ_CHECK(upload->size == sizeof *upload && upload->reserved == 0);
  FUZZ_CHECK(upload->family >= kExtUploadImage && upload->family <= kExtUploadCustom);
  FUZZ_CHECK((upload->file == nullptr) == (upload->family == kExtUploadCustom));
  FUZZ_CHECK((upload->custom != nullptr) == (upload->family == kExtUploadCustom));
  FUZZ_CHECK(std::strlen(upload->token) < 1024);
  FUZZ_CHECK(Collected().found > 0 && upload->completed == Collected().finals);
  FUZZ_CHECK(upload->completed == 1 || upload->status != 200);
  SdkAPIExtRequest request{};
  request.size = sizeof request;
  FUZZ_CHECK(SdkAPIExt_Request_Get(&request) == 0 && std::strcmp(request.method, "") != 0);
}

int TakeMessage(uint64_t id, const char* token, int frame, const char* data, std::size_t length) {
  FUZZ_CHECK(SdkAPIExt_WebSocket_Current() == id && data[length] == '\0');
  FUZZ_CHECK(std::strlen(token) < 1024 && (frame == kExtText || frame == kExtBinary));
  FUZZ_CHECK(IsResult(SdkAPIExt_WebSocket_Send(id, frame, data, length)));
  return length % 16 == 15 ? 1 : 0;
}

int TakeBinary(uint64_t id, const char* token, const void* data, std::size_t length) {
  FUZZ_CHECK(data != nullptr || length == 0);
  FUZZ_CHECK(SdkAPIExt_WebSocket_Current() == id && std::strlen(token) < 1024);
  FUZZ_CHECK(IsResult(SdkAPIExt_WebSocket_Close(id, 1000, "seen")));
  return 0;
}

// Calls: one byte of the input chooses, the following ones are the arguments.

void SetSilentFailure(Input& input) {
  FUZZ_CHECK(IsResult(SdkAPIExt_SilentFailure_Set(static_cast<int>(input.Number()))));
}

void SetOption(Input& input) {
  const std::string key(input.Text());
  FUZZ_CHECK(SdkAPIExt_Option_Set(input.Byte() % 2 == 0 ? "num_threads" : key.c_str(), "9") == -1);
}

void GetRequest(Input& input) {
  SdkAPIExtRequest request{};
  request.size = SizeFor<SdkAPIExtRequest>(input);
  FUZZ_CHECK(SdkAPIExt_Request_Get(&request) == -1 && request.method == nullptr);
}

void SetServerLog(Input& input) {
  FUZZ_CHECK(SdkAPIExt_ServerLog_Set(input.Byte() % 4 == 0 ? nullptr : TakeServerMessage) == 0);
}

void GetStartFailure(Input& input) {
  std::vector<char> text(input.Byte(), 'x');
  const int result = SdkAPIExt_StartFailure_Get(text.data(), text.size());
  FUZZ_CHECK(result == (text.empty() ? -1 : 0));
  FUZZ_CHECK(text.empty() || text[0] == '\0');
}

void SetUploadEnd(Input& input) {
  FUZZ_CHECK(SdkAPIExt_UploadEnd_Set(input.Byte() % 4 == 0 ? nullptr : TakeUploadEnd) == 0);
}

void SetUploadLimit(Input& input) {
  const int family = static_cast<int8_t>(input.Byte());
  const auto bytes = static_cast<int64_t>(input.Number());
  const bool good = family >= kExtUploadImage && family <= kExtUploadCustom && bytes >= 0;
  FUZZ_CHECK(SdkAPIExt_Upload_Limit_Set(family, bytes) == (good ? 0 : -1));
}

void EndLogin(Input& input) { FUZZ_CHECK(IsResult(SdkAPIExt_Login_End(Token(input).c_str()))); }

template <class Record, int (*kList)(Record*, std::size_t*)>
void List(Input& input) {
  Record records[kRoom]{};
  records[0].size = SizeFor<Record>(input);
  const bool sized = records[0].size == sizeof(Record);
  const std::size_t room = input.Byte() % (kRoom + 1);
  std::size_t count = room;
  const int result = kList(input.Byte() % 8 == 0 ? nullptr : records, &count);
  FUZZ_CHECK(IsResult(result) && (sized || room == 0 || result == -1));
  if (result != 0 || !sized) return;
  for (std::size_t i = 0; i < std::min(room, count); ++i) {
    FUZZ_CHECK(records[i].size == sizeof(Record));
    FUZZ_CHECK(memchr(records[i].token, '\0', sizeof records[i].token) != nullptr);
    FUZZ_CHECK(memchr(records[i].address, '\0', sizeof records[i].address) != nullptr);
  }
}

void SetLoginLimits(Input& input) {
  SdkAPIExtLoginLimits limits{};
  limits.size = SizeFor<SdkAPIExtLoginLimits>(input);
  limits.idleSeconds = input.Byte();
  limits.totalSeconds = input.Byte();
  limits.most = input.Byte() % 32U;
  limits.whenFull = static_cast<int8_t>(input.Byte() % 4) - 1;
  limits.reserved = input.Byte() % 8 == 1 ? 1 : 0;
  limits.ended = input.Byte() % 4 == 0 ? nullptr : TakeEndedLogin;
  const bool good = limits.size == sizeof limits && limits.most <= 20 && limits.whenFull >= 0 &&
                    limits.whenFull <= kExtFullRefuses && limits.reserved == 0;
  FUZZ_CHECK(SdkAPIExt_Login_Limits_Set(&limits) == (good ? 0 : -1));
}

void TakeLoginLimitsBack(Input& /*input*/) { FUZZ_CHECK(SdkAPIExt_Login_Limits_Set(nullptr) == 0); }

void CheckLoginLimits(Input& /*input*/) { FUZZ_CHECK(SdkAPIExt_Login_Limits_Check() == 0); }

void AskForCurrent(Input& /*input*/) { FUZZ_CHECK(SdkAPIExt_WebSocket_Current() == 0); }

void SendToOne(Input& input) {
  const uint64_t id = SocketId(input);
  const int frame = input.Byte() % 4;
  const std::string_view text = input.Text();
  FUZZ_CHECK(IsResult(SdkAPIExt_WebSocket_Send(id, frame, text.data(), text.size())));
}

void SendToToken(Input& input) {
  const std::string token = Token(input);
  const int frame = input.Byte() % 4;
  const std::string_view text = input.Text();
  FUZZ_CHECK(IsResult(SdkAPIExt_WebSocket_Send_Token(token.c_str(), frame, text.data(), text.size())));
}

void SendToValid(Input& input) {
  const int frame = input.Byte() % 4;
  const std::string_view text = input.Text();
  FUZZ_CHECK(IsResult(SdkAPIExt_WebSocket_Send_Valid(frame, text.data(), text.size())));
}

void CloseSocket(Input& input) {
  const uint64_t id = SocketId(input);
  const int code = input.Byte() % 2 == 0 ? 1000 : static_cast<int>(input.Number());
  const std::string reason(input.Text());
  FUZZ_CHECK(IsResult(SdkAPIExt_WebSocket_Close(id, code, reason.c_str())));
}

void SetSlots(Input& input) {
  SdkAPIExtWebSocketSlots slots{};
  slots.size = SizeFor<SdkAPIExtWebSocketSlots>(input);
  slots.reserved = input.Byte() % 8 == 1 ? 1 : 0;
  slots.message = input.Byte() % 4 == 0 ? nullptr : TakeMessage;
  slots.binary = input.Byte() % 4 == 0 ? nullptr : TakeBinary;
  const bool good = slots.size == sizeof slots && slots.reserved == 0;
  FUZZ_CHECK(SdkAPIExt_WebSocket_Slots_Set(&slots) == (good ? 0 : -1));
}

void SetSocketLimits(Input& input) {
  SdkAPIExtWebSocketLimits limits{};
  limits.size = SizeFor<SdkAPIExtWebSocketLimits>(input);
  limits.mostQueuedFrames = input.Byte();
  limits.mostQueuedBytes = input.Number();
  limits.mostMessageBytes = input.Number();
  const bool good = limits.size == sizeof limits && limits.mostQueuedBytes <= 0x7FFF0000 &&
                    limits.mostMessageBytes <= 0x7FFF0000;
  FUZZ_CHECK(SdkAPIExt_WebSocket_Limits_Set(&limits) == (good ? 0 : -1));
}

void GetStatistics(Input& input) {
  SdkAPIExtStatistics statistics{};
  statistics.size = SizeFor<SdkAPIExtStatistics>(input);
  const int result = SdkAPIExt_Statistics_Get(&statistics);
  FUZZ_CHECK(result == (statistics.size == sizeof statistics ? 0 : -1));
  FUZZ_CHECK(statistics.busyWorkers <= statistics.workers);
}

// Of connections always as many as this program's own clients need.
void SetServerLimits(Input& input) {
  constexpr uint32_t kOwnClients = 64;
  SdkAPIExtLimits limits{};
  limits.size = SizeFor<SdkAPIExtLimits>(input);
  limits.mostPreviews = input.Byte();
  limits.mostWebSockets = input.Byte();
  limits.mostStreams = input.Byte();
  limits.mostConnectionsPerAddress = kOwnClients + input.Byte();
  limits.reserved = input.Byte() % 8 == 1 ? 1 : 0;
  limits.mostCustomBodyBytes = input.Number();
  const bool good =
      limits.size == sizeof limits && limits.reserved == 0 && limits.mostCustomBodyBytes <= INT32_MAX;
  FUZZ_CHECK(SdkAPIExt_Limits_Set(&limits) == (good ? 0 : -1));
}

constexpr void (*kCalls[])(Input&) = {SetSilentFailure,
                                      SetOption,
                                      GetRequest,
                                      SetServerLog,
                                      GetStartFailure,
                                      SetUploadEnd,
                                      SetUploadLimit,
                                      EndLogin,
                                      List<SdkAPIExtLogin, SdkAPIExt_Login_List>,
                                      SetLoginLimits,
                                      TakeLoginLimitsBack,
                                      CheckLoginLimits,
                                      AskForCurrent,
                                      SendToOne,
                                      SendToToken,
                                      SendToValid,
                                      CloseSocket,
                                      List<SdkAPIExtWebSocket, SdkAPIExt_WebSocket_List>,
                                      SetSlots,
                                      SetSocketLimits,
                                      GetStatistics,
                                      SetServerLimits};

}  // namespace

uint8_t Input::Byte() {
  const std::string_view byte = Take(1);
  return byte.empty() ? 0 : static_cast<uint8_t>(byte[0]);
}

uint64_t Input::Number() {
  uint64_t number = 0;
  for (std::size_t left = Byte() % 9; left > 0; --left) number = number << 8 | Byte();
  return number;
}

std::string_view Input::Text() { return Take(Byte()); }

std::string_view Input::Take(std::size_t length) {
  const std::string_view taken = bytes_.substr(0, length);
  bytes_.remove_prefix(taken.size());
  return taken;
}

void CallExtensions(Input input) {
  while (!input.empty()) kCalls[input.Byte() % std::size(kCalls)](input);
}

void SetCheckingExtensions() {
  sdktest::SetNeutralExtensions();
  SdkAPIExt_ServerLog_Set(TakeServerMessage);
  SdkAPIExt_UploadEnd_Set(TakeUploadEnd);
}

}  // namespace fuzz
