// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/route_model.h: the routes and their batch path beside a plain model: a map, searched from end to end.
//
// A step takes its decisions from an input (input.h). Operations wait in a batch, and in the model beside it, until
// something is asked; then both are applied, and the batch's own account is compared as well.
#ifndef FIBDB_TESTS_SUPPORT_ROUTE_MODEL_H
#define FIBDB_TESTS_SUPPORT_ROUTE_MODEL_H

#include <algorithm>
#include <compare>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "fibdb/fibdb.h"
#include "platform/objdb_tables.h"
#include "tests/support/disagreement.h"

namespace fibdb::test {

class RouteModel {
 public:
  RouteModel() {
    expect(FIB_DB_CreateAsyncConnect(4, kBatchLimit) == 0, "a connection is refused");
    begin();
  }
  ~RouteModel() {
    FIB_DB_DestroyAsyncConnect();
    db_release_ip4forward_object(g_fibAsyncBatchObject);
    g_fibAsyncBatchObject = 0;
  }
  RouteModel(const RouteModel&) = delete;
  RouteModel& operator=(const RouteModel&) = delete;

  // Throws Disagreement.
  template <class Input>
  void step(Input& input) {
    const uint8_t operation = input.byte();
    const FibDbIp4forwardItem item = draw(input);
    switch (operation % 8) {
      case 0:
      case 1:
      case 2:
        return add(Kind::kWrite, item);
      case 3:
        return add(Kind::kUpdate, item);
      case 4:
        return add(Kind::kRemove, item);
      case 5:
        apply();
        return compareRead(item);
      case 6:
        apply();
        return compareMatch(item);
      default:
        apply();
        return compareAll(item);
    }
  }

  void removeAll() {
    apply();
    while (!routes_.empty()) {
      for (auto route = routes_.begin(); route != routes_.end() && pending_.size() < kBatchLimit; ++route) {
        add(Kind::kRemove, route->second);
      }
      apply();
    }
    compareAll({});
  }

 private:
  enum class Kind { kWrite, kUpdate, kRemove };
  static constexpr uint32_t kBatchLimit = 16;

  struct Key {
    uint32_t router, vrf, address;
    uint8_t mask;
    auto operator<=>(const Key&) const = default;
  };
  static Key keyOf(const FibDbIp4forwardItem& item) {
    return {item.vr_id, item.vrf_index, item.dest_ip_addr, item.mask_len};
  }

  static void expect(bool holds, const char* what) {
    if (!holds) throw Disagreement{std::string("routes: ") + what};
  }

  template <class Input>
  static FibDbIp4forwardItem draw(Input& input) {
    FibDbIp4forwardItem item{};
    const uint8_t where = input.byte();
    item.vr_id = where & 1;
    item.vrf_index = where >> 1 & 1;
    // Few bits set, at both ends and in the middle, so that prefixes lie in one another.
    const uint8_t bits = input.byte();
    for (int bit = 0; bit < 8; ++bit) {
      if ((bits >> bit & 1) != 0) item.dest_ip_addr |= uint32_t{1} << (31 - bit * 4);
    }
    item.mask_len = input.byte() % 35;  // above 32: refused
    item.attr_word_a = item.mask_len;
    item.high_status = where >> 2 & 1;
    item.table_smooth_id = where >> 3;
    item.attr_dword_c = bits;
    return item;
  }

  void begin() { expect(FIB_DB_GetIp4forwardBatchAsyncObject(&object_) == 0, "no batch object"); }

  void add(Kind kind, const FibDbIp4forwardItem& item) {
    if (pending_.size() == kBatchLimit) apply();
    const uint32_t code = kind == Kind::kRemove
                              ? FIB_DB_BatchAddOperRemoveIp4forward(&object_, &item)
                              : FIB_DB_BatchAddOperWriteIp4forward(&object_, &item, kind == Kind::kUpdate ? 1 : 0);
    expect(code == 0, "an operation is not taken");
    pending_.emplace_back(kind, item);
  }

  // What the engine is to make of one operation.
  void applyToModel(Kind kind, const FibDbIp4forwardItem& item, FibDbBatchResult& result) {
    const auto stored = routes_.find(keyOf(item));
    ++result.operations;
    if (kind == Kind::kWrite && item.mask_len > 32) {
      refuse(DB_ERR_BAD_KEY, result);
    } else if (kind == Kind::kWrite) {
      ++(stored == routes_.end() ? result.inserted : result.replaced);
      routes_.insert_or_assign(keyOf(item), item);
    } else if (stored == routes_.end()) {
      refuse(DB_ERR_NO_DATA, result);
    } else if (kind == Kind::kUpdate) {
      ++result.updated;
      stored->second.table_smooth_id = item.table_smooth_id;
    } else {
      ++result.removed;
      routes_.erase(stored);
    }
  }
  static void refuse(uint32_t code, FibDbBatchResult& result) {
    ++result.failed;
    if (result.code == 0) result.code = code;
  }

