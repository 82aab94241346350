// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/client/client_test.cc: objects and their handles; writes, updates, removals, reads and counts.
#include <algorithm>

#include "engine_fixture.h"

namespace fibdb::testing {
namespace {

class Handles : public EngineTest {};
class Fields : public EngineTest {};
class Writes : public EngineTest {};
class Updates : public EngineTest {};
class Removals : public EngineTest {};
class Reads : public EngineTest {};
class Counts : public EngineTest {};

// A handle that stands for no live object of the table is refused, whatever it is, and nothing else happens.

TEST_F(Handles, create_hands_out_a_non_zero_handle_and_release_takes_it_once) {
  uint64_t object = 0;
  ASSERT_EQ(db_create_nhp_obj(FIB_DB_OBJ_OP_WRITE, 0, &object), 0u);
  EXPECT_NE(object, 0u);
  EXPECT_EQ(db_release_nhp_object(object), 0u);
  EXPECT_EQ(db_release_nhp_object(object), DB_ERR_BAD_HANDLE);
}

TEST_F(Handles, zero_stale_and_invented_handles_are_refused_by_every_call) {
  uint64_t stale = 0;
  ASSERT_EQ(db_create_ip4forward_obj(FIB_DB_OBJ_OP_SCAN, 0, &stale), 0u);
  uint64_t staleIter = 0;
  ASSERT_EQ(db_create_root_iter(stale, nullptr, nullptr, &staleIter), 0u);
  ASSERT_EQ(db_release_ip4forward_object(stale), 0u);
  const Key key = routeKey(0, 0);
  Row row(TableId::ip4forward);
  uint64_t out = 0;
  for (const uint64_t bad : {uint64_t{0}, stale, staleIter, uint64_t{1}, uint64_t{0xFFFFFFFF}, UINT64_MAX}) {
    EXPECT_EQ(db_release_ip4forward_object(bad), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_reset_ip4forward_object(bad, FIB_DB_OBJ_OP_WRITE), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_reset_ip4forward_batch_object(bad, FIB_DB_OBJ_OP_WRITE), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_set_ip4forward_all_fields(bad, row.data(), row.length()), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_get_ip4forward_all_fields(bad, row.data(), row.length()), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_set_ip4forward_table_smooth_id(bad, 1), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_write_obj(bad), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_update_obj(bad, &key.desc, key.data()), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_remove_obj(bad, &key.desc, key.data()), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_read_obj(bad, &key.desc, key.data()), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_read_obj_with_buf(bad, nullptr, nullptr, row.data(), row.length()), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_get_table_record_count(bad, &out), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_get_table_record_count_by_key(bad, &key.desc, key.data(), &out), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_create_root_iter(bad, nullptr, nullptr, &out), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_create_stmt(bad, 2, "ip4forward", 0), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_append_stmt_condition(bad, nullptr, 0, 6, nullptr, 0, &key.desc, key.data(), key.data()),
              DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_create_root_iterator_by_filter(bad, &out), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_create_child_node(bad, 0, "node", 0, 0, &out), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_batch_add_oper(bad, nullptr, nullptr), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_batch_exec_async(bad, 0), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_create_ip4forward_obj_specific_conn(FIB_DB_OBJ_OP_BATCH, bad, &out), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_disconnect(bad), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_root_iterator_next(bad), DB_ERR_BAD_HANDLE);
    EXPECT_EQ(db_set_root_iterator_property(bad, 0, &out, 4), DB_ERR_BAD_HANDLE);
  }
}

TEST_F(Handles, handles_of_another_sort_are_refused) {
  RouteObject object(FIB_DB_OBJ_OP_SCAN);
  uint64_t iter = 0;
  ASSERT_EQ(db_create_root_iter(object, nullptr, nullptr, &iter), 0u);
  uint64_t connection = 0;
  ASSERT_EQ(db_connect(0, 0, &connection), 0u);
  EXPECT_EQ(db_root_iterator_next(object), DB_ERR_BAD_HANDLE);
  EXPECT_EQ(db_root_iterator_next(connection), DB_ERR_BAD_HANDLE);
  EXPECT_EQ(db_release_ip4forward_object(iter), DB_ERR_BAD_HANDLE);
  EXPECT_EQ(db_release_ip4forward_object(connection), DB_ERR_BAD_HANDLE);
  EXPECT_EQ(db_disconnect(object), DB_ERR_BAD_HANDLE);
  EXPECT_EQ(db_disconnect(iter), DB_ERR_BAD_HANDLE);
  EXPECT_EQ(db_disconnect(connection), 0u);
}

TEST_F(Handles, a_slot_used_again_does_not_revive_old_handles) {
  std::vector<uint64_t> old;
  for (int i = 0; i < 100; ++i) {
    uint64_t object = 0;
    ASSERT_EQ(db_create_nhp_obj(FIB_DB_OBJ_OP_READ, 0, &object), 0u);
    for (const uint64_t stale : old) ASSERT_EQ(db_release_nhp_object(stale), DB_ERR_BAD_HANDLE);
    ASSERT_EQ(db_release_nhp_object(object), 0u);
    old.push_back(object);
  }
}

TEST_F(Handles, objects_of_another_table_are_refused_and_stay_alive) {
  NhpObject object(FIB_DB_OBJ_OP_WRITE);
  EXPECT_EQ(db_release_ip4forward_object(object), DB_ERR_WRONG_TABLE);
  EXPECT_EQ(db_reset_ip4forward_object(object, FIB_DB_OBJ_OP_WRITE), DB_ERR_WRONG_TABLE);
  EXPECT_EQ(db_set_ip4forward_table_smooth_id(object, 1), DB_ERR_WRONG_TABLE);
  EXPECT_EQ(db_reset_ip4forward_batch_object(object, FIB_DB_OBJ_OP_WRITE), DB_ERR_WRONG_TABLE);
  EXPECT_EQ(db_set_nhp_nhp_index(object, 1), 0u);
}

TEST_F(Handles, kinds_that_no_object_has_are_refused_by_create_and_reset) {
  uint64_t object = 0;
  for (const uint32_t kind : {2u, 6u, 7u, 8u, 10u, 32u, 35u, UINT32_MAX}) {
    EXPECT_EQ(db_create_ip4forward_obj(kind, 0, &object), DB_ERR_WRONG_KIND) << kind;
  }
  EXPECT_EQ(object, 0u);
  RouteObject live(FIB_DB_OBJ_OP_READ);
  EXPECT_EQ(db_reset_ip4forward_object(live, FIB_DB_OBJ_OP_BATCH), DB_ERR_WRONG_KIND);
  EXPECT_EQ(db_reset_ip4forward_object(live, 2), DB_ERR_WRONG_KIND);
}

TEST_F(Handles, create_without_room_for_the_handle_is_refused) {
  EXPECT_EQ(db_create_nhp_obj(FIB_DB_OBJ_OP_READ, 0, nullptr), DB_ERR_NULL_ARGUMENT);
}

TEST_F(Handles, operations_need_an_object_of_their_kind) {
  const Key key = routeKey(0, 0);
  Row row(TableId::ip4forward);
  uint64_t out = 0;
  for (const uint32_t kind : {FIB_DB_OBJ_OP_WRITE, FIB_DB_OBJ_OP_UPDATE, FIB_DB_OBJ_OP_READ, FIB_DB_OBJ_OP_REMOVE,
                              FIB_DB_OBJ_OP_SCAN, FIB_DB_OBJ_OP_COUNT}) {
    RouteObject object(kind);
    const auto fits = [&](std::initializer_list<uint32_t> kinds, uint32_t code) {
      const bool expected = std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
      EXPECT_EQ(code != DB_ERR_WRONG_KIND, expected) << kind;
    };
    fits({FIB_DB_OBJ_OP_WRITE, FIB_DB_OBJ_OP_UPDATE}, db_set_ip4forward_table_smooth_id(object, 1));
    fits({FIB_DB_OBJ_OP_WRITE}, db_write_obj(object));
    fits({FIB_DB_OBJ_OP_UPDATE}, db_update_obj(object, &key.desc, key.data()));
    fits({FIB_DB_OBJ_OP_REMOVE}, db_remove_obj(object, &key.desc, key.data()));
    fits({FIB_DB_OBJ_OP_READ, FIB_DB_OBJ_OP_SCAN}, db_read_obj(object, &key.desc, key.data()));
    fits({FIB_DB_OBJ_OP_READ, FIB_DB_OBJ_OP_SCAN},
         db_read_obj_with_buf(object, &key.desc, key.data(), row.data(), row.length()));
    fits({FIB_DB_OBJ_OP_COUNT, FIB_DB_OBJ_OP_SCAN}, db_get_table_record_count(object, &out));
    fits({FIB_DB_OBJ_OP_COUNT, FIB_DB_OBJ_OP_SCAN},
         db_get_table_record_count_by_key(object, &key.desc, key.data(), &out));
    fits({FIB_DB_OBJ_OP_SCAN}, db_create_root_iter(object, nullptr, nullptr, &out));
    fits({FIB_DB_OBJ_OP_SCAN}, db_create_stmt(object, 2, "ip4forward", 0));
    fits({}, db_batch_add_oper(object, nullptr, nullptr));
    fits({}, db_batch_exec_async(object, 0));
    fits({}, db_reset_ip4forward_batch_object(object, FIB_DB_OBJ_OP_WRITE));
  }
}

TEST_F(Handles, reset_turns_an_object_to_another_operation_and_forgets_what_was_staged) {
  RouteObject object(FIB_DB_OBJ_OP_WRITE);
  const Row first = route(0x0A000000, 8, 7);
  ASSERT_EQ(db_set_ip4forward_all_fields(object, first.data(), first.length()), 0u);
  ASSERT_EQ(db_reset_ip4forward_object(object, FIB_DB_OBJ_OP_WRITE), 0u);
  ASSERT_EQ(db_set_ip4forward_table_smooth_id(object, 5), 0u);
  ASSERT_EQ(db_write_obj(object), 0u);
  Row read(TableId::ip4forward);
  EXPECT_EQ(readRoute(routeKey(0x0A000000, 8), read), DB_ERR_NO_DATA);
  ASSERT_EQ(readRoute(routeKey(0, 0), read), 0u);
  EXPECT_EQ(read.get("table_smooth_id"), 5u);

  ASSERT_EQ(db_reset_ip4forward_object(object, FIB_DB_OBJ_OP_SCAN), 0u);
  uint64_t iter = 0;
  ASSERT_EQ(db_create_root_iter(object, nullptr, nullptr, &iter), 0u);
  ASSERT_EQ(db_root_iterator_next(iter), 0u);
  ASSERT_EQ(db_reset_ip4forward_object(object, FIB_DB_OBJ_OP_SCAN), 0u);
  EXPECT_EQ(db_root_iterator_next(iter), DB_ERR_BAD_HANDLE);
  EXPECT_EQ(db_get_ip4forward_all_fields(object, read.data(), read.length()), DB_ERR_NO_CURRENT);
}

TEST_F(Handles, more_objects_than_there_are_slots_are_refused_and_releasing_one_makes_room) {
  std::vector<uint64_t> objects;
  uint32_t code = 0;
  for (;;) {
    uint64_t object = 0;
    code = db_create_nhp_obj(FIB_DB_OBJ_OP_READ, 0, &object);
    if (code != 0) break;
    objects.push_back(object);
  }
  EXPECT_EQ(code, DB_ERR_OBJECT_LIMIT);
  FibDbEngineArenaStats stats{};
  ASSERT_EQ(fibdb_engine_arena_stats(&stats), 0u);
  EXPECT_EQ(stats.objects, objects.size());
  ASSERT_EQ(db_release_nhp_object(objects.back()), 0u);
  EXPECT_EQ(db_create_nhp_obj(FIB_DB_OBJ_OP_READ, 0, &objects.back()), 0u);
  for (const uint64_t object : objects) ASSERT_EQ(db_release_nhp_object(object), 0u);
}

// Fields are staged one by one or all at once, and read from the record that the object stands on.

TEST_F(Fields, every_number_that_is_set_is_got_again) {
  NhpObject writer(FIB_DB_OBJ_OP_WRITE);
  EXPECT_EQ(db_set_nhp_nhp_index(writer, 0x01020304), 0u);
  EXPECT_EQ(db_set_nhp_vr_id(writer, 0x11111111), 0u);
  EXPECT_EQ(db_set_nhp_vrf_index(writer, 0x22222222), 0u);
  EXPECT_EQ(db_set_nhp_origin_nhp(writer, 0x33333333), 0u);
  EXPECT_EQ(db_set_nhp_nhp_num(writer, 0x4444), 0u);
  EXPECT_EQ(db_set_nhp_nhp_flag(writer, 0x55), 0u);
  EXPECT_EQ(db_set_nhp_ref_cnt(writer, 0x66666666), 0u);
  EXPECT_EQ(db_set_nhp_app_obj_id(writer, 0x7777777777777777), 0u);
  EXPECT_EQ(db_set_nhp_time_stamp_svc(writer, UINT64_MAX), 0u);
  ASSERT_EQ(db_write_obj(writer), 0u);

  NhpObject reader(FIB_DB_OBJ_OP_READ);
  const Key key = nhpKey(0x01020304);
  ASSERT_EQ(db_read_obj(reader, &key.desc, key.data()), 0u);
  uint32_t word = 0;
  uint16_t half = 0;
  uint8_t byte = 0;
  uint64_t dword = 0;
  EXPECT_EQ(db_get_nhp_nhp_index(reader, &word), 0u);
  EXPECT_EQ(word, 0x01020304u);
  EXPECT_EQ(db_get_nhp_vr_id(reader, &word), 0u);
  EXPECT_EQ(word, 0x11111111u);
  EXPECT_EQ(db_get_nhp_vrf_index(reader, &word), 0u);
  EXPECT_EQ(word, 0x22222222u);
  EXPECT_EQ(db_get_nhp_origin_nhp(reader, &word), 0u);
  EXPECT_EQ(word, 0x33333333u);
  EXPECT_EQ(db_get_nhp_nhp_num(reader, &half), 0u);
  EXPECT_EQ(half, 0x4444u);
  EXPECT_EQ(db_get_nhp_nhp_flag(reader, &byte), 0u);
  EXPECT_EQ(byte, 0x55u);
  EXPECT_EQ(db_get_nhp_ref_cnt(reader, &word), 0u);
  EXPECT_EQ(word, 0x66666666u);
  EXPECT_EQ(db_get_nhp_app_obj_id(reader, &dword), 0u);
  EXPECT_EQ(dword, 0x7777777777777777u);
  EXPECT_EQ(db_get_nhp_time_stamp_svc(reader, &dword), 0u);
  EXPECT_EQ(dword, UINT64_MAX);
  EXPECT_EQ(db_get_nhp_flags(reader, &word), 0u);
  EXPECT_EQ(word, 0u) << "a field that was not staged is zero";
}

TEST_F(Fields, bytes_that_are_set_are_got_as_a_pointer_into_the_object) {
  const std::string context(32, 'c');
  GroupObject writer(FIB_DB_OBJ_OP_WRITE);
  ASSERT_EQ(db_set_nhp_group_nhp_group_id(writer, 5), 0u);
  ASSERT_EQ(db_set_nhp_group_svc_ctx_high_prio(writer, context.data(), 32), 0u);
  ASSERT_EQ(db_write_obj(writer), 0u);

  GroupObject reader(FIB_DB_OBJ_OP_READ);
  const Key key = makeKey(TableId::nhp_group, 0x00010008, {5, 0});
  const void* bytes = nullptr;
  uint32_t length = 0;
  EXPECT_EQ(db_get_nhp_group_svc_ctx_high_prio(reader, &bytes, &length), DB_ERR_NO_CURRENT);
  ASSERT_EQ(db_read_obj(reader, &key.desc, key.data()), 0u);
  EXPECT_EQ(db_get_nhp_group_svc_ctx_high_prio(reader, nullptr, &length), DB_ERR_NULL_ARGUMENT);
  ASSERT_EQ(db_get_nhp_group_svc_ctx_high_prio(reader, &bytes, &length), 0u);
  EXPECT_EQ(std::string(static_cast<const char*>(bytes), length), context);
  bytes = nullptr;
  ASSERT_EQ(db_get_nhp_group_svc_ctx_high_prio(reader, &bytes, nullptr), 0u) << "the length is known to many callers";
  EXPECT_EQ(std::string(static_cast<const char*>(bytes), 32), context);
  ASSERT_EQ(db_get_nhp_group_svc_ctx_normal_prio(reader, &bytes, &length), 0u);
  EXPECT_EQ(std::string(static_cast<const char*>(bytes), length), std::string(32, '\0'));
}

TEST_F(Fields, bytes_of_another_length_are_refused) {
  const std::string context(40, 'c');
  GroupObject object(FIB_DB_OBJ_OP_WRITE);
  for (const uint32_t length : {0u, 16u, 31u, 33u}) {
    EXPECT_EQ(db_set_nhp_group_svc_ctx_high_prio(object, context.data(), length), DB_ERR_BAD_LENGTH);
  }
  EXPECT_EQ(db_set_nhp_group_svc_ctx_high_prio(object, nullptr, 32), DB_ERR_NULL_ARGUMENT);
}

TEST_F(Fields, a_getter_needs_a_record_and_a_place) {
  ASSERT_EQ(writeNhp(1), 0u);
  NhpObject reader(FIB_DB_OBJ_OP_READ);
  uint32_t word = 0xAA;
  EXPECT_EQ(db_get_nhp_vr_id(reader, &word), DB_ERR_NO_CURRENT);
  const Key present = nhpKey(1);
  ASSERT_EQ(db_read_obj(reader, &present.desc, present.data()), 0u);
  EXPECT_EQ(db_get_nhp_vr_id(reader, nullptr), DB_ERR_NULL_ARGUMENT);
  const Key missing = nhpKey(2);
  ASSERT_EQ(db_read_obj(reader, &missing.desc, missing.data()), DB_ERR_NO_DATA);
  EXPECT_EQ(db_get_nhp_vr_id(reader, &word), DB_ERR_NO_CURRENT) << "a failed read leaves the record behind";
  EXPECT_EQ(word, 0xAAu);
}

TEST_F(Fields, a_row_of_the_wrong_length_is_refused) {
  RouteObject object(FIB_DB_OBJ_OP_WRITE);
  const Row row = route(1, 32);
  for (const uint32_t length : {0u, 123u, 125u, UINT32_MAX}) {
    EXPECT_EQ(db_set_ip4forward_all_fields(object, row.data(), length), DB_ERR_BAD_LENGTH);
  }
  EXPECT_EQ(db_set_ip4forward_all_fields(object, nullptr, row.length()), DB_ERR_NULL_ARGUMENT);
}

TEST_F(Fields, a_whole_row_comes_back_as_it_was_but_for_its_padding) {
  Row row(TableId::ip4forward);
  std::memset(row.data(), 0xEE, row.length());
  row.set("mask_len", 24);
  ASSERT_EQ(writeRoute(row), 0u);
  Row read(TableId::ip4forward);
  ASSERT_EQ(readRoute(keyOfRow(TableId::ip4forward, kRouteKey, row), read), 0u);
  Row expected = row;
  for (const schema::Field& field : layoutOf(TableId::ip4forward).fields) {
    if (field.kind == schema::FieldKind::kPad) {
      std::memset(static_cast<char*>(expected.data()) + field.offset, 0, field.size());
    }
  }
  EXPECT_NE(expected, row) << "this table has padding";
  EXPECT_EQ(read, expected);
}

TEST_F(Fields, fields_staged_after_a_whole_row_change_it) {
  RouteObject object(FIB_DB_OBJ_OP_WRITE);
  const Row row = route(0x0A000000, 8, 7);
  ASSERT_EQ(db_set_ip4forward_all_fields(object, row.data(), row.length()), 0u);
  ASSERT_EQ(db_set_ip4forward_table_smooth_id(object, 99), 0u);
  ASSERT_EQ(db_write_obj(object), 0u);
  Row read(TableId::ip4forward);
  ASSERT_EQ(readRoute(routeKey(0x0A000000, 8), read), 0u);
  EXPECT_EQ(read.get("attr_word_a"), 7u);
  EXPECT_EQ(read.get("table_smooth_id"), 99u);
}

// A write inserts or replaces; what is not staged is zero.

TEST_F(Writes, a_second_write_with_the_same_key_replaces_the_whole_record) {
  ASSERT_EQ(writeRoute(route(0x0A000000, 8, 1).set("source_pid", 77)), 0u);
  ASSERT_EQ(writeRoute(route(0x0A000000, 8, 2)), 0u);
  EXPECT_EQ(countRoutes(), 1u);
  Row read(TableId::ip4forward);
  ASSERT_EQ(readRoute(routeKey(0x0A000000, 8), read), 0u);
  EXPECT_EQ(read.get("attr_word_a"), 2u);
  EXPECT_EQ(read.get("source_pid"), 0u);
  EXPECT_EQ(statsOf(TableId::ip4forward).inserted, 1u);
  EXPECT_EQ(statsOf(TableId::ip4forward).replaced, 1u);
}

TEST_F(Writes, an_object_may_write_again_what_it_has_staged) {
  NhpObject object(FIB_DB_OBJ_OP_WRITE);
  ASSERT_EQ(db_set_nhp_nhp_index(object, 1), 0u);
  ASSERT_EQ(db_set_nhp_vr_id(object, 6), 0u);
  ASSERT_EQ(db_write_obj(object), 0u);
  ASSERT_EQ(db_set_nhp_nhp_index(object, 2), 0u);
  ASSERT_EQ(db_write_obj(object), 0u);
  NhpObject reader(FIB_DB_OBJ_OP_READ);
  const Key key = nhpKey(2);
  ASSERT_EQ(db_read_obj(reader, &key.desc, key.data()), 0u);
  uint32_t vr = 0;
  EXPECT_EQ(db_get_nhp_vr_id(reader, &vr), 0u);
  EXPECT_EQ(vr, 6u);
}

TEST_F(Writes, a_mask_above_32_is_refused_and_nothing_is_stored) {
  EXPECT_EQ(writeRoute(route(1, 32)), 0u);
  EXPECT_EQ(writeRoute(route(1, 33)), DB_ERR_BAD_KEY);
  EXPECT_EQ(writeRoute(route(1, 255)), DB_ERR_BAD_KEY);
  EXPECT_EQ(countRoutes(), 1u);
}

// An update changes the staged fields of one existing record.

TEST_F(Updates, only_staged_fields_change) {
  ASSERT_EQ(writeRoute(route(0x0A000000, 8, 7).set("time_stamp_svc", 1).set("source_pid", 3)), 0u);
  RouteObject object(FIB_DB_OBJ_OP_UPDATE);
  ASSERT_EQ(db_set_ip4forward_time_stamp_svc(object, 1234567890123), 0u);
  const Key key = routeKey(0x0A000000, 8);
  ASSERT_EQ(db_update_obj(object, &key.desc, key.data()), 0u);
  Row read(TableId::ip4forward);
  ASSERT_EQ(readRoute(key, read), 0u);
  EXPECT_EQ(read, route(0x0A000000, 8, 7).set("time_stamp_svc", 1234567890123).set("source_pid", 3));
}

TEST_F(Updates, a_missing_record_is_15005_and_none_appears) {
  RouteObject object(FIB_DB_OBJ_OP_UPDATE);
  ASSERT_EQ(db_set_ip4forward_table_smooth_id(object, 1), 0u);
  const Key key = routeKey(0x0A000000, 8);
  EXPECT_EQ(db_update_obj(object, &key.desc, key.data()), DB_ERR_NO_DATA);
  EXPECT_EQ(countRoutes(), 0u);
}

TEST_F(Updates, a_staged_key_field_must_agree_with_the_key) {
  ASSERT_EQ(writeNhp(1, 5), 0u);
  const Key key = nhpKey(1);
  NhpObject object(FIB_DB_OBJ_OP_UPDATE);
  ASSERT_EQ(db_set_nhp_nhp_index(object, 2), 0u);
  ASSERT_EQ(db_set_nhp_vr_id(object, 9), 0u);
  EXPECT_EQ(db_update_obj(object, &key.desc, key.data()), DB_ERR_KEY_MISMATCH);
  ASSERT_EQ(db_set_nhp_nhp_index(object, 1), 0u);
  uint32_t vr = 0;
  NhpObject reader(FIB_DB_OBJ_OP_READ);
  ASSERT_EQ(db_read_obj(reader, &key.desc, key.data()), 0u);
  ASSERT_EQ(db_get_nhp_vr_id(reader, &vr), 0u);
  EXPECT_EQ(vr, 5u) << "a refused update changes nothing";
  EXPECT_EQ(db_update_obj(object, &key.desc, key.data()), 0u);
  ASSERT_EQ(db_read_obj(reader, &key.desc, key.data()), 0u);
  ASSERT_EQ(db_get_nhp_vr_id(reader, &vr), 0u);
  EXPECT_EQ(vr, 9u);
}

TEST_F(Updates, go_by_the_primary_key_only) {
  ASSERT_EQ(writeNhp(1), 0u);
  NhpObject object(FIB_DB_OBJ_OP_UPDATE);
  ASSERT_EQ(db_set_nhp_flags(object, 1), 0u);
  const Key secondary = makeKey(TableId::nhp, kNhpByVrf, {0, 0, 0});
  EXPECT_EQ(db_update_obj(object, &secondary.desc, secondary.data()), DB_ERR_BAD_INDEX);
  EXPECT_EQ(db_update_obj(object, nullptr, secondary.data()), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(db_update_obj(object, &secondary.desc, nullptr), DB_ERR_NULL_ARGUMENT);
}

TEST_F(Updates, a_changed_secondary_key_moves_the_record) {
  ASSERT_EQ(writeNhp(1, 5, 6, 7), 0u);
  NhpObject object(FIB_DB_OBJ_OP_UPDATE);
  ASSERT_EQ(db_set_nhp_vrf_index(object, 60), 0u);
  const Key key = nhpKey(1);
  ASSERT_EQ(db_update_obj(object, &key.desc, key.data()), 0u);
  NhpObject reader(FIB_DB_OBJ_OP_READ);
  const Key before = makeKey(TableId::nhp, kNhpByVrf, {5, 6, 7});
  const Key after = makeKey(TableId::nhp, kNhpByVrf, {5, 60, 7});
  EXPECT_EQ(db_read_obj(reader, &before.desc, before.data()), DB_ERR_NO_DATA);
  EXPECT_EQ(db_read_obj(reader, &after.desc, after.data()), 0u);
}

// A removal takes one record by its primary key, or all that share a secondary key.

TEST_F(Removals, by_primary_key_one_record_goes_and_a_second_try_is_15005) {
  ASSERT_EQ(writeRoute(route(0x0A000000, 8)), 0u);
  ASSERT_EQ(writeRoute(route(0x0B000000, 8)), 0u);
  EXPECT_EQ(removeRoutes(routeKey(0x0A000000, 8)), 0u);
  EXPECT_EQ(removeRoutes(routeKey(0x0A000000, 8)), DB_ERR_NO_DATA);
  EXPECT_EQ(countRoutes(), 1u);
}

TEST_F(Removals, by_secondary_key_all_that_match_go) {
  for (uint32_t i = 0; i < 30; ++i) ASSERT_EQ(writeRoute(route(i << 8, 24, i % 3)), 0u);
  const Key group1 = makeKey(TableId::ip4forward, kRouteByGroup, {1, 0});
  EXPECT_EQ(removeRoutes(group1), 0u);
  EXPECT_EQ(countRoutes(), 20u);
  EXPECT_EQ(removeRoutes(group1), DB_ERR_NO_DATA);
  EXPECT_EQ(statsOf(TableId::ip4forward).removed, 10u);
}

TEST_F(Removals, go_by_no_other_index) {
  ASSERT_EQ(writeRoute(route(0x0A000000, 8)), 0u);
  EXPECT_EQ(removeRoutes(routeKey(0x0A000000, 8, kRouteLongest)), DB_ERR_BAD_INDEX);
  EXPECT_EQ(removeRoutes(routeKey(0x0A000000, 8, kRouteOrdered)), DB_ERR_BAD_INDEX);
  RouteObject object(FIB_DB_OBJ_OP_REMOVE);
  EXPECT_EQ(db_remove_obj(object, nullptr, nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(countRoutes(), 1u);
}

TEST_F(Reads, the_index_must_be_one_of_the_table) {
  RouteObject object(FIB_DB_OBJ_OP_READ);
  Row row(TableId::ip4forward);
  for (const uint32_t id : {0u, 0x0001000Cu, 0x0009000Du, 0x05090008u, UINT32_MAX}) {
    const Key key{{id, 0, 0}, std::string(64, '\0')};
    EXPECT_EQ(db_read_obj(object, &key.desc, key.data()), DB_ERR_BAD_INDEX) << id;
  }
  const Key key = routeKey(0, 0);
  EXPECT_EQ(db_read_obj(object, nullptr, key.data()), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(db_read_obj(object, &key.desc, nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(db_read_obj(object, nullptr, nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(db_read_obj_with_buf(object, nullptr, key.data(), row.data(), row.length()), DB_ERR_NULL_ARGUMENT);
}

TEST_F(Reads, only_the_index_id_of_a_descriptor_counts) {
  ASSERT_EQ(writeRoute(route(0x0A000000, 8)), 0u);
  Key key = routeKey(0x0A000000, 8);
  key.desc.rsv1 = 0xDEADBEEF;
  key.desc.rsv2 = UINT64_MAX;
  Row row(TableId::ip4forward);
  EXPECT_EQ(readRoute(key, row), 0u);
}

TEST_F(Reads, by_secondary_key_the_first_in_primary_key_order_comes) {
  for (const uint32_t addr : {0x0C000000u, 0x0A000000u, 0x0B000000u}) ASSERT_EQ(writeRoute(route(addr, 8, 4)), 0u);
  Row row(TableId::ip4forward);
  ASSERT_EQ(readRoute(makeKey(TableId::ip4forward, kRouteByGroup, {4, 0}), row), 0u);
  EXPECT_EQ(row.get("dest_ip_addr"), 0x0A000000u);
  EXPECT_EQ(readRoute(makeKey(TableId::ip4forward, kRouteByGroup, {5, 0}), row), DB_ERR_NO_DATA);
}

TEST_F(Reads, a_buffer_of_the_wrong_length_is_refused_and_left_alone) {
  ASSERT_EQ(writeRoute(route(0x0A000000, 8)), 0u);
  const Key key = routeKey(0x0A000000, 8);
  RouteObject object(FIB_DB_OBJ_OP_READ);
  char buffer[200] = "untouched";
  EXPECT_EQ(db_read_obj_with_buf(object, &key.desc, key.data(), buffer, 123), DB_ERR_BAD_LENGTH);
  EXPECT_EQ(db_read_obj_with_buf(object, &key.desc, key.data(), buffer, 125), DB_ERR_BAD_LENGTH);
  EXPECT_EQ(db_read_obj_with_buf(object, &key.desc, key.data(), nullptr, 124), DB_ERR_NULL_ARGUMENT);
  EXPECT_STREQ(buffer, "untouched");
}

TEST_F(Reads, without_a_key_the_record_the_object_stands_on_comes) {
  ASSERT_EQ(writeRoute(route(0x0A000000, 8, 3)), 0u);
  RouteObject object(FIB_DB_OBJ_OP_READ);
  Row row(TableId::ip4forward);
  EXPECT_EQ(db_read_obj_with_buf(object, nullptr, nullptr, row.data(), row.length()), DB_ERR_NO_CURRENT);
  const Key key = routeKey(0x0A000000, 8);
  ASSERT_EQ(db_read_obj(object, &key.desc, key.data()), 0u);
  ASSERT_EQ(removeRoutes(key), 0u);
  ASSERT_EQ(db_read_obj_with_buf(object, nullptr, nullptr, row.data(), row.length()), 0u);
  EXPECT_EQ(row, route(0x0A000000, 8, 3)) << "the object keeps the record as it was read";
}

TEST_F(Counts, are_exact_for_the_table_and_for_keys) {
  for (uint32_t i = 0; i < 30; ++i) ASSERT_EQ(writeRoute(route(i << 8, 24, i % 4)), 0u);
  EXPECT_EQ(countRoutes(), 30u);
  RouteObject object(FIB_DB_OBJ_OP_COUNT);
  const auto countOf = [&](const Key& key) {
    uint64_t count = UINT64_MAX;
    EXPECT_EQ(db_get_table_record_count_by_key(object, &key.desc, key.data(), &count), 0u);
    return count;
  };
  EXPECT_EQ(countOf(makeKey(TableId::ip4forward, kRouteByGroup, {0, 0})), 8u);
  EXPECT_EQ(countOf(makeKey(TableId::ip4forward, kRouteByGroup, {3, 0})), 7u);
  EXPECT_EQ(countOf(makeKey(TableId::ip4forward, kRouteByGroup, {4, 0})), 0u);
  EXPECT_EQ(countOf(routeKey(1 << 8, 24)), 1u);
  EXPECT_EQ(countOf(routeKey(1 << 8, 23)), 0u);
}

TEST_F(Counts, need_an_index_that_counts_and_a_place) {
  RouteObject object(FIB_DB_OBJ_OP_COUNT);
  uint64_t count = 0;
  const Key longest = routeKey(0, 0, kRouteLongest);
  const Key ordered = routeKey(0, 0, kRouteOrdered);
  EXPECT_EQ(db_get_table_record_count_by_key(object, &longest.desc, longest.data(), &count), DB_ERR_BAD_INDEX);
  EXPECT_EQ(db_get_table_record_count_by_key(object, &ordered.desc, ordered.data(), &count), DB_ERR_BAD_INDEX);
  EXPECT_EQ(db_get_table_record_count_by_key(object, nullptr, nullptr, &count), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(db_get_table_record_count_by_key(object, &longest.desc, longest.data(), nullptr), DB_ERR_NULL_ARGUMENT);
  EXPECT_EQ(db_get_table_record_count(object, nullptr), DB_ERR_NULL_ARGUMENT);
}

}  // namespace
}  // namespace fibdb::testing
