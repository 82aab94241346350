// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/bad_handles_test.cc: every exported function that takes an object or an iterator, given none, one
// that has ended, or something invented: it answers, and nothing else happens.
#include <algorithm>
#include <utility>

#include "platform/objdb.h"
#include "tests/end_to_end/engine_fixture.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {

// No row that needs these is run here.
uint64_t connectionOfRows() { return 0; }
void giveBackBatchObject(uint64_t) {}

namespace {

// Rows of functions that stage on the object of their caller, or read from it: they make none themselves.
bool takesObject(const Exported& row) {
  return !row.rules.empty() && std::ranges::all_of(row.rules, [](const Rule& rule) {
    return rule.call.starts_with("db_set_") || rule.call.starts_with("db_get_") || rule.call == "memcpy_s" ||
           rule.call == "db_create_child_node";
  }) && std::ranges::any_of(row.rules, [](const Rule& rule) { return rule.call.starts_with("db_"); });
}

// A step that leaves its item to nobody, and the way to give the iterator back.
template <class Iterator>
struct Stepping {
  const char* name;
  uint32_t (*next)(Iterator* iterator);
  void (*release)(Iterator* iterator);
};

template <auto kNext, class Iterator, class Item>
uint32_t nextInto(uint32_t (*)(Iterator*, Item*), Iterator* iterator) {
  Item item{};
  return kNext(iterator, &item);
}
template <auto kNext, auto kRelease, class Iterator>
constexpr Stepping<Iterator> steppingOf(const char* name) {
  return {name, [](Iterator* iterator) { return nextInto<kNext>(kNext, iterator); },
          [](Iterator* iterator) { static_cast<void>(kRelease(iterator)); }};
}

#define STEPPING(next, release) steppingOf<next, release, FibDbIterator>(#next)
constexpr Stepping<FibDbIterator> kSteppings[] = {
    STEPPING(FIB_DB_GetNextEcmpCfg, FIB_DB_ReleaseEcmpCfgIterator),
    STEPPING(FIB_DB_GetNextGlbCfg, FIB_DB_ReleaseGlbCfgIterator),
    STEPPING(FIB_DB_GetNextNhpEntry, FIB_DB_ReleaseNhpIterator),
    STEPPING(FIB_DB_GetNextNhpStdEntry, FIB_DB_ReleaseNhpStdIterator),
    STEPPING(FIB_DB_GetNextNhpLlaEntry, FIB_DB_ReleaseNhpLlaIterator),
    STEPPING(FIB_DB_GetNextNhpVxlanItem, FIB_DB_ReleaseNhpVxlanIterator),
    STEPPING(FIB_DB_GetNextNhpGroup, FIB_DB_ReleaseNhpGroupIterator),
    STEPPING(FIB_DB_GetNextNhpGroupNode, FIB_DB_ReleaseNhpGrpNodeIterator),
    STEPPING(FIB_DB_GetNextNhpVpnSidEntry, FIB_DB_ReleaseNhpVpnSidIterator),
    STEPPING(FIB_DB_GetNextNhp4ExtSrv6TeEntry, FIB_DB_ReleaseNhp4ExtSrv6TeIterator),
    STEPPING(FIB_DB_GetNextIp4forward, FIB_DB_ReleaseIp4forwardIterator),
    STEPPING(FIB_DB_GetNextIp4forward, FIB_DB_ReleaseIp4forwardByNhpGrpId),
    STEPPING(FIB_DB_GetNextVrf, FIB_DB_ReleaseVrfIterator),
};
#undef STEPPING

#define STEPPING(next, release)                                                      \
  {#next, [](void* iterator) { return nextInto<next>(next, iterator); }, nullptr}, { \
#release, [](void* iterator) { return release(iterator); }, nullptr              \
  }
constexpr Stepping<void> kServiceCalls[] = {
    STEPPING(FIB_DB_GetNextNhpExtEntry, FIB_DB_ReleaseNhpExtIterator),
    STEPPING(FIB_DB_GetNextNhpExtLabel, FIB_DB_ReleaseNhpExtLabelIterator),
    STEPPING(FIB_DB_GetNextArGroupAttrEntry, FIB_DB_ReleaseArGroupAttrIterator),
    STEPPING(FIB_DB_GetNextPriAttrEntry, FIB_DB_ReleasePriAttrIterator),
    STEPPING(FIB_DB_GetNextDodRuleEntry, FIB_DB_ReleaseDodRuleIterator),
    STEPPING(FIB_DB_GetNextDodAgingEntry, FIB_DB_ReleaseDodAgingIterator),
    STEPPING(FIB_DB_GetNextSpecialEntry, FIB_DB_ReleaseSpecialIpIterator),
    STEPPING(FIB_DB_GetNextSpecialIpSubEntry, FIB_DB_ReleaseSpecialIpSubIterator),
    STEPPING(FIB_DB_GetNextForceFragEntry, FIB_DB_ReleaseIpForceFragIterator),
    STEPPING(FIB_DB_GetNextVirtualMethHostEntry, FIB_DB_ReleaseVirtualMethHostIterator),
};
#undef STEPPING

class BadHandles : public EngineTest {
 protected:
  BadHandles() : random_(seedOfToday()) {}
  ~BadHandles() override {
    callersObject = 1;
    logged.clear();  // refusals are said
  }

