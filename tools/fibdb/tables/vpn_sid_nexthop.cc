// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/vpn_sid_nexthop.cc: VPN SID next hops, keyed by their index, two words and a SID.
#include "tools/fibdb/tables/record_tables.h"
#include "tools/fibdb/tables/service_state.h"

namespace fibdb::program {
namespace {

using Item = FibDbNhpVpnSidItem;

constexpr FieldHow kIpv6{.kind = Kind::kAddress6Words};

constexpr auto kFields = withServiceState<Item>({
    key<&Item::key_word1>("index"),
    key<&Item::key_word2>("key2"),
    key<&Item::key_word3>("key3"),
    key<&Item::sid>("sid", kIpv6),
    property<&Item::addr2>("addr2", kIpv6),
    property<&Item::addr3>("addr3", kIpv6),
    property<&Item::flags>("flags", {.change = onItem<FIB_DB_UpdateNhpVpnSidFlag>}),
    property<&Item::attr_byte1>("byte1"),
    property<&Item::attr_byte2>("byte2"),
    property<&Item::attr_byte3>("byte3", {.listed = false}),
    property<&Item::attr_word1>("attr1", {.listed = false}),
    property<&Item::attr_word2>("attr2", {.listed = false}),
    property<&Item::attr_word3>("attr3", {.listed = false}),
    property<&Item::attr_word4>("attr4", {.listed = false}),
    property<&Item::attr_word5>("attr5", {.listed = false}),
    property<&Item::block16a>("block1", {.listed = false}),
    property<&Item::block16b>("block2", {.listed = false}),
    property<&Item::block32a>("block3", {.listed = false}),
    property<&Item::block32b>("block4", {.listed = false}),
});

template <auto kCreate>
constexpr Walk walkFrom() {
  return walkOf<kCreate, FIB_DB_GetNextNhpVpnSidEntry, FIB_DB_ReleaseNhpVpnSidIterator>();
}

constexpr Selection kSelections[] = {
    {"index", walkFrom<under<FIB_DB_CreateNhpVpnSidIteratorByNhpIndex, &Item::key_word1>>()},
    {"key2 key3 sid",
     walkFrom<under<FIB_DB_CreateNhpVpnSidIteratorByVpnSid, &Item::key_word2, &Item::key_word3, &Item::sid>>()},
    {"key2 key3 addr2 byte1 byte2",
     walkFrom<under<FIB_DB_CreateNhpVpnSidIteratorByXsidInfo, &Item::key_word2, &Item::key_word3, &Item::addr2,
                    &Item::attr_byte1, &Item::attr_byte2>>()},
};

}  // namespace

constexpr RecordTable kVpnSidNexthops{
    .word = "vpn-sid-nexthop",
    .one = "a VPN SID next hop",
    .many = "VPN SID next hops",
    .itemSize = sizeof(Item),
    .fields = kFields,
    // Read through the table service, iterated without it.
    .codes = {.missing = DB_ERR_NO_DATA, .end = FIB_DB_NOT_FOUND},
    .read = onItem<FIB_DB_ReadNhpVpnSid>,
    .write = onItem<FIB_DB_WriteNhpVpnSid>,
    .change = onItem<FIB_DB_WriteNhpVpnSid>,
    .remove = onItem<FIB_DB_RemoveNhpVpnSid>,
    .walk = walkFrom<FIB_DB_CreateNhpVpnSidIterator>(),
    .selections = kSelections,
    .nexthop = "index",
};

}  // namespace fibdb::program
