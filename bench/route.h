// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/route.h: what every peer stores: routes, their records of 124 bytes, and the packed key of 13 bytes.
#ifndef FIBDB_BENCH_ROUTE_H
#define FIBDB_BENCH_ROUTE_H

#include <bit>
#include <compare>
#include <cstdint>
#include <cstring>

#include "fibdb/route.h"

namespace fibdb::bench {

using Record = FibDbIp4forwardRecord;
using Item = FibDbIp4forwardItem;
static_assert(sizeof(Record) == 124);

struct Key {
  uint32_t addr;
  uint8_t length;

  friend auto operator<=>(const Key&, const Key&) = default;
};

// What a program knows about a route before it makes a record of it.
struct Route {
  Key key;
  uint32_t group;
  uint32_t generation;
};

inline uint32_t maskOf(unsigned length) { return length == 0 ? 0 : ~uint32_t{0} << (32 - length); }

inline bool covers(const Key& key, uint32_t addr) { return ((key.addr ^ addr) & maskOf(key.length)) == 0; }

// Of the record and of the item, which have the same fields in another order. Every field that is set follows from the
// route, so a record that belongs to another route, or is half of one, is recognised.
template <class Made>
Made made(const Route& route) {
  Made out{};
  out.dest_ip_addr = route.key.addr;
  out.mask_len = route.key.length;
  out.attr_word_a = route.group;
  out.attr_word_b = ~route.key.addr;
  out.attr_word_e = route.key.addr * 2654435761U + route.key.length;
  out.source_pid = 4711;
  out.table_smooth_id = route.generation;
  out.attr_dword_a = (uint64_t{route.key.addr} << 32) | route.key.length;
  out.attr_byte_d = route.key.length;
  out.time_stamp_svc = (uint64_t{route.generation} << 32) | route.group;
  return out;
}

// The key's 13 bytes, each number's high byte first, so that the order of the bytes is the order of the keys.
struct PackedKey {
  uint8_t bytes[13];

  explicit PackedKey(const Key& key) {
    const uint32_t words[3] = {0, 0, __builtin_bswap32(key.addr)};
    std::memcpy(bytes, words, sizeof words);
    bytes[12] = key.length;
  }
  Key key() const {
    uint32_t addr;
    std::memcpy(&addr, bytes + 8, sizeof addr);
    return {__builtin_bswap32(addr), bytes[12]};
  }
  uint64_t head() const { return word(0); }
  uint64_t tail() const { return word(5); }

  friend bool operator==(const PackedKey& a, const PackedKey& b) {
    return a.tail() == b.tail() && a.head() == b.head();
  }
  friend std::strong_ordering operator<=>(const PackedKey& a, const PackedKey& b) {
    if (const auto order = a.head() <=> b.head(); order != 0) return order;
    return a.tail() <=> b.tail();
  }

 private:
  uint64_t word(size_t offset) const {
    uint64_t value;
    std::memcpy(&value, bytes + offset, sizeof value);
    return __builtin_bswap64(value);
  }
};
static_assert(sizeof(PackedKey) == 13 && std::endian::native == std::endian::little);

// The longest prefix in an order of keys, as one would search it by hand. before(key): the last key that is not behind
// this one, or nothing. Every prefix that covers an address covers all that lies between the two.
template <class Before>
bool findLongest(uint32_t addr, Before&& before) {
  Key wanted{addr, 32};
  for (;;) {
    const auto found = before(wanted);
    if (!found) return false;
    if (covers(*found, addr)) return true;
    const auto length = static_cast<uint8_t>(std::countl_zero(found->addr ^ addr));
    wanted = {addr & maskOf(length), length};
  }
}

}  // namespace fibdb::bench

#endif
