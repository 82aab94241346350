// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/platform_double.cc: the recorded platform.
#include "tests/support/platform_double.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "fibdb/fibdb.h"
#include "platform/bounds.h"
#include "platform/objdb.h"
#include "platform/objdb_tables.h"
#include "platform/ufib.h"

namespace fibdb::test {
namespace {

constexpr uint64_t kObjectBase = 0x1000;
constexpr uint64_t kIteratorBase = 0x200000;
constexpr uint64_t kChildBase = 0x400000;

PlatformDouble& platform() { return PlatformDouble::instance(); }

std::string format(const char* text, va_list arguments) {
  char line[512];
  std::vsnprintf(line, sizeof line, text, arguments);
  return line;
}

int onError(const char* text, ...) {
  va_list arguments;
  va_start(arguments, text);
  platform().errorLines.push_back(format(text, arguments));
  va_end(arguments);
  return 0;
}

int onInfo(const char* text, ...) {
  va_list arguments;
  va_start(arguments, text);
  platform().infoLines.push_back(format(text, arguments));
  va_end(arguments);
  return 0;
}

std::string hex(const void* data, size_t length) {
  std::string text;
  for (size_t i = 0; i < length; ++i) {
    char byte[3];
    std::snprintf(byte, sizeof byte, "%02x", static_cast<const uint8_t*>(data)[i]);
    text += byte;
  }
  return text;
}

std::string describe(const FibDbKeyDesc* desc, const void* key) {
  if (desc == nullptr && key == nullptr) return "NULL";
  char id[16];
  std::snprintf(id, sizeof id, "0x%08X ", desc->indexId);
  if (desc->rsv1 != 0 || desc->rsv2 != 0) return "a descriptor whose reserved words are not zero";
  return id + hex(key, desc->indexId & 0xFFFF);
}

std::string describe(const FibDbUfibKey* key) {
  if (key->descLen != sizeof(FibDbKeyDesc) || key->keyLen != (key->desc->indexId & 0xFFFF)) return "bad lengths";
  return describe(key->desc, key->key);
}

const schema::Table& layout(schema::TableId table) { return schema::kTables[static_cast<size_t>(table)]; }

Row& sized(std::map<schema::TableId, Row>& rows, schema::TableId table) {
  Row& row = rows[table];
  row.resize(layout(table).rowLength);
  return row;
}

}  // namespace

PlatformDouble& PlatformDouble::instance() {
  static PlatformDouble platform;
  return platform;
}

void PlatformDouble::reset() {
  *this = PlatformDouble();
  const FibDbMemHooks memory{.alloc = [](size_t size) { return platform().allocate(size); },
                             .free = [](void* block) { platform().release(block); }};
  FIB_DB_InitMem(&memory);
  const FibDbLogHooks logs{.info = onInfo, .error = onError};
  FIB_DB_LogFuncInit(&logs);
  std::memset(g_fibDbErrStat, 0, sizeof g_fibDbErrStat);
  g_fibDbOperTickCost = {0, 0, 0, 0, 1000.0, 0, 0};
  g_fibGetDbOperTickCost = 0;
  g_fibSourcePid = 7415578;
  g_fibDbNhpLlaCnt = {};
  g_fibDbAsyncConn = 0;
  g_fibAsyncBatchObject = 0;
  g_ip4WriteDbSetDataRetry = 0;
  g_ip4RemoveDbAddOperRetry = 0;
}

Row& PlatformDouble::record(schema::TableId table) { return sized(records_, table); }
Row& PlatformDouble::staged(schema::TableId table) { return sized(staged_, table); }

std::string PlatformDouble::leaks() const {
  std::string text;
  for (const std::string& violation : violations_) text += violation + "; ";
  for (const uint64_t object : aliveObjects_) text += nameOf(object) + " alive; ";
  if (!blocks_.empty()) text += std::to_string(blocks_.size()) + " blocks alive; ";
  if (!serviceIterators_.empty()) text += std::to_string(serviceIterators_.size()) + " service iterators alive; ";
  return text;
}

bool PlatformDouble::failsNow(std::string_view call, uint32_t& code) {
  if (++callCount_ == failAt_) {
    failedCall_ = call;
    code = failCode_;
    return true;
  }
  if (const auto queue = results_.find(call); queue != results_.end() && !queue->second.empty()) {
    code = queue->second.front();
    queue->second.pop_front();
    return code != 0;
  }
  if (const auto found = always_.find(call); found != always_.end()) {
    code = found->second;
    return code != 0;
  }
  return false;
}

uint32_t PlatformDouble::answer(std::string_view call, const std::string& arguments) {
  calls.push_back(std::string(call) + "(" + arguments + ")");
  allCalls.emplace_back(call);
  if (watch) watch(call);
  uint32_t code = 0;
  failsNow(call, code);
  return code;
}

bool PlatformDouble::takesBoundsCall(std::string_view call) {
  allCalls.emplace_back(call);
  uint32_t code = 0;
  return !failsNow(call, code);
}

void* PlatformDouble::allocate(size_t size) {
  allCalls.emplace_back("alloc");
  uint32_t code = 0;
  if (failsNow("alloc", code)) return nullptr;
  void* const block = std::malloc(size);
  std::memset(block, 0xA5, size);  // a block is not zeroed
  blocks_.insert(block);
  return block;
}

void PlatformDouble::release(void* block) {
  if (blocks_.erase(block) == 0) return violations_.push_back("a block freed that is not alive");
  std::free(block);
}

std::string PlatformDouble::nameOf(uint64_t handle) const {
  if (handle >= kChildBase) return "+" + std::to_string(handle - kChildBase);
  if (handle >= kIteratorBase) return "~" + std::to_string(handle - kIteratorBase);
  if (handle >= kObjectBase) return "#" + std::to_string(handle - kObjectBase);
  return std::to_string(handle);
}

uint64_t PlatformDouble::makeObject(const uint64_t* out) {
  outWords.push_back({out, *out});
  const uint64_t object = kObjectBase + ++objects_;
  aliveObjects_.insert(object);
  return object;
}

void PlatformDouble::releaseObject(uint64_t object) {
  if (aliveObjects_.erase(object) == 0) violations_.push_back(nameOf(object) + " released though not alive");
  std::erase_if(iteratorOwner_, [object](const auto& entry) { return entry.second == object; });
}

uint64_t PlatformDouble::makeIterator(uint64_t object, const uint64_t* out) {
  outWords.push_back({out, *out});
  const uint64_t iterator = kIteratorBase + ++iterators_;
  iteratorOwner_[iterator] = object;
  return iterator;
}

uint64_t PlatformDouble::makeChild() { return kChildBase + ++children_; }

uint32_t PlatformDouble::advance(uint64_t iterator) {
  const auto owner = iteratorOwner_.find(iterator);
  if (owner == iteratorOwner_.end()) {
    violations_.push_back(nameOf(iterator) + " used though its object is released");
    return FIB_DB_ERR;
  }
  if (entries.empty()) return DB_ERR_ITER_END;
  record(tables_.at(owner->second)) = entries.front();
  entries.pop_front();
  return 0;
}

void* PlatformDouble::makeServiceIterator() {
  void* const iterator = std::malloc(1);
  serviceIterators_.insert(iterator);
  return iterator;
}

void PlatformDouble::releaseServiceIterator(void* iterator) {
  if (serviceIterators_.erase(iterator) == 0) return violations_.push_back("a service iterator released twice");
  std::free(iterator);
}

uint64_t getField(schema::TableId table, const Row& row, std::string_view name) {
  const schema::Field* field = schema::findField(layout(table).fields, name);
  uint64_t value = 0;
  std::memcpy(&value, row.data() + field->offset, field->width);
  return value;
}

void putField(schema::TableId table, Row& row, std::string_view name, uint64_t value) {
  row.resize(layout(table).rowLength);
  const schema::Field* field = schema::findField(layout(table).fields, name);
  std::memcpy(row.data() + field->offset, &value, field->width);
}

void putBytes(schema::TableId table, Row& row, std::string_view name, const void* bytes) {
  row.resize(layout(table).rowLength);
  const schema::Field* field = schema::findField(layout(table).fields, name);
  std::memcpy(row.data() + field->offset, bytes, field->size());
}

namespace {

// Bodies of the per-table calls; the schema expands to one line each.
uint32_t create(schema::TableId table, const char* call, const std::string& arguments, uint64_t* outObj) {
  const uint32_t code = platform().answer(call, arguments);
  if (code != 0) return code;
  *outObj = platform().makeObject(outObj);
  platform().setTable(*outObj, table);
  platform().staged(table).assign(layout(table).rowLength, 0);
  return 0;
}

uint32_t release(const char* call, uint64_t obj) {
  const uint32_t code = platform().answer(call, platform().nameOf(obj));
  platform().releaseObject(obj);
  return code;
}

uint32_t reset(const char* call, uint64_t obj, uint32_t kind) {
  return platform().answer(call, platform().nameOf(obj) + ", " + std::to_string(kind));
}

uint32_t setAll(schema::TableId table, const char* call, uint64_t obj, const void* row, uint32_t len) {
  if (const uint32_t code = platform().answer(call, platform().nameOf(obj) + ", " + std::to_string(len))) return code;
  std::memcpy(platform().staged(table).data(), row, len);
  return 0;
}

uint32_t getAll(schema::TableId table, const char* call, uint64_t obj, void* row, uint32_t len) {
  if (const uint32_t code = platform().answer(call, platform().nameOf(obj) + ", " + std::to_string(len))) return code;
  std::memcpy(row, platform().record(table).data(), len);
  return 0;
}

uint32_t setScalar(schema::TableId table, const char* call, const char* name, uint64_t obj, uint64_t value) {
  const std::string arguments = platform().nameOf(obj) + ", " + std::to_string(value);
  if (const uint32_t code = platform().answer(call, arguments)) return code;
  putField(table, platform().staged(table), name, value);
  return 0;
}

template <class Type>
uint32_t getScalar(schema::TableId table, const char* call, const char* name, uint64_t obj, Type* out) {
  if (const uint32_t code = platform().answer(call, platform().nameOf(obj))) return code;
  *out = static_cast<Type>(getField(table, platform().record(table), name));
  return 0;
}

uint32_t setBytes(schema::TableId table, const char* call, const char* name, uint64_t obj, const void* data,
                  uint32_t len) {
  const std::string arguments = platform().nameOf(obj) + ", " + hex(data, len);
  if (const uint32_t code = platform().answer(call, arguments)) return code;
  std::memcpy(platform().staged(table).data() + schema::findField(layout(table).fields, name)->offset, data, len);
  return 0;
}

uint32_t getBytes(schema::TableId table, const char* call, const char* name, uint64_t obj, const void** out,
                  uint32_t* len) {
  const std::string arguments = platform().nameOf(obj) + (len == nullptr ? ", no length" : "");
  if (const uint32_t code = platform().answer(call, arguments)) return code;
  const schema::Field* field = schema::findField(layout(table).fields, name);
  *out = platform().record(table).data() + field->offset;
  if (len != nullptr) *len = platform().byteLength.value_or(field->size());
  return 0;
}

}  // namespace
}  // namespace fibdb::test

