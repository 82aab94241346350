// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/runtime/diagnostics_test.cc: error statistics, operation names, update timing, result processors.
#include <ostream>

#include "tests/support/tables_fixture.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;

class DiagnosticsTest : public TablesTest {};

TEST_F(DiagnosticsTest, RecordErrStat_counts_every_cell_of_the_matrix) {
  for (uint32_t table = 0; table < 19; ++table) {
    for (uint32_t oper = 0; oper < 7; ++oper) {
      FIB_DB_RecordErrStat(table, oper);
      EXPECT_EQ(counted(table, oper), 1u);
    }
  }
  EXPECT_EQ(allCounted(), 19u * 7u);
  EXPECT_TRUE(silent());
}

TEST_F(DiagnosticsTest, RecordErrStat_outside_the_matrix_is_logged_and_counts_nothing) {
  FIB_DB_RecordErrStat(19, 0);
  FIB_DB_RecordErrStat(0, 7);
  FIB_DB_RecordErrStat(0xFFFFFFFF, 0xFFFFFFFF);
  EXPECT_EQ(allCounted(), 0u);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("Set db error stat fail. table 19, error 0", "Set db error stat fail. table 0, error 7",
                          "Set db error stat fail. table 4294967295, error 4294967295"));
}

TEST_F(DiagnosticsTest, RecordErrStat_wraps_silently) {
  g_fibDbErrStat[18][6] = 0xFFFFFFFF;
  FIB_DB_RecordErrStat(18, 6);
  EXPECT_EQ(counted(18, 6), 0u);
  EXPECT_TRUE(silent());
}

TEST_F(DiagnosticsTest, GetDbErrOprStr_names_the_operations) {
  const char* const names[] = {"READ", "PUB", "WRITE", "UPDATE", "REMOVE", "EXEC", "ITERATOR", "ERR"};
  for (uint32_t oper = 0; oper < 8; ++oper) EXPECT_STREQ(FIB_DB_GetDbErrOprStr(oper), names[oper]);
  EXPECT_STREQ(FIB_DB_GetDbErrOprStr(8), "UNKNOW");
  EXPECT_STREQ(FIB_DB_GetDbErrOprStr(0xFFFFFFFF), "UNKNOW");
}

TEST_F(DiagnosticsTest, GetTickCost_is_the_switch) {
  EXPECT_EQ(FIB_DB_GetTickCost(), 0u);
  g_fibGetDbOperTickCost = 5;
  EXPECT_EQ(FIB_DB_GetTickCost(), 5u);
}

// The record is updated first, then the line shows the new values.
TEST_F(DiagnosticsTest, UpdateTick_at_the_threshold_goes_to_the_info_hook) {
  FIB_DB_UpdateTick(0.1);
  EXPECT_THAT(platform.infoLines,
              ElementsAre("[fib nhp std] DB oper timeCost: latest=0.100000s, all=0.100000s, max=0.100000s, "
                          "min=0.100000s, averg=0.100000s, count=1, ReachedThresholdCount=0."));
  EXPECT_TRUE(platform.errorLines.empty());
}

TEST_F(DiagnosticsTest, UpdateTick_above_the_threshold_is_counted_and_goes_to_the_error_hook) {
  FIB_DB_UpdateTick(0.25);
  FIB_DB_UpdateTick(0.1000001);
  ASSERT_EQ(platform.errorLines.size(), 2u);
  EXPECT_EQ(platform.errorLines[1],
            "[fib nhp std] DB oper timeCost: latest=0.100000s, all=0.350000s, max=0.250000s, min=0.100000s, "
            "averg=0.175000s, count=2, ReachedThresholdCount=2.");
  EXPECT_TRUE(platform.infoLines.empty());
}

TEST_F(DiagnosticsTest, UpdateTick_of_a_first_slow_sample_leaves_min_at_1000) {
  FIB_DB_UpdateTick(2000.0);
  EXPECT_EQ(g_fibDbOperTickCost.min, 1000.0);
  EXPECT_EQ(g_fibDbOperTickCost.max, 2000.0);
  EXPECT_EQ(g_fibDbOperTickCost.latest, 2000.0);
  EXPECT_EQ(g_fibDbOperTickCost.averg, 2000.0);
  EXPECT_EQ(g_fibDbOperTickCost.count, 1u);
}

