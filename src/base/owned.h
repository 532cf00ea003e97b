// Owners of C resources: JSON trees and texts, malloc'ed memory, files.
#pragma once

#include <cjson/cJSON.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

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

}  // namespace sdkapi
