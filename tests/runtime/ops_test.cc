// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/runtime/ops_test.cc: the shared sequences that no table of the library uses yet, over a table of this test; and
// what Text refuses to compile.
#include "runtime/ops.h"

#include "platform/objdb_tables.h"
#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;

class OpsTest : public TablesTest {
 protected:
  static constexpr Table<FibDbNhpItem, uint32_t> kToy{
      .create = db_create_nhp_obj,
      .release = db_release_nhp_object,
      .stage = [](uint64_t obj, const FibDbNhpItem* item) { return db_set_nhp_flags(obj, item->flags); },
      .key = FIB_DB_SetNhpKeyField,
      .settle = FIB_DB_ProcNhpStdWriteDBResult};

  FibDbNhpItem item{.nhp_index = 42, .flags = 5};
};

// Update of a whole record: the key, then every field, then the update.
TEST_F(OpsTest, updateWhole_stages_the_item_and_updates_by_its_key) {
  EXPECT_EQ(updateWhole(kToy, &item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_obj(1)", "db_set_nhp_flags(#1, 5)",
                                          "db_update_obj(#1, 0x00010004 2a000000)", "db_release_nhp_object(#1)"));
}

TEST_F(OpsTest, updateWhole_of_NULL_returns_1_and_calls_nothing) {
  EXPECT_EQ(updateWhole(kToy, static_cast<const FibDbNhpItem*>(nullptr)), 1u);
  EXPECT_TRUE(platform.calls.empty());
}

TEST_F(OpsTest, updateWhole_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_obj", 9);
  EXPECT_EQ(updateWhole(kToy, &item, {.createFailed = "toy %d"}), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("toy 9"));
}

TEST_F(OpsTest, updateWhole_whose_fields_fail_says_so_and_does_not_update) {
  platform.fail("db_set_nhp_flags", 9);
  EXPECT_EQ(updateWhole(kToy, &item, {.stageFailed = "toy %d"}), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("toy 9"));
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_obj(1)", "db_set_nhp_flags(#1, 5)", "db_release_nhp_object(#1)"));
}

TEST_F(OpsTest, updateWhole_settles_the_code) {
  platform.fail("db_update_obj", 7);
  EXPECT_EQ(updateWhole(kToy, &item), 7u);
  EXPECT_TRUE(countedOnce(FIB_DB_TABLE_NHP_STD, FIB_DB_OPER_UPDATE));
}

// Variations of writing and removing.
TEST_F(OpsTest, write_whose_fields_fail_says_so_and_returns_what_the_staging_gave) {
  platform.fail("db_set_nhp_flags", 9);
  EXPECT_EQ(write(kToy, &item, {.stageFailed = "toy %d"}), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("toy 9"));
}

// Whether the object was still alive when its failure was said.
bool aliveWhenSaid;
int notice(const char*, ...) {
  aliveWhenSaid = PlatformDouble::instance().leaks() != "";
  return 0;
}

TEST_F(OpsTest, write_and_remove_settle_before_the_release_or_after_it) {
  const FibDbLogHooks hooks{.info = notice, .error = notice};
  FIB_DB_LogFuncInit(&hooks);
  platform.failAlways("db_write_obj", 7);
  platform.failAlways("db_remove_obj", 7);
  EXPECT_EQ(write(kToy, &item), 7u);
  EXPECT_TRUE(aliveWhenSaid);
  EXPECT_EQ(write(kToy, &item, {.releaseFirst = true}), 7u);
  EXPECT_FALSE(aliveWhenSaid);
  EXPECT_EQ(remove(kToy, &item), 7u);
  EXPECT_TRUE(aliveWhenSaid);
  EXPECT_EQ(remove(kToy, &item, {.releaseFirst = true}), 7u);
  EXPECT_FALSE(aliveWhenSaid);
}

TEST_F(OpsTest, unguarded_calls_reach_the_platform_with_NULL) {
  const auto* const none = static_cast<const FibDbNhpItem*>(nullptr);
  platform.failAlways("db_create_nhp_obj", 9);
  EXPECT_EQ(write(kToy, none, {.unguarded = true}), 9u);
  EXPECT_EQ(remove(kToy, none, {.unguarded = true}), 9u);
  EXPECT_EQ(read(kToy, static_cast<FibDbNhpItem*>(nullptr), {.unguarded = true}), 9u);
  EXPECT_EQ(platform.calls.size(), 3u);
}

// Under a key: the bytes are packed, and the cells do what they say.
constexpr uint32_t kToyIndex = 0x02090007;

TEST_F(OpsTest, a_packed_key_has_no_gaps) {
  const PackedKey<kToyIndex> key(uint32_t{0x04030201}, uint8_t{5}, uint16_t{0x0706});
  EXPECT_EQ(key.desc.indexId, kToyIndex);
  EXPECT_EQ(key.desc.rsv1, 0u);
  EXPECT_EQ(key.desc.rsv2, 0u);
  EXPECT_THAT(key.bytes, ElementsAre(1, 2, 3, 4, 5, 6, 7));
}

TEST_F(OpsTest, removeUnder_removes_by_the_key_and_settles_before_the_release_or_after_it) {
  const PackedKey<FIB_DB_NHP_PRIMARY> key(uint32_t{42});
  EXPECT_EQ(removeUnder(kToy, key), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_obj(4)", "db_remove_obj(#1, 0x00010004 2a000000)",
                                          "db_release_nhp_object(#1)"));
  const FibDbLogHooks hooks{.info = notice, .error = notice};
  FIB_DB_LogFuncInit(&hooks);
  platform.failAlways("db_remove_obj", 7);
  EXPECT_EQ(removeUnder(kToy, key), 7u);
  EXPECT_TRUE(aliveWhenSaid);
  EXPECT_EQ(removeUnder(kToy, key, {.releaseFirst = true}), 7u);
  EXPECT_FALSE(aliveWhenSaid);
}

TEST_F(OpsTest, countUnder_cuts_the_count_to_the_width_of_its_place) {
  const PackedKey<FIB_DB_NHP_PRIMARY> key(uint32_t{42});
  platform.countResult = 0x1FF;
  uint8_t byte = 0;
  EXPECT_EQ(countUnder(kToy, &key.desc, &key.bytes, &byte, {}), 0u);
  EXPECT_EQ(byte, 0xFF);
}

TEST_F(OpsTest, unguarded_keys_are_handed_on_as_NULL) {
  uint32_t number = 77;
  EXPECT_EQ(countUnder(kToy, nullptr, nullptr, &number, {}), 1u);
  EXPECT_EQ(readUnder<FibDbNhpItem>(kToy, nullptr, nullptr, 0, nullptr, &number,
                                    {.arrive = unpackCurrent<FibDbNhpItem, FIB_DB_GetNhpItem>}),
            1u);
  EXPECT_TRUE(platform.calls.empty());
  EXPECT_EQ(countUnder(kToy, nullptr, nullptr, &number, {.unguarded = true}), 0u);
  EXPECT_EQ(readUnder<FibDbNhpItem>(kToy, nullptr, nullptr, 0, nullptr, &number,
                                    {.arrive = unpackCurrent<FibDbNhpItem, FIB_DB_GetNhpItem>, .unguarded = true}),
            0u);
  EXPECT_EQ(number, 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_create_nhp_obj(9)", "db_get_table_record_count_by_key(#1, NULL)",
                                          "db_release_nhp_object(#1)", "db_create_nhp_obj(5)",
                                          "db_create_root_iter(#2, NULL)", "db_release_nhp_object(#2)"));
}

TEST_F(OpsTest, readUnder_ends_where_a_record_cannot_be_copied_out) {
  const PackedKey<FIB_DB_NHP_PRIMARY> key(uint32_t{42});
  platform.entries = {Row(schema::kMaxRowLength), Row(schema::kMaxRowLength), Row(schema::kMaxRowLength)};
  FibDbNhpItem items[3];
  uint32_t filled = 77;
  static int arrivals;
  arrivals = 0;
  const auto secondFails = [](uint64_t, FibDbNhpItem*) { return ++arrivals == 2 ? 15005u : 0u; };
  EXPECT_EQ(readUnder<FibDbNhpItem>(kToy, &key.desc, &key.bytes, sizeof items, items, &filled, {.arrive = secondFails}),
            15005u);
  EXPECT_EQ(filled, 1u);
  EXPECT_EQ(arrivals, 2);
  EXPECT_TRUE(silent());
}

// Timed updates: a sample only when the switch is on at both ends and the object could be made.
uint32_t switchOff(uint64_t, const void*) { return g_fibGetDbOperTickCost = 0; }
uint32_t switchOn(uint64_t, const void*) { return g_fibGetDbOperTickCost = 1; }
uint32_t nothing(uint64_t, const void*) { return 0; }

TEST_F(OpsTest, timed_update_takes_one_sample_after_the_release) {
  g_fibGetDbOperTickCost = 1;
  EXPECT_EQ(update(kToy, &item, nothing, {.timed = true}), 0u);
  EXPECT_EQ(g_fibDbOperTickCost.count, 1u);
  EXPECT_GE(g_fibDbOperTickCost.latest, 0.0);
  EXPECT_EQ(platform.calls.back(), "db_release_nhp_object(#1)");
}

TEST_F(OpsTest, untimed_update_takes_no_sample) {
  g_fibGetDbOperTickCost = 1;
  EXPECT_EQ(update(kToy, &item, nothing), 0u);
  EXPECT_EQ(g_fibDbOperTickCost.count, 0u);
}

TEST_F(OpsTest, timed_update_with_the_switch_off_takes_no_sample) {
  EXPECT_EQ(update(kToy, &item, nothing, {.timed = true}), 0u);
  EXPECT_EQ(g_fibDbOperTickCost.count, 0u);
}

TEST_F(OpsTest, timed_update_with_the_switch_turned_meanwhile_takes_no_sample) {
  EXPECT_EQ(update(kToy, &item, switchOn, {.timed = true}), 0u);
  EXPECT_EQ(update(kToy, &item, switchOff, {.timed = true}), 0u);
  EXPECT_EQ(g_fibDbOperTickCost.count, 0u);
}

TEST_F(OpsTest, timed_update_whose_object_fails_takes_no_sample) {
  g_fibGetDbOperTickCost = 1;
  platform.fail("db_create_nhp_obj", 9);
  EXPECT_EQ(update(kToy, &item, nothing, {.timed = true}), 9u);
  EXPECT_EQ(g_fibDbOperTickCost.count, 0u);
}

// A Text is checked where it is written: the wrong number or type of conversions is no constant expression.
static_assert(Text<uint32_t, uint32_t>::fits("ret: %d, key = 0x%x"));
static_assert(!Text<uint32_t>::fits("ret: none"));
static_assert(!Text<uint32_t>::fits("ret: %s"));
static_assert(!Text<>::fits("ret: %d"));
static_assert(!Text<uint32_t>::fits("ret: %d, %d"));
static_assert(Text<uint64_t>::fits("count=%lu") && !Text<uint32_t>::fits("count=%lu"));
static_assert(!Text<uint32_t>::fits("ret: %"));

}  // namespace
}  // namespace fibdb::test
