// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// runtime/ops.h: the sequences of database calls behind the exported functions, each written once.
//
// A table file declares a Table and exports one-line functions over these; what is peculiar about a function stands in
// that line. A sequence makes one object, performs one operation and releases the object exactly once on every path.
#ifndef FIBDB_RUNTIME_OPS_H
#define FIBDB_RUNTIME_OPS_H

#include <cstdint>
#include <cstring>

#include "fibdb/runtime.h"
#include "platform/bounds.h"
#include "platform/objdb.h"
#include "runtime/diagnostics.h"
#include "runtime/key.h"
#include "runtime/stopwatch.h"
#include "runtime/text.h"

namespace fibdb {

static_assert(sizeof(FibDbKeyDesc) == 16 && sizeof(FibDbIterator) == 24);

// What a sequence needs to know of a table. Key is the packed key's struct.
template <class ItemT, class KeyT>
struct Table {
  using Item = ItemT;
  using Key = KeyT;

  uint32_t (*create)(uint32_t kind, uint32_t zero, uint64_t* outObj);
  uint32_t (*release)(uint64_t obj);
  uint32_t (*stage)(uint64_t obj, const Item* item) = nullptr;  // all fields; a failure is the status
  void (*key)(FibDbKeyDesc* desc, Key* key, const Item* item) = nullptr;
  // Reads the record of a key, or with NULL desc and key the one the iterator stands on, and fills item on success.
  uint32_t (*fetch)(uint64_t obj, const FibDbKeyDesc* desc, const void* key, Item* item) = nullptr;
  Settle* settle = nullptr;  // of writes, updates and removals; without it each function's own words do it
};

// A table object for one operation, released when it goes out of scope. Its handle stands here, or in a word of the
// caller's that is 0.
class Object {
 public:
  template <class Item, class Key>
  Object(const Table<Item, Key>& table, uint32_t kind) : Object(table, kind, own_) {}
  template <class Item, class Key>
  Object(const Table<Item, Key>& table, uint32_t kind, uint64_t& handle)
      : handle_(handle), release_(table.release), error_(table.create(kind, 0, &handle)) {}
  ~Object() { release(); }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  uint32_t error() const { return error_; }  // of the creation
  uint64_t handle() const { return handle_; }

  // Before the scope ends, where something must follow the release.
  void release() {
    if (error_ == 0 && release_ != nullptr) release_(handle_);
    release_ = nullptr;
  }

  // Hands the object over to the caller, who releases it.
  uint64_t keep() {
    release_ = nullptr;
    return handle_;
  }

 private:
  uint64_t own_ = 0;
  uint64_t& handle_;
  uint32_t (*release_)(uint64_t);
  uint32_t error_;
};

// Primary-key descriptor and packed key of an item.
template <class Item, class Key>
struct KeyOf {
  KeyOf(const Table<Item, Key>& table, const Item* item) { table.key(&desc, &bytes, item); }

