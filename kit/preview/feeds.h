// The kinds of sources: what a run of each asks for its pictures.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "preview/encoder.h"
#include "sdkapi/kit_preview.h"

namespace sdkkit {

enum class Step { kNew, kSame, kOver };

// Gives one run's next picture. Destroyed, it ends the run.
using Feed = std::function<Step(Jpeg& picture)>;

// Begins a run for what a viewer asked for; empty when there is no such source, or it is off.
using Source = std::function<Feed(const std::string& name)>;

Source SourceOfHost(const SdkKitPreviewSource& source, int quality);
Source SourceOfFile(const std::string& path);

// What a host pushes, whenever it likes, for runs that come and go.
class Pushed {
 public:
  void Push(Jpeg picture);
  // False when nobody looks, and so nothing was copied.
  bool PushRaw(const RawShape& shape, const void* pixels);

  static Source SourceOf(std::shared_ptr<Pushed> pushed, int quality);

 private:
  class Reader;
  struct Raw {
    RawShape shape;
    std::string pixels;
  };

  std::mutex mutex_;
  int readers_ = 0;
  Jpeg picture_;
  std::optional<Raw> raw_;
};

}  // namespace sdkkit
