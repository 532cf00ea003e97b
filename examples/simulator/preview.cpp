// The preview streams: which viewer watches which source.
#include "preview.h"

#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "media.h"
#include "preview_source.h"
#include "slot_guard.h"
#include "units.h"

namespace sim {
namespace {

struct Viewer {
  std::shared_ptr<PreviewSource> source;
  uint64_t seen = 0;
};

// Sources are owned by their viewers: the last one to leave ends the thread, outside of the lock.
class Gallery {
 public:
  int Enter(const PreviewFrame* stream, const std::string& unit) {
    std::shared_ptr<PreviewSource> replaced;
    const std::lock_guard lock(mutex_);
    if (!open_) return kRefused;
    std::shared_ptr<PreviewSource> source = sources_[unit].lock();
    // A source can have ended while its viewers are still leaving.
    if (!source || source->Ended()) {
      std::erase_if(sources_, [](const auto& row) { return row.second.expired(); });
      source = std::make_shared<PreviewSource>(unit);
      sources_[unit] = source;
    }
    Viewer& viewer = viewers_[stream];
    replaced = std::exchange(viewer.source, std::move(source));
    viewer.seen = 0;
    return 0;
  }

  // The viewer stays in place until its own stream leaves.
  Viewer* Find(const PreviewFrame* stream) {
    const std::lock_guard lock(mutex_);
    const auto viewer = viewers_.find(stream);
    return viewer == viewers_.end() || !open_ ? nullptr : &viewer->second;
  }

  void Leave(const PreviewFrame* stream) {
    Viewer leaving;
    const std::lock_guard lock(mutex_);
    auto viewer = viewers_.extract(stream);
    if (!viewer.empty()) leaving = std::move(viewer.mapped());
  }

  void Open() {
    const std::lock_guard lock(mutex_);
    open_ = true;
  }

  void Close() {
    const std::lock_guard lock(mutex_);
    open_ = false;
    for (const auto& [stream, viewer] : viewers_) viewer.source->End();
  }

 private:
  std::mutex mutex_;
  std::map<const PreviewFrame*, Viewer> viewers_;
  std::map<std::string, std::weak_ptr<PreviewSource>> sources_;
  bool open_ = false;
};

Gallery& TheGallery() {
  static Gallery gallery;
  return gallery;
}

int OpenStream(const PreviewFrame& frame) {
  const std::string name = frame.hostname;
  if (!name.empty()) {
    const auto unit = FindUnit(name);
    if (!unit || !unit->online) return kRefused;
  }
  return TheGallery().Enter(&frame, name);
}

int NextPicture(PreviewFrame& frame) {
  Viewer* viewer = TheGallery().Find(&frame);
  if (viewer == nullptr) return kRefused;
  const auto picture = viewer->source->Next(viewer->seen);
  if (!picture) return kRefused;
  std::memcpy(frame.frame, picture->data(), picture->size());
  frame.length = static_cast<int64_t>(picture->size());
  return 0;
}

int CloseStream(const PreviewFrame& frame) {
  TheGallery().Leave(&frame);
  return 0;
}

}  // namespace

void StartPreviews() { TheGallery().Open(); }

void StopPreviews() { TheGallery().Close(); }

int Preview(PreviewFrame* frame) {
  enum { kOpen = 0, kNext = 1 };
  return Guarded([&] {
    if (frame->state == kOpen) return OpenStream(*frame);
    return frame->state == kNext ? NextPicture(*frame) : CloseStream(*frame);
  });
}

}  // namespace sim
