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

TEST_F(OpsTest, updateWhole_whose_fields_fail_does_not_update) {
  platform.fail("db_set_nhp_flags", 9);
  EXPECT_EQ(updateWhole(kToy, &item), 1u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_obj(1)", "db_set_nhp_flags(#1, 5)", "db_release_nhp_object(#1)"));
}

TEST_F(OpsTest, updateWhole_settles_the_code) {
  platform.fail("db_update_obj", 7);
  EXPECT_EQ(updateWhole(kToy, &item), 7u);
  EXPECT_TRUE(countedOnce(FIB_DB_TABLE_NHP_STD, FIB_DB_OPER_UPDATE));
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
