// What a device keeps: files and changes of a database for the host, in the way in which the kit keeps its
// own.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "base/database.h"
#include "base/file.h"
#include "base/guarded.h"
#include "sdkapi/kit_storage.h"

struct SdkKitStorageChange {
  explicit SdkKitStorageChange(sqlite3* connection) : database(connection), transaction(database) {}

  sdkkit::Database database;
  sdkkit::Transaction transaction;
};

namespace sdkkit {
namespace {

constexpr Log kLog{"storage"};

static_assert(kKitStorageNameSize == kMostNameBytes + 1);

// Runs what the disk may refuse.
template <class Work>
int OnDisk(const char* path, const char* act, Work work) {
  return Guarded(kLog, [&] {
    if (path == nullptr) throw std::invalid_argument("there is no path");
    errno = 0;
    if (work()) return 0;
    throw std::runtime_error(std::string(path) + " cannot be " + act + ": " + std::strerror(errno));
  });
}

bool CleanFolder(const std::string& folder) {
  if (!MakeFolder(folder)) return false;
  RemoveTempFiles(folder);
  return true;
}

int Cut(std::string_view name, char* to, size_t size) {
  const size_t length = std::min(name.size(), size - 1);
  name.copy(to, length);
  to[length] = '\0';
  return length > 0 ? 0 : -1;
}

}  // namespace
}  // namespace sdkkit

int SdkKitStorage_Folder_Make(const char* folder) {
  return sdkkit::OnDisk(folder, "made", [&] { return sdkkit::CleanFolder(folder); });
}

int SdkKitStorage_Folder_Sync(const char* folder) {
  return sdkkit::OnDisk(folder, "brought to the disk", [&] { return sdkkit::SyncFolder(folder); });
}

int SdkKitStorage_Replace(const char* path, const void* bytes, size_t length) {
  return sdkkit::OnDisk(path, "replaced", [&] {
    if (bytes == nullptr && length > 0) throw std::invalid_argument("there are no bytes");
    return sdkkit::ReplaceFile(path, std::string_view(static_cast<const char*>(bytes), length));
  });
}

int SdkKitStorage_Name(const char* name, char* safe, size_t size) {
  if (safe == nullptr || size == 0) return -1;
  safe[0] = '\0';
  if (name == nullptr) return -1;
  return sdkkit::Guarded(sdkkit::kLog, [&] { return sdkkit::Cut(sdkkit::SafeName(name), safe, size); });
}

int SdkKitStorage_Database_Open(const char* path, sqlite3** connection) {
  if (connection == nullptr) return -1;
  *connection = nullptr;
  return sdkkit::Guarded(sdkkit::kLog, [&] {
    if (path == nullptr) throw std::invalid_argument("there is no path");
    *connection = sdkkit::OpenDurably(path);
    return 0;
  });
}

SdkKitStorageChange* SdkKitStorage_Change_Begin(sqlite3* connection) {
  return sdkkit::Guarded(
      sdkkit::kLog,
      [&] {
        if (connection == nullptr) throw std::invalid_argument("there is no connection");
        return std::make_unique<SdkKitStorageChange>(connection).release();
      },
      static_cast<SdkKitStorageChange*>(nullptr));
}

int SdkKitStorage_Change_End(SdkKitStorageChange* change, int commit) {
  const std::unique_ptr<SdkKitStorageChange> ended(change);
  if (change == nullptr || commit == 0) return 0;
  return sdkkit::Guarded(sdkkit::kLog, [&] {
    ended->transaction.Commit();
    return 0;
  });
}
