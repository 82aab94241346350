// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/srv6_te_nexthop.cc: what SRv6 traffic engineering adds to next hops, keyed by their index,
// three words, an address and a type.
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbNhpSrv6TeItem;

constexpr FieldHow kIpv6{.kind = Kind::kAddress6Words};

constexpr Field kFields[] = {
    key<&Item::key_word1>("index"),
    key<&Item::key_word2>("key2"),
    key<&Item::key_word3>("key3"),
    key<&Item::key_word4>("key4"),
    key<&Item::addr>("address", kIpv6),
    key<&Item::type_byte>("type"),
    property<&Item::addr2>("addr2", kIpv6),
    property<&Item::attr_byte1>("byte1", {.listed = false}),
    property<&Item::attr_byte2>("byte2", {.listed = false}),
    property<&Item::attr_byte3>("byte3", {.listed = false}),
    property<&Item::attr_word1>("attr1", {.listed = false}),
    property<&Item::attr_word2>("attr2", {.listed = false}),
    property<&Item::attr_word3>("attr3", {.listed = false}),
    property<&Item::attr_word4>("attr4", {.listed = false}),
    property<&Item::block1>("block1", {.listed = false}),
    property<&Item::block2>("block2", {.listed = false}),
    property<&Item::status_high_prio>("status_high"),
    property<&Item::status_normal_prio>("status_normal"),
    property<&Item::errcode_high_prio>("error_high"),
    property<&Item::errcode_normal_prio>("error_normal"),
    property<&Item::svc_ctx_high_prio>("context_high", {.listed = false}),
    property<&Item::svc_ctx_normal_prio>("context_normal", {.listed = false}),
    property<&Item::time_stamp_app>("stamp_app", {.listed = false}),
    property<&Item::time_stamp_svc>("stamp_svc", {.listed = false}),
};

// One record is what a bulk read finds under its primary key.
uint32_t readOne(Item* item) {
  FibDbKeyDesc desc{};
  uint8_t key[FIB_DB_PP4EXT_SRV6_TE_PRIMARY & 0xFFFF];
  FIB_DB_SetNhp4ExtSrv6TeKeyField(&desc, key, item);
  uint32_t found = 0;
  const uint32_t code = call<FIB_DB_ReadNhp4ExtSrv6TeByKey>(&desc, key, sizeof *item, item, &found);
  const bool none = code == DB_ERR_NO_DATA || (code == FIB_DB_OK && found == 0);
  return none ? uint32_t{FIB_DB_NOT_FOUND} : code;
}

template <auto kCreate>
constexpr Walk walkFrom() {
  return walkOf<kCreate, FIB_DB_GetNextNhp4ExtSrv6TeEntry, FIB_DB_ReleaseNhp4ExtSrv6TeIterator>();
}

constexpr Selection kSelections[] = {
    {"index", walkFrom<under<FIB_DB_CreateNhp4ExtSrv6TeIterByNhpIndex, &Item::key_word1>>()},
    {"key2 key3 key4 type", walkFrom<under<FIB_DB_CreateNhp4ExtSrv6TeIterByPolicyInfo, &Item::key_word2,
                                           &Item::key_word3, &Item::key_word4, &Item::type_byte>>()},
};

}  // namespace

constexpr RecordTable kSrv6TeNexthops{
    .word = "srv6-te-nexthop",
    .one = "an SRv6 TE next hop",
    .many = "SRv6 TE next hops",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .read = onItem<readOne>,
    .write = onItem<FIB_DB_WriteNhp4ExtSrv6Te>,
    .change = onItem<FIB_DB_WriteNhp4ExtSrv6Te>,
    .remove = onItem<FIB_DB_RemoveNhpPp4ExtSrv6Te>,
    .walk = walkFrom<FIB_DB_CreateNhp4ExtSrv6TeIterator>(),
    .selections = kSelections,
    .nexthop = "index",
};

}  // namespace fibdb::program
