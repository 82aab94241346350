// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// config/configuration.h: what the two configuration records have in common: a record per virtual router, written whole
// or changed through a setter of the caller's, with scalar settings and child nodes that have functions of their own.
#ifndef FIBDB_CONFIG_CONFIGURATION_H
#define FIBDB_CONFIG_CONFIGURATION_H

#include <cstdint>

#include "fibdb/config.h"
#include "runtime/ops.h"

namespace fibdb {

// What a write or an update makes of the record of a router.
struct Change {
  uint32_t vrId;
  const void* data = nullptr;
  FibDbEcmpCfgSetter setter = nullptr;
};

// The records; the key is the router alone.
using ConfigurationTable = Table<Change, uint32_t>;

struct ReadObjectHow {
  Text<uint32_t> createFailed;
  Settle* settle;
};

// Hands out an object that stands on the record of a router.
inline uint32_t readObject(const ConfigurationTable& table, uint32_t vrId, uint64_t* outObj, const ReadObjectHow& how) {
  Object obj(table, FIB_DB_OBJ_OP_READ);
  if (const uint32_t code = obj.error()) {
    how.createFailed.error(code);
    return FIB_DB_ERR;
  }
  const Change record{vrId};
  const KeyOf<Change, uint32_t> key(table, &record);
  if (const uint32_t code = db_read_obj(obj.handle(), &key.desc, &key.bytes)) return how.settle(code, FIB_DB_OPER_READ);
  *outObj = obj.keep();
  return FIB_DB_OK;
}

// use(obj) over the record of a router; absent when it cannot be had, for whatever reason.
template <class Use>
uint32_t withRecord(const ConfigurationTable& table, uint32_t (*readObj)(uint32_t vrId, uint64_t* outObj),
                    uint32_t vrId, uint32_t absent, const Use& use) {
  uint64_t obj = 0;
  if (readObj(vrId, &obj) != FIB_DB_OK) return absent;
  const uint32_t status = use(obj);
  table.release(obj);
  return status;
}

// Typed functions of a setting as the callbacks that the generic functions take.
template <class Value, uint32_t (*kGet)(uint64_t obj, Value* value)>
uint32_t asGetter(uint64_t obj, void* data) {
  return kGet(obj, static_cast<Value*>(data));
}
template <class Value, uint32_t (*kSet)(uint64_t obj, const Value* value)>
uint32_t asSetter(uint64_t obj, const void* data) {
  return kSet(obj, static_cast<const Value*>(data));
}

// A field of a child node: the member of the node's struct, and the calls that get and set it.
template <auto kMember, auto kGet, auto kSet>
struct NodeField {
  template <class Node>
  static uint32_t get(uint64_t handle, Node* node) {
    return kGet(handle, &(node->*kMember));
  }
  template <class Node>
  static uint32_t set(uint64_t handle, const Node* node) {
    return kSet(handle, node->*kMember);
  }
};

// A child node: its name, and its fields in the order in which they are got and set, all of them whatever fails. The
// handle of a node belongs to its object and is never released.
template <class... Fields>
struct ChildNode {
  const char* name;

  uint32_t open(uint64_t obj, uint64_t& handle) const { return db_create_child_node(obj, 0, name, 0, 0, &handle); }

  // The calls' codes, ORed.
  template <class Node>
  uint32_t get(uint64_t handle, Node* node) const {
    uint32_t code = 0;
    ((code |= Fields::get(handle, node)), ...);
    return code;
  }
  template <class Node>
  uint32_t set(uint64_t handle, const Node* node) const {
    uint32_t code = 0;
    ((code |= Fields::set(handle, node)), ...);
    return code;
  }
};

}  // namespace fibdb

#endif
