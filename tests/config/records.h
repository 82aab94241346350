// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/config/records.h: the two configuration records as data, so that what is one shape in both is tested once.
#ifndef FIBDB_TESTS_CONFIG_RECORDS_H
#define FIBDB_TESTS_CONFIG_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "fibdb/config.h"
#include "platform/schema/catalog.h"
#include "tests/support/failing_code.h"

namespace fibdb::test {

// What becomes of a call that failed: the status, and the lines of the error hook.
struct Failed {
  uint32_t status;
  std::vector<std::string> lines;
};

struct Record {
  // A value that a new record has without its caller's doing.
  struct Default {
    std::string field;
    uint32_t value;
  };
  struct IteratorTexts {
    std::string malloc, createObj, createIter, setProperty;
  };

  schema::TableId table;
  std::string name;  // of the table
  uint32_t stat;     // its row of the error matrix
  size_t itemSize;
  std::vector<Default> defaults;     // in the order in which they are staged
  std::vector<std::string> scalars;  // in the order in which an item is filled
  std::vector<std::string> nodes;    // the same, behind the scalars

  // What becomes of calls that fail with kCode.
  Failed readCreate, read;
  Failed writeCreate, write;
  Failed updateCreate, update;
  Failed removeCreate, remove;
  // What a setter that returns 1 makes of its write and its update.
  Failed writeStage, updateStage;
  std::string fillFailed;
  std::string stepFailed;
  IteratorTexts iterator;

