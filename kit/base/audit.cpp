// Acts: who asks on this thread, and the way of a record to the host's hook.
#include "base/audit.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <optional>
#include <string_view>

#include "base/record.h"
#include "base/request.h"
#include "base/text.h"
#include "sdkapi/kit_log.h"

namespace sdkkit {
namespace {

std::atomic<SdkKitAuditHook> g_hook{nullptr};

using Text = std::array<char, 256>;

// By its first byte.
std::size_t BytesOfCharacter(unsigned char first) {
  if (first < 0xc0U) return 1;
  return first < 0xe0U ? 2 : first < 0xf0U ? 3 : 4;
}

// A character that the end would cut in two goes whole.
void DropHalfCharacter(Text& text) {
  const auto byteAt = [&](std::size_t place) { return static_cast<unsigned char>(text[place]); };
  const std::size_t end = text.size() - 1;
  std::size_t first = end - 1;
  while (first > 0 && (byteAt(first) & 0xc0U) == 0x80U) --first;
  if (first + BytesOfCharacter(byteAt(first)) > end) text[first] = '\0';
}

Text Cleaned(const char* text) {
  Text clean{};
  const int length = std::snprintf(clean.data(), clean.size(), "%s", text != nullptr ? text : "");
  if (length >= static_cast<int>(clean.size())) DropHalfCharacter(clean);
  HideControls(clean);
  return clean;
}

// The last request on this thread that the check of rights has seen.
struct Requester {
  Text user{};
  Text route{};
  char address[kExtAddressSize]{};
  int32_t port = 0;
};
thread_local Requester t_requester;

// Asked for only where it is needed: outside of requests the question is an error in the log.
SdkAPIExtRequest RequestBehind(const Act& act) {
  if (act.user == nullptr || act.address == nullptr) return CurrentRequest();
  SdkAPIExtRequest none{};
  none.route = "";
  return none;
}

// Empty for another request than the one that was noted.
Text UserOf(const SdkAPIExtRequest& request) {
  const Requester& noted = t_requester;
  const bool isSame = request.size != 0 && request.port == noted.port &&
                      std::string_view(request.address) == noted.address &&
                      std::string_view(Cleaned(request.route).data()) == noted.route.data();
  return isSame ? noted.user : Text{};
}

// A record with texts of its own.
struct Told {
  Told(const char* subject, const Act& act) {
    const SdkAPIExtRequest request = RequestBehind(act);
    texts = {Cleaned(subject),
             Cleaned(act.action),
             act.user != nullptr ? Cleaned(act.user) : UserOf(request),
             Cleaned(act.address != nullptr ? act.address : request.address),
             Cleaned(act.object),
             Cleaned(act.target),
             Cleaned(act.reason)};
    entry = {sizeof entry,    act.outcome,     texts[0].data(), texts[1].data(), texts[2].data(),
             texts[3].data(), texts[4].data(), texts[5].data(), texts[6].data()};
  }

  Told(const Told&) = delete;
  Told& operator=(const Told&) = delete;

  std::array<Text, 7> texts;
  SdkKitAuditEntry entry;
};

void Tell(const Told& told) {
  if (const SdkKitAuditHook hook = g_hook.load()) hook(&told.entry);
}

// "kim from 192.0.2.7: set-unit-input "RX01" (TX02) refused: there is no such unit"
void WriteLine(const SdkKitAuditEntry& entry) {
  const bool isDone = entry.outcome == kKitAuditDone;
  std::array<char, 2048> line{};
  std::snprintf(line.data(), line.size(), "%s from %s: %s \"%s\" (%s)%s%s",
                entry.user[0] != '\0' ? entry.user : "nobody",
                entry.address[0] != '\0' ? entry.address : "the device itself", entry.action, entry.object,
                entry.target, isDone ? "" : " refused: ", isDone ? "" : entry.reason);
  SdkKitLog_Write(kKitAudit, entry.subject, line.data());
}

bool IsUsable(const std::optional<SdkKitAuditEntry>& entry) {
  return entry && entry->subject != nullptr && entry->action != nullptr &&
         (entry->outcome == kKitAuditDone || entry->outcome == kKitAuditRefused);
}

}  // namespace

void TellAct(const char* subject, const Act& act) {
  if (g_hook.load() != nullptr) Tell(Told(subject, act));
}

void NoteRequester(const SdkAPIExtRequest& request, std::string_view user) {
  Requester& noted = t_requester;
  std::snprintf(noted.user.data(), noted.user.size(), "%.*s", static_cast<int>(user.size()), user.data());
  std::snprintf(noted.address, sizeof noted.address, "%s", request.address);
  noted.route = Cleaned(request.route);
  noted.port = request.port;
}

std::string RequesterOf(const SdkAPIExtRequest& request) { return UserOf(request).data(); }

}  // namespace sdkkit

void SdkKitAudit_Set(SdkKitAuditHook hook) { sdkkit::g_hook.store(hook); }

int SdkKitAudit_Write(const SdkKitAuditEntry* given) {
  const auto entry = sdkkit::ReadRecord(given);
  if (!sdkkit::IsUsable(entry)) return -1;
  const auto outcome = static_cast<SdkKitAuditOutcome>(entry->outcome);
  const sdkkit::Told told(entry->subject, {entry->action, outcome, entry->object, entry->target,
                                           entry->reason, entry->user, entry->address});
  sdkkit::WriteLine(told.entry);
  sdkkit::Tell(told);
  return 0;
}
