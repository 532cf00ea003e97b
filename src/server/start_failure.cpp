// Why the last start failed: what was said while it was under way.
#include "server/start_failure.h"

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "base/lock_order.h"
#include "base/mutex.h"
#include "base/thread_safety.h"
#include "sdkapi/extension.h"
#include "server/log.h"
#include "server/refusal.h"

namespace sdkapi {
namespace {

constexpr std::size_t kNotesSize = 2048;

struct Notes {
  Mutex mutex ACQUIRED_AFTER(contextLock, listLock);
  bool open GUARDED_BY(mutex) = false;
  char text[kNotesSize] GUARDED_BY(mutex) = {};
};
constinit Notes notes;

// What the words of the web server and of OpenSSL mean to whoever set the device up.
struct Cause {
  const char* words;
  const char* meaning;
};
constexpr Cause kCauses[] = {
    {"cannot bind to", "a port is taken, or this process may not listen on it"},
    {"cannot open certificate file", "the certificate cannot be read"},
    {"key values mismatch", "the private key does not match the certificate"},
    {"certificate and private key do not match", "the private key does not match the certificate"},
    {"bad decrypt", "the pass phrase does not open the private key"},
    {"cipherfinal error", "the pass phrase does not open the private key"},
    {"interrupted or cancelled", "the private key needs a pass phrase"},
    {"cannot open private key file", "the private key cannot be read"},
};

const char* MeaningOf(const char* message) {
  for (const Cause& cause : kCauses) {
    if (std::strstr(message, cause.words) != nullptr) return cause.meaning;
  }
  return nullptr;
}

// Cut where it does not fit.
void Append(const char* text) REQUIRES(notes.mutex) {
  const std::size_t length = std::strlen(notes.text);
  std::snprintf(notes.text + length, sizeof notes.text - length, "%s", text);
}

}  // namespace

void BeginStartNotes() {
  const ScopedLock lock(notes.mutex);
  notes.open = true;
  notes.text[0] = '\0';
}

void NoteRefusedStart(const char* reason) {
  const ScopedLock lock(notes.mutex);
  if (notes.open) return;
  notes.text[0] = '\0';
  Append(reason);
}

void NoteStartMessage(const char* message) {
  const ScopedLock lock(notes.mutex);
  if (!notes.open) return;
  if (notes.text[0] != '\0') Append("; ");
  const char* const meaning = MeaningOf(message);
  if (meaning != nullptr) {
    Append(meaning);
    Append(": ");
  }
  Append(message);
}

void EndStartNotes(bool started) {
  const ScopedLock lock(notes.mutex);
  notes.open = false;
  if (started) notes.text[0] = '\0';
  if (!started && notes.text[0] == '\0') Append("the web server gave no reason");
}

}  // namespace sdkapi

int SdkAPIExt_StartFailure_Get(char* text, size_t textSize) {
  using namespace sdkapi;
  if (text == nullptr || textSize == 0)
    return Refuse(kExtensionLog.error(), __func__, "no room for the text");
  const ScopedLock lock(notes.mutex);
  std::snprintf(text, textSize, "%s", notes.text);
  return 0;
}