TEST_F(DiagnosticsTest, UpdateTick_without_hooks_still_counts) {
  const FibDbLogHooks off{.info = nullptr, .error = nullptr};
  FIB_DB_LogFuncInit(&off);
  FIB_DB_UpdateTick(1);
  FIB_DB_UpdateTick(0.01);
  EXPECT_EQ(g_fibDbOperTickCost.count, 2u);
  EXPECT_EQ(g_fibDbOperTickCost.ReachedThresholdCount, 1u);
}

// The family of write processors, side by side.
struct Writer {
  const char* name;
  uint32_t (*settle)(uint32_t, uint32_t);
  uint32_t table;
  const char* saysFor7AndUpdate;

  friend void PrintTo(const Writer& row, std::ostream* out) { *out << row.name; }
};
constexpr Writer kWriters[] = {
    {"EcmpCfg", FIB_DB_ProcEcmpCfgWriteDBResult, 14, "UPDATE ecmp cfg db fail. ret = 7"},
    {"GlbCfg", FIB_DB_ProcGlbCfgWriteDBResult, 13, "UPDATE fib global cfg db fail. ret = 7"},
    {"Nhp", FIB_DB_ProcNhpWriteDBResult, 3, nullptr},
    {"NhpExt", FIB_DB_ProcNhpExtWriteDBResult, 7, "UPDATE fib nhp ext db fail. ret = 7"},
    {"NhpGrpNode", FIB_DB_ProcNhpGrpNodeWriteDBResult, 2, "UPDATE fib nhp group node db fail. ret = 7"},
    {"NhpLla", FIB_DB_ProcNhpLlaWriteDBResult, 9, "UPDATE fib nhp lla db fail. ret = 7"},
    {"Nhp4ExtSrv6Te", FIB_DB_Nhp4ExtSrv6TeLog, 17, "UPDATE nhp Nhp4ExtSrv6Te db fail. ret = 7"},
    {"NhpStd", FIB_DB_ProcNhpStdWriteDBResult, 4, "UPDATE fib nhp std db fail. ret = 7"},
    {"NhpVpn", FIB_DB_ProcNhpVpnWriteDBResult, 5, "UPDATE fib global cfg db fail. ret = 7"},
    {"NhpVpnSid", FIB_DB_NhpVpnSidLog, 16, "UPDATE nhp vpnsid db fail. ret = 7"},
    {"NhpVxlan", FIB_DB_ProcNhpVxlanWriteDBResult, 6, "UPDATE fib nhp vxlan db fail. ret = 7"},
};

class WriteProcessor : public TablesTest, public testing::WithParamInterface<Writer> {};

TEST_P(WriteProcessor, passes_success_silently) {
  EXPECT_EQ(GetParam().settle(0, 2), 0u);
  EXPECT_EQ(allCounted(), 0u);
  EXPECT_TRUE(silent());
}

TEST_P(WriteProcessor, makes_a_publication_a_success_counted_under_PUB) {
  EXPECT_EQ(GetParam().settle(13044, 4), 0u);
  EXPECT_TRUE(countedOnce(GetParam().table, 1));
  EXPECT_TRUE(silent());
}

TEST_P(WriteProcessor, returns_another_code_raw_said_and_counted_under_the_operation) {
  EXPECT_EQ(GetParam().settle(7, 3), 7u);
  EXPECT_TRUE(countedOnce(GetParam().table, 3));
  if (GetParam().saysFor7AndUpdate == nullptr) {
    EXPECT_TRUE(silent());
  } else {
    EXPECT_THAT(platform.errorLines, ElementsAre(GetParam().saysFor7AndUpdate));
  }
}

TEST_P(WriteProcessor, has_no_special_meaning_for_a_missing_record) {
  EXPECT_EQ(GetParam().settle(15005, 4), 15005u);
  EXPECT_TRUE(countedOnce(GetParam().table, 4));
}

