// A record that lives as long as somebody refers to it: the record first, the number of its users behind.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <type_traits>
#include <utility>

namespace sdkapi {

template <class T>
struct Counted {
  T record;
  std::atomic<int> users{1};

  // The record stands first, so both have one address.
  static Counted* Of(T* record) {
    static_assert(std::is_standard_layout_v<Counted>);
    void* const counted = record;
    return static_cast<Counted*>(counted);
  }
};

// One user's reference, or none. Records and their references may be shared among threads; a Ref object
// itself is its thread's own, as with any pointer.
template <class T>
class Ref {
 public:
  // A record of its own, all zero unless its type says otherwise; null when memory is short. A Block that
  // derives from Counted<T> keeps more behind the counter.
  template <class Block = Counted<T>>
  static Ref New() {
    static_assert(std::is_same_v<Block, Counted<T>> || std::is_trivially_destructible_v<Block>);
    static_assert(alignof(Block) <= alignof(std::max_align_t));
    void* const memory = std::malloc(sizeof(Block));
    return Ref(memory != nullptr ? &(new (memory) Block{})->record : nullptr);
  }

  // One more reference to what somebody else's reference keeps alive.
  static Ref Share(T* record) {
    if (record != nullptr) Counted<T>::Of(record)->users.fetch_add(1, std::memory_order_relaxed);
    return Ref(record);
  }

  // A reference passes through a bare pointer: Detach gives it away, Adopt takes it up again.
  [[nodiscard]] T* Detach() { return std::exchange(record_, nullptr); }
  static Ref Adopt(T* record) { return Ref(record); }

  Ref() = default;
  Ref(std::nullptr_t) {}
  Ref(const Ref& other) : Ref(Share(other.record_)) {}
  Ref(Ref&& other) noexcept : record_(std::exchange(other.record_, nullptr)) {}
  Ref& operator=(Ref other) noexcept {
    std::swap(record_, other.record_);
    return *this;
  }
  ~Ref() {
    if (record_ == nullptr) return;
    Counted<T>* const counted = Counted<T>::Of(record_);
    if (counted->users.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    counted->~Counted();
    std::free(counted);
  }

  T* get() const { return record_; }
  T* operator->() const { return record_; }
  T& operator*() const { return *record_; }
  bool operator==(std::nullptr_t) const { return record_ == nullptr; }
  bool operator!=(std::nullptr_t) const {
    return record_ != nullptr;
  }  // the static analyser reads no implied one

 private:
  explicit Ref(T* record) : record_(record) {}

  T* record_ = nullptr;
};

}  // namespace sdkapi
