// The uploads that run now: one call after the other finds its upload here.
#include "upload/store.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

#include "base/file.h"
#include "base/log.h"

namespace sdkkit {
namespace {

constexpr Log kLog{"upload"};

Act RefusalOf(const UploadRequest& request, const char* reason) {
  return {.action = "upload",
          .outcome = kKitAuditRefused,
          .target = request.url.c_str(),
          .reason = reason,
          .address = request.address.c_str()};
}
constexpr uint32_t kMostAtOnce = 32;
constexpr uint32_t kLeastOfAClient = 4;
constexpr uint64_t kBudget = uint64_t{256} << 20;
constexpr const char* kIncoming = "/.incoming";
constexpr size_t kPathSize = 256;  // of a download's record, with the NUL

// A quarter, so that clients who drip leave places for others.
uint32_t PlacesOfAClient(uint32_t all) { return std::max(all / 4, std::min(all, kLeastOfAClient)); }

void MakeOrThrow(const std::string& folder) {
  if (!MakeFolder(folder)) throw std::invalid_argument("the folder " + folder + " cannot be made");
}

void MakeFolders(const UploadPlace& place, const UploadRows& rows) {
  MakeOrThrow(place.root);
  MakeOrThrow(place.temporary);
  for (const SdkKitUploadRow& row : rows.all()) {
    if (row.file == nullptr) continue;
    const std::string path = place.root + "/" + row.file;
    if (path.size() + (IsFolder(row) ? kMostNameBytes : 0) >= kPathSize)
      throw std::invalid_argument("a path is too long");
    MakeOrThrow(IsFolder(row) ? path : FolderOf(path));
  }
}

}  // namespace

UploadStore::UploadStore(const SdkKitUploadOptions& options)
    : mostAtOnce_(options.mostAtOnce == 0 ? kMostAtOnce : options.mostAtOnce) {
  const std::string fault = rows_.Take(options);
  if (!fault.empty()) throw std::invalid_argument(fault);
  if (options.root == nullptr || *options.root == '\0') throw std::invalid_argument("there is no root");
  const std::string root = options.root;
  const std::string temporary = options.temporary == nullptr ? root + kIncoming : options.temporary;
  place_ = std::make_shared<UploadPlace>(root, temporary, options.budget == 0 ? kBudget : options.budget,
                                         rows_.MostPassing(), options.progress);
  MakeFolders(*place_, rows_);
  RemoveTempFiles(temporary);
}

void UploadStore::End(const void* record) {
  std::shared_ptr<Upload> upload;
  {
    const std::lock_guard lock(mutex_);
    const auto entry = uploads_.extract(record);
    if (!entry.empty()) upload = entry.mapped().upload;
  }
  if (upload) upload->Tell();
}

void UploadStore::Fill(SdkKitUploadUsage& usage) {
  usage.stored = place_->budget.Stored();
  usage.arriving = place_->budget.Arriving();
  usage.budget = place_->budget.limit();
  const std::lock_guard lock(mutex_);
  usage.underWay = CountPlaces();
}

std::shared_ptr<Upload> UploadStore::Find(const void* record) {
  const std::lock_guard lock(mutex_);
  const auto entry = uploads_.find(record);
  return entry == uploads_.end() ? nullptr : entry->second.upload;
}

int UploadStore::Begin(const UploadStep& step, const UploadRequest& request) {
  const SdkKitUploadRow* const row = rows_.Find(step.family, step.funcId, request.route);
  if (row == nullptr) {
    kLog.Audit(RefusalOf(request, "no such kind of file"),
               "%s was refused an upload to %s: no such kind of file", request.address.c_str(),
               request.url.c_str());
    return -1;
  }
  std::string fault;
  const auto upload = Add(step, request, *row, fault);
  return fault.empty() ? upload->Begin() : upload->Refuse(fault);
}

// One that is refused has no place, and is known until its end, which tells why.
std::shared_ptr<Upload> UploadStore::Add(const UploadStep& step, const UploadRequest& request,
                                         const SdkKitUploadRow& row, std::string& fault) {
  auto upload = std::make_shared<Upload>(place_, row, request);
  const std::lock_guard lock(mutex_);
  if (CountPlaces(&request.client) >= PlacesOfAClient(mostAtOnce_)) fault = "too many at once by one client";
  if (CountPlaces() >= mostAtOnce_) fault = "too many at once";
  uploads_[step.record] = {upload, request.client, fault.empty()};
  return upload;
}

uint32_t UploadStore::CountPlaces(const std::string* client) const {
  return static_cast<uint32_t>(std::ranges::count_if(uploads_, [&](const auto& entry) {
    const Running& running = entry.second;
    return running.hasPlace && (client == nullptr || running.client == *client);
  }));
}

int UploadStore::RefuseForm() {
  kLog.Audit({.action = "upload", .outcome = kKitAuditRefused, .reason = "it has no file"},
             "an upload without a file was refused");
  return -1;
}

}  // namespace sdkkit