INSTANTIATE_TEST_SUITE_P(Family, WriteProcessor, testing::ValuesIn(kWriters),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(DiagnosticsTest, Processors_print_a_large_code_signed_but_for_two) {
  FIB_DB_ProcNhpStdWriteDBResult(0xFFFFFFFF, 2);
  FIB_DB_Nhp4ExtSrv6TeLog(0xFFFFFFFF, 2);
  FIB_DB_NhpVpnSidLog(0xFFFFFFFF, 2);
  EXPECT_THAT(platform.errorLines,
              ElementsAre("WRITE fib nhp std db fail. ret = -1", "WRITE nhp Nhp4ExtSrv6Te db fail. ret = 4294967295",
                          "WRITE nhp vpnsid db fail. ret = 4294967295"));
}

// The family of read processors.
struct Reader {
  const char* name;
  uint32_t (*settle)(uint32_t, uint32_t);
  uint32_t table;
  uint32_t success;
  const char* saysFor7AndRead;

  friend void PrintTo(const Reader& row, std::ostream* out) { *out << row.name; }
};
constexpr Reader kReaders[] = {
    {"Ip4Fwd", FIB_DB_ProcIp4FwdReadDBResult, 0, 0, "READ fib ipv4 forward db fail. ret = 7."},
    {"NhpVxlan", FIB_DB_ProcNhpVxlanReadDBResult, 6, 0, "READ fib nhp vxlan db fail. ret = 7."},
    {"EcmpCfg", FIB_DB_ProcEcmpCfgReadDBErrResult, 14, 1, "READ ecmp cfg db fail. ret = 7."},
};

class ReadProcessor : public TablesTest, public testing::WithParamInterface<Reader> {};

TEST_P(ReadProcessor, says_and_counts_nothing_for_success) {
  EXPECT_EQ(GetParam().settle(0, 0), GetParam().success);
  EXPECT_EQ(allCounted(), 0u);
  EXPECT_TRUE(silent());
}

TEST_P(ReadProcessor, maps_a_missing_record_to_60_silently) {
  EXPECT_EQ(GetParam().settle(15005, 0), 60u);
  EXPECT_EQ(allCounted(), 0u);
  EXPECT_TRUE(silent());
}

TEST_P(ReadProcessor, maps_another_code_to_1_said_and_counted) {
  EXPECT_EQ(GetParam().settle(7, 0), 1u);
  EXPECT_TRUE(countedOnce(GetParam().table, 0));
  EXPECT_THAT(platform.errorLines, ElementsAre(GetParam().saysFor7AndRead));
}

TEST_P(ReadProcessor, has_no_special_meaning_for_a_publication) {
  EXPECT_EQ(GetParam().settle(13044, 0), 1u);
  EXPECT_TRUE(countedOnce(GetParam().table, 0));
}

INSTANTIATE_TEST_SUITE_P(Family, ReadProcessor, testing::ValuesIn(kReaders),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(DiagnosticsTest, ProcIp4FwdIterDBResult_passes_success_and_the_end) {
  FIB_DB_ProcIp4FwdIterDBResult(0);
  FIB_DB_ProcIp4FwdIterDBResult(110012);
  EXPECT_EQ(allCounted(), 0u);
  EXPECT_TRUE(silent());
  FIB_DB_ProcIp4FwdIterDBResult(15005);
  EXPECT_TRUE(countedOnce(0, 6));
  EXPECT_THAT(platform.errorLines, ElementsAre("Get next ipv4 forward db fail. ret = 15005"));
}

TEST_F(DiagnosticsTest, PrintIp4FwdReadDBResult_passes_success_and_a_missing_record) {
  FIB_DB_PrintIp4FwdReadDBResult(0);
  FIB_DB_PrintIp4FwdReadDBResult(15005);
  EXPECT_EQ(allCounted(), 0u);
  EXPECT_TRUE(silent());
  FIB_DB_PrintIp4FwdReadDBResult(110012);
  EXPECT_TRUE(countedOnce(0, 0));
  EXPECT_THAT(platform.errorLines, ElementsAre("Get ipv4 forward db fail. ret = 110012."));
}

}  // namespace
}  // namespace fibdb::test