  FibDbKeyDesc desc{};
  Key bytes{};
};

// A field setter of one table in the form that every table's partial update takes.
template <class Item>
using SetterOf = uint32_t(uint64_t obj, const Item* item);
template <class Item, SetterOf<Item>* Set>
uint32_t asFieldSetter(uint64_t obj, const void* item) {
  return Set(obj, static_cast<const Item*>(item));
}

// Table::fetch of a table that is read field by field.
template <class Item, void (*Unpack)(uint64_t, Item*)>
uint32_t fetchFields(uint64_t obj, const FibDbKeyDesc* desc, const void* key, Item* item) {
  const uint32_t code = db_read_obj(obj, desc, key);
  if (code == FIB_DB_OK) Unpack(obj, item);
  return code;
}

// Table::fetch of a table that is read as a flat row.
template <class Item, class Row, void (*Unpack)(const Row*, Item*)>
uint32_t fetchRow(uint64_t obj, const FibDbKeyDesc* desc, const void* key, Item* item) {
  Row row;  // filled by a success, and looked at only then
  const uint32_t code = db_read_obj_with_buf(obj, desc, key, &row, sizeof row);
  if (code == FIB_DB_OK) Unpack(&row, item);
  return code;
}

// What the failure of a copy is said with.
enum class Said { kCopysCode, kZero };

// Fetches a service context and, unless a field failed before it, copies it out. False: the copy itself failed, which
// is said at once and ends the unpacking.
template <size_t Size>
bool unpackContext(uint64_t obj, uint32_t (*get)(uint64_t obj, const void** out, uint32_t* len), uint8_t (&out)[Size],
                   uint32_t& code, const Text<uint32_t>& copyFailed, Said said = Said::kCopysCode) {
  const void* bytes = nullptr;
  code |= get(obj, &bytes, nullptr);
  if (code != 0) return true;
  const int copied = memcpy_s(out, Size, bytes, Size);
  if (copied != 0) copyFailed.error(said == Said::kZero ? 0 : static_cast<uint32_t>(copied));
  return copied == 0;
}

// Fetches an error code of two bytes and, unless a field failed before it, copies it out.
inline void unpackErrcode(uint64_t obj, uint32_t (*get)(uint64_t obj, const void** out, uint32_t* len),
                          uint8_t (&out)[2], uint32_t& code) {
  const void* bytes = nullptr;
  code |= get(obj, &bytes, nullptr);
  if (code == 0) std::memcpy(out, bytes, sizeof out);
}

// A step's arrival at a record of a table that is read field by field.
template <class Item, auto Unpack>
uint32_t unpackCurrent(uint64_t obj, Item* item) {
  // Required: a field that cannot be read leaves the step a success.
  Unpack(obj, item);
  return FIB_DB_OK;
}

// What becomes of a write, an update or a removal.
template <class Item, class Key>
uint32_t settled(const Table<Item, Key>& table, uint32_t code, uint32_t oper, const Failure& failure) {
  return table.settle != nullptr ? table.settle(code, oper) : settleWrite(code, failure);
}

struct WriteHow {
  Text<uint32_t> createFailed = {};
  Text<uint32_t> stageFailed = {};
  Failure failure = {};       // of a table that has no settle
  bool unguarded = false;     // a NULL item is not caught
  bool releaseFirst = false;  // the object goes before the code is settled
};

template <class Item, class Key>
uint32_t write(const Table<Item, Key>& table, const Item* item, const WriteHow& how = {}) {
  if (item == nullptr && !how.unguarded) return FIB_DB_ERR;
  Object obj(table, FIB_DB_OBJ_OP_WRITE);
  if (const uint32_t code = obj.error()) {
    how.createFailed.error(code);
    return code;
  }
  if (const uint32_t code = table.stage(obj.handle(), item)) {
    how.stageFailed.error(code);
    return code;
  }
  const uint32_t code = db_write_obj(obj.handle());
  if (how.releaseFirst) obj.release();
  return settled(table, code, FIB_DB_OPER_WRITE, how.failure);
}

struct UpdateHow {
  Text<uint32_t> createFailed = {};
  Settle* settle = nullptr;  // in place of the table's
  bool timed = false;
};

// Changes the fields that set stages.
template <class Item, class Key>
uint32_t update(const Table<Item, Key>& table, const Item* item, FibDbFieldSetter set, const UpdateHow& how = {}) {
  if (item == nullptr || set == nullptr) return FIB_DB_ERR;
  Stopwatch watch(how.timed);  // before obj: the release is part of the time
  const Object obj(table, FIB_DB_OBJ_OP_UPDATE);
  if (const uint32_t code = obj.error()) {
    watch.cancel();
    how.createFailed.error(code);
    return code;
  }
  const KeyOf<Item, Key> key(table, item);
  // Required: a failing setter does not stop the update.
  set(obj.handle(), item);
  const uint32_t code = db_update_obj(obj.handle(), &key.desc, &key.bytes);
  return (how.settle != nullptr ? how.settle : table.settle)(code, FIB_DB_OPER_UPDATE);
}

struct UpdateWholeHow {
  Text<uint32_t> createFailed = {};
  Text<uint32_t> stageFailed = {};
  bool createFailedIsErr = false;  // not the code of the creation
};

// Changes what the table stages, as a rule the whole record of item's key, which must exist. A field that cannot be
// staged stops it.
template <class Item, class Key>
uint32_t updateWhole(const Table<Item, Key>& table, const Item* item, const UpdateWholeHow& how = {}) {
  if (item == nullptr) return FIB_DB_ERR;
  const Object obj(table, FIB_DB_OBJ_OP_UPDATE);
  if (const uint32_t code = obj.error()) {
    how.createFailed.error(code);
    return how.createFailedIsErr ? uint32_t{FIB_DB_ERR} : code;
  }
  const KeyOf<Item, Key> key(table, item);
  if (const uint32_t code = table.stage(obj.handle(), item)) {
    how.stageFailed.error(code);
    return code;
  }
  return table.settle(db_update_obj(obj.handle(), &key.desc, &key.bytes), FIB_DB_OPER_UPDATE);
}

struct RemoveHow {
  Text<uint32_t> createFailed = {};
  Failure failure = {};       // of a table that has no settle
  bool unguarded = false;     // a NULL item is not caught
  bool releaseFirst = false;  // the object goes before the code is settled
};

// makeKey gives a descriptor and packed bytes, once there is an object.
template <class Item, class Key, class MakeKey>
uint32_t removeBy(const Table<Item, Key>& table, const RemoveHow& how, const MakeKey& makeKey) {
  Object obj(table, FIB_DB_OBJ_OP_REMOVE);
  if (const uint32_t code = obj.error()) {
    how.createFailed.error(code);
    return code;
  }
  const auto key = makeKey();
  const uint32_t code = db_remove_obj(obj.handle(), &key.desc, &key.bytes);
  if (how.releaseFirst) obj.release();
  return settled(table, code, FIB_DB_OPER_REMOVE, how.failure);
}

template <class Item, class Key>
uint32_t remove(const Table<Item, Key>& table, const Item* item, const RemoveHow& how = {}) {
  if (item == nullptr && !how.unguarded) return FIB_DB_ERR;
  return removeBy(table, how, [&] { return KeyOf<Item, Key>(table, item); });
}

// Every record under a key of a secondary index.
template <class Item, class Key, uint32_t IndexId>
uint32_t removeUnder(const Table<Item, Key>& table, const PackedKey<IndexId>& key, const RemoveHow& how = {}) {
  return removeBy(table, how, [&] { return key; });
}

template <class Item>
struct ReadHow {
  Text<uint32_t> createFailed = {};
  // Settles a failure other than a missing record: in the simple form, or by a function that gives the status.
  Failure failure = {};
  uint32_t (*failed)(uint32_t code, const Item* item) = nullptr;  // in place of failure
  bool unguarded = false;                                         // a NULL item is not caught
};

// makeKey gives a descriptor and packed bytes, once there is an object.
template <class Item, class Key, class MakeKey>
uint32_t readBy(const Table<Item, Key>& table, Item* item, const ReadHow<Item>& how, const MakeKey& makeKey) {
  const Object obj(table, FIB_DB_OBJ_OP_READ);
  if (const uint32_t code = obj.error()) {
    how.createFailed.error(code);
    return code;
  }
  const auto key = makeKey();
  const uint32_t code = table.fetch(obj.handle(), &key.desc, &key.bytes, item);
  if (code == FIB_DB_OK) return FIB_DB_OK;
  if (code == DB_ERR_NO_DATA) return FIB_DB_NOT_FOUND;
  return how.failed != nullptr ? how.failed(code, item) : how.failure(code);
}

// Reads by the primary key of item into item.
template <class Item, class Key>
uint32_t read(const Table<Item, Key>& table, Item* item, const ReadHow<Item>& how) {
  if (item == nullptr && !how.unguarded) return FIB_DB_ERR;
  return readBy(table, item, how, [&] { return KeyOf<Item, Key>(table, item); });
}

template <class Item>
struct ReadUnderHow {
  Text<uint32_t> createFailed = {};
  Text<uint32_t> createIterFailed = {};
  Failure stepFailed = {};
  // Copies the record that the iterator stands on into item; a failure ends the reading and is its status.
  uint32_t (*arrive)(uint64_t obj, Item* item);
  bool unguarded = false;  // NULL desc, key or items are not caught
};

// Takes records from an iterator on obj into an array with this much room, and counts those that arrive.
template <class Item>
uint32_t takeRecords(uint64_t obj, uint64_t rootIter, uint32_t room, Item* items, uint32_t& arrived,
                     const ReadUnderHow<Item>& how) {
  // Room is asked before each step: once the array is full, no further record is taken from the iterator.
  uint32_t status = FIB_DB_OK;
  while (status == FIB_DB_OK && arrived < room) {
    const uint32_t code = db_root_iterator_next(rootIter);
    if (code == DB_ERR_ITER_END) break;
    status = code == FIB_DB_OK ? how.arrive(obj, items + arrived) : how.stepFailed(code);
    if (status == FIB_DB_OK) ++arrived;
  }
  return status;
}

// Reads the records under a key into an array of bufLen bytes, as many as it has room for. How many they are goes to
// filled, unless that is NULL; whether there were more is not told.
template <class Item, class Key>
uint32_t readUnder(const Table<Item, Key>& table, const FibDbKeyDesc* desc, const void* key, uint32_t bufLen,
                   Item* items, uint32_t* filled, const ReadUnderHow<Item>& how) {
  if (!how.unguarded && (desc == nullptr || key == nullptr || items == nullptr)) return FIB_DB_ERR;
  const Object obj(table, FIB_DB_OBJ_OP_SCAN);
  if (const uint32_t code = obj.error()) {
    how.createFailed.error(code);
    return code;
  }
  uint64_t rootIter = 0;
  if (const uint32_t code = db_create_root_iter(obj.handle(), desc, key, &rootIter)) {
    how.createIterFailed.error(code);
    return code;
  }
  uint32_t arrived = 0;
  const uint32_t status = takeRecords(obj.handle(), rootIter, bufLen / sizeof(Item), items, arrived, how);
  if (filled != nullptr) *filled = arrived;
  return status;
}

struct CountHow {
  Text<uint32_t> createFailed = {};
  Text<uint32_t> countFailed = {};
};

// The whole table's count.
template <class Item, class Key>
uint32_t count(const Table<Item, Key>& table, uint32_t* out, const CountHow& how = {}) {
  if (out == nullptr) return FIB_DB_ERR;
  const Object obj(table, FIB_DB_OBJ_OP_COUNT);
  if (const uint32_t code = obj.error()) {
    how.createFailed.error(code);
    return code;
  }
  uint64_t records = 0;  // 64 bits, whichever width the database writes
  if (const uint32_t code = db_get_table_record_count(obj.handle(), &records)) {
    how.countFailed.error(code);
    return code;
  }
  *out = static_cast<uint32_t>(records);
  return FIB_DB_OK;
}

struct CountUnderHow {
  Text<uint32_t> createFailed = {};
  Text<uint32_t> countFailed = {};
  bool unguarded = false;  // NULL desc, key or out are not caught
};

// How many records stand under a key, cut to the width of out.
template <class Item, class Key, class Out>
uint32_t countUnder(const Table<Item, Key>& table, const FibDbKeyDesc* desc, const void* key, Out* out,
                    const CountUnderHow& how) {
  if (!how.unguarded && (desc == nullptr || key == nullptr || out == nullptr)) return FIB_DB_ERR;
  const Object obj(table, FIB_DB_OBJ_OP_COUNT);
  if (const uint32_t code = obj.error()) {
    how.createFailed.error(code);
    return code;
  }
  uint64_t records = 0;
  if (const uint32_t code = db_get_table_record_count_by_key(obj.handle(), desc, key, &records)) {
    how.countFailed.error(code);
    return code;
  }
  *out = static_cast<Out>(records);
  return FIB_DB_OK;
}

struct IteratorHow {
  Text<> mallocFailed;
  Text<uint32_t> createObjFailed;
  Text<uint32_t> createIterFailed;
  Text<uint32_t> setPropertyFailed;
  bool madeInHandle = false;  // object and root iterator; else the handle gets them once all is well
};

// A block of FIB_DB_Malloc, freed when it goes out of scope unless kept.
class Block {
 public:
  explicit Block(uint32_t size) : block_(FIB_DB_Malloc(size)) {}
  ~Block() {
    if (block_ != nullptr) FIB_DB_Free(block_);
  }
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;

