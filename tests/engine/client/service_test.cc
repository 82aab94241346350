// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/client/service_test.cc: the table service, over the functions registered for a table.
#include <atomic>
#include <ctime>
#include <set>
#include <thread>

#include "engine_fixture.h"

namespace fibdb::testing {
namespace {

constexpr FibDbTableDesc kRoutes{"ip4forward",
                                 db_create_ip4forward_obj,
                                 db_release_ip4forward_object,
                                 db_reset_ip4forward_object,
                                 db_set_ip4forward_all_fields,
                                 0,
                                 0};

Row group(uint32_t word1, uint32_t word2, uint8_t byte) {
  Row row(TableId::ar_group_attr);
  row.set("keyWord1", word1).set("keyWord2", word2).set("keyByte", byte);
  return row;
}

Key groupKey(uint32_t word1, uint32_t word2, uint8_t byte) {
  return makeKey(TableId::ar_group_attr, kArGroupKey, {word1, word2, byte});
}
Key wordsKey(uint32_t word1, uint32_t word2) {
  return makeKey(TableId::ar_group_attr, kArGroupByWords, {word1, word2});
}

uint32_t create(const Row& row, uint32_t id = kArGroupId) {
  const FibDbUfibData entry{const_cast<void*>(row.data()), row.length()};
  return UFIB_DB_Create(id, &entry);
}

uint32_t read(const Key& key, Row& row, decltype(&UFIB_DB_Read) call = UFIB_DB_Read) {
  const FibDbUfibKey request = key.request();
  FibDbUfibData entry{row.data(), row.length()};
  return call(kArGroupId, &request, &entry);
}

uint32_t stageSmoothId(const FibDbUfibData* context, uint64_t object) {
  return db_set_ar_group_attr_table_smooth_id(object, *static_cast<const uint32_t*>(context->data));
}

class Registration : public EngineTest {};
class Service : public EngineTest {
 protected:
  void SetUp() override {
    EngineTest::SetUp();
    ASSERT_EQ(UFIB_DB_TableRegister(kArGroupId, &kArGroup), 0u);
  }
};

TEST_F(Registration, of_the_same_name_again_is_fine_and_of_another_is_not) {
  EXPECT_EQ(UFIB_DB_TableRegister(kArGroupId, &kArGroup), 0u);
  EXPECT_EQ(UFIB_DB_TableRegister(kArGroupId, &kArGroup), 0u);
  EXPECT_EQ(UFIB_DB_TableRegister(kArGroupId, &kRoutes), DB_ERR_ALREADY_REGISTERED);
  EXPECT_EQ(UFIB_DB_TableRegister(12, &kRoutes), 0u);
}

TEST_F(Registration, covers_ids_0_to_63) {
  EXPECT_EQ(UFIB_DB_TableRegister(0, &kArGroup), 0u);
  EXPECT_EQ(UFIB_DB_TableRegister(63, &kRoutes), 0u);
  EXPECT_EQ(UFIB_DB_TableRegister(64, &kRoutes), DB_ERR_BAD_DESCRIPTOR);
  EXPECT_EQ(UFIB_DB_TableRegister(UINT32_MAX, &kRoutes), DB_ERR_BAD_DESCRIPTOR);
}

TEST_F(Registration, needs_a_whole_descriptor) {
  EXPECT_EQ(UFIB_DB_TableRegister(kArGroupId, nullptr), DB_ERR_NULL_ARGUMENT);
  const auto refused = [](auto&& spoil) {
    FibDbTableDesc desc = kArGroup;
    spoil(desc);
    EXPECT_EQ(UFIB_DB_TableRegister(kArGroupId, &desc), DB_ERR_BAD_DESCRIPTOR);
  };
  const std::string longName(64, 'n');
  refused([](FibDbTableDesc& desc) { desc.name = nullptr; });
  refused([&](FibDbTableDesc& desc) { desc.name = longName.c_str(); });
  refused([](FibDbTableDesc& desc) { desc.create = nullptr; });
  refused([](FibDbTableDesc& desc) { desc.release = nullptr; });
  refused([](FibDbTableDesc& desc) { desc.reset = nullptr; });
  refused([](FibDbTableDesc& desc) { desc.setAllFields = nullptr; });
  EXPECT_EQ(create(group(1, 2, 3)), DB_ERR_NOT_REGISTERED);
}

TEST_F(Registration, copies_the_descriptor_and_its_name) {
  {
    std::string name = "ar_group_attr";
    FibDbTableDesc desc = kArGroup;
    desc.name = name.c_str();
    ASSERT_EQ(UFIB_DB_TableRegister(kArGroupId, &desc), 0u);
    name.assign(name.size(), 'x');
    desc = {};
  }
  EXPECT_EQ(UFIB_DB_TableRegister(kArGroupId, &kArGroup), 0u);
  EXPECT_EQ(create(group(1, 2, 3)), 0u);
}

TEST_F(Registration, is_needed_by_every_call) {
  const Key key = groupKey(1, 2, 3);
  const FibDbUfibKey request = key.request();
  Row row(TableId::ar_group_attr);
  FibDbUfibData entry{row.data(), row.length()};
  uint32_t count = 0;
  for (const uint32_t id : {kArGroupId, 63u, 64u, UINT32_MAX}) {
    EXPECT_EQ(UFIB_DB_Create(id, &entry), DB_ERR_NOT_REGISTERED);
    EXPECT_EQ(UFIB_DB_Read(id, &request, &entry), DB_ERR_NOT_REGISTERED);
    EXPECT_EQ(UFIB_DB_ReadUniqueHash(id, &request, &entry), DB_ERR_NOT_REGISTERED);
    EXPECT_EQ(UFIB_DB_Update(id, &request, &entry, stageSmoothId), DB_ERR_NOT_REGISTERED);
    EXPECT_EQ(UFIB_DB_Delete(id, &request), DB_ERR_NOT_REGISTERED);
    EXPECT_EQ(UFIB_DB_CountByKey(id, &request, &count), DB_ERR_NOT_REGISTERED);
    EXPECT_EQ(UFIB_DB_CreateIterator(id, FIB_DB_NO_PROPERTY), nullptr);
    EXPECT_EQ(UFIB_DB_CreateIteratorByKey(id, FIB_DB_NO_PROPERTY, &request), nullptr);
    EXPECT_EQ(UFIB_DB_GetNextEntry(id, &entry, &entry), DB_ERR_NOT_REGISTERED);
    EXPECT_EQ(UFIB_DB_ReleaseIterator(id, &entry), DB_ERR_NOT_REGISTERED);
  }
}

TEST_F(Service, a_created_record_is_read_by_its_primary_and_by_a_secondary_key) {
  const Row row = group(1, 2, 3).set("table_smooth_id", 9);
  ASSERT_EQ(create(row), 0u);
  Row found(TableId::ar_group_attr);
  ASSERT_EQ(read(groupKey(1, 2, 3), found), 0u);
  EXPECT_EQ(found, row);
  Row again(TableId::ar_group_attr);
  ASSERT_EQ(read(wordsKey(1, 2), again, UFIB_DB_ReadUniqueHash), 0u);
  EXPECT_EQ(again, row);
  EXPECT_EQ(read(groupKey(1, 2, 4), found), DB_ERR_NO_DATA);
  EXPECT_EQ(read(wordsKey(2, 1), found, UFIB_DB_ReadUniqueHash), DB_ERR_NO_DATA);
}

TEST_F(Service, a_second_create_is_refused_and_replaces_nothing) {
  ASSERT_EQ(create(group(1, 2, 3).set("attrWord1", 10)), 0u);
  EXPECT_EQ(create(group(1, 2, 3).set("attrWord1", 20)), DB_ERR_EXISTS);
  Row row(TableId::ar_group_attr);
  ASSERT_EQ(read(groupKey(1, 2, 3), row), 0u);
  EXPECT_EQ(row.get("attrWord1"), 10u);
}

TEST_F(Service, of_many_creators_of_one_key_exactly_one_wins) {
  constexpr uint32_t kKeys = 200;
  constexpr int kCreators = 4;
  std::atomic<uint32_t> won{0};
  std::vector<std::thread> creators;
  for (int i = 0; i < kCreators; ++i) {
    creators.emplace_back([&won] {
      for (uint32_t key = 0; key < kKeys; ++key) {
        const uint32_t code = create(group(key, 0, 0));
        if (code == 0) ++won;
        EXPECT_TRUE(code == 0 || code == DB_ERR_EXISTS) << code;
      }
    });
  }
  for (std::thread& creator : creators) creator.join();
  EXPECT_EQ(won, kKeys);
}

TEST_F(Service, entries_and_buffers_have_the_length_of_the_row) {
  Row row = group(1, 2, 3);
  const Key key = groupKey(1, 2, 3);
  const FibDbUfibKey request = key.request();
  for (const uint32_t length : {0u, 119u, 121u, 136u}) {
    FibDbUfibData entry{row.data(), length};
    EXPECT_EQ(UFIB_DB_Create(kArGroupId, &entry), DB_ERR_BAD_LENGTH);
    EXPECT_EQ(UFIB_DB_Read(kArGroupId, &request, &entry), DB_ERR_BAD_LENGTH);
  }
  FibDbUfibData nowhere{nullptr, row.length()};
  EXPECT_EQ(UFIB_DB_Create(kArGroupId, &nowhere), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(UFIB_DB_Read(kArGroupId, &request, &nowhere), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(UFIB_DB_Create(kArGroupId, nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(UFIB_DB_Read(kArGroupId, &request, nullptr), DB_ERR_NULL_ARGUMENT);
}

TEST_F(Service, key_requests_must_be_whole_and_consistent) {
  const Key key = groupKey(1, 2, 3);
  ASSERT_EQ(create(group(1, 2, 3)), 0u);
  const auto expect = [](uint32_t code, const FibDbUfibKey* request) {
    Row row(TableId::ar_group_attr);
    FibDbUfibData entry{row.data(), row.length()};
    uint32_t count = 0;
    EXPECT_EQ(UFIB_DB_Read(kArGroupId, request, &entry), code);
    EXPECT_EQ(UFIB_DB_ReadUniqueHash(kArGroupId, request, &entry), code);
    EXPECT_EQ(UFIB_DB_Update(kArGroupId, request, &entry, stageSmoothId), code);
    EXPECT_EQ(UFIB_DB_Delete(kArGroupId, request), code);
    EXPECT_EQ(UFIB_DB_CountByKey(kArGroupId, request, &count), code);
    EXPECT_EQ(UFIB_DB_CreateIteratorByKey(kArGroupId, FIB_DB_NO_PROPERTY, request), nullptr);
  };
  expect(DB_ERR_NULL_ARGUMENT, nullptr);
  FibDbUfibKey request = key.request();
  request.desc = nullptr;
  expect(DB_ERR_NULL_ARGUMENT, &request);
  request = key.request();
  request.key = nullptr;
  expect(DB_ERR_NULL_ARGUMENT, &request);
  request = key.request();
  request.keyLen = 8;
  expect(DB_ERR_BAD_LENGTH, &request);
  request = key.request();
  request.descLen = 4;
  expect(DB_ERR_BAD_LENGTH, &request);
}

TEST_F(Service, an_update_changes_what_the_setter_stages) {
  ASSERT_EQ(create(group(1, 2, 3).set("attrWord1", 7)), 0u);
  const Key key = groupKey(1, 2, 3);
  const FibDbUfibKey request = key.request();
  uint32_t smoothId = 42;
  const FibDbUfibData context{&smoothId, sizeof smoothId};
  ASSERT_EQ(UFIB_DB_Update(kArGroupId, &request, &context, stageSmoothId), 0u);
  Row row(TableId::ar_group_attr);
  ASSERT_EQ(read(key, row), 0u);
  EXPECT_EQ(row, group(1, 2, 3).set("attrWord1", 7).set("table_smooth_id", 42));
  const Key missing = groupKey(9, 9, 9);
  const FibDbUfibKey missingRequest = missing.request();
  EXPECT_EQ(UFIB_DB_Update(kArGroupId, &missingRequest, &context, stageSmoothId), DB_ERR_NO_DATA);
  EXPECT_EQ(UFIB_DB_Update(kArGroupId, &request, &context, nullptr), DB_ERR_NULL_ARGUMENT);
}

TEST_F(Service, an_update_whose_setter_fails_changes_nothing_and_returns_its_code) {
  ASSERT_EQ(create(group(1, 2, 3)), 0u);
  const Key key = groupKey(1, 2, 3);
  const FibDbUfibKey request = key.request();
  const FibDbUfibSetter failing = [](const FibDbUfibData* context, uint64_t object) -> uint32_t {
    EXPECT_EQ(context, nullptr);
    EXPECT_EQ(db_set_ar_group_attr_table_smooth_id(object, 5), 0u);
    return 7;
  };
  EXPECT_EQ(UFIB_DB_Update(kArGroupId, &request, nullptr, failing), 7u);
  Row row(TableId::ar_group_attr);
  ASSERT_EQ(read(key, row), 0u);
  EXPECT_EQ(row.get("table_smooth_id"), 0u);
}

TEST_F(Service, a_delete_removes_the_record_and_a_second_one_is_15005) {
  ASSERT_EQ(create(group(1, 2, 3)), 0u);
  const Key key = groupKey(1, 2, 3);
  const FibDbUfibKey request = key.request();
  EXPECT_EQ(UFIB_DB_Delete(kArGroupId, &request), 0u);
  EXPECT_EQ(UFIB_DB_Delete(kArGroupId, &request), DB_ERR_NO_DATA);
  EXPECT_EQ(create(group(1, 2, 3)), 0u);
}

TEST_F(Service, counts_the_records_of_a_key) {
  for (uint8_t i = 0; i < 5; ++i) ASSERT_EQ(create(group(1, 2, i)), 0u);
  ASSERT_EQ(create(group(1, 3, 0)), 0u);
  const Key key = wordsKey(1, 2);
  const FibDbUfibKey request = key.request();
  uint32_t count = 0;
  ASSERT_EQ(UFIB_DB_CountByKey(kArGroupId, &request, &count), 0u);
  EXPECT_EQ(count, 5u);
  EXPECT_EQ(UFIB_DB_CountByKey(kArGroupId, &request, nullptr), DB_ERR_NULL_ARGUMENT);
}

TEST_F(Service, iterators_return_entries_until_110012) {
  for (uint8_t i = 0; i < 5; ++i) ASSERT_EQ(create(group(1, i / 3u, i)), 0u);
  Row row(TableId::ar_group_attr);
  FibDbUfibData entry{row.data(), row.length()};
  const auto keyBytes = [&](void* iter) {
    std::multiset<uint64_t> seen;
    while (UFIB_DB_GetNextEntry(kArGroupId, iter, &entry) == 0) seen.insert(row.get("keyByte"));
    EXPECT_EQ(UFIB_DB_GetNextEntry(kArGroupId, iter, &entry), DB_ERR_ITER_END);
    EXPECT_EQ(UFIB_DB_ReleaseIterator(kArGroupId, iter), 0u);
    return seen;
  };
  // This table has no vr_id, so any property is ignored.
  EXPECT_EQ(keyBytes(UFIB_DB_CreateIterator(kArGroupId, FIB_DB_NO_PROPERTY)), (std::multiset<uint64_t>{0, 1, 2, 3, 4}));
  EXPECT_EQ(keyBytes(UFIB_DB_CreateIterator(kArGroupId, 5)), (std::multiset<uint64_t>{0, 1, 2, 3, 4}));
  const Key key = wordsKey(1, 1);
  const FibDbUfibKey request = key.request();
  EXPECT_EQ(keyBytes(UFIB_DB_CreateIteratorByKey(kArGroupId, FIB_DB_NO_PROPERTY, &request)),
            (std::multiset<uint64_t>{3, 4}));
}

TEST_F(Service, a_step_with_a_buffer_that_cannot_take_the_entry_loses_none) {
  for (uint8_t i = 0; i < 3; ++i) ASSERT_EQ(create(group(1, 2, i)), 0u);
  Row row(TableId::ar_group_attr);
  FibDbUfibData entry{row.data(), row.length()}, shorter{row.data(), 119}, longer{row.data(), 121},
      nowhere{nullptr, 120};
  void* iter = UFIB_DB_CreateIterator(kArGroupId, FIB_DB_NO_PROPERTY);
  std::set<uint64_t> seen;
  for (int step = 0; step < 3; ++step) {
    EXPECT_EQ(UFIB_DB_GetNextEntry(kArGroupId, iter, nullptr), DB_ERR_NULL_ARGUMENT);
    EXPECT_EQ(UFIB_DB_GetNextEntry(kArGroupId, iter, &nowhere), DB_ERR_NULL_ARGUMENT);
    EXPECT_EQ(UFIB_DB_GetNextEntry(kArGroupId, iter, &shorter), DB_ERR_BAD_LENGTH);
    EXPECT_EQ(UFIB_DB_GetNextEntry(kArGroupId, iter, &longer), DB_ERR_BAD_LENGTH);
    ASSERT_EQ(UFIB_DB_GetNextEntry(kArGroupId, iter, &entry), 0u);
    seen.insert(row.get("keyByte"));
  }
  EXPECT_EQ(seen, (std::set<uint64_t>{0, 1, 2}));
  EXPECT_EQ(UFIB_DB_GetNextEntry(kArGroupId, iter, &shorter), DB_ERR_BAD_LENGTH);
  EXPECT_EQ(UFIB_DB_GetNextEntry(kArGroupId, iter, &entry), DB_ERR_ITER_END);
  EXPECT_EQ(UFIB_DB_ReleaseIterator(kArGroupId, iter), 0u);
}

TEST_F(Service, an_iterator_property_keeps_one_vr_where_the_table_has_them) {
  ASSERT_EQ(UFIB_DB_TableRegister(40, &kRoutes), 0u);
  for (uint32_t i = 0; i < 9; ++i) ASSERT_EQ(create(route(i << 8, 24).set("vr_id", i % 2), 40), 0u);
  Row row(TableId::ip4forward);
  FibDbUfibData entry{row.data(), row.length()};
  void* iter = UFIB_DB_CreateIterator(40, 1);
  ASSERT_NE(iter, nullptr);
  int seen = 0;
  while (UFIB_DB_GetNextEntry(40, iter, &entry) == 0) {
    EXPECT_EQ(row.get("vr_id"), 1u);
    ++seen;
  }
  EXPECT_EQ(seen, 4);
  EXPECT_EQ(UFIB_DB_GetNextEntry(kArGroupId, iter, &entry), DB_ERR_BAD_HANDLE) << "an iterator of another table";
  EXPECT_EQ(UFIB_DB_ReleaseIterator(kArGroupId, iter), DB_ERR_BAD_HANDLE);
  EXPECT_EQ(UFIB_DB_ReleaseIterator(40, iter), 0u);
}

TEST_F(Service, a_stale_or_foreign_iterator_is_an_error) {
  void* iter = UFIB_DB_CreateIterator(kArGroupId, FIB_DB_NO_PROPERTY);
  ASSERT_NE(iter, nullptr);
  EXPECT_EQ(UFIB_DB_ReleaseIterator(kArGroupId, iter), 0u);
  EXPECT_EQ(UFIB_DB_ReleaseIterator(kArGroupId, iter), DB_ERR_BAD_HANDLE);
  void* again = UFIB_DB_CreateIterator(kArGroupId, FIB_DB_NO_PROPERTY);
  EXPECT_NE(again, iter);
  EXPECT_EQ(UFIB_DB_ReleaseIterator(kArGroupId, iter), DB_ERR_BAD_HANDLE) << "its slot serves another iterator now";
  EXPECT_EQ(UFIB_DB_ReleaseIterator(kArGroupId, &again), DB_ERR_BAD_HANDLE) << "any other pointer";
  EXPECT_EQ(UFIB_DB_ReleaseIterator(kArGroupId, again), 0u);
}

// The sanitizer of threads watches, too: what the loser reads may be another iterator's by then.
TEST_F(Service, of_two_releases_of_one_iterator_beside_a_creator_one_is_refused) {
  constexpr int kIterators = 2000;
  std::atomic<void*> offered{nullptr};
  std::atomic<bool> done{false};
  std::atomic<int> accepted{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&] {
      while (!done) {
        void* iter = offered.load();
        if (iter == nullptr) {
          std::this_thread::yield();
          continue;
        }
        const uint32_t code = UFIB_DB_ReleaseIterator(kArGroupId, iter);
        EXPECT_TRUE(code == 0 || code == DB_ERR_BAD_HANDLE) << code;
        if (code != 0) continue;
        ++accepted;
        offered.compare_exchange_strong(iter, nullptr);
      }
    });
  }
  for (int i = 0; i < kIterators; ++i) {
    void* const iter = UFIB_DB_CreateIterator(kArGroupId, FIB_DB_NO_PROPERTY);
    EXPECT_NE(iter, nullptr);
    for (void* nothing = nullptr; !offered.compare_exchange_weak(nothing, iter); nothing = nullptr) {
      std::this_thread::yield();
    }
  }
  while (offered.load() != nullptr) std::this_thread::yield();
  done = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(accepted, kIterators);
}

TEST_F(Service, an_iterator_that_cannot_be_made_is_null) {
  const Key unknown{{0x07090004, 0, 0}, std::string(4, '\0')};
  const FibDbUfibKey request = unknown.request();
  EXPECT_EQ(UFIB_DB_CreateIteratorByKey(kArGroupId, FIB_DB_NO_PROPERTY, &request), nullptr);
  Row row(TableId::ar_group_attr);
  FibDbUfibData entry{row.data(), row.length()};
  EXPECT_EQ(UFIB_DB_GetNextEntry(kArGroupId, nullptr, &entry), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(UFIB_DB_ReleaseIterator(kArGroupId, nullptr), DB_ERR_NULL_ARGUMENT);
  void* iter = UFIB_DB_CreateIterator(kArGroupId, FIB_DB_NO_PROPERTY);
  EXPECT_EQ(UFIB_DB_GetNextEntry(kArGroupId, iter, nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(UFIB_DB_ReleaseIterator(kArGroupId, iter), 0u);
}

TEST_F(Service, system_time_is_in_microseconds_since_the_epoch) {
  const uint64_t before = static_cast<uint64_t>(std::time(nullptr)) * 1'000'000;
  const uint64_t now = UFIB_DB_GetSysTime();
  const uint64_t after = (static_cast<uint64_t>(std::time(nullptr)) + 1) * 1'000'000;
  // time() may read a coarser clock that is behind by a tick.
  EXPECT_GE(now, before);
  EXPECT_LE(now, after + 1'000'000);
}

}  // namespace
}  // namespace fibdb::testing