using fibdb::schema::TableId;
using fibdb::test::PlatformDouble;
namespace test = fibdb::test;

static PlatformDouble& platform() { return PlatformDouble::instance(); }

#define TABLE(t)                                                                          \
  uint32_t db_create_##t##_obj(uint32_t kind, uint32_t zero, uint64_t* outObj) {          \
    const std::string arguments = std::to_string(kind) + (zero == 0 ? "" : ", not zero"); \
    return test::create(TableId::t, __func__, arguments, outObj);                         \
  }                                                                                       \
  uint32_t db_release_##t##_object(uint64_t obj) { return test::release(__func__, obj); }
#define RESET(t) \
  uint32_t db_reset_##t##_object(uint64_t obj, uint32_t kind) { return test::reset(__func__, obj, kind); }
#define SET_ALL(t)                                                                \
  uint32_t db_set_##t##_all_fields(uint64_t obj, const void* row, uint32_t len) { \
    return test::setAll(TableId::t, __func__, obj, row, len);                     \
  }
#define GET_ALL(t)                                                          \
  uint32_t db_get_##t##_all_fields(uint64_t obj, void* row, uint32_t len) { \
    return test::getAll(TableId::t, __func__, obj, row, len);               \
  }
#define GET_SP_ALL(t, name)                                                                     \
  uint32_t db_get_##t##_sp_all_data(uint64_t obj, void* out) {                                  \
    constexpr uint16_t kLength = fibdb::schema::offsetOf(fibdb::schema::kFields_##t, #name);    \
    if (const uint32_t code = platform().answer(__func__, platform().nameOf(obj))) return code; \
    std::memcpy(out, platform().record(TableId::t).data(), kLength);                            \
    return 0;                                                                                   \
  }
