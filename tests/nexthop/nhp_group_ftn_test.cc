// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/nexthop/nhp_group_ftn_test.cc: prefixes bound to next-hop groups over the recorded platform.
#include "platform/objdb_tables.h"
#include "tests/nexthop/group_rows.h"

namespace fibdb::test {
namespace {

using schema::TableId;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr size_t kFields = 25;

Row rowOf(const FibDbNhpGroupItem& item) {
  Row row = rowOfGroup(TableId::nhp_group_ftn, item);
  putField(TableId::nhp_group_ftn, row, "dest_ip_addr", item.dest_ip_addr);
  putField(TableId::nhp_group_ftn, row, "dest_mask_len", item.dest_mask_len);
  return row;
}

class NhpGroupFtnTest : public TablesTest {
 protected:
  void SetUp() override { platform.record(TableId::nhp_group_ftn) = rowOf(fullGroup()); }

  // The bytes of 2, 3, 10.0.1.0 and 24.
  static constexpr const char* kKey = "0x0001000D 02000000030000000001000a18";

  FibDbNhpGroupItem item = fullGroup();
};

TEST_F(NhpGroupFtnTest, SetNhpGroupFtnKeyField_packs_13_bytes_and_leaves_the_rest_of_the_descriptor) {
  FibDbKeyDesc desc{.indexId = 1, .rsv1 = 2, .rsv2 = 3};
  uint8_t key[14] = {};
  key[13] = 77;
  FIB_DB_SetNhpGroupFtnKeyField(&desc, key, &item);
  EXPECT_EQ(desc.indexId, 0x0001000Du);
  EXPECT_EQ(desc.rsv1, 2u);
  EXPECT_EQ(desc.rsv2, 3u);
  EXPECT_THAT(key, ElementsAre(2, 0, 0, 0, 3, 0, 0, 0, 0, 1, 0, 10, 24, 77));
}

// Write.
TEST_F(NhpGroupFtnTest, WriteNhpGroupFtn_stages_the_items_own_service_state_and_no_forwardVsId) {
  EXPECT_EQ(FIB_DB_WriteNhpGroupFtn(&item), 0u);
  const std::string high = "1414141414141414141414141414141414141414141414141414141414141414";
  const std::string normal = "1515151515151515151515151515151515151515151515151515151515151515";
  EXPECT_THAT(
      platform.calls,
      ElementsAre(
          "db_create_nhp_group_ftn_obj(0)", "db_set_nhp_group_ftn_nhp_group_id(#1, 42)",
          "db_set_nhp_group_ftn_vr_id(#1, 2)", "db_set_nhp_group_ftn_vrf_index(#1, 3)",
          "db_set_nhp_group_ftn_dest_ip_addr(#1, 167772416)", "db_set_nhp_group_ftn_dest_mask_len(#1, 24)",
          "db_set_nhp_group_ftn_nhp_number(#1, 7)", "db_set_nhp_group_ftn_flags(#1, 4)",
          "db_set_nhp_group_ftn_ref_count(#1, 5)", "db_set_nhp_group_ftn_new_vrf(#1, 6)",
          "db_set_nhp_group_ftn_app_source_id(#1, 16)", "db_set_nhp_group_ftn_table_smooth_id(#1, 17)",
          "db_set_nhp_group_ftn_db_attr_flag(#1, 137438953472)", "db_set_nhp_group_ftn_nhp_type_high_prio(#1, 8)",
          "db_set_nhp_group_ftn_nhp_type_normal_prio(#1, 9)", "db_set_nhp_group_ftn_status_high_prio(#1, 10)",
          "db_set_nhp_group_ftn_status_normal_prio(#1, 11)", "db_set_nhp_group_ftn_errcode_high_prio(#1, 0c12)",
          "db_set_nhp_group_ftn_errcode_normal_prio(#1, 0d13)",
          "db_set_nhp_group_ftn_svc_ctx_high_prio(#1, " + high.substr(2) + "ee)",
          "db_set_nhp_group_ftn_svc_ctx_normal_prio(#1, " + normal.substr(2) + "ff)",
          "db_set_nhp_group_ftn_oper_bitmap(#1, 1)", "db_set_nhp_group_ftn_overlay_universal_id(#1, 18)",
          "db_set_nhp_group_ftn_underlay_universal_id(#1, 19)", "db_set_nhp_group_ftn_time_stamp_app(#1, 141733920768)",
          "db_set_nhp_group_ftn_time_stamp_svc(#1, 146028888064)", "db_write_obj(#1)",
          "db_release_nhp_group_ftn_object(#1)"));
  Row expected = rowOf(item);
  putField(TableId::nhp_group_ftn, expected, "oper_bitmap", 1);
  EXPECT_EQ(platform.staged(TableId::nhp_group_ftn), expected);
}

TEST_F(NhpGroupFtnTest, The_mark_of_the_groups_means_nothing_here) {
  item.skip_db_oper = 1;
  EXPECT_EQ(FIB_DB_WriteNhpGroupFtn(&item), 0u);
  EXPECT_EQ(platform.calls.size(), 1u + kFields + 2u);
  platform.calls.clear();
  EXPECT_EQ(FIB_DB_RemoveNhpGroupFtn(&item), 0u);
  EXPECT_EQ(platform.calls.size(), 3u);
}

TEST_F(NhpGroupFtnTest, WriteNhpGroupFtn_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_WriteNhpGroupFtn(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupFtnTest, WriteNhpGroupFtn_whose_object_fails_says_so_in_the_groups_words) {
  platform.fail("db_create_nhp_group_ftn_obj", 9);
  EXPECT_EQ(FIB_DB_WriteNhpGroupFtn(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("WriteNhpGroup failed, create object failed, ret:9."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupFtnTest, WriteNhpGroupFtn_whose_fields_fail_tries_them_all_and_says_so_in_the_groups_words) {
  platform.fail("db_set_nhp_group_ftn_nhp_group_id", 4);
  platform.fail("db_set_nhp_group_ftn_time_stamp_svc", 3);
  EXPECT_EQ(FIB_DB_WriteNhpGroupFtn(&item), 1u);
  EXPECT_EQ(platform.calls.size(), 1u + kFields + 1u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("SetNhpGroupItem failed.", "WriteNhpGroup failed, set item failed, ret:1."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupFtnTest, WriteNhpGroupFtn_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_write_obj", 13044);
  EXPECT_EQ(FIB_DB_WriteNhpGroupFtn(&item), 0u);
  EXPECT_TRUE(countedOnce(18, 1));
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupFtnTest, WriteNhpGroupFtn_answered_with_another_code_returns_it_says_so_and_counts_WRITE) {
  platform.fail("db_write_obj", 4294967295);
  EXPECT_EQ(FIB_DB_WriteNhpGroupFtn(&item), 4294967295u);
  EXPECT_THAT(platform.errorLines, ElementsAre("Write nhp group db fail. ret: 4294967295"));
  EXPECT_TRUE(countedOnce(18, 2));
}

// Read.
const std::vector<std::string> kBaseGetters{
    "nhp_group_id", "vr_id", "dest_ip_addr",         "dest_mask_len",         "vrf_index",
    "nhp_number",   "flags", "overlay_universal_id", "underlay_universal_id", "ref_count",
    "new_vrf"};
const std::vector<std::string> kFurtherGetters{
    "nhp_type_high_prio", "nhp_type_normal_prio", "status_high_prio",    "status_normal_prio", "errcode_normal_prio",
    "errcode_high_prio",  "svc_ctx_high_prio",    "svc_ctx_normal_prio", "app_source_id",      "table_smooth_id",
    "db_attr_flag",       "time_stamp_app",       "time_stamp_svc"};

// The calls of these getters on an object.
std::vector<std::string> getting(const std::vector<std::string>& fields, const std::string& object) {
  std::vector<std::string> calls;
  for (const std::string& field : fields) {
    const bool isBlock = field.starts_with("errcode") || field.starts_with("svc_ctx");
    calls.push_back("db_get_nhp_group_ftn_" + field + "(" + object + (isBlock ? ", no length)" : ")"));
  }
  return calls;
}

TEST_F(NhpGroupFtnTest, ReadNhpGroupFtn_fills_every_field_of_its_own_in_order) {
  FibDbNhpGroupItem out{.vr_id = 2,
                        .vrf_index = 3,
                        .skip_db_oper = 1,
                        .dest_ip_addr = 0x0A000100,
                        .dest_mask_len = 24,
                        .forwardVsId = 99};
  EXPECT_EQ(FIB_DB_ReadNhpGroupFtn(&out), 0u);
  EXPECT_EQ(rowOf(out), rowOf(fullGroup()));
  EXPECT_EQ(out.skip_db_oper, 1u);
  EXPECT_EQ(out.forwardVsId, 99);
  std::vector<std::string> expected{"db_create_nhp_group_ftn_obj(3)", std::string("db_read_obj(#1, ") + kKey + ")"};
  for (const std::string& call : getting(kBaseGetters, "#1")) expected.push_back(call);
  for (const std::string& call : getting(kFurtherGetters, "#1")) expected.push_back(call);
  expected.emplace_back("db_release_nhp_group_ftn_object(#1)");
  EXPECT_EQ(platform.calls, expected);
}

TEST_F(NhpGroupFtnTest, ReadNhpGroupFtn_missing_key_returns_60_and_keeps_the_item) {
  platform.fail("db_read_obj", 15005);
  item.flags = 99;
  const Row before = rowOf(item);
  EXPECT_EQ(FIB_DB_ReadNhpGroupFtn(&item), 60u);
  EXPECT_EQ(rowOf(item), before);
  EXPECT_TRUE(silent());
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupFtnTest, ReadNhpGroupFtn_failure_returns_1_says_the_code_and_counts_READ) {
  platform.fail("db_read_obj", 4294967295);
  EXPECT_EQ(FIB_DB_ReadNhpGroupFtn(&item), 1u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpGroup ftn failed, ret: 4294967295"));
  EXPECT_TRUE(countedOnce(18, 0));
}

TEST_F(NhpGroupFtnTest, ReadNhpGroupFtn_whose_object_fails_says_so_and_returns_the_code) {
  platform.fail("db_create_nhp_group_ftn_obj", 9);
  EXPECT_EQ(FIB_DB_ReadNhpGroupFtn(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("ReadNhpGroup ftn failed, create object failed, ret:9."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupFtnTest, ReadNhpGroupFtn_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_ReadNhpGroupFtn(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

// Unpacking.
TEST_F(NhpGroupFtnTest, GetNhpGroupFtnBaseItem_gives_the_OR_of_the_codes_and_says_nothing) {
  platform.fail("db_get_nhp_group_ftn_dest_mask_len", 4);
  platform.fail("db_get_nhp_group_ftn_new_vrf", 3);
  FibDbNhpGroupItem out{};
  EXPECT_EQ(FIB_DB_GetNhpGroupFtnBaseItem(1, &out), 7u);
  EXPECT_EQ(platform.calls, getting(kBaseGetters, "1"));
  EXPECT_EQ(out.dest_ip_addr, 0x0A000100u);
  EXPECT_EQ(out.dest_mask_len, 0);
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupFtnTest, GetNhpGroupFtnItem_copies_the_blocks_before_the_first_failure_only) {
  struct {
    const char* failing;
    bool normalErrcode, highErrcode, highContext, normalContext;
  } const cases[] = {
      {"db_get_nhp_group_ftn_dest_ip_addr", false, false, false, false},
      {"db_get_nhp_group_ftn_errcode_normal_prio", false, false, false, false},
      {"db_get_nhp_group_ftn_errcode_high_prio", true, false, false, false},
      {"db_get_nhp_group_ftn_svc_ctx_high_prio", true, true, false, false},
      {"db_get_nhp_group_ftn_svc_ctx_normal_prio", true, true, true, false},
      {"db_get_nhp_group_ftn_app_source_id", true, true, true, true},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.failing);
    platform.errorLines.clear();
    platform.fail(one.failing, 4294967295);
    FibDbNhpGroupItem out{};
    FIB_DB_GetNhpGroupFtnItem(1, &out);
    EXPECT_EQ(out.errcode_normal_prio[1], one.normalErrcode ? 0x13 : 0);
    EXPECT_EQ(out.errcode_high_prio[1], one.highErrcode ? 0x12 : 0);
    EXPECT_EQ(out.svc_ctx_high_prio[31], one.highContext ? 0xEE : 0);
    EXPECT_EQ(out.svc_ctx_normal_prio[31], one.normalContext ? 0xFF : 0);
    EXPECT_EQ(out.table_smooth_id, 17u);
    EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpGroupItem failed, ret: 4294967295."));
  }
}

TEST_F(NhpGroupFtnTest, ReadNhpGroupFtn_whose_context_copy_fails_says_0_ends_the_filling_and_succeeds) {
  platform.fail("memcpy_s", 1);
  FibDbNhpGroupItem out{};
  EXPECT_EQ(FIB_DB_ReadNhpGroupFtn(&out), 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpGroupItem memcpy nhp group high svcCtx failed, ret: 0."));
  EXPECT_EQ(platform.calls[platform.calls.size() - 2], "db_get_nhp_group_ftn_svc_ctx_high_prio(#1, no length)");
  EXPECT_EQ(out.app_source_id, 0u);

  platform.errorLines.clear();
  platform.fail("memcpy_s", 0);
  platform.fail("memcpy_s", 1);
  EXPECT_EQ(FIB_DB_ReadNhpGroupFtn(&out), 0u);
  EXPECT_THAT(platform.errorLines, ElementsAre("GetNhpGroupItem memcpy nhp group normal svcCtx failed, ret: 0."));
  EXPECT_EQ(out.svc_ctx_high_prio[31], 0xEE);
  EXPECT_EQ(out.app_source_id, 0u);
  EXPECT_EQ(allCounted(), 0u);
}

// Remove.
TEST_F(NhpGroupFtnTest, RemoveNhpGroupFtn_removes_by_the_primary_key) {
  EXPECT_EQ(FIB_DB_RemoveNhpGroupFtn(&item), 0u);
  EXPECT_THAT(platform.calls,
              ElementsAre("db_create_nhp_group_ftn_obj(4)", std::string("db_remove_obj(#1, ") + kKey + ")",
                          "db_release_nhp_group_ftn_object(#1)"));
}

TEST_F(NhpGroupFtnTest, RemoveNhpGroupFtn_failure_returns_the_code_says_so_and_counts_REMOVE) {
  platform.fail("db_remove_obj", 4294967295);
  EXPECT_EQ(FIB_DB_RemoveNhpGroupFtn(&item), 4294967295u);
  EXPECT_THAT(platform.errorLines, ElementsAre("RemoveNhpGroup failed, ret: 4294967295"));
  EXPECT_TRUE(countedOnce(18, 4));
}

TEST_F(NhpGroupFtnTest, RemoveNhpGroupFtn_answered_with_a_publication_returns_0_and_counts_PUB) {
  platform.fail("db_remove_obj", 13044);
  EXPECT_EQ(FIB_DB_RemoveNhpGroupFtn(&item), 0u);
  EXPECT_TRUE(countedOnce(18, 1));
  EXPECT_TRUE(silent());
}

TEST_F(NhpGroupFtnTest, RemoveNhpGroupFtn_whose_object_fails_says_so_in_the_groups_words) {
  platform.fail("db_create_nhp_group_ftn_obj", 9);
  EXPECT_EQ(FIB_DB_RemoveNhpGroupFtn(&item), 9u);
  EXPECT_THAT(platform.errorLines, ElementsAre("RemoveNhpGroup failed, create object failed, ret:9."));
  EXPECT_EQ(allCounted(), 0u);
}

TEST_F(NhpGroupFtnTest, RemoveNhpGroupFtn_of_NULL_returns_1_silently) {
  EXPECT_EQ(FIB_DB_RemoveNhpGroupFtn(nullptr), 1u);
  EXPECT_THAT(platform.calls, IsEmpty());
  EXPECT_TRUE(silent());
}

}  // namespace
}  // namespace fibdb::test
