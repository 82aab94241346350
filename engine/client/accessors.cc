// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/client/accessors.cc: the per-table calls, each one line over the functions above them.
#include "platform/objdb_tables.h"

#include <bit>
#include <cstring>

#include "engine/client/batch.h"
#include "engine/client/object.h"

namespace fibdb::client {
namespace {

using schema::Field;
using schema::FieldKind;

// Where a setter or getter works, known when it is compiled.
struct FieldPlace {
  TableId table;
  uint16_t offset;
  uint16_t size;
  store::FieldSet bit;
};

consteval FieldPlace place(TableId table, std::string_view name) {
  const std::span<const Field> fields = schema::kTables[static_cast<size_t>(table)].fields;
  const Field* field = schema::findField(fields, name);
  return {table, field->offset, field->size(), store::FieldSet{1} << (field - fields.data())};
}

// The same in a child node, and where the row marks the node as written.
struct NodePlace {
  FieldPlace field;
  FieldPlace marks;
  size_t node;
};

consteval NodePlace nodePlace(TableId table, std::string_view node, std::string_view name) {
  const schema::Table& layout = schema::kTables[static_cast<size_t>(table)];
  return {place(table, name), place(table, schema::nodesField(layout.fields)->name),
          schema::nodeNumber(layout.nodes, node)};
}

// A whole row: every field counts as staged, padding does not and is zero.
struct RowPlace {
  TableId table;
  uint16_t length;
  store::FieldSet fields;
  store::FieldSet padding;
};

consteval RowPlace wholeRow(TableId table) {
  const schema::Table& layout = schema::kTables[static_cast<size_t>(table)];
  RowPlace row{table, layout.rowLength, 0, 0};
  for (size_t i = 0; i < layout.fields.size(); ++i) {
    (layout.fields[i].kind == FieldKind::kPad ? row.padding : row.fields) |= store::FieldSet{1} << i;
  }
  return row;
}

constexpr Kinds kStaging = only(FIB_DB_OBJ_OP_WRITE) | only(FIB_DB_OBJ_OP_UPDATE) | only(FIB_DB_OBJ_OP_BATCH);

uint32_t findForStaging(uint64_t handle, TableId table, Object*& out) {
  if (const uint32_t code = findObject(handle, table, kStaging, out)) return code;
  return out->kind == FIB_DB_OBJ_OP_BATCH ? checkStaging(*out) : 0;
}

uint32_t findStanding(uint64_t handle, TableId table, Object*& out) {
  if (const uint32_t code = findObject(handle, table, kAnyKind, out)) return code;
  return out->standing ? 0 : uint32_t{DB_ERR_NO_CURRENT};
}

uint32_t stage(uint64_t handle, const FieldPlace& field, const void* value, uint32_t length) {
  Object* object = nullptr;
  if (const uint32_t code = findForStaging(handle, field.table, object)) return code;
  if (value == nullptr) return DB_ERR_NULL_ARGUMENT;
  if (length != field.size) return DB_ERR_BAD_LENGTH;
  std::memcpy(stagedRowOf(*object) + field.offset, value, length);
  object->staged |= field.bit;
  return 0;
}

template <class Number>
uint32_t getNumber(uint64_t handle, const FieldPlace& field, Number* out) {
  Object* object = nullptr;
  if (const uint32_t code = findStanding(handle, field.table, object)) return code;
  if (out == nullptr) return DB_ERR_NULL_ARGUMENT;
  std::memcpy(out, object->row + field.offset, sizeof *out);
  return 0;
}

uint32_t getBytes(uint64_t handle, const FieldPlace& field, const void** out, uint32_t* length) {
  Object* object = nullptr;
  if (const uint32_t code = findStanding(handle, field.table, object)) return code;
  if (out == nullptr) return DB_ERR_NULL_ARGUMENT;
  *out = object->row + field.offset;
  if (length != nullptr) *length = field.size;
  return 0;
}

// 0 with the handle of the node's object.
uint32_t findNode(uint64_t handle, const NodePlace& place, uint64_t& object) {
  if (!isNodeHandle(handle)) return DB_ERR_BAD_HANDLE;
  if (handle != nodeHandleOf(handle, place.node)) return DB_ERR_BAD_NODE;
  object = objectHandleOf(handle);
  return 0;
}

template <class Number>
uint32_t stageInNode(uint64_t handle, const NodePlace& place, Number value) {
  uint64_t parent = kNoHandle;
  if (const uint32_t code = findNode(handle, place, parent)) return code;
  if (const uint32_t code = stage(parent, place.field, &value, sizeof value)) return code;
  Object& object = *slotAt(parent);
  uint8_t& written = object.stagedRow[place.marks.offset];
  written = static_cast<uint8_t>(written | 1U << place.node);
  object.staged |= place.marks.bit;
  return 0;
}

template <class Number>
uint32_t getFromNode(uint64_t handle, const NodePlace& place, Number* out) {
  uint64_t parent = kNoHandle;
  if (const uint32_t code = findNode(handle, place, parent)) return code;
  return getNumber(parent, place.field, out);
}

uint32_t stageRow(uint64_t handle, const RowPlace& place, const void* row, uint32_t length) {
  Object* object = nullptr;
  if (const uint32_t code = findForStaging(handle, place.table, object)) return code;
  if (row == nullptr) return DB_ERR_NULL_ARGUMENT;
  if (length != place.length) return DB_ERR_BAD_LENGTH;
  std::memcpy(object->stagedRow, row, place.length);
  const std::span<const Field> fields = schema::kTables[static_cast<size_t>(place.table)].fields;
  for (store::FieldSet left = place.padding; left != 0; left &= left - 1) {
    const Field& pad = fields[static_cast<size_t>(std::countr_zero(left))];
    std::memset(object->stagedRow + pad.offset, 0, pad.size());
  }
  object->staged = place.fields;
  return 0;
}

// The row as far as the field at this offset.
uint32_t getHead(uint64_t handle, TableId table, uint16_t offset, void* out) {
  Object* object = nullptr;
  if (const uint32_t code = findStanding(handle, table, object)) return code;
  if (out == nullptr) return DB_ERR_NULL_ARGUMENT;
  std::memcpy(out, object->row, offset);
  return 0;
}

uint32_t getRow(uint64_t handle, const RowPlace& place, void* row, uint32_t length) {
  Object* object = nullptr;
  if (const uint32_t code = findStanding(handle, place.table, object)) return code;
  if (row == nullptr) return DB_ERR_NULL_ARGUMENT;
  if (length != place.length) return DB_ERR_BAD_LENGTH;
  std::memcpy(row, object->row, place.length);
  return 0;
}

}  // namespace
}  // namespace fibdb::client

