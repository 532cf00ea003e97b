// Which system calls the web server makes for a request: each is a good part of the request's cost.
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdarg>

#include "server_test_base.h"

namespace integration {
namespace {

constexpr int kRequests = 200;

enum Call {
  kAccept4,
  kFcntl,
  kGetsockname,
  kSetsockopt,
  kPoll,
  kRecv,
  kSend,
  kShutdown,
  kClose,
  kRead,
  kEpollCtl,
  kCalls
};

std::array<std::atomic<int>, kCalls> made;
thread_local bool isClient = false;  // the test's own calls do not count

[[maybe_unused]] void Count(Call call) {
  if (!isClient) ++made[call];
}

// The library's own function behind the one of this program.
template <class Function>
Function Next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

class SystemCallsTest : public ModeTest {
 protected:
  void SetUp() override {
    if (kInstrumented) GTEST_SKIP() << "sanitizers stand in front of the same calls";
    isClient = true;
    ModeTest::SetUp();
    for (auto& count : made) count = 0;
  }
};

INSTANTIATE_TEST_SUITE_P(Http, SystemCallsTest, ::testing::Values(Mode{false, false}), ModeName);

TEST_P(SystemCallsTest, AClosingGetMakesOneOfEach) {
  for (int i = 0; i < kRequests; ++i) ExpectReply(Get("/dev_info"), 200, "{}");
  EXPECT_TRUE(Eventually([] { return made[kClose] == kRequests; }));
  EXPECT_EQ(made[kAccept4], kRequests);
  EXPECT_EQ(made[kRecv], kRequests);
  EXPECT_EQ(made[kSend], kRequests);
  EXPECT_EQ(made[kShutdown], kRequests);
  EXPECT_EQ(made[kFcntl], 0);
  EXPECT_EQ(made[kGetsockname], 0);
  EXPECT_EQ(made[kSetsockopt], 0);
  EXPECT_LT(made[kPoll], kRequests / 10);  // the master's, every two seconds
}

class TlsCallsTest : public SystemCallsTest {};
INSTANTIATE_TEST_SUITE_P(Https, TlsCallsTest, ::testing::Values(Mode{true, false}), ModeName);

TEST_P(TlsCallsTest, AConnectionStaysWithItsWorkerWhichReadsWholeRecords) {
  for (int i = 0; i < kRequests; ++i) ExpectReply(Get("/dev_info"), 200, "{}");
  EXPECT_TRUE(Eventually([] { return made[kClose] == kRequests; }));
  // One calls the next worker to accept. On a busy machine some clients take longer than their workers wait.
  EXPECT_LT(made[kEpollCtl], kRequests * 4 / 3);
  // The client's four flights, and the waits for them; with two reads a record there would be nine.
  EXPECT_LT(made[kRead], kRequests * 6);
}

}  // namespace
}  // namespace integration

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

using namespace integration;

// The web server's calls come here first: names of the program go before those of the C library.
extern "C" {

int accept4(int fd, sockaddr* address, socklen_t* length, int flags) {
  const int accepted = Next<decltype(&accept4)>("accept4")(fd, address, length, flags);
  if (accepted >= 0) Count(kAccept4);
  return accepted;
}

int fcntl(int fd, int command, ...) {
  va_list list;
  va_start(list, command);
  void* const argument = va_arg(list, void*);
  va_end(list);
  Count(kFcntl);
  return Next<int (*)(int, int, void*)>("fcntl")(fd, command, argument);
}

int getsockname(int fd, sockaddr* address, socklen_t* length) noexcept {
  Count(kGetsockname);
  return Next<decltype(&getsockname)>("getsockname")(fd, address, length);
}

int setsockopt(int fd, int level, int name, const void* value, socklen_t length) noexcept {
  Count(kSetsockopt);
  return Next<decltype(&setsockopt)>("setsockopt")(fd, level, name, value, length);
}

int poll(pollfd* entries, nfds_t count, int timeout) {
  Count(kPoll);
  return Next<decltype(&poll)>("poll")(entries, count, timeout);
}

ssize_t recv(int fd, void* buffer, std::size_t size, int flags) {
  const ssize_t got = Next<decltype(&recv)>("recv")(fd, buffer, size, flags);
  if (got >= 0) Count(kRecv);  // a worker that was quicker than its client gets nothing
  return got;
}

ssize_t send(int fd, const void* bytes, std::size_t size, int flags) {
  Count(kSend);
  return Next<decltype(&send)>("send")(fd, bytes, size, flags);
}

ssize_t read(int fd, void* buffer, std::size_t size) {
  Count(kRead);
  return Next<decltype(&read)>("read")(fd, buffer, size);
}

int epoll_ctl(int epollFd, int operation, int fd, epoll_event* event) noexcept {
  Count(kEpollCtl);
  return Next<decltype(&epoll_ctl)>("epoll_ctl")(epollFd, operation, fd, event);
}

int shutdown(int fd, int how) noexcept {
  Count(kShutdown);
  return Next<decltype(&shutdown)>("shutdown")(fd, how);
}

int close(int fd) {
  Count(kClose);
  return Next<decltype(&close)>("close")(fd);
}
}

#endif
