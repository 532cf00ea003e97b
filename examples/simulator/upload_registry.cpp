// The uploads that run now: one host call after the other finds its upload here.
#include "upload_registry.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>
#include <utility>
#include <vector>

namespace sim {
namespace {

using Clock = std::chrono::steady_clock;
using UploadPtr = std::shared_ptr<Upload>;

constexpr std::chrono::seconds kSilenceLimit{60};
constexpr std::chrono::seconds kWatchInterval{1};

struct Entry {
  const void* record;
  UploadPtr upload;
  Clock::time_point lastStep;
};

// Uploads leave the table under the lock but end outside of it: their end writes to the disk and to clients.
class Registry {
 public:
  int32_t Add(const void* record, UploadPtr upload) {
    const std::lock_guard lock(mutex_);
    if (!open_) return 0;
    nextMark_ = nextMark_ == INT32_MAX ? 1 : nextMark_ + 1;
    entries_[nextMark_] = Entry{.record = record, .upload = std::move(upload), .lastStep = Clock::now()};
    return nextMark_;
  }

  UploadPtr Find(int32_t mark) {
    const std::lock_guard lock(mutex_);
    const auto entry = entries_.find(mark);
    if (entry == entries_.end()) return nullptr;
    entry->second.lastStep = Clock::now();
    return entry->second.upload;
  }

  UploadPtr Take(int32_t mark) {
    const std::lock_guard lock(mutex_);
    auto entry = entries_.extract(mark);
    return entry.empty() ? nullptr : std::move(entry.mapped().upload);
  }

  template <typename Test>
  void DiscardIf(Test test) {
    std::vector<UploadPtr> discarded;
    const std::lock_guard lock(mutex_);
    std::erase_if(entries_, [&](auto& row) {
      if (!test(row.second)) return false;
      discarded.push_back(std::move(row.second.upload));
      return true;
    });
  }

  void Open(bool open) {
    const std::lock_guard lock(mutex_);
    open_ = open;
  }

 private:
  std::mutex mutex_;
  std::map<int32_t, Entry> entries_;
  int32_t nextMark_ = 0;
  bool open_ = false;
};

Registry& TheRegistry() {
  static Registry registry;
  return registry;
}

void DiscardSilent() {
  const auto now = Clock::now();
  TheRegistry().DiscardIf([&](const Entry& entry) { return now - entry.lastStep > kSilenceLimit; });
}

int BeginUpload(const UploadKind& kind, const UploadStep& step) {
  TheRegistry().DiscardIf([&](const Entry& entry) { return entry.record == step.record; });
  UploadPtr upload = Upload::Begin(kind, step.fileName, step.extra);
  if (!upload) return -1;
  *step.mark = TheRegistry().Add(step.record, std::move(upload));
  return *step.mark == 0 ? -1 : 0;
}

int FieldFound(const UploadKind& kind, const UploadStep& step) {
  if (!step.isFile) return 0;
  if (*step.mark == 0) return BeginUpload(kind, step);
  TheRegistry().Take(*step.mark);
  return -1;
}

int PieceArrived(const UploadStep& step) {
  if (!step.isFile) return 0;
  const UploadPtr upload = TheRegistry().Find(*step.mark);
  const int answer = upload ? upload->Write(step.piece) : -1;
  if (answer != 0) TheRegistry().Take(*step.mark);
  return answer;
}

int FormEnded(const UploadStep& step) {
  const UploadPtr upload = TheRegistry().Take(*step.mark);
  return upload ? upload->Finish() : -1;
}

std::jthread& Watch() {
  static std::jthread watch;
  return watch;
}

void WatchUploads(const std::stop_token& stop) {
  std::mutex mutex;
  std::condition_variable_any wake;
  std::unique_lock lock(mutex);
  while (!stop.stop_requested()) {
    wake.wait_for(lock, stop, kWatchInterval, [] { return false; });
    DiscardSilent();
  }
}

}  // namespace

int RunUploadStep(const UploadKind& kind, const UploadStep& step) {
  if (step.isFinal) return FormEnded(step);
  return step.isFound ? FieldFound(kind, step) : PieceArrived(step);
}

void StartUploads() {
  TheRegistry().Open(true);
  Watch() = std::jthread(WatchUploads);
}

void StopUploads() {
  TheRegistry().Open(false);
  Watch() = std::jthread();
  TheRegistry().DiscardIf([](const Entry&) { return true; });
}

}  // namespace sim
