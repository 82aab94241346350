// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/client/engine_fixture.h: an empty engine for each test, and rows, keys and objects in one line each.
#ifndef FIBDB_TESTS_ENGINE_CLIENT_ENGINE_FIXTURE_H
#define FIBDB_TESTS_ENGINE_CLIENT_ENGINE_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iostream>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fibdb/engine.h"
#include "platform/objdb.h"
#include "platform/objdb_tables.h"
#include "platform/schema/catalog.h"
#include "platform/ufib.h"

namespace fibdb::testing {

using schema::TableId;

inline const schema::Table& layoutOf(TableId table) { return schema::kTables[static_cast<size_t>(table)]; }
inline uint32_t numberOf(TableId table) { return static_cast<uint32_t>(table); }

// A flat row, its fields by name.
class Row {
 public:
  explicit Row(TableId table) : layout_(&layoutOf(table)), bytes_(layout_->rowLength, '\0') {}

  Row& set(std::string_view field, uint64_t value) {
    const schema::Field& found = *schema::findField(layout_->fields, field);
    std::memcpy(bytes_.data() + found.offset, &value, found.width);
    return *this;
  }
  uint64_t get(std::string_view field) const {
    const schema::Field& found = *schema::findField(layout_->fields, field);
    uint64_t value = 0;
    std::memcpy(&value, bytes_.data() + found.offset, found.width);
    return value;
  }
  void* data() { return bytes_.data(); }
  const void* data() const { return bytes_.data(); }
  uint32_t length() const { return static_cast<uint32_t>(bytes_.size()); }
  const std::string& bytes() const { return bytes_; }
  friend bool operator==(const Row& a, const Row& b) { return a.bytes_ == b.bytes_; }

 private:
  const schema::Table* layout_;
  std::string bytes_;
};

// A packed key with its descriptor.
struct Key {
  FibDbKeyDesc desc{};
  std::string bytes;

  const void* data() const { return bytes.data(); }
  FibDbUfibKey request() && = delete;  // it points into the key
  FibDbUfibKey request() const& { return {&desc, sizeof desc, bytes.data(), static_cast<uint32_t>(bytes.size())}; }
};

inline const schema::Index& indexWithId(TableId table, uint32_t id) {
  for (const schema::Index& index : layoutOf(table).indexes) {
    if (index.id() == id) return index;
  }
  std::abort();
}

inline Key makeKey(TableId table, uint32_t indexId, std::initializer_list<uint64_t> values) {
  Key key{{indexId, 0, 0}, {}};
  const uint64_t* value = values.begin();
  for (const schema::Column& column : indexWithId(table, indexId).parts()) {
    key.bytes.append(reinterpret_cast<const char*>(value++), column.size);
  }
  return key;
}

inline Key keyOfRow(TableId table, uint32_t indexId, const Row& row) {
  Key key{{indexId, 0, 0}, {}};
  for (const schema::Column& column : indexWithId(table, indexId).parts()) {
    key.bytes.append(row.bytes(), column.offset, column.size);
  }
  return key;
}

inline constexpr uint32_t kNhpKey = 0x00010004;
inline constexpr uint32_t kNhpByVrf = 0x0109000C;
inline constexpr uint32_t kRouteKey = 0x0001000D;
inline constexpr uint32_t kRouteByGroup = 0x01090008;
inline constexpr uint32_t kRouteByVrf = 0x0209000C;
inline constexpr uint32_t kRouteLongest = 0x0305000D;
inline constexpr uint32_t kRouteOrdered = 0x0402000D;
inline constexpr uint32_t kArGroupKey = 0x00010009;
inline constexpr uint32_t kArGroupByWords = 0x01090008;

// A table of the service: how it is registered, and the id that tests give it.
inline constexpr FibDbTableDesc kArGroup{"ar_group_attr",
                                         db_create_ar_group_attr_obj,
                                         db_release_ar_group_attr_object,
                                         db_reset_ar_group_attr_object,
                                         db_set_ar_group_attr_all_fields,
                                         0,
                                         0};
inline constexpr uint32_t kArGroupId = 11;

inline Key nhpKey(uint32_t index) { return makeKey(TableId::nhp, kNhpKey, {index}); }
inline Key routeKey(uint32_t addr, uint8_t mask, uint32_t indexId = kRouteKey) {
  return makeKey(TableId::ip4forward, indexId, {0, 0, addr, mask});
}
inline Row route(uint32_t addr, uint8_t mask, uint32_t group = 0) {
  Row row(TableId::ip4forward);
  row.set("dest_ip_addr", addr).set("mask_len", mask).set("attr_word_a", group);
  return row;
}

// Objects that release themselves.
template <uint32_t (*kCreate)(uint32_t, uint32_t, uint64_t*), uint32_t (*kRelease)(uint64_t)>
class Object {
 public:
  explicit Object(uint32_t kind) { EXPECT_EQ(kCreate(kind, 0, &handle_), 0u); }
  ~Object() { EXPECT_EQ(kRelease(handle_), 0u); }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  operator uint64_t() const { return handle_; }

