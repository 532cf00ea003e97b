// Which viewer watches which source, and which sources there are.
#include "preview/gallery.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/inside.h"

namespace sdkkit {
namespace {

constexpr int kRefused = -1;
constexpr std::size_t kMostSources = 1024;
constexpr uint32_t kFastest = 60;
constexpr uint32_t kBestQuality = 100;

uint32_t Or(uint32_t value, uint32_t instead) { return value != 0 ? value : instead; }

SdkKitPreviewOptions WithDefaults(SdkKitPreviewOptions options) {
  options.picturesPerSecond = Or(options.picturesPerSecond, 25);
  options.quality = Or(options.quality, 85);
  options.mostViewers = Or(options.mostViewers, 64);
  options.mostPerSource = Or(options.mostPerSource, options.mostViewers);
  options.mostPerAddress = Or(options.mostPerAddress, options.mostViewers);
  options.mostSources = Or(options.mostSources, 16);
  return options;
}

const char* FaultOf(const SdkKitPreviewOptions& options) {
  if (options.picturesPerSecond > kFastest) return "picturesPerSecond is more than 60";
  if (options.quality > kBestQuality) return "quality is more than 100";
  return options.reserved == 0 ? nullptr : "a reserved field is not 0";
}

Feed Open(const Source& source, const std::string& name) {
  const Inside<Run> inside;
  return source(name);
}

}  // namespace

Gallery& Gallery::The() {
  static Gallery gallery;
  return gallery;
}

const char* Gallery::Start(const SdkKitPreviewOptions& options) {
  if (const char* const fault = FaultOf(options)) return fault;
  const std::lock_guard lock(mutex_);
  if (open_) return "it has been started before";
  options_ = WithDefaults(options);
  open_ = true;
  return nullptr;
}

void Gallery::Stop() {
  {
    const std::lock_guard lock(mutex_);
    open_ = false;
    for (const auto& [stream, viewer] : viewers_) viewer.run->End();
  }
  const std::lock_guard noneOpens(opening_);
  std::vector<std::weak_ptr<Run>> runs;
  {
    const std::lock_guard lock(mutex_);
    running_.clear();
    sources_.clear();
    pushed_.clear();
    runs = std::exchange(runs_, {});
  }
  for (const auto& weak : runs) {
    if (const auto run = weak.lock()) run->Finish();
  }
}

int Gallery::SetSource(const std::optional<std::string>& name, Source source) {
  const std::lock_guard lock(mutex_);
  if (!open_ || (source && !sources_.contains(name) && sources_.size() >= kMostSources)) return -1;
  const auto former = sources_.find(name);
  if (former != sources_.end()) EndRunsOf(former->second);
  if (name) pushed_.erase(*name);
  if (source) {
    sources_[name] = std::make_shared<const Source>(std::move(source));
  } else {
    sources_.erase(name);
  }
  return 0;
}

int Gallery::SetHostSource(const std::optional<std::string>& name, const SdkKitPreviewSource& source) {
  int quality = 0;
  {
    const std::lock_guard lock(mutex_);
    quality = static_cast<int>(options_.quality);
  }
  return SetSource(name, SourceOfHost(source, quality));
}

void Gallery::EndRunsOf(const SourcePtr& source) {
  for (const auto& [name, row] : running_) {
    if (row.source == source) row.run->End();
  }
}

std::shared_ptr<Pushed> Gallery::PushedOf(const std::string& name) {
  const std::lock_guard lock(mutex_);
  if (!open_) return nullptr;
  const auto found = pushed_.find(name);
  if (found != pushed_.end()) return found->second;
  if (!sources_.contains(name) && sources_.size() >= kMostSources) return nullptr;
  if (const auto former = sources_.find(name); former != sources_.end()) EndRunsOf(former->second);
  auto pushed = std::make_shared<Pushed>();
  sources_[name] =
      std::make_shared<const Source>(Pushed::SourceOf(pushed, static_cast<int>(options_.quality)));
  return pushed_[name] = std::move(pushed);
}

int Gallery::Push(const std::string& name, Jpeg picture) {
  const auto pushed = PushedOf(name);
  if (pushed == nullptr) return -1;
  pushed->Push(std::move(picture));
  return 0;
}

int Gallery::PushRaw(const std::string& name, const RawShape& shape, const void* pixels) {
  const auto pushed = PushedOf(name);
  if (pushed == nullptr) return -1;
  pushed->PushRaw(shape, pixels);
  return 0;
}

int Gallery::Count(const char* name) {
  const std::lock_guard lock(mutex_);
  return static_cast<int>(std::ranges::count_if(
      viewers_, [name](const auto& row) { return name == nullptr || row.second.name == name; }));
}

bool Gallery::HasRoomFor(const std::string& name, const std::string& address) {
  const auto sameName = [&](const auto& row) { return row.second.name == name; };
  const auto sameAddress = [&](const auto& row) { return row.second.address == address; };
  return viewers_.size() < options_.mostViewers &&
         std::ranges::count_if(viewers_, sameName) < int64_t{options_.mostPerSource} &&
         std::ranges::count_if(viewers_, sameAddress) < int64_t{options_.mostPerAddress};
}

Gallery::SourcePtr Gallery::FindSource(const std::string& name) {
  auto found = sources_.find(name);
  if (found == sources_.end()) found = sources_.find(std::nullopt);
  return found != sources_.end() && running_.size() < options_.mostSources ? found->second : nullptr;
}

// One that has ended by itself makes room for the next.
std::shared_ptr<Run> Gallery::FindRun(const std::string& name) {
  std::erase_if(running_, [](const auto& row) { return row.second.run->Ended(); });
  const auto found = running_.find(name);
  return found != running_.end() ? found->second.run : nullptr;
}

int Gallery::Seat(const PreviewFrame& stream, Viewer viewer) {
  viewers_.insert_or_assign(&stream, std::move(viewer));
  return 0;
}

int Gallery::Enter(const PreviewFrame& stream, const std::string& name, const std::string& address) {
  const std::lock_guard opens(opening_);
  SourcePtr source;
  std::chrono::microseconds interval{};
  {
    const std::lock_guard lock(mutex_);
    if (!open_ || !HasRoomFor(name, address)) return kRefused;
    if (const auto run = FindRun(name)) return Seat(stream, {run, name, address});
    source = FindSource(name);
    interval = std::chrono::microseconds(std::chrono::seconds(1)) / options_.picturesPerSecond;
  }
  Feed feed = source != nullptr ? Open(*source, name) : nullptr;
  if (!feed) return kRefused;
  const auto run = std::make_shared<Run>(std::move(feed), interval);
  const std::lock_guard lock(mutex_);
  if (!open_) return kRefused;
  running_.insert_or_assign(name, Running{run, source});
  std::erase_if(runs_, [](const auto& weak) { return weak.expired(); });
  runs_.push_back(run);
  return Seat(stream, {run, name, address});
}

int Gallery::Next(PreviewFrame& stream) {
  Viewer* viewer = nullptr;
  {
    const std::lock_guard lock(mutex_);
    const auto found = viewers_.find(&stream);
    if (found == viewers_.end()) return kRefused;
    viewer = &found->second;  // stays in place until its own stream leaves
  }
  const Jpeg picture = viewer->run->Next(viewer->seen);
  if (picture == nullptr) return kRefused;
  std::memcpy(stream.frame, picture->data(), picture->size());
  stream.length = static_cast<int64_t>(picture->size());
  return 0;
}

// Whoever leaves last ends the run, and waits for its thread without a lock.
void Gallery::Leave(const PreviewFrame& stream) {
  std::shared_ptr<Run> leaving;
  {
    const std::lock_guard lock(mutex_);
    auto viewer = viewers_.extract(&stream);
    if (viewer.empty()) return;
    leaving = std::move(viewer.mapped().run);
    const auto looksToo = [&](const auto& row) { return row.second.run == leaving; };
    if (std::ranges::any_of(viewers_, looksToo)) return;
    std::erase_if(running_, [&](const auto& row) { return row.second.run == leaving; });
  }
  leaving->Finish();
}

}  // namespace sdkkit