  void* get() const { return block_; }
  void keep() { block_ = nullptr; }

 private:
  void* block_;
};

inline uint32_t setProperty(uint64_t rootIter, uint32_t property) {
  if (property == FIB_DB_NO_PROPERTY) return FIB_DB_OK;
  return db_set_root_iterator_property(rootIter, 0, &property, sizeof property);
}

// An iterator handle; open(obj, outRootIter) makes the root iterator.
template <class Item, class Key, class Open>
FibDbIterator* createIterator(const Table<Item, Key>& table, const IteratorHow& how, uint32_t property,
                              const Open& open) {
  Block block(sizeof(FibDbIterator));
  auto* const iterator = static_cast<FibDbIterator*>(block.get());
  if (iterator == nullptr) return how.mallocFailed.error(), nullptr;
  FibDbIterator local;
  FibDbIterator& made = how.madeInHandle ? *iterator : local;
  made.obj = 0;
  made.rootIter = 0;
  Object obj(table, FIB_DB_OBJ_OP_SCAN, made.obj);
  if (const uint32_t code = obj.error()) return how.createObjFailed.error(code), nullptr;
  if (const uint32_t code = open(obj.handle(), &made.rootIter)) return how.createIterFailed.error(code), nullptr;
  if (const uint32_t code = setProperty(made.rootIter, property)) return how.setPropertyFailed.error(code), nullptr;
  iterator->obj = obj.keep();
  iterator->rootIter = made.rootIter;
  block.keep();
  return iterator;
}

// Openers of createIterator: the whole table, or the records under a key.
struct WholeTable {
  uint32_t operator()(uint64_t obj, uint64_t* rootIter) const {
    return db_create_root_iter(obj, nullptr, nullptr, rootIter);
  }
};

// The caller's own descriptor and key, handed on as they are.
struct UnderKey {
  const FibDbKeyDesc* desc;
  const void* key;