  void apply() {
    if (pending_.empty()) return;
    FibDbBatchResult result{}, expected{};
    FibDbBatchCompletion completion{
        .done = [](void* context, const FibDbBatchResult* of) { *static_cast<FibDbBatchResult*>(context) = *of; },
        .context = &result};
    uint64_t argument = reinterpret_cast<uintptr_t>(&completion);
    expect(FIB_DB_BatchExecuteAsync(&object_, &argument) == 0, "a batch is not taken");
    expect(fibdb_engine_drain(FIB_DB_GetAsyncConn()) == 0, "the connection is not drained");
    for (const auto& [kind, item] : pending_) applyToModel(kind, item, expected);
    pending_.clear();
    const auto numbers = [](const FibDbBatchResult& of) {
      return std::tuple(of.operations, of.inserted, of.replaced, of.updated, of.removed, of.failed, of.code);
    };
    expect(numbers(result) == numbers(expected), "a batch's account is another");
    begin();
  }

  static bool same(const FibDbIp4forwardItem& a, const FibDbIp4forwardItem& b) {
    return keyOf(a) == keyOf(b) && a.attr_word_a == b.attr_word_a && a.high_status == b.high_status &&
           a.table_smooth_id == b.table_smooth_id && a.attr_dword_c == b.attr_dword_c;
  }

  void compareRead(FibDbIp4forwardItem item) const {
    const auto stored = routes_.find(keyOf(item));
    const uint32_t code = FIB_DB_ReadIp4forward(&item);
    expect(code == (stored == routes_.end() ? 60u : 0u), "a read has another status");
    expect(stored == routes_.end() || same(item, stored->second), "a read gives another route");
  }

  // The longest prefix, and of those that differ in bits that do not count the lowest.
  void compareMatch(FibDbIp4forwardItem item) const {
    item.mask_len = static_cast<uint8_t>(item.mask_len % 33);
    const FibDbIp4forwardItem* longest = nullptr;
    for (const auto& [key, route] : routes_) {
      const uint32_t counts = key.mask == 0 ? 0 : UINT32_MAX << (32 - key.mask);
      if (key.router != item.vr_id || key.vrf != item.vrf_index || key.mask > item.mask_len) continue;
      if (((key.address ^ item.dest_ip_addr) & counts) != 0) continue;
      if (longest == nullptr || key.mask > longest->mask_len) longest = &route;
    }
    const uint32_t code = FIB_DB_ReadIp4forwardByLpm(&item);
    expect(code == (longest == nullptr ? uint32_t{FIB_DB_NO_ROUTE} : 0u), "a match has another status");
    expect(longest == nullptr || same(item, *longest), "a match gives another route");
  }

  void compareAll(const FibDbIp4forwardItem& asked) const {
    uint32_t count = 0, high = 0;
    expect(FIB_DB_CountIp4forward(&count) == 0 && count == routes_.size(), "the count is another");
    for (const auto& [key, route] : routes_) high += route.high_status == asked.high_status ? 1 : 0;
    expect(FIB_DB_CountIp4forwardByHighStatus(asked.high_status, &count) == 0 && count == high,
           "the count by status is another");
    const auto any = [](const Key&) { return true; };
    const auto inVrf = [&](const Key& key) { return key.router == asked.vr_id && key.vrf == asked.vrf_index; };
    const auto inGroup = [&](const Key& key) { return key.mask == asked.mask_len && key.router == asked.vr_id; };
    compareWalk(FIB_DB_CreateIp4forwardIterator(FIB_DB_NO_PROPERTY), any, false);
    compareWalk(FIB_DB_CreateDictionaryIterator(FIB_DB_NO_PROPERTY), any, true);
    compareWalk(FIB_DB_CreateIp4forwardIteratorByVrf(asked.vr_id, asked.vrf_index, 0, FIB_DB_NO_PROPERTY), inVrf,
                false);
    compareWalk(FIB_DB_CreateIp4forwardIteratorByNhpGrpId(asked.mask_len, asked.vr_id, -1), inGroup, false);
  }

  template <class Condition>
  void compareWalk(FibDbIterator* iterator, Condition holds, bool inOrder) const {
    expect(iterator != nullptr, "no iterator");
    std::vector<Key> expected, found;
    for (const auto& [key, route] : routes_) {
      if (holds(key)) expected.push_back(key);
    }
    FibDbIp4forwardItem item{};
    bool right = true;
    uint32_t code = 0;
    while ((code = FIB_DB_GetNextIp4forward(iterator, &item)) == 0) {
      found.push_back(keyOf(item));
      const auto stored = routes_.find(keyOf(item));
      right = right && stored != routes_.end() && same(item, stored->second);
    }
    FIB_DB_ReleaseIp4forwardIterator(iterator);
    expect(code == 60, "a walk ends otherwise");
    if (!inOrder) std::ranges::sort(found);
    expect(right && found == expected, "a walk gives other routes");
  }

  uint64_t object_ = 0;
  std::map<Key, FibDbIp4forwardItem> routes_;
  std::vector<std::pair<Kind, FibDbIp4forwardItem>> pending_;
};

}  // namespace fibdb::test

#endif