#define BATCH(t)                                                                                           \
  uint32_t db_create_##t##_obj_specific_conn(uint32_t kind, uint64_t conn, uint64_t* outObj) {             \
    return test::create(TableId::t, __func__, std::to_string(kind) + ", " + std::to_string(conn), outObj); \
  }                                                                                                        \
  uint32_t db_reset_##t##_batch_object(uint64_t obj, uint32_t kind) { return test::reset(__func__, obj, kind); }
#define SET_SCALAR(t, name, type)                                    \
  uint32_t db_set_##t##_##name(uint64_t obj, type value) {           \
    return test::setScalar(TableId::t, __func__, #name, obj, value); \
  }
#define GET_SCALAR(t, name, type)                                  \
  uint32_t db_get_##t##_##name(uint64_t obj, type* out) {          \
    return test::getScalar(TableId::t, __func__, #name, obj, out); \
  }
#define SET_BYTES(t, name, count)                                              \
  uint32_t db_set_##t##_##name(uint64_t obj, const void* data, uint32_t len) { \
    return test::setBytes(TableId::t, __func__, #name, obj, data, len);        \
  }
#define GET_BYTES(t, name, count)                                               \
  uint32_t db_get_##t##_##name(uint64_t obj, const void** out, uint32_t* len) { \
    return test::getBytes(TableId::t, __func__, #name, obj, out, len);          \
  }