 private:
  uint64_t handle_ = 0;
};
using NhpObject = Object<db_create_nhp_obj, db_release_nhp_object>;
using GroupObject = Object<db_create_nhp_group_obj, db_release_nhp_group_object>;
using RouteObject = Object<db_create_ip4forward_obj, db_release_ip4forward_object>;
using ArGroupObject = Object<db_create_ar_group_attr_obj, db_release_ar_group_attr_object>;

inline uint32_t writeRoute(const Row& row) {
  RouteObject object(FIB_DB_OBJ_OP_WRITE);
  const uint32_t code = db_set_ip4forward_all_fields(object, row.data(), row.length());
  return code != 0 ? code : db_write_obj(object);
}
inline uint32_t removeRoutes(const Key& key) {
  RouteObject object(FIB_DB_OBJ_OP_REMOVE);
  return db_remove_obj(object, &key.desc, key.data());
}
inline uint32_t readRoute(const Key& key, Row& row) {
  RouteObject object(FIB_DB_OBJ_OP_READ);
  return db_read_obj_with_buf(object, &key.desc, key.data(), row.data(), row.length());
}
inline uint64_t countRoutes() {
  RouteObject object(FIB_DB_OBJ_OP_COUNT);
  uint64_t count = UINT64_MAX;
  EXPECT_EQ(db_get_table_record_count(object, &count), 0u);
  return count;
}
inline uint32_t writeNhp(uint32_t index, uint32_t vr = 0, uint32_t vrf = 0, uint32_t source = 0) {
  NhpObject object(FIB_DB_OBJ_OP_WRITE);
  EXPECT_EQ(db_set_nhp_nhp_index(object, index), 0u);
  EXPECT_EQ(db_set_nhp_vr_id(object, vr), 0u);
  EXPECT_EQ(db_set_nhp_vrf_index(object, vrf), 0u);
  EXPECT_EQ(db_set_nhp_app_source_id(object, source), 0u);
  return db_write_obj(object);
}

// The seed of a random test: FIBDB_SEED repeats a run.
inline uint32_t testSeed() {
  const char* given = std::getenv("FIBDB_SEED");
  const uint32_t seed =
      given != nullptr ? static_cast<uint32_t>(std::strtoul(given, nullptr, 0)) : std::random_device{}();
  std::cout << "FIBDB_SEED=" << seed << '\n';
  return seed;
}

inline FibDbEngineTableStats statsOf(TableId table) {
  FibDbEngineTableStats stats{};
  EXPECT_EQ(fibdb_engine_table_stats(numberOf(table), &stats), 0u);
  return stats;
}

// Starts with an empty engine, and ends with no object left over.
class EngineTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(fibdb_engine_reset(), 0u); }
  void TearDown() override {
    FibDbEngineArenaStats stats{};
    ASSERT_EQ(fibdb_engine_arena_stats(&stats), 0u);
    EXPECT_EQ(stats.objects, 0u);
    EXPECT_EQ(stats.connections, 0u);
  }
};

}  // namespace fibdb::testing

#endif