using namespace fibdb::client;

#define TABLE(t)                                                            \
  uint32_t db_create_##t##_obj(uint32_t kind, uint32_t, uint64_t* outObj) { \
    return createObject(TableId::t, kind, outObj);                          \
  }                                                                         \
  uint32_t db_release_##t##_object(uint64_t obj) { return releaseObject(obj, TableId::t); }
#define RESET(t) \
  uint32_t db_reset_##t##_object(uint64_t obj, uint32_t kind) { return resetObject(obj, TableId::t, kind); }
#define SET_ALL(t)                                                                \
  uint32_t db_set_##t##_all_fields(uint64_t obj, const void* row, uint32_t len) { \
    static constexpr RowPlace kRow = wholeRow(TableId::t);                        \
    return stageRow(obj, kRow, row, len);                                         \
  }
#define GET_ALL(t)                                                          \
  uint32_t db_get_##t##_all_fields(uint64_t obj, void* row, uint32_t len) { \
    static constexpr RowPlace kRow = wholeRow(TableId::t);                  \
    return getRow(obj, kRow, row, len);                                     \
  }
#define GET_SP_ALL(t, name)                                                \
  uint32_t db_get_##t##_sp_all_data(uint64_t obj, void* out) {             \
    return getHead(obj, TableId::t, place(TableId::t, #name).offset, out); \
  }
#define BATCH(t)                                                                               \
  uint32_t db_create_##t##_obj_specific_conn(uint32_t kind, uint64_t conn, uint64_t* outObj) { \
    return createBatchObject(TableId::t, kind, conn, outObj);                                  \
  }                                                                                            \
  uint32_t db_reset_##t##_batch_object(uint64_t obj, uint32_t kind) { return beginOperation(obj, TableId::t, kind); }
#define SET_SCALAR(t, name, type)                                  \
  uint32_t db_set_##t##_##name(uint64_t obj, type value) {         \
    static constexpr FieldPlace kField = place(TableId::t, #name); \
    return stage(obj, kField, &value, sizeof value);               \
  }
#define GET_SCALAR(t, name, type)                                  \
  uint32_t db_get_##t##_##name(uint64_t obj, type* out) {          \
    static constexpr FieldPlace kField = place(TableId::t, #name); \
    return getNumber(obj, kField, out);                            \
  }
#define SET_NODE_SCALAR(t, node, name, type)                                           \
  uint32_t db_set_##t##_##node##_##name(uint64_t child, type value) {                  \
    static constexpr NodePlace kPlace = nodePlace(TableId::t, #node, #node "_" #name); \
    return stageInNode(child, kPlace, value);                                          \
  }
#define GET_NODE_SCALAR(t, node, name, type)                                           \
  uint32_t db_get_##t##_##node##_##name(uint64_t child, type* out) {                   \
    static constexpr NodePlace kPlace = nodePlace(TableId::t, #node, #node "_" #name); \
    return getFromNode(child, kPlace, out);                                            \
  }
#define SET_BYTES(t, name, count)                                              \
  uint32_t db_set_##t##_##name(uint64_t obj, const void* data, uint32_t len) { \
    static constexpr FieldPlace kField = place(TableId::t, #name);             \
    return stage(obj, kField, data, len);                                      \
  }
#define GET_BYTES(t, name, count)                                               \
  uint32_t db_get_##t##_##name(uint64_t obj, const void** out, uint32_t* len) { \
    static constexpr FieldPlace kField = place(TableId::t, #name);              \
    return getBytes(obj, kField, out, len);                                     \
  }
#include "platform/schema/tables.def"
