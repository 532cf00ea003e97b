// The chunked file sender: many 1500-byte chunks in few writes.
#include "transfer/file_sender.h"

#include <civetweb.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "base/owned.h"
#include "base/text_writer.h"
#include "sdkapi/transfer.h"

namespace sdkapi {
namespace {

constexpr LogSource kLog{"sdkapi"};

constexpr std::size_t kChunkSize = 1500;
constexpr std::size_t kReadSize = 10 * kChunkSize;
constexpr std::size_t kGatherSize = 16384;

constexpr char kHeadFront[] = "HTTP/1.1 200 OK\r\nContent-Disposition: attachment;filename=\"";
constexpr char kHeadBack[] =
    "\"\r\nContent-Type: application/octet-stream\r\nTransfer-Encoding: chunked\r\n\r\n";

// Collects bytes and writes them when the buffer is full and at the end: a write of its own for every chunk
// would cost most of the speed, and wait for the client's acknowledgements.
class GatheredWriter {
 public:
  explicit GatheredWriter(mg_connection* conn) : conn_(conn) {}

  void Append(const char* bytes, std::size_t length) {
    while (length > 0) {
      if (used_ == sizeof buffer_) Flush();
      const std::size_t part = std::min(length, sizeof buffer_ - used_);
      std::memcpy(buffer_ + used_, bytes, part);
      used_ += part;
      bytes += part;
      length -= part;
    }
  }

  void AppendChunk(const char* bytes, std::size_t length) {
    char size[24];
    Append(size, TextWriter(size).AddUnsigned(length, 16).Add("\r\n").Finish());
    Append(bytes, length);
    Append("\r\n", 2);
  }

  void Flush() {
    if (!failed_ && used_ > 0) failed_ = mg_write(conn_, buffer_, used_) != static_cast<int>(used_);
    used_ = 0;
  }

  bool failed() const { return failed_; }

 private:
  mg_connection* conn_;
  char buffer_[kGatherSize];
  std::size_t used_ = 0;
  bool failed_ = false;
};

FilePtr OpenFile(const char* path) {
  struct stat status {};
  return FilePtr(path != nullptr && stat(path, &status) == 0 ? std::fopen(path, "rb") : nullptr);
}

// A read error ends the body like the end of the file.
void SendChunks(std::FILE* file, GatheredWriter& writer) {
  char data[kReadSize];
  std::size_t got = 0;
  std::setvbuf(file, nullptr, _IONBF, 0);  // read straight into the array
  while (!writer.failed() && (got = std::fread(data, 1, sizeof data, file)) > 0) {
    for (std::size_t at = 0; at < got; at += kChunkSize) {
      writer.AppendChunk(data + at, std::min(kChunkSize, got - at));
    }
  }
  writer.AppendChunk("", 0);
  writer.Flush();
}

}  // namespace

int SendFile(mg_connection* conn, const char* path, const char* name, const LogSource& log) {
  GatheredWriter writer(conn);
  writer.Append(kHeadFront, sizeof kHeadFront - 1);
  if (name != nullptr) writer.Append(name, std::strlen(name));
  writer.Append(kHeadBack, sizeof kHeadBack - 1);

  // The head goes out before the file is looked at: a file that cannot be read leaves a 200 without a body.
  const FilePtr file = OpenFile(path);
  if (file == nullptr) {
    writer.Flush();
    log.error()("open file error");
    mg_disable_connection_keep_alive(conn);
    return -1;
  }
  SendChunks(file.get(), writer);
  if (!writer.failed()) return 0;
  log.error()("mg_send_chunk error");
  mg_disable_connection_keep_alive(conn);
  return -1;
}

}  // namespace sdkapi

int SendHttpDownLoadFile_S(mg_connection* conn, const char* path, const char* name) {
  return sdkapi::SendFile(conn, path, name, sdkapi::kLog);
}
