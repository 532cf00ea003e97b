// A host that uses all of the extension interface while its clients storm: what it sets, and its steps.
#include "governor.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>

#include "extension_lists.h"
#include "sdkapi/sdkapi.h"

namespace integration {
namespace {

// A counter alone: a lock would order the threads.
std::atomic<long> endedUploads{0};

int Echo(uint64_t id, const char* /*token*/, int frame, const char* data, size_t length) {
  EXPECT_EQ(SdkAPIExt_WebSocket_Current(), id);
  SdkAPIExt_WebSocket_Send(id, frame, data, length);
  return 0;
}

int EchoBytes(uint64_t id, const char* /*token*/, const void* data, size_t length) {
  SdkAPIExt_WebSocket_Send(id, kExtBinary, data, length);
  return 0;
}

void NoteUpload(const SdkAPIExtUpload* upload) {
  EXPECT_EQ(upload->completed, 1);
  EXPECT_EQ(upload->status, 200);
  SdkAPIExtRequest request{};
  request.size = sizeof request;
  EXPECT_EQ(SdkAPIExt_Request_Get(&request), 0);
  EXPECT_STREQ(request.path, "/upload/logo");
  ++endedUploads;
}

void NoteLogin(const char* token, int /*reason*/) {
  EXPECT_EQ(std::strncmp(token, "storm-", 6), 0);
  EXPECT_EQ(SdkAPIExt_Login_Limits_Check(), 0);
}

void SetSlots(bool on) {
  SdkAPIExtWebSocketSlots slots{};
  slots.size = sizeof slots;
  slots.message = Echo;
  slots.binary = EchoBytes;
  EXPECT_EQ(SdkAPIExt_WebSocket_Slots_Set(on ? &slots : nullptr), 0);
}

void SetLoginLimits(uint32_t most, int whenFull) {
  SdkAPIExtLoginLimits limits{};
  limits.size = sizeof limits;
  limits.idleSeconds = 60;
  limits.totalSeconds = 600;
  limits.most = most;
  limits.whenFull = whenFull;
  limits.ended = NoteLogin;
  EXPECT_EQ(SdkAPIExt_Login_Limits_Set(&limits), 0);
}

void SetSocketLimits(uint64_t mostMessageBytes) {
  const SdkAPIExtWebSocketLimits limits{sizeof limits, 0, 0, mostMessageBytes};
  EXPECT_EQ(SdkAPIExt_WebSocket_Limits_Set(&limits), 0);
}

void SetTransferLimits(int64_t bytes) {
  for (int family = kExtUploadImage; family <= kExtUploadCustom; ++family) {
    EXPECT_EQ(SdkAPIExt_Upload_Limit_Set(family, bytes), 0);
  }
}

// More than the storm's clients need: each is looked at, none may fail.
void SetServerLimits(uint32_t most) {
  SdkAPIExtLimits limits{};
  limits.size = sizeof limits;
  limits.mostPreviews = most;
  limits.mostWebSockets = most;
  limits.mostStreams = most;
  limits.mostConnectionsPerAddress = 10 * most;
  limits.mostCustomBodyBytes = 1000000ULL * most;
  EXPECT_EQ(SdkAPIExt_Limits_Set(&limits), 0);
}

// A closing one takes nothing; one that is gone is no longer known.
void ToNewest(long number, const std::string& text) {
  const auto sockets = sdktest::Sockets();
  if (sockets.empty()) return;
  const uint64_t id = sockets.back().id;
  if (number % 128 == 7) {
    SdkAPIExt_WebSocket_Close(id, 1000, "governed");
  } else {
    SdkAPIExt_WebSocket_Send(id, kExtText, text.data(), text.size());
  }
}

void Ask() {
  uint64_t last = 0;
  for (const SdkAPIExtWebSocket& socket : sdktest::Sockets()) {
    EXPECT_GT(socket.id, last);
    last = socket.id;
  }
  for (const SdkAPIExtLogin& login : sdktest::Logins()) {
    EXPECT_EQ(std::strncmp(login.token, "storm-", 6), 0);
  }
  SdkAPIExtStatistics statistics{};
  statistics.size = sizeof statistics;
  EXPECT_EQ(SdkAPIExt_Statistics_Get(&statistics), 0);
  EXPECT_LE(statistics.busyWorkers, statistics.workers);
  char text[64];
  EXPECT_EQ(SdkAPIExt_StartFailure_Get(text, sizeof text), 0);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(SdkAPIExt_Option_Set("num_threads", "9"), -1) << "the server runs";
}

void Set(long number) {
  const bool odd = number % 2 != 0;
  SetSlots(odd);
  SetSocketLimits(odd ? 1000000 : 0);
  SetTransferLimits(odd ? 1000000 : 0);
  SetServerLimits(odd ? 150 : 0);
  SetLoginLimits(odd ? 12 : 0, number % 4 < 2 ? kExtFullEndsOldestIdle : kExtFullRefuses);
  EXPECT_EQ(SdkAPIExt_SilentFailure_Set(odd ? 500 : 0), 0);
  EXPECT_EQ(SdkAPIExt_ServerLog_Set(
                [](const SdkAPIExtServerMessage* message) { EXPECT_LT(std::strlen(message->text), 1024U); }),
            0);
}

}  // namespace

void SwitchExtensionsOn() {
  endedUploads = 0;
  EXPECT_EQ(SdkAPIExt_Option_Set("num_threads", "120"), 0);
  EXPECT_EQ(SdkAPIExt_Option_Set("static_file_max_age", "60"), 0);
  EXPECT_EQ(SdkAPIExt_UploadEnd_Set(NoteUpload), 0);
  Set(1);
}

long EndedUploads() { return endedUploads; }

bool IsGovernorsClose(const std::string& payload) {
  if (payload == std::string("\x03\xe8") + "governed") return true;
  constexpr std::array kEnds{"login ended", "login idle", "login too old", "login made room"};
  return std::ranges::any_of(kEnds,
                             [&](const char* reason) { return payload == std::string("\x03\xf0") + reason; });
}

void Govern(long number, const std::string& token, const std::string& text) {
  switch (number % 8) {
    case 0:
      SdkAPIExt_WebSocket_Send_Valid(kExtText, text.data(), text.size());
      return;
    case 1:
      SdkAPIExt_WebSocket_Send_Token(token.c_str(), kExtText, text.data(), text.size());
      return;
    case 2:
      EXPECT_EQ(SdkAPIExt_Login_Limits_Check(), 0);
      return;
    case 3:
      if (number % 64 == 3) SdkAPIExt_Login_End(token.c_str());
      return;
    case 4:
      if (number % 128 == 4) Set(number / 128);
      return;
    case 5:
      return Ask();
    default:
      return ToNewest(number, text);
  }
}

}  // namespace integration