  // Zero, all ones, an object and an iterator that have ended, a connection, and invented ones.
  std::vector<uint64_t> words() {
    uint64_t object = 0, iterator = 0, connection = 0;
    EXPECT_EQ(db_create_nhp_obj(FIB_DB_OBJ_OP_SCAN, 0, &object), 0u);
    EXPECT_EQ(db_create_root_iter(object, nullptr, nullptr, &iterator), 0u);
    EXPECT_EQ(db_release_nhp_object(object), 0u);
    EXPECT_EQ(db_connect(1, 1, &connection), 0u);
    EXPECT_EQ(db_disconnect(connection), 0u);
    std::vector<uint64_t> words{0, UINT64_MAX, object, iterator, connection};
    for (int i = 0; i < 20; ++i) words.push_back(random_() >> random_() % 32 & ~(uint64_t{1} << 63));
    return words;
  }

 private:
  std::mt19937_64 random_;
};

TEST_F(BadHandles, of_objects_are_answered_as_a_failing_call_on_them_is) {
  int functions = 0;
  for (const Exported& row : allRows()) {
    if (!takesObject(row)) continue;
    ++functions;
    std::vector<uint32_t> statuses;
    for (const Rule& rule : row.rules) statuses.push_back(rule.gives(DB_ERR_BAD_HANDLE));
    for (const uint64_t word : words()) {
      callersObject = word;
      EXPECT_THAT(statuses, testing::Contains(row.run())) << row.name << std::hex << ' ' << word;
    }
  }
  EXPECT_GT(functions, 100);
}

TEST_F(BadHandles, of_batch_objects_are_refused) {
  const FibDbIp4forwardItem route = routeOf(0x0A000000, 8);
  for (const uint64_t word : words()) {
    uint64_t object = word, argument = 0;
    const uint32_t unset = word == 0 ? uint32_t{FIB_DB_ERR} : uint32_t{DB_ERR_BAD_HANDLE};
    EXPECT_EQ(FIB_DB_BatchAddOperWriteIp4forward(&object, &route, 0), unset);
    EXPECT_EQ(FIB_DB_BatchAddOperWriteIp4forward(&object, &route, 1), unset);
    EXPECT_EQ(FIB_DB_BatchAddOperRemoveIp4forward(&object, &route), unset);
    EXPECT_EQ(FIB_DB_WriteIp4forward(word, &route), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(FIB_DB_UpdateIp4forward(word, &route), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(FIB_DB_BatchExecuteAsync(&object, &argument), 1u);
  }
}

TEST_F(BadHandles, of_objects_and_iterators_that_reads_are_given_are_refused) {
  FibDbNhpGroupNodeItem members[2];
  FibDbNhpExtRow row;
  for (const uint64_t word : words()) {
    uint32_t count = 77;
    EXPECT_EQ(FIB_DB_ReadNhpPriGroupNodeByNhpIndex(word, 1, 2, &count, members), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(FIB_DB_ReadNhpBakGroupNodeByNhpIndex(word, 1, 2, &count, members), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(count, 77u);
    EXPECT_EQ(FIB_DB_ReadNhpExtByKIterNext(word, word, &row), DB_ERR_BAD_HANDLE);
  }
}

TEST_F(BadHandles, in_iterators_end_their_steps_and_their_release_gives_back_the_block) {
  for (const Stepping<FibDbIterator>& stepping : kSteppings) {
    for (const uint64_t object : words()) {
      for (const uint64_t root : words()) {
        auto* const iterator = static_cast<FibDbIterator*>(FIB_DB_Malloc(sizeof(FibDbIterator)));
        *iterator = {};
        iterator->obj = object;
        iterator->rootIter = root;
        EXPECT_EQ(stepping.next(iterator), 1u) << stepping.name << std::hex << ' ' << object << ' ' << root;
        stepping.release(iterator);
      }
    }
  }
}

TEST_F(BadHandles, of_no_iterator_at_all_are_answered) {
  for (const Stepping<FibDbIterator>& stepping : kSteppings) {
    EXPECT_EQ(stepping.next(nullptr), 1u) << stepping.name;
    stepping.release(nullptr);
  }
}

TEST_F(BadHandles, of_the_services_iterators_are_refused) {
  for (const Stepping<void>& call : kServiceCalls) {
    const bool releases = std::string_view(call.name).starts_with("FIB_DB_Release");
    for (const uint64_t word : words()) {
      const uint32_t refused = word != 0 ? uint32_t{DB_ERR_BAD_HANDLE} : releases ? 0u : uint32_t{FIB_DB_ERR};
      EXPECT_EQ(call.next(reinterpret_cast<void*>(static_cast<uintptr_t>(word))), refused) << call.name << ' ' << word;
    }
  }
}

}  // namespace
}  // namespace fibdb::test::fault
