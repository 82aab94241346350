// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/record_table.h: a table's commands, described by data.
//
// DESCRIPTION: show, add, set, delete and count, their usage, help, completion and errors are the same for every
// table; a table says which words it goes by, which fields its item has, and which exported functions there are.
// A function that a table lacks is an empty cell, and the command that would need it does not exist. What varies
// between tables is a cell here, never a case in the commands.
#ifndef FIBDB_TOOLS_RECORD_TABLE_H
#define FIBDB_TOOLS_RECORD_TABLE_H

#include <concepts>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fibdb/fibdb.h"
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/shell/command.h"
#include "tools/fibdb/tables/field.h"

namespace fibdb::program {

// What tells a missing record and the end of an iteration from failures.
struct Codes {
  uint32_t missing;
  uint32_t end;
};
inline constexpr Codes kObjectCodes{FIB_DB_NOT_FOUND, FIB_DB_NOT_FOUND};
inline constexpr Codes kServiceCodes{DB_ERR_NO_DATA, DB_ERR_ITER_END};

// An iterator, the item of its query included, whose types only the table knows.
struct Walk {
  void* (*create)(const void* query) = nullptr;
  uint32_t (*next)(void* iterator, void* item) = nullptr;
  void (*release)(void* iterator) = nullptr;
};

// The records that have what the query says of these fields: an iterator by an index, or how many they are, or both.
struct Selection {
  std::string_view fields;  // names with blanks between, in the order of the usage
  Walk walk = {};
  uint32_t (*count)(const void* query, uint64_t* records) = nullptr;
};

// How one record is shown when its fields alone do not say enough. key: an item with the key that was given.
struct View {
  void (*show)(Session& session, const void* key) = nullptr;
  std::string_view details = {};  // for the help of show
};

struct RecordTable {
  std::string_view word;  // in commands: "nexthop"
  std::string_view one;   // with its article: "a next hop"
  std::string_view many;
  size_t itemSize = 0;
  std::span<const Field> fields;  // those of the key first
  Codes codes = kObjectCodes;
  ItemCall read = nullptr;
  ItemCall write = nullptr;   // inserts or replaces, or
  ItemCall create = nullptr;  // refuses what exists
  // Makes the stored record what the item says, after the item was read: updateWith<> over the table's partial update,
  // or its whole write. A field's own cell goes first. Without either a field stays what it is.
  ItemCall change = nullptr;
  bool setAdds = false;  // to set a property of a missing record adds the record
  ItemCall remove = nullptr;
  Walk walk = {};  // every record
  std::span<const Selection> selections = {};
  uint32_t (*count)(uint64_t* records) = nullptr;  // without it records are counted by walking
  std::string_view details = {};                   // for the help of add, or where it does not exist, of show
  View view = {};
  // In a table of next hops the field that is a next hop's index: the whole key, or served by a selection of its own.
  std::string_view nexthop = {};
};

// Exported functions as cells. ----------------------------------------------------------------------------------------
template <class Function>
struct ItemOf;
template <class Result, class Item, class... More>
struct ItemOf<Result (*)(Item*, More...)> {
  using type = Item;
};

// A function that takes an item alone.
template <auto kFunction>
constexpr auto onItem =
    [](void* item) { return call<kFunction>(static_cast<typename ItemOf<decltype(kFunction)>::type*>(item)); };

// A partial update that stages what kSetter stages. A record that vanished meanwhile is not written anew.
template <auto kUpdate, auto kSetter>
constexpr auto updateWith = [](void* item) {
  using Item = typename ItemOf<decltype(kUpdate)>::type;
  return call<kUpdate>(static_cast<Item*>(item), [](uint64_t object, const void* staged) {
    return call<kSetter>(object, static_cast<Item*>(staged));
  });
};

template <class Function>
struct StepOf;
template <class Iterator, class Item>
struct StepOf<uint32_t (*)(Iterator*, Item*)> {
  using iterator = Iterator;
  using item = Item;
};

// A creation by an index whose key are these members of the query.
template <auto kCreate, auto kFirst, auto... kRest>
constexpr auto under = [](const typename MemberClass<decltype(kFirst)>::type* query, uint32_t property) {
  return call<kCreate>(query->*kFirst, query->*kRest..., property);
};

// kCreate takes a property, a query, or a query and a property.
template <auto kCreate, auto kNext, auto kRelease>
constexpr Walk walkOf() {
  using Iterator = typename StepOf<decltype(kNext)>::iterator;
  using Item = typename StepOf<decltype(kNext)>::item;
  return {.create = [](const void* query) -> void* {
            const auto* item = static_cast<const Item*>(query);
            if constexpr (std::invocable<decltype(kCreate), const Item*, uint32_t>) {
              return call<kCreate>(item, FIB_DB_NO_PROPERTY);
            } else if constexpr (std::invocable<decltype(kCreate), const Item*>) {
              return call<kCreate>(item);
            } else {
              return call<kCreate>(FIB_DB_NO_PROPERTY);
            }
          },
          .next = [](void* iterator,
                     void* item) { return call<kNext>(static_cast<Iterator*>(iterator), static_cast<Item*>(item)); },
          .release = [](void* iterator) { static_cast<void>(call<kRelease>(static_cast<Iterator*>(iterator))); }};
}

// Records that are found at once, handed out one by one.
template <class Item>
struct Found {
  std::vector<Item> items;
  size_t next = 0;
};

// kFind takes a query and answers with all its records, or with nothing on failure; kEnd is the table's code.
template <auto kFind, uint32_t kEnd>
constexpr Walk foundWith() {
  using Item = std::remove_const_t<typename ItemOf<decltype(kFind)>::type>;
  return {.create = [](const void* query) -> void* {
            auto items = kFind(static_cast<const Item*>(query));
            return items ? new Found<Item>{std::move(*items)} : nullptr;
          },
          .next = [](void* iterator, void* item) -> uint32_t {
            auto& found = *static_cast<Found<Item>*>(iterator);
            if (found.next == found.items.size()) return kEnd;
            *static_cast<Item*>(item) = found.items[found.next++];
            return FIB_DB_OK;
          },
          .release = [](void* iterator) { delete static_cast<Found<Item>*>(iterator); }};
}

// The record, if any, that a read by other than the primary key finds: a walk of one step at most.
template <auto kRead, Codes kCodes>
constexpr Walk walkTo() {
  using Item = typename ItemOf<decltype(kRead)>::type;
  struct Query {
    Item item;
    bool asked = false;
  };
  return {.create = [](const void* query) -> void* { return new Query{*static_cast<const Item*>(query)}; },
          .next =
              [](void* iterator, void* item) {
                auto& query = *static_cast<Query*>(iterator);
                if (std::exchange(query.asked, true)) return kCodes.end;
                *static_cast<Item*>(item) = query.item;
                const uint32_t code = call<kRead>(static_cast<Item*>(item));
                return code == kCodes.missing ? kCodes.end : code;
              },
          .release = [](void* iterator) { delete static_cast<Query*>(iterator); }};
}

// A count of the records that share something with the query.
template <auto kCount>
constexpr auto countUnder = [](const void* query, uint64_t* records) {
  uint32_t count = 0;
  const uint32_t code = call<kCount>(static_cast<typename ItemOf<decltype(kCount)>::type*>(query), &count);
  *records = count;
  return code;
};

// A count that the library hands out in a number of any width.
template <auto kCount>
constexpr auto countOf = [](uint64_t* records) {
  typename ItemOf<decltype(kCount)>::type count = 0;
  const uint32_t code = call<kCount>(&count);
  *records = count;
  return code;
};

// A table's fields and records. ---------------------------------------------------------------------------------------
// An item of any table: bytes that the exported functions see as their record.
class Record {
 public:
  explicit Record(const RecordTable& table) : bytes_(table.itemSize) {}

