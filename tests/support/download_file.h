// A file of its own for a download, with bytes that tell their place, and the chunks that a client reads of
// it.
#pragma once

#include <unistd.h>

#include <fstream>
#include <string>

#include "chunked.h"

namespace sdktest {

class DownloadFile {
 public:
  DownloadFile() {
    char pattern[] = "/tmp/sdkapi-download-XXXXXX";
    close(mkstemp(pattern));
    path_ = pattern;
  }
  ~DownloadFile() { unlink(path_.c_str()); }
  DownloadFile(const DownloadFile&) = delete;
  DownloadFile& operator=(const DownloadFile&) = delete;

  const std::string& path() const { return path_; }

  // Returns the bytes that now stand in the file.
  std::string Fill(std::size_t size) const {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(i * 7 + i / 251);
    std::ofstream(path_, std::ios::binary) << bytes;
    return bytes;
  }

  // As the library sends them.
  static std::string Chunks(const std::string& bytes) { return Chunked(bytes, 1500); }

 private:
  std::string path_;
};

}  // namespace sdktest
