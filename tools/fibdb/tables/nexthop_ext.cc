// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/nexthop_ext.cc: next-hop extensions, keyed by four words and a byte.
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/tables/record_tables.h"
#include "tools/fibdb/tables/rows.h"

namespace fibdb::program {
namespace {

using Item = FibDbNhpExtItem;

// Fields of the service's state have an update of their own.
constexpr FieldHow kState{.change = onItem<FIB_DB_UpdateNhpExtContext>};
constexpr FieldHow kUnlistedState{.listed = false, .change = onItem<FIB_DB_UpdateNhpExtContext>};
constexpr FieldHow kUnlisted{.listed = false};

// Keys are named after what the indexes of the embedded engine take them for.
constexpr Field kFields[] = {
    key<&Item::keyWords, 0>("iid"),
    key<&Item::keyWords, 1>("key2"),
    key<&Item::keyWords, 2>("key3"),
    key<&Item::keyWords, 3>("tunnel"),
    key<&Item::keyByte>("type"),
    property<&Item::addr1>("addr1", {.kind = Kind::kAddress6}),
    property<&Item::addr2>("addr2", {.kind = Kind::kAddress6}),
    property<&Item::status_high_prio>("status_high", kState),
    property<&Item::status_normal_prio>("status_normal", kState),
    property<&Item::errcode_high_prio>("errcode_high", kState),
    property<&Item::errcode_normal_prio>("errcode_normal", kState),
    property<&Item::svc_ctx_high_prio>("ctx_high", kUnlistedState),
    property<&Item::svc_ctx_normal_prio>("ctx_normal", kUnlistedState),
    property<&Item::time_stamp_svc>("svc_time", kUnlistedState),
    property<&Item::extByte1>("byte1", kUnlisted),
    property<&Item::extByte2>("byte2", kUnlisted),
    property<&Item::extBytes>("bytes", kUnlisted),
    property<&Item::extWord1>("word1", kUnlisted),
    property<&Item::extWord2>("word2", kUnlisted),
    property<&Item::extWord3>("word3", kUnlisted),
    property<&Item::extWord4>("word4", kUnlisted),
    property<&Item::extWord5>("word5", kUnlisted),
    property<&Item::extDword1>("dword1", kUnlisted),
    property<&Item::extDword2>("dword2", kUnlisted),
};

constexpr Field kKeyColumns[] = {key<&Item::keyWords>("keyWords"), key<&Item::keyByte>("keyByte")};

std::optional<std::vector<Item>> findAll(const Item*) {
  return recordsOfRows<FIB_DB_ReadNhpExt, FIB_DB_NOT_FOUND>("nhp_ext", kKeyColumns);
}

// By IID index the library reads records in bulk; the iterator that it makes has no step.
std::optional<std::vector<Item>> findByIid(const Item* query) {
  const uint32_t iid = query->keyWords[0];
  uint32_t records = 0;
  if (call<FIB_DB_CountNhpExtByIidIndex>(iid, &records) != FIB_DB_OK) return std::nullopt;
  // Room for one more: none at all would be refused.
  std::vector<Item> items(size_t{records} + 1);
  const auto size = static_cast<uint32_t>(items.size() * sizeof(Item));
  if (call<FIB_DB_ReadNhpExtByIidIndex>(iid, size, items.data(), &records) != FIB_DB_OK) return std::nullopt;
  items.resize(records);
  return items;
}

void* iterateBySdwanKey(const Item* query, uint32_t property) {
  return call<FIB_DB_CreateNhpExtIterByTnlIdAndType>(query->keyWords[3], query->keyByte, property);
}

void* iterateByTunnel(const Item* query, uint32_t property) {
  return call<FIB_DB_CreateNhpExtIteratorByTunnelId>(query->keyWords[1], query->keyWords[2], query->keyWords[3],
                                                     query->keyByte, property);
}

constexpr Selection kSelections[] = {
    {"iid", foundWith<findByIid, DB_ERR_ITER_END>()},
    {"tunnel type", walkOf<iterateBySdwanKey, FIB_DB_GetNextNhpExtEntry, FIB_DB_ReleaseNhpExtIterator>()},
    {"key2 key3 tunnel type", walkOf<iterateByTunnel, FIB_DB_GetNextNhpExtEntry, FIB_DB_ReleaseNhpExtIterator>()},
};

}  // namespace

constexpr RecordTable kNexthopExts{
    .word = "nexthop-ext",
    .one = "a next-hop extension",
    .many = "next-hop extensions",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .codes = {.missing = FIB_DB_NOT_FOUND, .end = DB_ERR_ITER_END},
    .read = onItem<FIB_DB_ReadNhpExt>,
    .write = onItem<FIB_DB_WriteNhpExt>,
    .change = onItem<FIB_DB_WriteNhpExt>,
    .remove = onItem<FIB_DB_RemoveNhpExt>,
    .walk = foundWith<findAll, DB_ERR_ITER_END>(),
    .selections = kSelections,
    .nexthop = "iid",
};

}  // namespace fibdb::program
