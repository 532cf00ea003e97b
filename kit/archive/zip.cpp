// Zip archives, entry by entry.
#include "archive/zip.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <vector>

#include "base/file.h"

namespace sdkkit::archive {
namespace {

constexpr std::size_t kBlock = 65536;
// The record at the end of every archive: its signature, its size without the comment, and the longest one.
constexpr std::string_view kEndMark("PK\5\6", 4);
constexpr std::size_t kEndSize = 22;
constexpr std::size_t kMostComment = 65535;
constexpr std::size_t kEntriesAt = 10;
constexpr std::size_t kCommentAt = 20;

struct FreeEntry {
  void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};

std::size_t LittleEndian16(std::string_view bytes, std::size_t at) {
  return static_cast<unsigned char>(bytes[at]) | std::size_t{static_cast<unsigned char>(bytes[at + 1])} << 8;
}

std::string TailOf(const std::string& path) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0) return "";
  const auto size = static_cast<std::size_t>(status.st_size);
  std::string tail(std::min(size, kEndSize + kMostComment), '\0');
  const ssize_t got = pread(file.get(), tail.data(), tail.size(), static_cast<off_t>(size - tail.size()));
  return got == static_cast<ssize_t>(tail.size()) ? tail : "";
}

// The number of entries that the archive states at its end; nothing when that end is not there.
std::optional<std::size_t> StatedEntries(const std::string& path) {
  const std::string tail = TailOf(path);
  const std::size_t at = tail.rfind(kEndMark);
  if (at == std::string::npos || tail.size() - at < kEndSize) return std::nullopt;
  if (tail.size() - at - kEndSize != LittleEndian16(tail, at + kCommentAt)) return std::nullopt;
  return LittleEndian16(tail, at + kEntriesAt);
}

}  // namespace

void ZipWriter::Free::operator()(::archive* writer) const { archive_write_free(writer); }

std::optional<ZipWriter> ZipWriter::Open(int descriptor) {
  ZipWriter writer(archive_write_new());
  ::archive* const raw = writer.writer_.get();
  if (raw == nullptr || archive_write_set_format_zip(raw) != ARCHIVE_OK) return std::nullopt;
  if (archive_write_open_fd(raw, descriptor) != ARCHIVE_OK) return std::nullopt;
  return writer;
}

bool ZipWriter::AddHead(const std::string& entry, uint64_t size) {
  const std::unique_ptr<archive_entry, FreeEntry> head(archive_entry_new());
  if (!head) return false;
  archive_entry_set_pathname(head.get(), entry.c_str());
  archive_entry_set_size(head.get(), static_cast<int64_t>(size));
  archive_entry_set_filetype(head.get(), AE_IFREG);
  archive_entry_set_perm(head.get(), 0600);
  archive_entry_set_mtime(head.get(), std::time(nullptr), 0);
  return archive_write_header(writer_.get(), head.get()) == ARCHIVE_OK;
}

bool ZipWriter::Add(const std::string& entry, std::string_view bytes) {
  return AddHead(entry, bytes.size()) && archive_write_data(writer_.get(), bytes.data(), bytes.size()) ==
                                             static_cast<la_ssize_t>(bytes.size());
}

bool ZipWriter::AddFile(const std::string& entry, const std::string& path, uint64_t most) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0) return false;
  auto left = static_cast<uint64_t>(status.st_size);
  if (left > most || !AddHead(entry, left)) return false;
  std::vector<char> block(kBlock);
  while (left > 0) {
    const ssize_t got = read(file.get(), block.data(), std::min<uint64_t>(left, block.size()));
    if (got <= 0 || archive_write_data(writer_.get(), block.data(), static_cast<std::size_t>(got)) != got)
      return false;
    left -= static_cast<uint64_t>(got);
  }
  return true;
}

bool ZipWriter::Close() { return archive_write_close(writer_.get()) == ARCHIVE_OK; }

void ZipReader::Free::operator()(::archive* reader) const { archive_read_free(reader); }

std::optional<ZipReader> ZipReader::Open(const std::string& path, std::size_t mostEntries) {
  const auto entries = StatedEntries(path);
  if (!entries || *entries > mostEntries) return std::nullopt;
  ZipReader reader(archive_read_new(), *entries);
  ::archive* const raw = reader.reader_.get();
  // Not by the directory at the end, which would be read into memory whole.
  if (raw == nullptr || archive_read_support_format_zip_streamable(raw) != ARCHIVE_OK) return std::nullopt;
  if (archive_read_open_filename(raw, path.c_str(), kBlock) != ARCHIVE_OK) return std::nullopt;
  return reader;
}

ZipReader::Found ZipReader::Next() {
  archive_entry* entry = nullptr;
  const int result = archive_read_next_header(reader_.get(), &entry);
  if (result == ARCHIVE_EOF) return left_ == 0 ? Found::kEnd : Found::kFault;
  if (result != ARCHIVE_OK || left_ == 0) return Found::kFault;
  --left_;
  const char* const name = archive_entry_pathname(entry);
  if (name == nullptr || archive_entry_filetype(entry) != AE_IFREG ||
      archive_entry_is_encrypted(entry) != 0) {
    return Found::kFault;
  }
  name_ = name;
  return Found::kEntry;
}

bool ZipReader::Read(const std::function<bool(std::string_view)>& take) {
  std::vector<char> block(kBlock);
  while (true) {
    const la_ssize_t got = archive_read_data(reader_.get(), block.data(), block.size());
    if (got <= 0) return got == 0;
    if (!take({block.data(), static_cast<std::size_t>(got)})) return false;
  }
}

}  // namespace sdkkit::archive
