// The chunked file sender: what is read goes straight between the frames of many chunks, one write for all.
#include "transfer/file_sender.h"

#include <civetweb.h>
#include <sys/uio.h>

#include <cstring>
#include <span>
#include <string_view>

#include "base/text_writer.h"
#include "http/cross_origin.h"
#include "sdkapi/http.h"
#include "sdkapi/transfer.h"
#include "server/counters.h"
#include "transfer/file_source.h"

namespace sdkapi {
namespace {

constexpr LogSource kLog{"sdkapi"};

constexpr std::string_view kHeadFront = "HTTP/1.1 200 OK\r\nContent-Disposition: attachment;filename=\"";
constexpr std::string_view kHeadBack =
    "\"\r\nContent-Type: application/octet-stream\r\nTransfer-Encoding: chunked\r\n";
constexpr std::string_view kHeadEnd = "\r\n";

constexpr std::size_t kChunk = 1500;
constexpr std::string_view kFront = "5dc\r\n";  // of a full chunk
constexpr std::string_view kBack = "\r\n";
constexpr std::string_view kTerminator = "0\r\n\r\n";
constexpr std::size_t kSlot = kFront.size() + kChunk + kBack.size();
constexpr std::size_t kMostHead = 512;
constexpr std::size_t kSlotsPerWrite = 43;
// One more than a write takes: whoever writes full slots still has bytes in hand, and the terminator leaves
// with the last of them. Alone it would wait for the client's acknowledgement.
constexpr std::size_t kSlots = kSlotsPerWrite + 1;

// The body under way: head, slots with their chunks, terminator, in one piece of memory.
class ChunkedBody {
 public:
  explicit ChunkedBody(mg_connection* conn) : conn_(conn) {
    for (std::size_t slot = 0; slot < kSlots; ++slot) MakePlace(slot, 0);
  }

  // Waits in front of the first slot; a name without room there goes out on its own.
  void AddHead(std::string_view name, std::string_view extra) {
    const std::string_view parts[] = {kHeadFront, name, kHeadBack, extra, kHeadEnd};
    const std::size_t rest = kHeadFront.size() + kHeadBack.size() + extra.size() + kHeadEnd.size();
    if (name.size() > kMostHead - rest) {
      for (const std::string_view part : parts) Write(part.data(), part.size());
      return;
    }
    begin_ = Slot(0) - name.size() - rest;
    char* at = begin_;
    for (const std::string_view part : parts) at = Put(at, part);
  }

  void SendHead() { SendUpTo(Slot(0)); }

  // The free places of the first slots, in their order.
  std::span<const iovec> FreePlaces(std::size_t slots) {
    const std::size_t slot = filled_ / kChunk;
    MakePlace(begun_, 0);
    begun_ = slot;
    MakePlace(begun_, filled_ % kChunk);
    return {places_ + slot, slots - slot};
  }
  void NoteFilled(std::size_t bytes) { filled_ += bytes; }
  bool HasFilled(std::size_t slots) const { return filled_ >= slots * kChunk; }

  // Sends full slots; what is behind them moves to the front.
  void SendSlots(std::size_t slots) {
    FrameSlots(slots);
    SendUpTo(Slot(slots));
    filled_ -= slots * kChunk;
    std::memcpy(Slot(0) + kFront.size(), Slot(slots) + kFront.size(), filled_);
  }

  void SendRest() {
    const std::size_t full = filled_ / kChunk;
    FrameSlots(full);
    SendUpTo(Put(FrameShort(Slot(full), filled_ % kChunk), kTerminator));
  }

  bool failed() const { return failed_; }

 private:
  static char* Put(char* at, std::string_view text) {
    std::memcpy(at, text.data(), text.size());
    return at + text.size();
  }

  char* Slot(std::size_t slot) { return memory_ + kMostHead + slot * kSlot; }