#include "platform/schema/tables.def"

uint32_t db_write_obj(uint64_t obj) { return platform().answer(__func__, platform().nameOf(obj)); }

uint32_t db_update_obj(uint64_t obj, const FibDbKeyDesc* desc, const void* key) {
  return platform().answer(__func__, platform().nameOf(obj) + ", " + test::describe(desc, key));
}

uint32_t db_remove_obj(uint64_t obj, const FibDbKeyDesc* desc, const void* key) {
  return platform().answer(__func__, platform().nameOf(obj) + ", " + test::describe(desc, key));
}

uint32_t db_read_obj(uint64_t obj, const FibDbKeyDesc* desc, const void* key) {
  return platform().answer(__func__, platform().nameOf(obj) + ", " + test::describe(desc, key));
}

uint32_t db_read_obj_with_buf(uint64_t obj, const FibDbKeyDesc* desc, const void* key, void* buf, uint32_t len) {
  const std::string arguments = platform().nameOf(obj) + ", " + test::describe(desc, key) + ", " + std::to_string(len);
  if (const uint32_t code = platform().answer(__func__, arguments)) return code;
  std::memcpy(buf, platform().record(platform().tableOf(obj)).data(), len);
  return 0;
}

uint32_t db_get_table_record_count(uint64_t obj, uint64_t* count) {
  if (const uint32_t code = platform().answer(__func__, platform().nameOf(obj))) return code;
  *count = platform().countResult;
  return 0;
}

uint32_t db_get_table_record_count_by_key(uint64_t obj, const FibDbKeyDesc* desc, const void* key, uint64_t* count) {
  const std::string arguments = platform().nameOf(obj) + ", " + test::describe(desc, key);
  if (const uint32_t code = platform().answer(__func__, arguments)) return code;
  *count = platform().countResult;
  return 0;
}

uint32_t db_create_root_iter(uint64_t obj, const FibDbKeyDesc* desc, const void* key, uint64_t* outIter) {
  const std::string arguments = platform().nameOf(obj) + ", " + test::describe(desc, key);
  if (const uint32_t code = platform().answer(__func__, arguments)) return code;
  *outIter = platform().makeIterator(obj, outIter);
  return 0;
}

uint32_t db_create_stmt(uint64_t obj, uint32_t stmtKind, const char* tableName, uint64_t) {
  return platform().answer(__func__, platform().nameOf(obj) + ", " + std::to_string(stmtKind) + ", " + tableName);
}

uint32_t db_append_stmt_condition(uint64_t obj, const void*, uint64_t, uint32_t condKind, const void*, uint64_t,
                                  const FibDbKeyDesc* desc, const void* lowKey, const void* highKey) {
  return platform().answer(__func__, platform().nameOf(obj) + ", " + std::to_string(condKind) + ", " +
                                         test::describe(desc, lowKey) + " to " + test::describe(desc, highKey));
}

