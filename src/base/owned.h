// Owners of C resources: JSON trees and texts, malloc'ed memory, files and their descriptors.
#pragma once

#include <cjson/cJSON.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

namespace sdkapi {

struct FreeMemory {
  void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using MallocPtr = std::unique_ptr<T, FreeMemory>;

struct DeleteJson {
  void operator()(cJSON* tree) const { cJSON_Delete(tree); }
};
using JsonPtr = std::unique_ptr<cJSON, DeleteJson>;

struct FreeJsonText {
  void operator()(char* text) const { cJSON_free(text); }
};
using JsonText = std::unique_ptr<char, FreeJsonText>;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, CloseFile>;

// -1 is no descriptor.
class FileDescriptor {
 public:
  explicit FileDescriptor(int number = -1) : number_(number) {}
  ~FileDescriptor() {
    if (number_ >= 0) close(number_);
  }
  FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }

  int get() const { return number_; }

 private:
  int number_;
};

}  // namespace sdkapi