  void MakePlace(std::size_t slot, std::size_t taken) {
    places_[slot] = {Slot(slot) + kFront.size() + taken, kChunk - taken};
  }

  // Reading and writing leave the frames of full slots as they are.
  void FrameSlots(std::size_t slots) {
    for (; framed_ < slots; ++framed_) Put(Put(Slot(framed_), kFront) + kChunk, kBack);
  }

  // Returns where the chunk ends. A shorter size draws its bytes nearer.
  static char* FrameShort(char* slot, std::size_t length) {
    if (length == 0) return slot;
    char size[24];
    const std::size_t digits = TextWriter(size).AddUnsigned(length, 16).Add("\r\n").Finish();
    std::memmove(slot + digits, slot + kFront.size(), length);
    return Put(Put(slot, {size, digits}) + length, kBack);
  }

  void SendUpTo(const char* end) {
    Write(begin_, static_cast<std::size_t>(end - begin_));
    begin_ = Slot(0);
  }

  void Write(const char* bytes, std::size_t length) {
    if (failed_ || length == 0) return;
    failed_ = mg_write(conn_, bytes, length) != static_cast<int>(length);
  }

  mg_connection* conn_;
  char memory_[kMostHead + kSlots * kSlot + kTerminator.size()];
  char* begin_ = Slot(0);  // of what is to be sent
  std::size_t filled_ = 0;
  std::size_t framed_ = 0;  // slots
  iovec places_[kSlots];    // of the slots' data
  std::size_t begun_ = 0;   // the slot whose place is not whole
  bool failed_ = false;
};

// False at the end of the file.
bool Fill(ChunkedBody& body, std::size_t slots, FileSource& file) {
  while (!body.HasFilled(slots)) {
    const std::size_t got = file.Read(body.FreePlaces(slots));
    if (got == 0) return false;
    body.NoteFilled(got);
  }
  return true;
}

// What keeps its reader waiting must not keep the client waiting for what it gave already.
bool SendChunks(FileSource& file, ChunkedBody& body) {
  const std::size_t wanted = file.MayWait() ? 1 : kSlots;
  const std::size_t sent = file.MayWait() ? 1 : kSlotsPerWrite;
  while (!body.failed() && Fill(body, wanted, file)) body.SendSlots(sent);
  if (!file.GivenUp()) body.SendRest();
  return !body.failed() && !file.GivenUp();
}

// It gets a body, as all requests do, and does not expect one: on a kept connection the file's bytes would be
// taken for the next reply.
bool IsHead(const mg_connection* conn) {
  const char* const method = GetHttpRepMethod(conn);
  return method != nullptr && std::strcmp(method, "HEAD") == 0;
}

int Send(mg_connection* conn, const char* path, const char* name, const LogSource& log) {
  ChunkedBody body(conn);
  body.AddHead(name != nullptr ? name : "", CrossOriginHeader(conn).text());

  // The head goes out before the file is looked at: a file that cannot be read leaves a 200 without a body.
  // Only a file on a disk is so quick that its first chunks may travel with the head.
  FileSource file(path);
  if (file.MayWait()) body.SendHead();
  if (!file.Open()) {
    body.SendHead();
    log.error()("open file error");
    mg_disable_connection_keep_alive(conn);
    return -1;
  }
  if (SendChunks(file, body)) {
    if (IsHead(conn)) mg_disable_connection_keep_alive(conn);
    return 0;
  }
  log.error()("mg_send_chunk error");
  mg_disable_connection_keep_alive(conn);
  return -1;
}

}  // namespace

int SendFile(mg_connection* conn, const char* path, const char* name, const LogSource& log) {
  const int result = Send(conn, path, name, log);
  Count(result == 0 ? Counter::kDownloads : Counter::kFailedDownloads);
  return result;
}

}  // namespace sdkapi

int SendHttpDownLoadFile_S(mg_connection* conn, const char* path, const char* name) {
  return sdkapi::SendFile(conn, path, name, sdkapi::kLog);
}
