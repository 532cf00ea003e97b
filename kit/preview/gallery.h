// Which viewer watches which source, and which sources there are.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "preview/feeds.h"
#include "preview/run.h"
#include "sdkapi/host.h"
#include "sdkapi/kit_preview.h"

namespace sdkkit {

class Gallery {
 public:
  static Gallery& The();

  // Why it does not start; null when it does.
  const char* Start(const SdkKitPreviewOptions& options);
  void Stop();

  // Without a name: for names that have no source of their own. An empty source takes it away.
  int SetSource(const std::optional<std::string>& name, Source source);
  int SetHostSource(const std::optional<std::string>& name, const SdkKitPreviewSource& source);
  int Push(const std::string& name, Jpeg picture);
  int PushRaw(const std::string& name, const RawShape& shape, const void* pixels);
  int Count(const char* name);

  // The three calls of a stream.
  int Enter(const PreviewFrame& stream, const std::string& name, const std::string& address);
  int Next(PreviewFrame& stream);
  void Leave(const PreviewFrame& stream);

 private:
  using SourcePtr = std::shared_ptr<const Source>;

  struct Viewer {
    std::shared_ptr<Run> run;
    std::string name;
    std::string address;
    uint64_t seen = 0;
  };
  struct Running {
    std::shared_ptr<Run> run;
    SourcePtr source;
  };

  bool HasRoomFor(const std::string& name, const std::string& address);
  SourcePtr FindSource(const std::string& name);
  std::shared_ptr<Run> FindRun(const std::string& name);
  void EndRunsOf(const SourcePtr& source);
  int Seat(const PreviewFrame& stream, Viewer viewer);
  std::shared_ptr<Pushed> PushedOf(const std::string& name);

  std::mutex opening_;  // around a source's opening; taken before the other
  std::mutex mutex_;    // guards what follows; no source is called under it
  bool open_ = false;
  SdkKitPreviewOptions options_{};
  std::map<std::optional<std::string>, SourcePtr> sources_;
  std::map<std::string, std::shared_ptr<Pushed>> pushed_;
  std::map<const PreviewFrame*, Viewer> viewers_;
  std::map<std::string, Running> running_;
  std::vector<std::weak_ptr<Run>> runs_;  // all whose thread may still be at work
};

}  // namespace sdkkit
