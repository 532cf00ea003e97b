// An allocator whose n-th call can be made to fail: linked in place of the system's (--wrap).
#include "failing_allocator.h"

#include <cjson/cJSON.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

namespace {

struct State {
  bool counting = false;
  int failAt = 0;
  sdktest::Failing failing = sdktest::Failing::kOnce;
  int calls = 0;
  bool failed = false;
  std::set<void*> blocks;
};

State& TheState() {
  static State state;
  return state;
}

bool MustFail() {
  State& state = TheState();
  if (!state.counting) return false;
  ++state.calls;
  if (state.failAt == 0) return false;
  const bool due =
      state.failing == sdktest::Failing::kOnce ? state.calls == state.failAt : state.calls >= state.failAt;
  state.failed = state.failed || due;
  return due;
}

void* Note(void* block) {
  if (TheState().counting && block != nullptr) TheState().blocks.insert(block);
  return block;
}

void* CountedMalloc(std::size_t size) { return std::malloc(size); }
void CountedFree(void* block) { std::free(block); }

}  // namespace

extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
char* __real_strdup(const char* text);
std::FILE* __real_fopen(const char* path, const char* mode);
int __real_open(const char* path, int flags, ...);

void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_realloc(void* block, std::size_t size);
void __wrap_free(void* block);
char* __wrap_strdup(const char* text);
std::FILE* __wrap_fopen(const char* path, const char* mode);
int __wrap_open(const char* path, int flags, ...);

void* __wrap_malloc(std::size_t size) { return MustFail() ? nullptr : Note(__real_malloc(size)); }

void* __wrap_calloc(std::size_t count, std::size_t size) {
  return MustFail() ? nullptr : Note(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, std::size_t size) {
  if (MustFail()) return nullptr;
  TheState().blocks.erase(block);
  return Note(__real_realloc(block, size));
}

char* __wrap_strdup(const char* text) {
  if (MustFail()) return nullptr;
  return static_cast<char*>(Note(__real_strdup(text)));
}

void __wrap_free(void* block) {
  TheState().blocks.erase(block);
  __real_free(block);
}

std::FILE* __wrap_fopen(const char* path, const char* mode) {
  return MustFail() ? nullptr : __real_fopen(path, mode);
}

// Nothing here makes a file, so there is no third argument.
int __wrap_open(const char* path, int flags, ...) { return MustFail() ? -1 : __real_open(path, flags); }
}

namespace sdktest {

FailingAllocator::FailingAllocator(int failAt, Failing failing) {
  cJSON_Hooks hooks{CountedMalloc, CountedFree};
  cJSON_InitHooks(&hooks);
  TheState() = State{true, failAt, failing, 0, false, {}};
}

FailingAllocator::~FailingAllocator() {
  TheState() = State{};
  cJSON_InitHooks(nullptr);
}

void FailingAllocator::Relent() { TheState().failAt = 0; }
int FailingAllocator::calls() const { return TheState().calls; }
bool FailingAllocator::hasFailed() const { return TheState().failed; }
std::size_t FailingAllocator::stillAllocated() const { return TheState().blocks.size(); }

}  // namespace sdktest
