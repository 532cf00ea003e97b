// The signals of a program and its own wish to stop, as something that can be waited for.
#include "runner/signals.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <mutex>
#include <system_error>

namespace sdkkit {
namespace {

std::mutex g_mutex;
int g_wish = -1;  // guarded by g_mutex, so that nobody writes to a descriptor that was closed

FileDescriptor MakeSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&set, signal);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  return FileDescriptor(signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
}

FileDescriptor MakeEvent() { return FileDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)); }

bool TakeEvent(const FileDescriptor& event) {
  eventfd_t count = 0;
  return eventfd_read(event.get(), &count) == 0;
}

}  // namespace

Signals::Signals() : signals_(MakeSignals()), wish_(MakeEvent()), wake_(MakeEvent()) {
  if (!signals_ || !wish_ || !wake_) throw std::system_error(errno, std::generic_category(), "signals");
  const std::lock_guard lock(g_mutex);
  g_wish = wish_.get();
}

Signals::~Signals() {
  const std::lock_guard lock(g_mutex);
  g_wish = -1;
}

int Signals::Next(std::chrono::milliseconds most) {
  std::array<pollfd, 3> waiting{pollfd{signals_.get(), POLLIN, 0}, pollfd{wish_.get(), POLLIN, 0},
                                pollfd{wake_.get(), POLLIN, 0}};
  poll(waiting.data(), waiting.size(), static_cast<int>(most.count()));
  signalfd_siginfo signal{};
  if (read(signals_.get(), &signal, sizeof signal) == sizeof signal)
    return static_cast<int>(signal.ssi_signo);
  if (TakeEvent(wish_)) return SIGTERM;
  TakeEvent(wake_);
  return 0;
}

void Signals::Wake() { eventfd_write(wake_.get(), 1); }

void Signals::WishToStop() {
  const std::lock_guard lock(g_mutex);
  if (g_wish >= 0) eventfd_write(g_wish, 1);
}

}  // namespace sdkkit
