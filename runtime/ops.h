// runtime/ops.h: the sequences of database calls behind the exported functions, each written once.
//
// A table file declares a Table and exports one-line functions over these; what is peculiar about a function stands in
// that line. A sequence makes one object, performs one operation and releases the object exactly once on every path.
#ifndef FIBDB_RUNTIME_OPS_H
#define FIBDB_RUNTIME_OPS_H

#include <cstdint>

#include "fibdb/runtime.h"
#include "platform/objdb.h"
#include "runtime/diagnostics.h"
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
  uint32_t (*stage)(uint64_t obj, const Item* item) = nullptr;  // all fields; non-zero: some field failed
  void (*key)(FibDbKeyDesc* desc, Key* key, const Item* item) = nullptr;
  // Reads the record of a key, or with NULL desc and key the one the iterator stands on, and fills item on success.
  uint32_t (*fetch)(uint64_t obj, const FibDbKeyDesc* desc, const void* key, Item* item) = nullptr;
  Settle* settle = nullptr;  // of writes, updates and removals
};

// A table object for one operation, released when it goes out of scope.
class Object {
 public:
  template <class Item, class Key>
  Object(const Table<Item, Key>& table, uint32_t kind)
      : release_(table.release), error_(table.create(kind, 0, &handle_)) {}
  ~Object() {
    if (error_ == 0 && release_ != nullptr) release_(handle_);
  }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  uint32_t error() const { return error_; }  // of the creation
  uint64_t handle() const { return handle_; }

  // Hands the object over to the caller, who releases it.
  uint64_t keep() {
    release_ = nullptr;
    return handle_;
  }

 private:
  uint32_t (*release_)(uint64_t);
  uint64_t handle_ = 0;
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
  Row row{};
  const uint32_t code = db_read_obj_with_buf(obj, desc, key, &row, sizeof row);
  if (code == FIB_DB_OK) Unpack(&row, item);
  return code;
}

struct WriteHow {
  Text<uint32_t> createFailed = {};
};

template <class Item, class Key>
uint32_t write(const Table<Item, Key>& table, const Item* item, const WriteHow& how = {}) {
  if (item == nullptr) return FIB_DB_ERR;
  const Object obj(table, FIB_DB_OBJ_OP_WRITE);
  if (const uint32_t code = obj.error()) {
    how.createFailed.error(code);
    return code;
  }
  if (table.stage(obj.handle(), item) != FIB_DB_OK) return FIB_DB_ERR;
  return table.settle(db_write_obj(obj.handle()), FIB_DB_OPER_WRITE);
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

// Replaces the whole record of item's key, which must exist.
template <class Item, class Key>
uint32_t updateWhole(const Table<Item, Key>& table, const Item* item, const WriteHow& how = {}) {
  if (item == nullptr) return FIB_DB_ERR;
  const Object obj(table, FIB_DB_OBJ_OP_UPDATE);
  if (const uint32_t code = obj.error()) {
    how.createFailed.error(code);
    return code;
  }
  const KeyOf<Item, Key> key(table, item);
  if (table.stage(obj.handle(), item) != FIB_DB_OK) return FIB_DB_ERR;
  return table.settle(db_update_obj(obj.handle(), &key.desc, &key.bytes), FIB_DB_OPER_UPDATE);
}

struct RemoveHow {
  Text<uint32_t> createFailed = {};
};

template <class Item, class Key>
uint32_t remove(const Table<Item, Key>& table, const Item* item, const RemoveHow& how = {}) {
  if (item == nullptr) return FIB_DB_ERR;
  const Object obj(table, FIB_DB_OBJ_OP_REMOVE);
  if (const uint32_t code = obj.error()) {
    how.createFailed.error(code);
    return code;
  }
  const KeyOf<Item, Key> key(table, item);
  return table.settle(db_remove_obj(obj.handle(), &key.desc, &key.bytes), FIB_DB_OPER_REMOVE);
}

template <class Item>
struct ReadHow {
  Text<uint32_t> createFailed = {};
  // Says and counts a failure other than a missing record, and returns the status.
  uint32_t (*failed)(uint32_t code, const Item* item);
};

// Reads by the primary key of item into item.
template <class Item, class Key>
uint32_t read(const Table<Item, Key>& table, Item* item, const ReadHow<Item>& how) {
  if (item == nullptr) return FIB_DB_ERR;
  const Object obj(table, FIB_DB_OBJ_OP_READ);
  if (const uint32_t code = obj.error()) {
    how.createFailed.error(code);
    return code;
  }
  const KeyOf<Item, Key> key(table, item);
  const uint32_t code = table.fetch(obj.handle(), &key.desc, &key.bytes, item);
  if (code == FIB_DB_OK) return FIB_DB_OK;
  if (code == DB_ERR_NO_DATA) return FIB_DB_NOT_FOUND;
  return how.failed(code, item);
}

// The whole table's count.
template <class Item, class Key>
uint32_t count(const Table<Item, Key>& table, uint32_t* out) {
  if (out == nullptr) return FIB_DB_ERR;
  const Object obj(table, FIB_DB_OBJ_OP_COUNT);
  if (const uint32_t code = obj.error()) return code;
  uint64_t records = 0;  // 64 bits, whichever width the database writes
  const uint32_t code = db_get_table_record_count(obj.handle(), &records);
  if (code == FIB_DB_OK) *out = static_cast<uint32_t>(records);
  return code;
}

struct IteratorTexts {
  Text<> mallocFailed;
  Text<uint32_t> createObjFailed;
  Text<uint32_t> createIterFailed;
  Text<uint32_t> setPropertyFailed;
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
FibDbIterator* createIterator(const Table<Item, Key>& table, const IteratorTexts& texts, uint32_t property,
                              const Open& open) {
  Block block(sizeof(FibDbIterator));
  auto* const iterator = static_cast<FibDbIterator*>(block.get());
  if (iterator == nullptr) return texts.mallocFailed.error(), nullptr;
  Object obj(table, FIB_DB_OBJ_OP_SCAN);
  if (const uint32_t code = obj.error()) return texts.createObjFailed.error(code), nullptr;
  iterator->rootIter = 0;
  if (const uint32_t code = open(obj.handle(), &iterator->rootIter)) {
    return texts.createIterFailed.error(code), nullptr;
  }
  if (const uint32_t code = setProperty(iterator->rootIter, property)) {
    return texts.setPropertyFailed.error(code), nullptr;
  }
  iterator->obj = obj.keep();
  block.keep();
  return iterator;
}

// Openers of createIterator: the whole table, or the records under a key.
struct WholeTable {
  uint32_t operator()(uint64_t obj, uint64_t* rootIter) const {
    return db_create_root_iter(obj, nullptr, nullptr, rootIter);
  }
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

// Advances, then arrive(obj, item) copies the record out and gives the status. failed says and counts a failure.
template <class Item>
uint32_t next(FibDbIterator* iterator, Item* item, void (*failed)(uint32_t code),
              uint32_t (*arrive)(uint64_t obj, Item* item)) {
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
