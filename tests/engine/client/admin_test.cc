// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/client/admin_test.cc: texts, statistics, limits, walks over any table, faults, and starting afresh.
#include <atomic>
#include <chrono>
#include <map>
#include <set>
#include <thread>

#include "engine_fixture.h"

namespace fibdb::testing {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class Admin : public EngineTest {};

TEST_F(Admin, every_code_has_a_text_of_its_own) {
  std::set<std::string> texts;
  std::vector<uint32_t> codes = {FIB_DB_OK,      DB_ERR_FIELD_ABSENT,     DB_ERR_RETRY,      DB_RET_PUB_STATUS,
                                 DB_ERR_NO_DATA, DB_ERR_BATCH_QUEUE_FULL, DB_ERR_BATCH_BUSY, DB_ERR_ITER_END,
                                 FIB_DB_ERR,     FIB_DB_NOT_FOUND,        FIB_DB_NO_ROUTE,   FIB_DB_BATCH_NOT_EXECUTED};
  for (uint32_t code = DB_ERR_BAD_HANDLE; code <= DB_ERR_OVERTAKEN; ++code) codes.push_back(code);
  for (const uint32_t code : codes) {
    const std::string text = fibdb_engine_error_text(code);
    EXPECT_NE(text, "unknown code") << code;
    EXPECT_EQ(text.find('\n'), std::string::npos);
    EXPECT_TRUE(texts.insert(text).second) << text;
  }
  for (const uint32_t code : {2u, 61u, uint32_t{DB_ERR_OVERTAKEN} + 1, UINT32_MAX}) {
    EXPECT_STREQ(fibdb_engine_error_text(code), "unknown code");
  }
}

// The build's version, the headers' and the loaded engine's are one.
TEST_F(Admin, the_version_is_the_releases) {
  EXPECT_STREQ(fibdb_engine_version(), FIBDB_PROJECT_VERSION);
  EXPECT_STREQ(FIBDB_VERSION, FIBDB_PROJECT_VERSION);
  const std::string numbers = std::to_string(FIBDB_VERSION_MAJOR) + '.' + std::to_string(FIBDB_VERSION_MINOR) + '.' +
                              std::to_string(FIBDB_VERSION_PATCH);
  EXPECT_EQ(numbers, FIBDB_PROJECT_VERSION);
}

TEST_F(Admin, tables_are_found_by_name) {
  ASSERT_EQ(fibdb_engine_table_count(), schema::kTableCount);
  for (uint32_t i = 0; i < fibdb_engine_table_count(); ++i) {
    EXPECT_EQ(fibdb_engine_find_table(schema::kTables[i].name.data()), i);
  }
  EXPECT_EQ(fibdb_engine_find_table("ip4"), UINT32_MAX);
  EXPECT_EQ(fibdb_engine_find_table("ip4forward "), UINT32_MAX);
  EXPECT_EQ(fibdb_engine_find_table(""), UINT32_MAX);
  EXPECT_EQ(fibdb_engine_find_table(nullptr), UINT32_MAX);
}

TEST_F(Admin, columns_describe_the_row_without_its_padding) {
  for (uint32_t table = 0; table < fibdb_engine_table_count(); ++table) {
    const schema::Table& layout = schema::kTables[table];
    uint32_t column = 0;
    for (const schema::Field& field : layout.fields) {
      if (field.kind == schema::FieldKind::kPad) continue;
      FibDbEngineColumn out{};
      ASSERT_EQ(fibdb_engine_column(table, column++, &out), 0u);
      EXPECT_EQ(out.name, field.name);
      EXPECT_EQ(out.kind, field.kind == schema::FieldKind::kBytes ? FIBDB_ENGINE_BYTES : FIBDB_ENGINE_NUMBER);
      EXPECT_EQ(out.offset, field.offset);
      EXPECT_EQ(out.width * out.count, field.size());
    }
    EXPECT_EQ(fibdb_engine_column_count(table), column);
    FibDbEngineColumn out{};
    EXPECT_EQ(fibdb_engine_column(table, column, &out), DB_ERR_NO_DATA);
    EXPECT_EQ(fibdb_engine_column(table, 0, nullptr), DB_ERR_NULL_ARGUMENT);
  }
}

TEST_F(Admin, a_number_that_no_table_has_is_refused) {
  const uint32_t none = fibdb_engine_table_count();
  FibDbEngineTableStats stats{};
  FibDbEngineColumn column{};
  const FibDbEngineVisit visit = [](const void*, uint32_t, void*) { return 0; };
  EXPECT_EQ(fibdb_engine_table_stats(none, &stats), DB_ERR_WRONG_TABLE);
  EXPECT_EQ(fibdb_engine_set_limits(none, 1, 1), DB_ERR_WRONG_TABLE);
  EXPECT_EQ(fibdb_engine_column_count(none), 0u);
  EXPECT_EQ(fibdb_engine_column(none, 0, &column), DB_ERR_WRONG_TABLE);
  EXPECT_EQ(fibdb_engine_walk(none, visit, nullptr), DB_ERR_WRONG_TABLE);
  EXPECT_EQ(fibdb_engine_fault(none, 1, 1), DB_ERR_WRONG_TABLE);
}

TEST_F(Admin, null_is_refused) {
  EXPECT_EQ(fibdb_engine_table_stats(0, nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(fibdb_engine_walk(0, nullptr, nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(fibdb_engine_arena_stats(nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(fibdb_engine_connection_stats(0, nullptr), DB_ERR_NULL_ARGUMENT);
}

TEST_F(Admin, statistics_count_operations_by_outcome) {
  ASSERT_EQ(writeRoute(route(0x01000000, 8)), 0u);
  ASSERT_EQ(writeRoute(route(0x02000000, 8)), 0u);
  ASSERT_EQ(writeRoute(route(0x02000000, 8)), 0u);
  ASSERT_EQ(removeRoutes(routeKey(0x01000000, 8)), 0u);
  {
    RouteObject object(FIB_DB_OBJ_OP_UPDATE);
    const Key key = routeKey(0x02000000, 8);
    ASSERT_EQ(db_set_ip4forward_table_smooth_id(object, 1), 0u);
    ASSERT_EQ(db_update_obj(object, &key.desc, key.data()), 0u);
  }
  const FibDbEngineTableStats stats = statsOf(TableId::ip4forward);
  EXPECT_STREQ(stats.name, "ip4forward");
  EXPECT_EQ(stats.rowLength, 124u);
  EXPECT_EQ(stats.indexCount, 5u);
  EXPECT_EQ(stats.records, 1u);
  EXPECT_GT(stats.bytes, 0u);
  EXPECT_EQ(stats.inserted, 2u);
  EXPECT_EQ(stats.replaced, 1u);
  EXPECT_EQ(stats.updated, 1u);
  EXPECT_EQ(stats.removed, 1u);
  EXPECT_EQ(stats.refused, 0u);
}

TEST_F(Admin, at_a_record_limit_writes_are_refused_and_everything_stored_stays) {
  const uint32_t table = numberOf(TableId::ip4forward);
  for (uint32_t i = 0; i < 5; ++i) ASSERT_EQ(writeRoute(route(i << 8, 24)), 0u);
  ASSERT_EQ(fibdb_engine_set_limits(table, 5, 0), 0u);
  EXPECT_EQ(statsOf(TableId::ip4forward).recordLimit, 5u);
  EXPECT_EQ(writeRoute(route(0xFF00, 24)), DB_ERR_RECORD_LIMIT);
  EXPECT_EQ(writeRoute(route(0, 24, 9)), 0u) << "a replacement needs no room";
  EXPECT_EQ(statsOf(TableId::ip4forward).refused, 1u);
  EXPECT_EQ(countRoutes(), 5u);
  ASSERT_EQ(removeRoutes(routeKey(0, 24)), 0u);
  EXPECT_EQ(writeRoute(route(0xFF00, 24)), 0u);
  ASSERT_EQ(fibdb_engine_set_limits(table, 0, 0), 0u);
  EXPECT_EQ(writeRoute(route(0, 24)), 0u);
}

TEST_F(Admin, at_a_memory_limit_writes_are_refused_and_everything_stored_stays) {
  const uint32_t table = numberOf(TableId::ip4forward);
  ASSERT_EQ(writeRoute(route(0, 24)), 0u);
  ASSERT_EQ(fibdb_engine_set_limits(table, 0, statsOf(TableId::ip4forward).bytes + (1 << 20)), 0u);
  uint32_t stored = 1;
  uint32_t code = 0;
  while ((code = writeRoute(route(stored << 8, 24, stored))) == 0) ++stored;
  EXPECT_EQ(code, DB_ERR_MEMORY_LIMIT);
  EXPECT_EQ(countRoutes(), stored);
  EXPECT_EQ(statsOf(TableId::ip4forward).refused, 1u);
  Row row(TableId::ip4forward);
  for (uint32_t i = 0; i < stored; ++i) ASSERT_EQ(readRoute(routeKey(i << 8, 24), row), 0u);
  EXPECT_EQ(readRoute(routeKey(stored << 8, 24), row), DB_ERR_NO_DATA);
  for (uint32_t i = 0; i < stored; ++i) ASSERT_EQ(removeRoutes(routeKey(i << 8, 24)), 0u);
  EXPECT_EQ(countRoutes(), 0u);
}

TEST_F(Admin, a_walk_visits_every_row_until_told_to_stop_and_may_write) {
  for (uint32_t i = 0; i < 100; ++i) ASSERT_EQ(writeRoute(route(i << 8, 24)), 0u);
  const uint32_t table = numberOf(TableId::ip4forward);
  std::set<std::string> seen;
  ASSERT_EQ(fibdb_engine_walk(
                table,
                [](const void* row, uint32_t length, void* context) {
                  EXPECT_EQ(length, 124u);
                  Row copy(TableId::ip4forward);
                  std::memcpy(copy.data(), row, length);
                  EXPECT_TRUE(static_cast<std::set<std::string>*>(context)->insert(copy.bytes()).second);
                  EXPECT_EQ(removeRoutes(keyOfRow(TableId::ip4forward, kRouteKey, copy)), 0u);
                  return 0;
                },
                &seen),
            0u);
  EXPECT_EQ(seen.size(), 100u);
  EXPECT_EQ(countRoutes(), 0u);
  for (uint32_t i = 0; i < 100; ++i) ASSERT_EQ(writeRoute(route(i << 8, 24)), 0u);
  int visits = 0;
  ASSERT_EQ(fibdb_engine_walk(
                table, [](const void*, uint32_t, void* context) { return ++*static_cast<int*>(context) == 7 ? 1 : 0; },
                &visits),
            0u);
  EXPECT_EQ(visits, 7);
}

TEST_F(Admin, a_walk_over_a_range_visits_its_rows_in_key_order_both_ends_included) {
  for (uint32_t i = 100; i > 0; --i) ASSERT_EQ(writeRoute(route(i << 8, 24)), 0u);
  const uint32_t table = numberOf(TableId::ip4forward);
  const FibDbEngineVisit visit = [](const void* row, uint32_t, void* context) {
    uint32_t address = 0;
    std::memcpy(&address, static_cast<const char*>(row) + 8, sizeof address);
    auto& seen = *static_cast<std::vector<uint32_t>*>(context);
    seen.push_back(address >> 8);
    return seen.size() == 5 ? 1 : 0;
  };
  const auto walk = [&](const Key& low, const Key& high) {
    std::vector<uint32_t> seen;
    EXPECT_EQ(fibdb_engine_walk_range(table, kRouteOrdered, low.data(), high.data(), visit, &seen), 0u);
    return seen;
  };
  EXPECT_EQ(walk(routeKey(7 << 8, 24), routeKey(9 << 8, 24)), (std::vector<uint32_t>{7, 8, 9}));
  EXPECT_EQ(walk(routeKey(7 << 8, 25), routeKey(9 << 8, 23)), (std::vector<uint32_t>{8}));
  EXPECT_EQ(walk(routeKey(0, 0), routeKey(UINT32_MAX, 32)), (std::vector<uint32_t>{1, 2, 3, 4, 5})) << "told to stop";
  EXPECT_EQ(walk(routeKey(9 << 8, 24), routeKey(7 << 8, 24)), std::vector<uint32_t>());

  const Key key = routeKey(0, 0);
  const auto refused = [&](uint32_t number, uint32_t index, const void* low, FibDbEngineVisit visitor) {
    return fibdb_engine_walk_range(number, index, low, key.data(), visitor, nullptr);
  };
  EXPECT_EQ(refused(table, kRouteKey, key.data(), visit), DB_ERR_BAD_INDEX);
  EXPECT_EQ(refused(table, 1, key.data(), visit), DB_ERR_BAD_INDEX);
  EXPECT_EQ(refused(table, kRouteOrdered, nullptr, visit), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(refused(table, kRouteOrdered, key.data(), nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(refused(UINT32_MAX, kRouteOrdered, key.data(), visit), DB_ERR_WRONG_TABLE);
}

TEST_F(Admin, many_lookups_at_once_answer_as_each_alone) {
  ASSERT_EQ(writeRoute(route(0x0A000000, 8, 1)), 0u);
  ASSERT_EQ(writeRoute(route(0x0A010000, 16, 2)), 0u);
  ASSERT_EQ(writeRoute(route(0x0A010005, 16, 3)), 0u) << "shares the prefix";
  const uint32_t table = numberOf(TableId::ip4forward);
  const std::vector<uint32_t> addresses = {0x0A020304, 0x0A010203, 0x0B000000};
  const uint32_t vrf[2] = {}, other[2] = {0, 1};
  const size_t length = schema::kTables[table].rowLength;
  std::vector<uint8_t> rows(addresses.size() * length), found(addresses.size(), 9);
  const auto lookUp = [&](uint32_t index, const void* leading, uint32_t count) {
    return fibdb_engine_lookup_each(table, index, leading, addresses.data(), count, rows.data(), found.data());
  };
  const auto rowAt = [&](size_t place) {
    return std::vector<uint8_t>(rows.begin() + static_cast<ptrdiff_t>(place * length),
                                rows.begin() + static_cast<ptrdiff_t>((place + 1) * length));
  };
  const auto bytesOf = [&](const Row& row) {
    const auto* bytes = static_cast<const uint8_t*>(row.data());
    return std::vector<uint8_t>(bytes, bytes + row.length());
  };
  ASSERT_EQ(lookUp(kRouteLongest, vrf, 3), 0u);
  EXPECT_EQ(found, (std::vector<uint8_t>{1, 1, 0}));
  EXPECT_EQ(rowAt(0), bytesOf(route(0x0A000000, 8, 1)));
  EXPECT_EQ(rowAt(1), bytesOf(route(0x0A010000, 16, 2)));
  ASSERT_EQ(lookUp(kRouteLongest, other, 3), 0u);
  EXPECT_EQ(found, (std::vector<uint8_t>{0, 0, 0}));
  found = {9, 9, 9};
  ASSERT_EQ(lookUp(kRouteLongest, vrf, 0), 0u);
  EXPECT_EQ(found, (std::vector<uint8_t>{9, 9, 9}));

  EXPECT_EQ(lookUp(kRouteKey, vrf, 3), DB_ERR_BAD_INDEX);
  EXPECT_EQ(lookUp(kRouteOrdered, vrf, 3), DB_ERR_BAD_INDEX);
  EXPECT_EQ(lookUp(1, vrf, 3), DB_ERR_BAD_INDEX);
  EXPECT_EQ(lookUp(kRouteLongest, nullptr, 3), DB_ERR_NULL_ARGUMENT);
  const auto refused = [&](const uint32_t* from, void* to, uint8_t* answers, uint32_t number) {
    return fibdb_engine_lookup_each(number, kRouteLongest, vrf, from, 1, to, answers);
  };
  EXPECT_EQ(refused(nullptr, rows.data(), found.data(), table), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(refused(addresses.data(), nullptr, found.data(), table), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(refused(addresses.data(), rows.data(), nullptr, table), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(refused(addresses.data(), rows.data(), found.data(), UINT32_MAX), DB_ERR_WRONG_TABLE);
  EXPECT_EQ(found, (std::vector<uint8_t>{9, 9, 9}));
}

TEST_F(Admin, what_a_search_costs_is_explained_for_every_index) {
  const uint32_t table = numberOf(TableId::ip4forward);
  const auto nodesTo = [&](uint32_t index, const Key& key) {
    uint32_t nodes = 77;
    EXPECT_EQ(fibdb_engine_explain(table, index, key.data(), &nodes), 0u);
    return nodes;
  };
  const Key key = routeKey(10 << 24, 8);
  EXPECT_EQ(nodesTo(kRouteLongest, key), 0u) << "an empty table has none";
  EXPECT_EQ(nodesTo(kRouteOrdered, key), 0u);
  ASSERT_EQ(writeRoute(route(10 << 24, 8)), 0u);
  ASSERT_EQ(writeRoute(route(10 << 24 | 1 << 16, 24)), 0u);
  EXPECT_EQ(nodesTo(kRouteKey, key), 1u) << "a bucket";
  EXPECT_EQ(nodesTo(kRouteLongest, routeKey(10 << 24 | 255 << 16, 32)), 3u) << "nodes end at /0, /6 and /12";
  EXPECT_EQ(nodesTo(kRouteLongest, routeKey(10 << 24 | 1 << 16, 32)), 5u) << "and at /18 and /24";
  EXPECT_EQ(nodesTo(kRouteLongest, routeKey(1u << 31, 32)), 1u);
  EXPECT_EQ(nodesTo(kRouteOrdered, key), 1u + 3) << "the one node of all tries, and those down to /12";
  EXPECT_EQ(nodesTo(kRouteOrdered, routeKey(10 << 24, 9)), 1u + 5);
  EXPECT_EQ(nodesTo(kRouteByGroup, makeKey(TableId::ip4forward, kRouteByGroup, {0, 0})), 1u + 1) << "a bucket, a leaf";
  EXPECT_EQ(nodesTo(kRouteByGroup, makeKey(TableId::ip4forward, kRouteByGroup, {5, 0})), 1u) << "no record has the key";

  uint32_t nodes = 77;
  EXPECT_EQ(fibdb_engine_explain(table, 1, key.data(), &nodes), DB_ERR_BAD_INDEX);
  EXPECT_EQ(fibdb_engine_explain(table, kRouteLongest, routeKey(0, 33).data(), &nodes), DB_ERR_BAD_KEY);
  EXPECT_EQ(fibdb_engine_explain(table, kRouteKey, nullptr, &nodes), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(fibdb_engine_explain(table, kRouteKey, key.data(), nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(fibdb_engine_explain(UINT32_MAX, kRouteKey, key.data(), &nodes), DB_ERR_WRONG_TABLE);
  EXPECT_EQ(nodes, 77u);
}

// What a check says, a line each; a table that was overtaken: its name alone.
int keepFinding(const char* table, const char* finding, void* lines) {
  const std::string text = finding == nullptr ? table : std::string(table) + ": " + finding;
  static_cast<std::vector<std::string>*>(lines)->push_back(text);
  return 0;
}

TEST_F(Admin, a_check_looks_at_every_table_and_finds_nothing) {
  for (uint32_t i = 0; i < 5000; ++i) ASSERT_EQ(writeRoute(route(i << 8, static_cast<uint8_t>(16 + i % 17))), 0u);
  FibDbEngineCheck check{.findings = 1};
  std::vector<std::string> lines;
  ASSERT_EQ(fibdb_engine_check(keepFinding, &lines, &check), 0u);
  EXPECT_TRUE(lines.empty());
  EXPECT_EQ(check.tables, fibdb_engine_table_count());
  EXPECT_EQ(check.overtaken, 0u);
  EXPECT_EQ(check.records, countRoutes());
  EXPECT_GT(check.blocks, 0u);
  EXPECT_EQ(check.findings, 0u);
  EXPECT_EQ(fibdb_engine_check(nullptr, nullptr, &check), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(fibdb_engine_check(keepFinding, &lines, nullptr), DB_ERR_NULL_ARGUMENT);
}

struct Structure {
  std::string name;
  uint32_t index;
  uint64_t bytes;
};

std::vector<Structure> structuresOf(TableId table) {
  std::vector<Structure> structures;
  const auto keep = [](const char* name, uint32_t index, uint64_t bytes, void* to) {
    static_cast<std::vector<Structure>*>(to)->push_back({name, index, bytes});
    return 0;
  };
  EXPECT_EQ(fibdb_engine_structures(numberOf(table), keep, &structures), 0u);
  return structures;
}

TEST_F(Admin, the_memory_of_a_table_is_told_by_structure) {
  constexpr uint32_t kRoutes = 20'000;
  for (uint32_t i = 0; i < kRoutes; ++i) ASSERT_EQ(writeRoute(route(i << 10, 24)), 0u);
  uint64_t all = 0;
  std::map<std::string, uint64_t> bytesOf;
  std::set<uint32_t> indexes;
  for (const Structure& structure : structuresOf(TableId::ip4forward)) {
    EXPECT_GT(structure.bytes, 0u) << structure.name;
    all += structure.bytes;
    bytesOf[structure.name] += structure.bytes;
    if (structure.index != 0) indexes.insert(structure.index);
  }
  EXPECT_EQ(all, statsOf(TableId::ip4forward).bytes);
  // The order is that of the tries: there is no ordered index but for prefixes with bits below their masks.
  EXPECT_EQ(indexes, (std::set<uint32_t>{kRouteKey, kRouteByGroup, kRouteByVrf, kRouteLongest}));
  EXPECT_GE(bytesOf["records"], kRoutes * 136u) << "row, version, stamp";
  EXPECT_GE(bytesOf["primary index"], kRoutes * 4u);
  EXPECT_GE(bytesOf["secondary index"], kRoutes * 8u * 2);
  EXPECT_GE(bytesOf["longest-prefix index"], kRoutes * 4u);
  EXPECT_EQ(bytesOf.count("lost"), 0u);
}

TEST_F(Admin, the_structures_of_a_table_are_told_until_it_is_enough) {
  ASSERT_EQ(writeRoute(route(10 << 24, 8)), 0u);
  uint32_t visits = 0;
  const auto once = [](const char*, uint32_t, uint64_t, void* to) {
    ++*static_cast<uint32_t*>(to);
    return 1;
  };
  EXPECT_EQ(fibdb_engine_structures(numberOf(TableId::ip4forward), once, &visits), 0u);
  EXPECT_EQ(visits, 1u);
  EXPECT_TRUE(structuresOf(TableId::vrf).empty());
  EXPECT_EQ(fibdb_engine_structures(UINT32_MAX, once, &visits), DB_ERR_WRONG_TABLE);
  EXPECT_EQ(fibdb_engine_structures(numberOf(TableId::vrf), nullptr, nullptr), DB_ERR_NULL_ARGUMENT);
}

TEST_F(Admin, to_clear_a_table_removes_its_records_and_leaves_its_limits) {
  const uint32_t table = numberOf(TableId::ip4forward);
  ASSERT_EQ(fibdb_engine_set_limits(table, 1000, 0), 0u);
  for (uint32_t i = 0; i < 1000; ++i) ASSERT_EQ(writeRoute(route(i << 8, 24)), 0u);
  uint64_t removed = 7;
  EXPECT_EQ(fibdb_engine_clear(table, &removed), 0u);
  EXPECT_EQ(removed, 1000u);
  EXPECT_EQ(countRoutes(), 0u);
  EXPECT_EQ(statsOf(TableId::ip4forward).removed, 1000u);
  EXPECT_EQ(statsOf(TableId::ip4forward).recordLimit, 1000u);
  EXPECT_EQ(fibdb_engine_clear(table, &removed), 0u);
  EXPECT_EQ(removed, 0u);
  EXPECT_EQ(fibdb_engine_clear(table, nullptr), 0u);
  EXPECT_EQ(fibdb_engine_clear(fibdb_engine_table_count(), &removed), DB_ERR_WRONG_TABLE);
}

std::string metrics() {
  size_t length = 0;
  EXPECT_EQ(fibdb_engine_metrics(nullptr, 0, &length), DB_ERR_BAD_LENGTH);
  std::string text(length + 1, 'x');
  EXPECT_EQ(fibdb_engine_metrics(text.data(), text.size(), &length), 0u);
  EXPECT_EQ(text.back(), '\0');
  text.pop_back();
  EXPECT_EQ(text.size(), length);
  return text;
}

TEST_F(Admin, metrics_are_the_statistics_as_text) {
  ASSERT_EQ(writeRoute(route(0x01000000, 8)), 0u);
  ASSERT_EQ(writeRoute(route(0x01000000, 8)), 0u);
  const std::string text = metrics();
  EXPECT_THAT(text, StartsWith("# TYPE fibdb_table_records gauge\n"));
  EXPECT_THAT(text, HasSubstr("\nfibdb_table_records{table=\"ip4forward\"} 1\n"));
  EXPECT_THAT(text, HasSubstr("\nfibdb_table_writes_total{table=\"ip4forward\",outcome=\"replaced\"} 1\n"));
  EXPECT_THAT(text, HasSubstr("\nfibdb_arena_reserved_bytes "));
  EXPECT_THAT(text, Not(HasSubstr("fibdb_table_record_limit{")));
  EXPECT_THAT(text, EndsWith("\n# EOF\n"));
  ASSERT_EQ(fibdb_engine_set_limits(numberOf(TableId::nhp), 5, 0), 0u);
  EXPECT_THAT(metrics(), HasSubstr("\nfibdb_table_record_limit{table=\"nhp\"} 5\n"));
}

TEST_F(Admin, metrics_that_find_no_room_say_how_much_they_need) {
  size_t needed = 0, length = 0;
  EXPECT_EQ(fibdb_engine_metrics(nullptr, 0, &needed), DB_ERR_BAD_LENGTH);
  std::string buffer(needed + 10, 'x');
  EXPECT_EQ(fibdb_engine_metrics(buffer.data(), needed, &length), DB_ERR_BAD_LENGTH) << "the zero has no room";
  EXPECT_EQ(length, needed);
  EXPECT_EQ(buffer.substr(needed), "xxxxxxxxxx") << "nothing is written behind the buffer";
  EXPECT_EQ(fibdb_engine_metrics(buffer.data(), needed + 1, &length), 0u);
  EXPECT_EQ(fibdb_engine_metrics(nullptr, 1, &length), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(fibdb_engine_metrics(buffer.data(), 1, nullptr), DB_ERR_NULL_ARGUMENT);
}

TEST_F(Admin, metrics_of_batches_go_on_when_their_connection_is_closed) {
  const auto batches = [] {
    const std::string text = metrics();
    const std::string name = "\nfibdb_batches_total ";
    return std::stoull(text.substr(text.find(name) + name.size()));
  };
  const uint64_t before = batches();
  uint64_t connection = 0, object = 0;
  ASSERT_EQ(db_connect(0, 0, &connection), 0u);
  ASSERT_EQ(db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, connection, &object), 0u);
  ASSERT_EQ(db_batch_exec_async(object, 0), 0u);
  ASSERT_EQ(fibdb_engine_drain(connection), 0u);
  EXPECT_EQ(batches(), before + 1);
  ASSERT_EQ(db_release_ip4forward_object(object), 0u);
  ASSERT_EQ(db_disconnect(connection), 0u);
  EXPECT_EQ(batches(), before + 1);
}

TEST_F(Admin, objects_and_memory_are_counted) {
  FibDbEngineArenaStats before{};
  ASSERT_EQ(fibdb_engine_arena_stats(&before), 0u);
  {
    RouteObject a(FIB_DB_OBJ_OP_READ), b(FIB_DB_OBJ_OP_READ);
    uint64_t connection = 0;
    ASSERT_EQ(db_connect(0, 0, &connection), 0u);
    FibDbEngineArenaStats during{};
    ASSERT_EQ(fibdb_engine_arena_stats(&during), 0u);
    EXPECT_EQ(during.objects, before.objects + 2);
    EXPECT_EQ(during.connections, before.connections + 1);
    ASSERT_EQ(db_disconnect(connection), 0u);
  }
  ASSERT_EQ(writeRoute(route(0, 8)), 0u);
  FibDbEngineArenaStats after{};
  ASSERT_EQ(fibdb_engine_arena_stats(&after), 0u);
  EXPECT_EQ(after.objects, before.objects);
  EXPECT_EQ(after.connections, before.connections);
  EXPECT_GT(after.used, 0u);
  EXPECT_LE(after.used, after.reserved);
}

// A fault replaces the success of calls that commit; the change is there all the same.

TEST_F(Admin, a_fault_replaces_the_code_of_that_many_commits) {
  const uint32_t table = numberOf(TableId::ip4forward);
  ASSERT_EQ(fibdb_engine_fault(table, DB_RET_PUB_STATUS, 2), 0u);
  EXPECT_EQ(removeRoutes(routeKey(0x01000000, 8)), DB_ERR_NO_DATA) << "nothing was committed";
  EXPECT_EQ(writeNhp(1), 0u) << "another table";
  EXPECT_EQ(writeRoute(route(0x01000000, 8)), DB_RET_PUB_STATUS);
  EXPECT_EQ(countRoutes(), 1u);
  EXPECT_EQ(removeRoutes(routeKey(0x01000000, 8)), DB_RET_PUB_STATUS);
  EXPECT_EQ(countRoutes(), 0u);
  EXPECT_EQ(writeRoute(route(0x01000000, 8)), 0u);
  ASSERT_EQ(fibdb_engine_fault(table, 77, 1), 0u);
  RouteObject object(FIB_DB_OBJ_OP_UPDATE);
  const Key key = routeKey(0x01000000, 8);
  ASSERT_EQ(db_set_ip4forward_table_smooth_id(object, 1), 0u);
  EXPECT_EQ(db_update_obj(object, &key.desc, key.data()), 77u);
  ASSERT_EQ(fibdb_engine_fault(table, 77, 5), 0u);
  ASSERT_EQ(fibdb_engine_fault(table, 77, 0), 0u);
  EXPECT_EQ(db_update_obj(object, &key.desc, key.data()), 0u);
}

TEST_F(Admin, reset_empties_tables_and_lifts_limits_faults_and_registrations) {
  const uint32_t table = numberOf(TableId::ip4forward);
  const FibDbTableDesc desc{"ip4forward",
                            db_create_ip4forward_obj,
                            db_release_ip4forward_object,
                            db_reset_ip4forward_object,
                            db_set_ip4forward_all_fields,
                            0,
                            0};
  ASSERT_EQ(writeRoute(route(0, 8)), 0u);
  ASSERT_EQ(writeNhp(1), 0u);
  ASSERT_EQ(fibdb_engine_set_limits(table, 1, 0), 0u);
  ASSERT_EQ(fibdb_engine_fault(table, 77, 5), 0u);
  ASSERT_EQ(UFIB_DB_TableRegister(3, &desc), 0u);
  ASSERT_EQ(fibdb_engine_reset(), 0u);
  EXPECT_EQ(countRoutes(), 0u);
  EXPECT_EQ(statsOf(TableId::nhp).records, 0u);
  EXPECT_EQ(statsOf(TableId::ip4forward).inserted, 0u);
  for (uint32_t i = 0; i < 3; ++i) EXPECT_EQ(writeRoute(route(i << 8, 24)), 0u);
  EXPECT_EQ(UFIB_DB_CreateIterator(3, FIB_DB_NO_PROPERTY), nullptr);
  uint64_t connection = 0;
  ASSERT_EQ(db_connect(0, 0, &connection), 0u);
  EXPECT_EQ(fibdb_engine_reset(), DB_ERR_BATCH_BUSY) << "a connection is open";
  ASSERT_EQ(db_disconnect(connection), 0u);
}

}  // namespace
}  // namespace fibdb::testing
