// The kinds of sources: what a run of each asks for its pictures.
#include "preview/feeds.h"

#include <chrono>
#include <filesystem>
#include <system_error>
#include <utility>

#include "base/file.h"
#include "base/log.h"

namespace sdkkit {
namespace {

constexpr Log kLog{"preview"};

// One run of a host's source.
class HostRun {
 public:
  HostRun(const SdkKitPreviewSource& source, int quality, const std::string& name)
      : source_(source),
        shape_{source.format, source.width, source.height},
        quality_(quality),
        room_(source.format == kPreviewJpeg ? kMostPictureBytes : shape_.Bytes(), '\0'),
        run_(source.open != nullptr ? source.open(name.c_str()) : nullptr) {}
  ~HostRun() {
    if (source_.close != nullptr && run_ != nullptr) source_.close(run_);
  }
  HostRun(const HostRun&) = delete;
  HostRun& operator=(const HostRun&) = delete;

  bool IsThere() const { return run_ != nullptr || source_.open == nullptr; }

  Step Next(Jpeg& picture) {
    void* const data = room_.data();
    SdkKitPreviewPicture record{
        sizeof record, shape_.width, shape_.height, 0, static_cast<unsigned char*>(data), room_.size(), 0};
    const int result = source_.picture(run_, &record);
    if (result == 1) return Step::kSame;
    if (result != 0) return Step::kOver;
    picture =
        source_.format == kPreviewJpeg ? Copy(record.length) : encoder_.Encode(shape_, record.data, quality_);
    if (picture != nullptr) return Step::kNew;
    kLog.Warning("a source gave no picture that can be shown");
    return Step::kOver;
  }

 private:
  Jpeg Copy(std::size_t length) const {
    if (length > room_.size() || !IsJpeg({room_.data(), length})) return nullptr;
    return std::make_shared<const std::string>(room_, 0, length);
  }

  const SdkKitPreviewSource source_;
  const RawShape shape_;
  const int quality_;
  std::string room_;
  Encoder encoder_;
  void* run_;
};

// A file that is looked at while somebody watches.
class FileRun {
 public:
  explicit FileRun(std::string path) : path_(std::move(path)) {}

  Step Next(Jpeg& picture) {
    if (Clock::now() < nextLook_) return Step::kSame;
    nextLook_ = Clock::now() + kPause;
    std::error_code error;
    const auto changed = std::filesystem::last_write_time(path_, error);
    if (error || changed == changed_) return Step::kSame;
    auto bytes = ReadFile(path_, kMostPictureBytes);
    if (!bytes || !IsJpeg(*bytes)) return Step::kSame;
    changed_ = changed;
    picture = std::make_shared<const std::string>(std::move(*bytes));
    return Step::kNew;
  }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::milliseconds kPause{250};

  const std::string path_;
  std::filesystem::file_time_type changed_{};
  Clock::time_point nextLook_{};
};

}  // namespace

Source SourceOfHost(const SdkKitPreviewSource& source, int quality) {
  return [source, quality](const std::string& name) -> Feed {
    const auto run = std::make_shared<HostRun>(source, quality, name);
    if (!run->IsThere()) return nullptr;
    return [run](Jpeg& picture) { return run->Next(picture); };
  };
}

Source SourceOfFile(const std::string& path) {
  return [path](const std::string& /*name*/) -> Feed {
    const auto run = std::make_shared<FileRun>(path);
    Jpeg first;
    if (run->Next(first) != Step::kNew) return nullptr;
    return [run, first](Jpeg& picture) mutable {
      if (first == nullptr) return run->Next(picture);
      picture = std::exchange(first, nullptr);
      return Step::kNew;
    };
  };
}

// One run's view of what is pushed.
class Pushed::Reader {
 public:
  Reader(std::shared_ptr<Pushed> pushed, int quality) : pushed_(std::move(pushed)), quality_(quality) {
    const std::lock_guard lock(pushed_->mutex_);
    ++pushed_->readers_;
  }
  ~Reader() {
    const std::lock_guard lock(pushed_->mutex_);
    if (--pushed_->readers_ == 0) pushed_->raw_.reset();
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  Step Next(Jpeg& picture) {
    std::optional<Raw> raw;
    {
      const std::lock_guard lock(pushed_->mutex_);
      raw = std::exchange(pushed_->raw_, std::nullopt);
      if (!raw && pushed_->picture_ == shown_) return Step::kSame;
      if (!raw) picture = shown_ = pushed_->picture_;
    }
    if (!raw) return picture != nullptr ? Step::kNew : Step::kSame;
    const void* const pixels = raw->pixels.data();
    picture = encoder_.Encode(raw->shape, static_cast<const unsigned char*>(pixels), quality_);
    return picture != nullptr ? Step::kNew : Step::kOver;
  }

 private:
  const std::shared_ptr<Pushed> pushed_;
  const int quality_;
  Jpeg shown_;
  Encoder encoder_;
};

void Pushed::Push(Jpeg picture) {
  const std::lock_guard lock(mutex_);
  raw_.reset();
  picture_ = std::move(picture);
}

bool Pushed::PushRaw(const RawShape& shape, const void* pixels) {
  const std::lock_guard lock(mutex_);
  picture_ = nullptr;
  if (readers_ == 0) return false;
  raw_ = Raw{shape, {static_cast<const char*>(pixels), shape.Bytes()}};
  return true;
}

Source Pushed::SourceOf(std::shared_ptr<Pushed> pushed, int quality) {
  return [pushed = std::move(pushed), quality](const std::string& /*name*/) -> Feed {
    const auto reader = std::make_shared<Reader>(pushed, quality);
    return [reader](Jpeg& picture) { return reader->Next(picture); };
  };
}

}  // namespace sdkkit
