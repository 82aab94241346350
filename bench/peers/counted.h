// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/counted.h: an allocator that counts what a container takes.
#ifndef FIBDB_BENCH_PEERS_COUNTED_H
#define FIBDB_BENCH_PEERS_COUNTED_H

#include <cstdint>
#include <memory>

namespace fibdb::bench {

template <class T>
class Counted {
 public:
  using value_type = T;

  explicit Counted(uint64_t& bytes) : bytes_(&bytes) {}
  template <class Other>
  explicit(false) Counted(const Counted<Other>& other) : bytes_(other.counter()) {}

  T* allocate(size_t count) {
    *bytes_ += count * sizeof(T);
    return std::allocator<T>().allocate(count);
  }
  void deallocate(T* block, size_t count) {
    *bytes_ -= count * sizeof(T);
    std::allocator<T>().deallocate(block, count);
  }
  uint64_t* counter() const { return bytes_; }

  friend bool operator==(const Counted& a, const Counted& b) { return a.bytes_ == b.bytes_; }

 private:
  uint64_t* bytes_;
};

}  // namespace fibdb::bench

#endif