  uint32_t operator()(uint64_t obj, uint64_t* rootIter) const { return db_create_root_iter(obj, desc, key, rootIter); }
};

template <size_t Words>
struct UnderWords {
  uint32_t indexId;
  uint32_t key[Words];

  uint32_t operator()(uint64_t obj, uint64_t* rootIter) const {
    const FibDbKeyDesc desc{.indexId = indexId, .rsv1 = 0, .rsv2 = 0};
    return db_create_root_iter(obj, &desc, key, rootIter);
  }
};

// Advances, then arrive(obj, item) copies the record out and gives the status. failed(code) says and counts a failure.
template <class Item, class Failed>
uint32_t next(FibDbIterator* iterator, Item* item, const Failed& failed, uint32_t (*arrive)(uint64_t obj, Item* item)) {
  if (iterator == nullptr || item == nullptr) return FIB_DB_ERR;
  const uint32_t code = db_root_iterator_next(iterator->rootIter);
  if (code == FIB_DB_OK) return arrive(iterator->obj, item);
  if (code == DB_ERR_ITER_END) return FIB_DB_NOT_FOUND;
  failed(code);
  return FIB_DB_ERR;
}

template <class Item, class Key>
void releaseIterator(const Table<Item, Key>& table, FibDbIterator* iterator) {
  if (iterator == nullptr) return;
  table.release(iterator->obj);  // ends the root iterator, too
  FIB_DB_Free(iterator);
}

}  // namespace fibdb

#endif
