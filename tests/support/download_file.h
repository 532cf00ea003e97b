// A file of its own for a download, with bytes that tell their place, and the chunks that a client reads of
// it.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

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

  // The bytes in chunks of 1500 and the terminating chunk.
  static std::string Chunks(const std::string& bytes) {
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 1500) {
      const std::string chunk = bytes.substr(at, 1500);
      char size[16];
      std::snprintf(size, sizeof size, "%zx\r\n", chunk.size());
      text += size + chunk + "\r\n";
    }
    return text + "0\r\n\r\n";
  }

 private:
  std::string path_;
};

}  // namespace sdktest
