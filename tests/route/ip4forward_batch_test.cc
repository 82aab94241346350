// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/route/ip4forward_batch_test.cc: the asynchronous connection, its batch object and its operations.
#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using schema::TableId;
using testing::ElementsAre;
using testing::IsEmpty;

class Ip4forwardBatchTest : public TablesTest {
 protected:
  // A batch object is never released by the library, so each test gives back its own.
  void SetUp() override {
    FIB_DB_CreateAsyncConnect(11, 22);
    ASSERT_EQ(FIB_DB_GetIp4forwardBatchAsyncObject(&object), 0u);
    platform.calls.clear();
  }
  void TearDown() override {
    if (g_fibAsyncBatchObject != 0) platform.releaseObject(g_fibAsyncBatchObject);
  }

  FibDbIp4forwardItem item{.vr_id = 1,
                           .vrf_index = 2,
                           .dest_ip_addr = 0x0A000000,
                           .mask_len = 8,
                           .source_pid = 500,
                           .table_smooth_id = 600,
                           .time_stamp_svc = 700};
  uint64_t object = 0;
  uint64_t argument = 0x1234567890;
};

class Ip4forwardConnectionTest : public TablesTest {};

// The connection.
TEST_F(Ip4forwardConnectionTest, CreateAsyncConnect_swaps_the_parameters_and_keeps_the_handle) {
  EXPECT_EQ(FIB_DB_CreateAsyncConnect(0x1100000000, 22), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_connect(22, 73014444032)"));
  EXPECT_EQ(FIB_DB_GetAsyncConn(), 77u);
  EXPECT_EQ(g_fibDbAsyncConn, 77u);
}

TEST_F(Ip4forwardConnectionTest, CreateAsyncConnect_failure_leaves_the_connection_as_it_was) {
  g_fibDbAsyncConn = 5;
  platform.fail("db_connect", 9);
  EXPECT_EQ(FIB_DB_CreateAsyncConnect(1, 2), 9u);
  EXPECT_EQ(FIB_DB_GetAsyncConn(), 5u);
  EXPECT_TRUE(silent());
}

TEST_F(Ip4forwardConnectionTest, DestroyAsyncConnect_twice_says_that_there_is_none) {
  FIB_DB_CreateAsyncConnect(1, 2);
  FIB_DB_DestroyAsyncConnect();
  EXPECT_TRUE(silent());
  EXPECT_EQ(FIB_DB_GetAsyncConn(), 0u);
  FIB_DB_DestroyAsyncConnect();
  EXPECT_THAT(platform.errorLines, ElementsAre("disconnect db Async failed, para is NULL"));
  EXPECT_THAT(platform.calls, ElementsAre("db_connect(2, 1)", "db_disconnect(77)"));
}

TEST_F(Ip4forwardConnectionTest, DestroyAsyncConnect_forgets_the_connection_even_when_it_fails) {
  FIB_DB_CreateAsyncConnect(1, 2);
  platform.fail("db_disconnect", 9);
  FIB_DB_DestroyAsyncConnect();
  EXPECT_THAT(platform.errorLines, ElementsAre("disconnect db Async failed. ret = 9"));
  EXPECT_EQ(FIB_DB_GetAsyncConn(), 0u);
}

// The batch object.
TEST_F(Ip4forwardConnectionTest, GetIp4forwardBatchAsyncObject_without_connection_says_so_and_returns_1) {
  uint64_t object = 5;
  EXPECT_EQ(FIB_DB_GetIp4forwardBatchAsyncObject(&object), 1u);
  EXPECT_EQ(object, 5u);
  EXPECT_THAT(platform.errorLines, ElementsAre("detIp4forwardBatchAsyncObject failed, para is NULL."));
}

TEST_F(Ip4forwardConnectionTest, GetIp4forwardBatchAsyncObject_failing_to_create_caches_nothing) {
  FIB_DB_CreateAsyncConnect(1, 2);
  platform.fail("db_create_ip4forward_obj_specific_conn", 9);
  uint64_t object = 0;
  EXPECT_EQ(FIB_DB_GetIp4forwardBatchAsyncObject(&object), 9u);
  EXPECT_EQ(g_fibAsyncBatchObject, 0u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("detIp4forwardBatchAsyncObject failed, create object conn failed. ret = 9"));
}

TEST_F(Ip4forwardBatchTest, GetIp4forwardBatchAsyncObject_twice_gives_the_same_object_reset) {
  uint64_t again = 0;
  EXPECT_EQ(FIB_DB_GetIp4forwardBatchAsyncObject(&again), 0u);
  EXPECT_EQ(again, object);
  EXPECT_THAT(platform.calls, ElementsAre("db_reset_ip4forward_object(#1, 6)"));
}

TEST_F(Ip4forwardBatchTest, GetIp4forwardBatchAsyncObject_failing_to_reset_writes_nothing) {
  platform.fail("db_reset_ip4forward_object", 9);
  uint64_t again = 5;
  EXPECT_EQ(FIB_DB_GetIp4forwardBatchAsyncObject(&again), 9u);
  EXPECT_EQ(again, 5u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("detIp4forwardBatchAsyncObject failed, reset ip4forward object failed. ret = 9"));
}

TEST_F(Ip4forwardBatchTest, The_batch_object_stays_cached_after_a_disconnect) {
  FIB_DB_DestroyAsyncConnect();
  uint64_t again = 0;
  EXPECT_EQ(FIB_DB_GetIp4forwardBatchAsyncObject(&again), 0u);
  EXPECT_EQ(again, object);
}

// Writes.
TEST_F(Ip4forwardBatchTest, BatchAddOperWriteIp4forward_stages_the_whole_record_and_adds_it) {
  EXPECT_EQ(FIB_DB_BatchAddOperWriteIp4forward(&object, &item, 0), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_reset_ip4forward_batch_object(#1, 0)",
                                          "db_set_ip4forward_all_fields(#1, 124)", "db_batch_add_oper(#1, NULL)"));
  EXPECT_EQ(getField(TableId::ip4forward, platform.staged(TableId::ip4forward), "time_stamp_svc"), 700u);
  EXPECT_EQ(FIB_DB_GetSourcePid(), 500u);
}

TEST_F(Ip4forwardBatchTest, BatchAddOper_of_NULL_or_zero_returns_1_silently) {
  uint64_t zero = 0;
  EXPECT_EQ(FIB_DB_BatchAddOperWriteIp4forward(nullptr, &item, 0), 1u);
  EXPECT_EQ(FIB_DB_BatchAddOperWriteIp4forward(&object, nullptr, 0), 1u);
  EXPECT_EQ(FIB_DB_BatchAddOperWriteIp4forward(&zero, &item, 0), 1u);
  EXPECT_EQ(FIB_DB_BatchAddOperRemoveIp4forward(nullptr, &item), 1u);
  EXPECT_EQ(FIB_DB_BatchAddOperRemoveIp4forward(&object, nullptr), 1u);
  EXPECT_EQ(FIB_DB_BatchAddOperRemoveIp4forward(&zero, &item), 1u);
  EXPECT_EQ(FIB_DB_WriteIp4forward(object, nullptr), 1u);
  EXPECT_EQ(FIB_DB_UpdateIp4forward(object, nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(Ip4forwardBatchTest, WriteIp4forward_does_not_check_the_handle) {
  EXPECT_EQ(FIB_DB_WriteIp4forward(0, &item), 0u);
  EXPECT_EQ(platform.calls.front(), "db_reset_ip4forward_batch_object(0, 0)");
}

TEST_F(Ip4forwardBatchTest, WriteIp4forward_failures_are_said_and_raw) {
  platform.fail("db_reset_ip4forward_batch_object", 9);
  EXPECT_EQ(FIB_DB_WriteIp4forward(object, &item), 9u);
  EXPECT_EQ(FIB_DB_GetSourcePid(), 500u);
  platform.fail("db_set_ip4forward_all_fields", 8);
  EXPECT_EQ(FIB_DB_WriteIp4forward(object, &item), 8u);
  platform.fail("db_batch_add_oper", 10740);
  EXPECT_EQ(FIB_DB_WriteIp4forward(object, &item), 10740u);
  EXPECT_THAT(platform.errorLines, ElementsAre("WriteIp4forward failed, reset object failed. ret = 9",
                                               "WriteIp4forward failed, set all fields failed. ret = 8",
                                               "WriteIp4forward failed, add oper failed. ret = 10740"));
  EXPECT_EQ(g_ip4WriteDbSetDataRetry, 0u);
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(Ip4forwardBatchTest, WriteIp4forward_asked_to_retry_while_staging_counts_it) {
  platform.fail("db_set_ip4forward_all_fields", 10740);
  EXPECT_EQ(FIB_DB_WriteIp4forward(object, &item), 10740u);
  EXPECT_EQ(g_ip4WriteDbSetDataRetry, 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("WriteIp4forward failed, set all fields failed. ret = 10740"));
}

TEST_F(Ip4forwardBatchTest, WriteIp4forward_whose_block_copy_fails_still_stages_the_half_filled_record) {
  platform.fail("memcpy_s", 22);
  EXPECT_EQ(FIB_DB_WriteIp4forward(object, &item), 0u);
  EXPECT_EQ(getField(TableId::ip4forward, platform.staged(TableId::ip4forward), "mask_len"), 8u);
  EXPECT_EQ(getField(TableId::ip4forward, platform.staged(TableId::ip4forward), "time_stamp_svc"), 0u);
  EXPECT_EQ(FIB_DB_GetSourcePid(), 7415578u);
}

// Updates.
TEST_F(Ip4forwardBatchTest, UpdateIp4forward_stages_two_fields_and_adds_with_the_key) {
  EXPECT_EQ(FIB_DB_BatchAddOperWriteIp4forward(&object, &item, 2), 0u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_reset_ip4forward_batch_object(#1, 1)", "db_set_ip4forward_table_smooth_id(#1, 600)",
                          "db_set_ip4forward_time_stamp_svc(#1, 700)",
                          "db_batch_add_oper(#1, 0x0001000D 01000000020000000000000a08)"));
  EXPECT_EQ(FIB_DB_GetSourcePid(), 7415578u);
}

TEST_F(Ip4forwardBatchTest, UpdateIp4forward_ORs_the_two_codes_and_counts_only_10740) {
  platform.fail("db_set_ip4forward_table_smooth_id", 10740);
  EXPECT_EQ(FIB_DB_UpdateIp4forward(object, &item), 10740u);
  EXPECT_EQ(g_ip4WriteDbSetDataRetry, 1u);
  platform.fail("db_set_ip4forward_table_smooth_id", 10740);
  platform.fail("db_set_ip4forward_time_stamp_svc", 1);
  EXPECT_EQ(FIB_DB_UpdateIp4forward(object, &item), 10741u);
  EXPECT_EQ(g_ip4WriteDbSetDataRetry, 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("UpdateIp4forward failed, set all fields failed. ret = 10740",
                                               "UpdateIp4forward failed, set all fields failed. ret = 10741"));
}

TEST_F(Ip4forwardBatchTest, UpdateIp4forward_failures_are_said_and_raw) {
  platform.fail("db_reset_ip4forward_batch_object", 9);
  EXPECT_EQ(FIB_DB_UpdateIp4forward(object, &item), 9u);
  platform.fail("db_batch_add_oper", 10740);
  EXPECT_EQ(FIB_DB_UpdateIp4forward(object, &item), 10740u);
  EXPECT_EQ(g_ip4WriteDbSetDataRetry, 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("UpdateIp4forward failed, reset object failed. ret = 9",
                                               "UpdateIp4forward failed, batch add oper failed. ret = 10740"));
}

// Removals.
TEST_F(Ip4forwardBatchTest, BatchAddOperRemoveIp4forward_adds_with_the_key) {
  EXPECT_EQ(FIB_DB_BatchAddOperRemoveIp4forward(&object, &item), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_reset_ip4forward_batch_object(#1, 4)",
                                          "db_batch_add_oper(#1, 0x0001000D 01000000020000000000000a08)"));
}

TEST_F(Ip4forwardBatchTest, BatchAddOperRemoveIp4forward_refused_goes_to_the_info_hook) {
  platform.fail("db_reset_ip4forward_batch_object", 9);
  EXPECT_EQ(FIB_DB_BatchAddOperRemoveIp4forward(&object, &item), 9u);
  platform.fail("db_batch_add_oper", 10740);
  EXPECT_EQ(FIB_DB_BatchAddOperRemoveIp4forward(&object, &item), 10740u);
  platform.fail("db_batch_add_oper", 8);
  EXPECT_EQ(FIB_DB_BatchAddOperRemoveIp4forward(&object, &item), 8u);
  EXPECT_EQ(g_ip4RemoveDbAddOperRetry, 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("BatchAddOperRemoveIp4forward failed, reset object failed. ret = 9"));
  EXPECT_THAT(platform.infoLines, ElementsAre("BatchAddOperRemoveIp4forward failed, add oper failed. ret = 10740",
                                              "BatchAddOperRemoveIp4forward failed, add oper failed. ret = 8"));
}

// Execution.
TEST_F(Ip4forwardBatchTest, BatchExecuteAsync_passes_the_pointed_to_values) {
  EXPECT_EQ(FIB_DB_BatchExecuteAsync(&object, &argument), 0u);
  EXPECT_THAT(platform.calls, ElementsAre("db_batch_exec_async(#1, 78187493520)"));
  EXPECT_EQ(FIB_DB_BatchExecuteAsync(nullptr, &argument), 1u);
  EXPECT_TRUE(silent());
}

TEST_F(Ip4forwardBatchTest, BatchExecuteAsync_not_now_is_10001_silently) {
  for (const uint32_t code : {60003u, 60023u}) {
    platform.fail("db_batch_exec_async", code);
    EXPECT_EQ(FIB_DB_BatchExecuteAsync(&object, &argument), 10001u);
  }
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(Ip4forwardBatchTest, BatchExecuteAsync_failure_is_1_counted_under_nhp_std) {
  platform.fail("db_batch_exec_async", 7);
  EXPECT_EQ(FIB_DB_BatchExecuteAsync(&object, &argument), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("BatchExecuteAsync failed, ret: 7"));
  EXPECT_TRUE(countedOnce(4, 5));
}

}  // namespace
}  // namespace fibdb::test
