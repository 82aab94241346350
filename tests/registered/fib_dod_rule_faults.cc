// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/registered/fib_dod_rule_faults.cc: the rows of the rules of on-demand routes for the fault loop.
#include "fibdb/registered.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbDodRuleItem item{.ruleKey1 = 1, .ruleKey2 = 2, .ruleKey3 = 3, .ruleKeyLen = 4};
const FibDbUfibData context{.data = &item, .len = sizeof item};

uint32_t matched(uint32_t code) { return code == 110012 ? 10003 : code; }

const FaultRows kRows{
    {"FIB_DB_GetDodRuleFields", [] { return unpacked<FibDbDodRuleItem>(FIB_DB_GetDodRuleFields, &item); }, {}},
    {"FIB_DB_SetDodRulePriKey", [] { return keyBuilt(FIB_DB_SetDodRulePriKey, &item); }, {}},
    {"FIB_DB_SetDodRuleSmoothID",
     [] { return FIB_DB_SetDodRuleSmoothID(&context, callersObject); },
     {{"db_set_fib_dod_rule_table_smooth_id", raw}}},
    {"FIB_DB_CreatDodRule", [] { return FIB_DB_CreatDodRule(&item); }, {{"UFIB_DB_Create", raw}}},
    {"FIB_DB_ReadDodRule", [] { return FIB_DB_ReadDodRule(&item); }, {{"UFIB_DB_Read", raw}}},
    {"FIB_DB_ReadDodRuleByLpm", [] { return FIB_DB_ReadDodRuleByLpm(&item); },
     onObjectOf("fib_dod_rule",
                {{"db_create_root_iter", raw}, {"db_root_iterator_next", matched}, {"db_read_obj_with_buf", raw}})},
    {"FIB_DB_UpdateDodRuleSmthId",
     [] { return FIB_DB_UpdateDodRuleSmthId(&item); },
     {{"UFIB_DB_Update", raw}, {"db_set_fib_dod_rule_table_smooth_id", raw}}},
    {"FIB_DB_DeleteDodRule", [] { return FIB_DB_DeleteDodRule(&item); }, {{"UFIB_DB_Delete", raw}}},
    {"FIB_DB_CreateDodRuleIterator",
     [] { return made(FIB_DB_CreateDodRuleIterator(0), FIB_DB_ReleaseDodRuleIterator); }, serviceIterator()},
    {"FIB_DB_GetNextDodRuleEntry",
     [] { return FIB_DB_GetNextDodRuleEntry(&item, &item); },
     {{"UFIB_DB_GetNextEntry", raw}}},
    {"FIB_DB_ReleaseDodRuleIterator", [] { return FIB_DB_ReleaseDodRuleIterator(nullptr); }, {}},
};

}  // namespace
}  // namespace fibdb::test::fault
