// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/input.h: decisions of a test, taken from bytes that a fuzzer chose, or drawn at random.
#ifndef FIBDB_TESTS_SUPPORT_INPUT_H
#define FIBDB_TESTS_SUPPORT_INPUT_H

#include <cstddef>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

namespace fibdb::test {

// A program's bytes, zeros behind their end.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : rest_(data, size) {}

  bool empty() const { return rest_.empty(); }
  uint8_t byte() {
    if (rest_.empty()) return 0;
    const uint8_t value = rest_.front();
    rest_ = rest_.subspan(1);
    return value;
  }
  std::vector<uint8_t> bytes(size_t count) {
    std::vector<uint8_t> taken(count);
    for (uint8_t& value : taken) value = byte();
    return taken;
  }

 private:
  std::span<const uint8_t> rest_;
};

// The same without end, from a seed.
class RandomInput {
 public:
  explicit RandomInput(uint64_t seed) : random_(seed) {}

  uint8_t byte() { return static_cast<uint8_t>(random_()); }

 private:
  std::mt19937_64 random_;
};

}  // namespace fibdb::test

#endif