  bool operator==(const Record&) const = default;

  void* data() { return bytes_.data(); }
  const void* data() const { return bytes_.data(); }
  // REQUIRES: Item is the item of the table.
  template <class Item>
  Item& as() {
    return *static_cast<Item*>(data());
  }
  template <class Item>
  const Item& as() const {
    return *static_cast<const Item*>(data());
  }

 private:
  std::vector<std::byte> bytes_;
};

std::vector<const Field*> fieldsOf(const RecordTable& table, Role role);
std::vector<const Field*> fieldsOf(const RecordTable& table, const Selection& selection);
// Those that can be listed, and those that can be counted.
bool canBeListed(const Selection& selection);
bool canBeCounted(const Selection& selection);
std::vector<const Selection*> selectionsOf(const RecordTable& table, bool (*serves)(const Selection& selection));
// Whether a stored record's field can be given another value.
bool changes(const RecordTable& table, const Field& field);
// Without its article.
std::string_view nameOf(const RecordTable& table);

const void* placeOf(const Field& field, const void* item);
Value valueOf(const Field& field, const void* item);
// The same, or nothing where the field says that it is not set.
Value shownOf(const Field& field, const void* item);
// As it is written in a command.
std::string wordOf(const Field& field, const void* item);
// The key without the zeros that need not be given.
std::vector<const Field*> keysOf(const RecordTable& table, const void* item);
// "next hop 7", without the zeros that need not be given.
std::string titleOf(const RecordTable& table, const void* item);
// The title, and behind it what lists show of the record and is not zero: "next hop 7, vrf 2, refs 1".
std::string lineOf(const RecordTable& table, const void* item);
std::vector<Fact> factsOf(const std::vector<const Field*>& fields, const void* item);
std::vector<Fact> factsOf(const RecordTable& table, const void* item);

// Fills item by its key; false when there is no such record. Throws Failure for any other answer.
bool readRecord(const RecordTable& table, void* item);
[[noreturn]] void failMissing(const RecordTable& table, const void* item);
// Inserts or replaces; throws Failure when it is refused.
void writeRecord(const RecordTable& table, void* item);
// What the walk finds, in the order of the key.
std::vector<Record> recordsOf(const RecordTable& table, const Walk& walk, const Record& query);
// The records that have what the query says of these fields, in the order of the key.
// REQUIRES: the fields are those of a selection, named as there, or the whole key.
std::vector<Record> recordsBy(const RecordTable& table, std::string_view fields, const Record& query);

// The commands of one table. Their texts live as long as the program.
std::vector<Command> commandsOf(const RecordTable& table);

}  // namespace fibdb::program

#endif