uint32_t db_create_root_iterator_by_filter(uint64_t obj, uint64_t* outIter) {
  if (const uint32_t code = platform().answer(__func__, platform().nameOf(obj))) return code;
  *outIter = platform().makeIterator(obj, outIter);
  return 0;
}

uint32_t db_set_root_iterator_property(uint64_t iter, uint32_t propertyId, const void* value, uint32_t len) {
  return platform().answer(__func__,
                           platform().nameOf(iter) + ", " + std::to_string(propertyId) + ", " + test::hex(value, len));
}

uint32_t db_root_iterator_next(uint64_t iter) {
  if (const uint32_t code = platform().answer(__func__, platform().nameOf(iter))) return code;
  return platform().advance(iter);
}

// Zeros, the out word included, where it does not say otherwise.
uint32_t db_create_child_node(uint64_t obj, uint64_t zero1, const char* nodeName, uint64_t zero2, uint64_t zero3,
                              uint64_t* outChild) {
  const bool zeros = zero1 == 0 && zero2 == 0 && zero3 == 0 && *outChild == 0;
  const std::string arguments = platform().nameOf(obj) + ", " + nodeName + (zeros ? "" : ", not zero");
  if (const uint32_t code = platform().answer(__func__, arguments)) return code;
  *outChild = platform().makeChild();
  return 0;
}

uint32_t db_connect(uint64_t p2, uint64_t p1, uint64_t* outConn) {
  const std::string arguments = std::to_string(p2) + ", " + std::to_string(p1);
  if (const uint32_t code = platform().answer(__func__, arguments)) return code;
  *outConn = 77;
  return 0;
}

uint32_t db_disconnect(uint64_t conn) { return platform().answer(__func__, std::to_string(conn)); }

uint32_t db_batch_add_oper(uint64_t obj, const FibDbKeyDesc* desc, const void* key) {
  return platform().answer(__func__, platform().nameOf(obj) + ", " + test::describe(desc, key));
}

uint32_t db_batch_exec_async(uint64_t obj, uint64_t argument) {
  return platform().answer(__func__, platform().nameOf(obj) + ", " + std::to_string(argument));
}

uint32_t UFIB_DB_TableRegister(uint32_t id, const FibDbTableDesc* desc) {
  platform().lastDescriptor = *desc;
  if (const uint32_t code = platform().answer(__func__, std::to_string(id) + ", " + desc->name)) return code;
  platform().registered[id] = desc->name;
  return 0;
}

// Keeps the records of a call to the service, byte for byte.
template <class... Record>
static void keep(const Record*... records) {
  const auto bytesOf = [](const void* record, size_t size) {
    const auto* const bytes = static_cast<const uint8_t*>(record);
    return test::Row(bytes, bytes + size);
  };
  (platform().serviceRecords.push_back(bytesOf(records, sizeof *records)), ...);
}

uint32_t UFIB_DB_Create(uint32_t id, const FibDbUfibData* entry) {
  keep(entry);
  const auto* const bytes = static_cast<const uint8_t*>(entry->data);
  platform().created.emplace_back(bytes, bytes + entry->len);
  return platform().answer(__func__, std::to_string(id) + ", " + std::to_string(entry->len));
}

// The table behind a number of the service.
static TableId tableOfService(uint32_t id) {
  static const std::map<uint32_t, TableId> tables{
      {0, TableId::nhp_group},      {1, TableId::nhp_group_node},  {6, TableId::nhp_ext},
      {8, TableId::nhp_vpnsid},     {10, TableId::pri_attr},       {11, TableId::ar_group_attr},
      {12, TableId::ip_force_frag}, {24, TableId::nhp_ext_label},  {26, TableId::vrf_class_data},
      {28, TableId::fib_dod_rule},  {30, TableId::fib_dod_aging},  {32, TableId::virtual_meth_host_route},
      {33, TableId::fwd_vs_vpn},    {34, TableId::fib_special_ip}, {35, TableId::fib_special_ip_sub}};
  return tables.at(id);
}

static uint32_t serviceRead(const char* call, uint32_t id, const FibDbUfibKey* key, FibDbUfibData* entry) {
  keep(key, entry);
  const std::string arguments = std::to_string(id) + ", " + test::describe(key) + ", " + std::to_string(entry->len);
  if (const uint32_t code = platform().answer(call, arguments)) return code;
  std::memcpy(entry->data, platform().record(tableOfService(id)).data(), entry->len);
  return 0;
}