  uint32_t (*init)(uint64_t obj);
  uint32_t (*fill)(uint64_t obj, void* item);
  uint32_t (*readCommon)(uint32_t vrId, uint64_t* outObj);
  uint32_t (*exists)(const uint32_t* vrId);
  uint32_t (*readItem)(void* item);
  uint32_t (*readWith)(const uint32_t* vrId, void* data, FibDbEcmpCfgGetter getter);
  uint32_t (*writeWith)(const uint32_t* vrId, const void* data, FibDbEcmpCfgSetter setter);
  uint32_t (*updateWith)(const uint32_t* vrId, const void* data, FibDbEcmpCfgSetter setter);
  uint32_t (*removeOf)(const uint32_t* vrId);
  FibDbIterator* (*iterate)(uint32_t vrId);
  uint32_t (*next)(FibDbIterator* iterator, void* item);
  void (*releaseIterator)(FibDbIterator* iterator);
};

inline const Record& ecmpRecord() {
  static const Record record{
      .table = schema::TableId::ecmp_cfg,
      .name = "ecmp_cfg",
      .stat = 14,
      .itemSize = sizeof(FibDbEcmpCfgItem),
      .defaults = {{"vxlan_overlay_mode", 4294967295},
                   {"local_enhanced", 4294967295},
                   {"local_chassis", 4294967295},
                   {"dlb_gap_time", 2000},
                   {"ecmp_gtp_teid", 4294967295},
                   {"ecmp_perpacket_mode", 1}},
      .scalars = {"vr_id", "ecmp_hash_bala", "ecmp_stateful_enhanced", "rail_group_enable", "has_rail_group_member",
                  "vxlan_overlay_mode", "local_enhanced", "local_chassis", "dlb_gap_time", "ecmp_gtp_teid",
                  "ecmp_dpfr_enable", "vxlan_overlay_hash_stateful", "ecmp_rocev2_perpacket", "ecmp_perpacket",
                  "ecmp_perpacket_mode", "ecmp_stateful_num", "ecmp_dlb_enable"},
      .nodes = {"ecmp_hash_mode", "ecmp_seed", "ecmp_proc", "ecmp_tunnel", "nvo3_vxlan_hash", "ecmp_universalId"},
      .readCreate = {1, {"read ecmp cfg common fail, create object failed, ret: 4294967289."}},
      .read = {1, {"READ ecmp cfg db fail. ret = -7."}},
      .writeCreate = {kCode, {"WriteEcmpCfg fail, create object failed, ret: 4294967289."}},
      .write = {kCode, {"WRITE ecmp cfg db fail. ret = -7"}},
      .updateCreate = {1, {}},
      .update = {1, {"UPDATE ecmp cfg db fail. ret = -7"}},
      .removeCreate = {kCode, {"remove ecmp cfg fail, create object fail, ret:4294967289."}},
      .remove = {kCode, {"REMOVE ecmp cfg db fail. ret = -7"}},
      .writeStage = {1, {}},
      .updateStage = {1, {}},
      .fillFailed = "GetEcmpCfgItem basic fields fail, ret=4294967289.",
      .stepFailed = "Get next ecmp cfg db fail. ret = -7",
      .iterator = {.malloc = "CreateEcmpCfgIterator malloc failed",
                   .createObj = "CreateEcmpCfgIterator createObj failed, ret: -7",
                   .createIter = "CreateEcmpCfgIterator createIter failed, ret: -7",
                   .setProperty = "CreateEcmpCfgIterator setProperty failed, ret: -7"},
      .init = FIB_DB_InitEcmpCfg,
      .fill = [](uint64_t obj, void* item) { return FIB_DB_GetEcmpCfgItem(obj, static_cast<FibDbEcmpCfgItem*>(item)); },
      .readCommon = FIB_DB_ReadEcmpCfgCommon,
      .exists = FIB_DB_IsEcmpCfgExist,
      .readItem = [](void* item) { return FIB_DB_ReadEcmpCfg(static_cast<FibDbEcmpCfgItem*>(item)); },
      .readWith = FIB_DB_ReadEcmpCfgInfo,
      .writeWith = FIB_DB_WriteEcmpCfg,
      .updateWith = FIB_DB_UpdateEcmpCfg,
      .removeOf = FIB_DB_RemoveEcmpCfg,
      .iterate = FIB_DB_CreateEcmpCfgIterator,
      .next = [](FibDbIterator* iterator,
                 void* item) { return FIB_DB_GetNextEcmpCfg(iterator, static_cast<FibDbEcmpCfgItem*>(item)); },
      .releaseIterator = FIB_DB_ReleaseEcmpCfgIterator,
  };
  return record;
}

inline const Record& globalRecord() {
  static const Record record{
      .table = schema::TableId::global_cfg,
      .name = "global_cfg",
      .stat = 13,
      .itemSize = sizeof(FibDbGlbCfgItem),
      .defaults = {{"meth_isolate", 2}, {"icmp_echo_fast", 2}, {"indirect_next", 2}},
      .scalars = {"vr_id", "meth_isolate", "icmp_echo_fast", "indirect_next", "isIgnr", "doNotDecTtl",
                  "mlag_route_enhance", "dod_enable", "load_balance_reverse"},
      .nodes = {"load_balance"},
      .readCreate = {1, {"Read cfg common fail, create object failed. ret = -7."}},
      .read = {1, {"Get glb db fail. ret = -7."}},
      .writeCreate = {1, {"WriteGlbCfgFunc fail, create object failed. ret = 4294967289."}},
      .write = {1, {"WRITE fib global cfg db fail. ret = -7"}},
      .updateCreate = {kCode, {"UpdateIsolate fail, create object failed. ret = -7."}},
      .update = {kCode, {"UPDATE fib global cfg db fail. ret = -7"}},
      .removeCreate = {kCode, {"RemoveGlbCfg fail, create object failed. ret = -7."}},
      .remove = {kCode, {"REMOVE fib global cfg db fail. ret = -7"}},
      .writeStage = {1, {"WriteGlbCfgFunc fail, set fields failed. ret = 1."}},
      .updateStage = {1, {"UpdateGlbCfgFunc set field failed. ret = 1."}},
      .fillFailed = "Get fib db global load balance fields fail.",
      .stepFailed = "Get next glb cfg db fail. ret = -7",
      .iterator = {.malloc = "CreateGlbCfgIterator malloc failed",
                   .createObj = "CreateGlbCfgIterator createObj failed, ret: -7",
                   .createIter = "CreateGlbCfgIterator createIter failed, ret: -7",
                   .setProperty = "CreateGlbCfgIterator setProperty failed, ret: -7"},
      .init = FIB_DB_InitCfgValue,
      .fill = [](uint64_t obj, void* item) { return FIB_DB_GetGlbCfgItem(obj, static_cast<FibDbGlbCfgItem*>(item)); },
      .readCommon = FIB_DB_ReadCfgCommon,
      .exists = FIB_DB_GlbCfgExist,
      .readItem = [](void* item) { return FIB_DB_ReadGlbCfg(static_cast<FibDbGlbCfgItem*>(item)); },
      .readWith = FIB_DB_ReadGlbCfgFunc,
      .writeWith = FIB_DB_WriteGlbCfgFunc,
      .updateWith = FIB_DB_UpdateGlbCfgFunc,
      .removeOf = FIB_DB_RemoveGlbCfg,
      .iterate = FIB_DB_CreateGlbCfgIterator,
      .next = [](FibDbIterator* iterator,
                 void* item) { return FIB_DB_GetNextGlbCfg(iterator, static_cast<FibDbGlbCfgItem*>(item)); },
      .releaseIterator = FIB_DB_ReleaseGlbCfgIterator,
  };
  return record;
}

// Items and nodes of either record as bytes; numbers in them. Both items begin with the flags and the router.
using Bytes = std::vector<uint8_t>;
constexpr size_t kFlagsInItem = 0;
constexpr size_t kRouterInItem = 4;
static_assert(offsetof(FibDbEcmpCfgItem, validFlags) == kFlagsInItem);
static_assert(offsetof(FibDbEcmpCfgItem, vrId) == kRouterInItem);
static_assert(offsetof(FibDbGlbCfgItem, validFlags) == kFlagsInItem);
static_assert(offsetof(FibDbGlbCfgItem, vrId) == kRouterInItem);

inline uint64_t numberIn(const Bytes& bytes, size_t offset, size_t width) {
  uint64_t value = 0;
  std::memcpy(&value, bytes.data() + offset, width);
  return value;
}
inline void putNumber(Bytes& bytes, size_t offset, size_t width, uint64_t value) {
  std::memcpy(bytes.data() + offset, &value, width);
}
inline uint32_t flagsIn(const Bytes& item) { return static_cast<uint32_t>(numberIn(item, kFlagsInItem, 4)); }

// An item with no byte of a record's, but the router to read.
inline Bytes itemFor(const Record& record, uint32_t vrId) {
  Bytes item(record.itemSize, 0xA5);
  putNumber(item, kRouterInItem, 4, vrId);
  return item;
}

}  // namespace fibdb::test

#endif
