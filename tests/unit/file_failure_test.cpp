// Reading a download's file: errors, interruptions and short reads at every call.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "download_file.h"
#include "library_fixture.h"

namespace {

// What the n-th read and all later ones do.
struct ReadScript {
  int from = sdktest::kNever;
  int error = 0;         // 0: reads
  std::size_t most = 0;  // bytes of one read; 0: as asked for
  int calls = 0;
};

ReadScript& Reads() {
  static ReadScript script;
  return script;
}

}  // namespace

extern "C" {

ssize_t __real_readv(int file, const iovec* places, int count);
ssize_t __wrap_readv(int file, const iovec* places, int count);

ssize_t __wrap_readv(int file, const iovec* places, int count) {
  ReadScript& script = Reads();
  const bool due = ++script.calls >= script.from;
  if (due && (script.error == EINTR || script.error == EAGAIN)) script.from = sdktest::kNever;
  if (due && script.error != 0) {
    errno = script.error;
    return -1;
  }
  if (script.most == 0) return __real_readv(file, places, count);
  return read(file, places->iov_base, std::min(places->iov_len, script.most));
}
}

namespace {

constexpr std::size_t kSize = 200000;
constexpr char kHead[] =
    "HTTP/1.1 200 OK\r\nContent-Disposition: attachment;filename=\"f\"\r\n"
    "Content-Type: application/octet-stream\r\nTransfer-Encoding: chunked\r\n\r\n";

class FileFailureTest : public sdktest::LibraryTest {
 protected:
  FileFailureTest() { Reads() = ReadScript{}; }
  ~FileFailureTest() override { Reads() = ReadScript{}; }

  static std::string Body(const std::string& bytes) { return sdktest::DownloadFile::Chunks(bytes); }

  int Send(mg_connection& conn) const { return SendHttpDownLoadFile(&conn, path_.c_str(), "f"); }

  const sdktest::DownloadFile file_;
  const std::string& path_ = file_.path();
  const std::string bytes_ = file_.Fill(kSize);
};

TEST_F(FileFailureTest, AReadErrorInTheMiddleEndsTheBodyLikeTheEndOfTheFile) {
  Reads().most = 1000;
  for (const int from : {1, 2, 3, 4, 44, 66, 67, 150}) {
    Reads().from = from;
    Reads().error = EIO;
    Reads().calls = 0;
    mg_connection conn;
    EXPECT_EQ(Send(conn), 0);
    // A read ends with its chunk: 1000 and 500 bytes in turn.
    const std::size_t read = static_cast<std::size_t>(from - 1);
    EXPECT_TRUE(conn.output == kHead + Body(bytes_.substr(0, read / 2 * 1500 + read % 2 * 1000))) << from;
    EXPECT_TRUE(conn.keepAlive);
    EXPECT_EQ(Log(), sdktest::Strings{});
  }
}

TEST_F(FileFailureTest, AnInterruptedReadIsRepeated) {
  for (const int from : {1, 2, 3}) {
    Reads() = ReadScript{.from = from, .error = EINTR};
    mg_connection conn;
    EXPECT_EQ(Send(conn), 0);
    EXPECT_TRUE(conn.output == kHead + Body(bytes_)) << from;
  }
}

// Of a file on a disk it would be an error without an end.
TEST_F(FileFailureTest, AReadThatWouldWaitIsRepeatedWhereItMayWait) {
  Reads() = ReadScript{.from = 1, .error = EAGAIN};
  mg_connection conn;
  EXPECT_EQ(Send(conn), 0);
  EXPECT_TRUE(conn.output == kHead + Body(""));
  unlink(path_.c_str());
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  const int pipe = open(path_.c_str(), O_RDWR | O_NONBLOCK);
  const std::string chunk(1500, 'x');
  ASSERT_EQ(write(pipe, chunk.data(), chunk.size()), 1500);
  Reads() = ReadScript{.from = 1, .error = EAGAIN};
  mg_connection waiting;
  EXPECT_EQ(Send(waiting), -1) << "no server runs when the pipe is empty";
  EXPECT_EQ(waiting.output, kHead + ("5dc\r\n" + chunk + "\r\n"));
  close(pipe);
}

TEST_F(FileFailureTest, ShortReadsGiveTheSameBytes) {
  for (const std::size_t most : {1U, 7U, 1499U, 1500U}) {
    Reads() = ReadScript{.most = most};
    mg_connection conn;
    EXPECT_EQ(Send(conn), 0);
    EXPECT_TRUE(conn.output == kHead + Body(bytes_)) << most;
  }
}

}  // namespace
