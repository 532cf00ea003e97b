// Zip archives, entry by entry.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct archive;
struct archive_entry;

namespace sdkkit::archive {

class ZipWriter {
 public:
  // Nothing when memory is short or the disk refuses.
  static std::optional<ZipWriter> Open(int descriptor);

  bool Add(const std::string& entry, std::string_view bytes);
  // False also when the file has changed its size meanwhile, or is longer than that.
  bool AddFile(const std::string& entry, const std::string& path, uint64_t most);
  bool Close();

 private:
  struct Free {
    void operator()(::archive* writer) const;
  };

  explicit ZipWriter(::archive* writer) : writer_(writer) {}
  bool AddHead(const std::string& entry, uint64_t size);

  std::unique_ptr<::archive, Free> writer_;
};

// Reads an archive from its beginning, in memory that does not grow with it.
class ZipReader {
 public:
  enum class Found { kEntry, kEnd, kFault };

  // Nothing for what is no whole zip archive, or has more entries than that.
  static std::optional<ZipReader> Open(const std::string& path, std::size_t mostEntries);

  // Goes to the next entry. Only plain files are entries; anything else is a fault, and so is another number
  // of entries than the archive states at its end.
  Found Next();
  const std::string& name() const { return name_; }

  // Hands the entry's bytes on until `take` gives false. False then, and for an entry that is broken.
  bool Read(const std::function<bool(std::string_view)>& take);

 private:
  struct Free {
    void operator()(::archive* reader) const;
  };

  ZipReader(::archive* reader, std::size_t entries) : reader_(reader), left_(entries) {}

  std::unique_ptr<::archive, Free> reader_;
  std::size_t left_;
  std::string name_;
};

}  // namespace sdkkit::archive