uint32_t UFIB_DB_Read(uint32_t id, const FibDbUfibKey* key, FibDbUfibData* entry) {
  return serviceRead(__func__, id, key, entry);
}

uint32_t UFIB_DB_ReadUniqueHash(uint32_t id, const FibDbUfibKey* key, FibDbUfibData* entry) {
  return serviceRead(__func__, id, key, entry);
}

// Like a service: makes an object, lets the setter stage, and returns what went wrong first.
uint32_t UFIB_DB_Update(uint32_t id, const FibDbUfibKey* key, const FibDbUfibData* ctx, FibDbUfibSetter setter) {
  keep(key, ctx);
  const std::string arguments = std::to_string(id) + ", " + test::describe(key) + ", " + std::to_string(ctx->len);
  if (const uint32_t code = platform().answer(__func__, arguments)) return code;
  return setter(ctx, 0x1000);
}

uint32_t UFIB_DB_Delete(uint32_t id, const FibDbUfibKey* key) {
  keep(key);
  return platform().answer(__func__, std::to_string(id) + ", " + test::describe(key));
}

uint32_t UFIB_DB_CountByKey(uint32_t id, const FibDbUfibKey* key, uint32_t* count) {
  keep(key);
  const std::string arguments = std::to_string(id) + ", " + test::describe(key);
  if (const uint32_t code = platform().answer(__func__, arguments)) return code;
  *count = static_cast<uint32_t>(platform().countResult);
  return 0;
}

void* UFIB_DB_CreateIterator(uint32_t id, uint32_t property) {
  const std::string arguments = std::to_string(id) + ", " + std::to_string(property);
  return platform().answer(__func__, arguments) == 0 ? platform().makeServiceIterator() : nullptr;
}

void* UFIB_DB_CreateIteratorByKey(uint32_t id, uint32_t property, const FibDbUfibKey* key) {
  keep(key);
  const std::string arguments = std::to_string(id) + ", " + std::to_string(property) + ", " + test::describe(key);
  return platform().answer(__func__, arguments) == 0 ? platform().makeServiceIterator() : nullptr;
}

uint32_t UFIB_DB_GetNextEntry(uint32_t id, void*, FibDbUfibData* entry) {
  keep(entry);
  const std::string arguments = std::to_string(id) + ", " + std::to_string(entry->len);
  if (const uint32_t code = platform().answer(__func__, arguments)) return code;
  if (platform().entries.empty()) return DB_ERR_ITER_END;
  std::memcpy(entry->data, platform().entries.front().data(), entry->len);
  platform().entries.pop_front();
  return 0;
}

uint32_t UFIB_DB_ReleaseIterator(uint32_t id, void* iter) {
  platform().releaseServiceIterator(iter);
  return platform().answer(__func__, std::to_string(id));
}

uint64_t UFIB_DB_GetSysTime() {
  ++platform().sysTimeReads;
  return platform().sysTime;
}

// Refuses what a 32-bit size cannot hold, as a platform does.
static bool fits(size_t dstMax, size_t count) { return dstMax <= 0x7FFFFFFF && count <= dstMax; }

int memcpy_s(void* dst, size_t dstMax, const void* src, size_t count) {
  if (!platform().takesBoundsCall(__func__) || src == nullptr || !fits(dstMax, count)) return 22;
  std::memcpy(dst, src, count);
  return 0;
}

int memset_s(void* dst, size_t dstMax, int value, size_t count) {
  if (!platform().takesBoundsCall(__func__) || !fits(dstMax, count)) return 22;
  std::memset(dst, value, count);
  return 0;
}

int strcpy_s(char* dst, size_t dstMax, const char* src) {
  if (!platform().takesBoundsCall(__func__) || !fits(dstMax, std::strlen(src) + 1)) return 22;
  std::strcpy(dst, src);
  return 0;
}

int strncpy_s(char* dst, size_t dstMax, const char* src, size_t count) {
  if (!platform().takesBoundsCall(__func__) || !fits(dstMax, strnlen(src, count) + 1)) return 22;
  std::memcpy(dst, src, strnlen(src, count));
  dst[strnlen(src, count)] = '\0';
  return 0;
}
