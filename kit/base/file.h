// Files that a loss of power leaves whole: temporary files that replace others in one step, and safe names.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sdkkit {

// The most bytes of a name that SafeName makes; with them every file system takes it.
inline constexpr size_t kMostNameBytes = 127;

// Owner of a file descriptor; below 0: none.
class FileDescriptor {
 public:
  explicit FileDescriptor(int descriptor = -1) : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept;
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;
  ~FileDescriptor();

  int get() const { return descriptor_; }
  explicit operator bool() const { return descriptor_ >= 0; }

 private:
  int descriptor_;
};

struct FileStatus {
  uint64_t size;
  time_t modified;
};

// Nothing when there is no regular file of this name.
std::optional<FileStatus> StatusOf(const std::string& path);

// Opens a regular file for reading, without waiting where it is something else; without a file it is empty.
FileDescriptor OpenToRead(const std::string& path);

// Fills bytes from the file; how many there were.
size_t ReadUpTo(const FileDescriptor& file, std::string& bytes);

// A whole file; nothing when it cannot be read or holds more than limit bytes.
std::optional<std::string> ReadFile(const std::string& path, uint64_t limit);

// The names in a folder, sorted, without those that begin with a dot; empty when it cannot be read.
std::vector<std::string> NamesIn(const std::string& folder);

// The bytes of all regular files in a folder and below, temporary ones aside. Links are not followed.
uint64_t BytesBelow(const std::string& folder);

// A client's file name as one safe part of a path: letters, digits, "._-" and blanks stay, others and a dot
// at the beginning become "_", and it is cut to kMostNameBytes. Empty stays empty.
std::string SafeName(std::string_view name);

// Makes a folder with all above it that are missing, for this user only, durably.
bool MakeFolder(const std::string& folder);

// Brings to the disk which names a folder holds.
bool SyncFolder(const std::string& folder);

// The folder that holds a path; "." for a bare name.
std::string FolderOf(const std::string& path);

// Removes a file durably; true when it is not there (any more).
bool RemoveFile(const std::string& path);

// A file that either replaces another one whole or disappears. After a failure errno tells why.
class TempFile {
 public:
  // In a folder of the file system of its later target. Nothing when the disk refuses it.
  static std::optional<TempFile> Create(const std::string& folder);

  TempFile(TempFile&& other) noexcept;
  TempFile& operator=(TempFile&& other) noexcept;
  ~TempFile();

  bool Write(std::string_view bytes);
  // Brings the bytes to the disk, so that CommitTo needs little time.
  bool Sync();
  // Brings the bytes to the disk and renames the file over target. False: target is what it was, or, where
  // only the folder could not be brought to the disk, the new file that a loss of power may take back.
  bool CommitTo(const std::string& target);

  const std::string& path() const { return path_; }
  int descriptor() const { return descriptor_.get(); }

 private:
  TempFile(FileDescriptor descriptor, std::string path);
  void Remove();

  FileDescriptor descriptor_;
  std::string path_;
};

// Replaces target with bytes in one step, by way of a temporary file beside it.
bool ReplaceFile(const std::string& target, std::string_view bytes);

// Removes the temporary files that a kill left in a folder.
void RemoveTempFiles(const std::string& folder);

}  // namespace sdkkit
