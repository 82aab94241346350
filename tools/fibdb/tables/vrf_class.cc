// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/vrf_class.cc: VRF class data, keyed by table, producer, router and VRF. The library reads and
// counts them, and leaves writing to others.
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbVrfClassDataItem;

constexpr Field kFields[] = {
    key<&Item::table_id>("table"),
    key<&Item::producer_pid>("producer"),
    key<&Item::vr_id>("vr"),
    key<&Item::vrf_index>("vrf"),
    shown<&Item::topology_id>("topology"),
    shown<&Item::vrf_state>("state"),
    shown<&Item::vrf_data_machine>("data_machine"),
    shown<&Item::vrf_state_version>("state_version"),
    shown<&Item::vrf_data_version>("data_version"),
    shown<&Item::smooth_flag>("smooth_flag"),
    shown<&Item::time_stamp_verify_begin>("verify_begin"),
    shown<&Item::time_stamp_verify_end>("verify_end"),
    shown<&Item::time_stamp_age_begin>("age_begin"),
    shown<&Item::time_stamp_age_end>("age_end"),
};

constexpr Selection kSelections[] = {{"table state smooth_flag", {}, countUnder<FIB_DB_CountVrfClassDataByKey>}};

}  // namespace

constexpr RecordTable kVrfClasses{
    .word = "vrf-class",
    .one = "a VRF class record",
    .many = "VRF class records",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .read = onItem<FIB_DB_ReadVrfClassData>,
    .selections = kSelections,
    .details = "The library neither writes nor lists them: \"show table vrf_class_data\" shows what others wrote.",
};

}  // namespace fibdb::program
