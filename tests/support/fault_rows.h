// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/fault_rows.h: what the fault loop runs: a row per exported function, and what its failures give.
//
// The rows stand beside the tests of their table and announce themselves: a file of rows holds one FaultRows, and
// belongs to the same program as the loop. An exported function that no file has a row for fails the loop. There are
// two loops: over the double every call of the platform fails in turn (fault_loop_test.cc), over the engine every
// request for memory (end_to_end/memory_test.cc).
#ifndef FIBDB_TESTS_SUPPORT_FAULT_ROWS_H
#define FIBDB_TESTS_SUPPORT_FAULT_ROWS_H

#include <algorithm>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

namespace fibdb::test::fault {

// In place of a status: an iterator could not be made, and a block could not be had.
constexpr uint32_t kNull = 0xFFFFFFFF;

// What a failed call makes of its code.
using Gives = uint32_t (*)(uint32_t code);
inline uint32_t raw(uint32_t code) { return code; }
inline uint32_t one(uint32_t) { return 1; }
inline uint32_t null(uint32_t) { return kNull; }
inline uint32_t ignored(uint32_t) { return 0; }
inline uint32_t refused(uint32_t) { return 22; }  // the own result of a checked copy
inline uint32_t written(uint32_t code) { return code == 13044 ? 0 : code; }
inline uint32_t writtenOrOne(uint32_t code) { return code == 13044 ? 0 : 1; }
inline uint32_t read(uint32_t code) { return code == 15005 ? 60 : 1; }
inline uint32_t readOrRaw(uint32_t code) { return code == 15005 ? 60 : code; }
inline uint32_t stepped(uint32_t code) { return code == 110012 ? 60 : 1; }
inline uint32_t counted(uint32_t code) { return code == 110012 ? 0 : code; }

struct Rule {
  std::string call;  // a trailing * stands for any rest
  Gives gives;

  bool covers(const std::string& name) const {
    return call.back() == '*' ? name.starts_with(call.substr(0, call.size() - 1)) : name == call;
  }
};
using Rules = std::vector<Rule>;

inline Rules operator+(Rules rules, const Rules& more) {
  rules.insert(rules.end(), more.begin(), more.end());
  return rules;
}

struct Exported {
  std::string name;
  std::function<uint32_t()> run;  // 0 when nothing fails
  Rules rules;                    // none: it calls nothing
};

// The object that rows hand to the functions that take one of their caller's; the double takes any word for one.
inline uint64_t callersObject = 1;

// What the rows of the batch path need beside it, each loop in its own way: a connection, and a way to give back the
// batch object that the library keeps.
uint64_t connectionOfRows();
void giveBackBatchObject(uint64_t object);

// Every row of the program, in no particular order.
inline std::vector<Exported>& allRows() {
  static std::vector<Exported> rows;
  return rows;
}

// The rows of one file, announced before main() begins.
struct FaultRows {
  FaultRows(std::initializer_list<Exported> rows) : FaultRows(std::vector<Exported>(rows)) {}
  explicit FaultRows(std::vector<Exported> rows) { std::ranges::move(rows, std::back_inserter(allRows())); }
};

// A call sequence on an object of the table that hands the creation's code on. ----------------------------------------
inline Rules onObjectOf(const std::string& table, const Rules& calls) {
  return Rules{{"db_create_" + table + "_obj", raw}} + calls + Rules{{"db_release_" + table + "_object", ignored}};
}

// Making an iterator over the table; a failed step of it is a rule of its own.
inline Rules iteratorOf(const std::string& table, const Rules& steps = {}) {
  return Rules{{"alloc", null},
               {"db_create_" + table + "_obj", null},
               {"db_create_root_iter", null},
               {"db_set_root_iterator_property", null},
               {"db_release_" + table + "_object", ignored}} +
         steps;
}

// Making an iterator of the table service, and giving it back.
inline Rules serviceIterator() { return {{"UFIB_DB_CreateIterator", null}, {"UFIB_DB_ReleaseIterator", raw}}; }

// A run of a key builder of the table service.
template <class Item, class Key>
uint32_t keyBuilt(void (*build)(const Item* item, uint32_t* indexId, Key* key), const Item* item) {
  uint32_t indexId = 0;
  alignas(uint64_t) uint8_t key[64];
  build(item, &indexId, static_cast<Key*>(static_cast<void*>(key)));
  return 0;
}

// A run that unpacks a row of zeros into the item.
template <class Row, class Unpack, class Item>
uint32_t unpacked(Unpack unpack, Item* item) {
  const Row row{};
  return unpack(&row, item), 0;
}

// A run that takes a step with its iterator and ends by giving it back; a release may have a status too.
template <class Iterator, class Step, class Release>
uint32_t stepWith(Iterator* iterator, Step step, Release release) {
  if (iterator == nullptr) return kNull;
  const uint32_t status = step(iterator);
  if constexpr (std::is_void_v<decltype(release(iterator))>) {
    release(iterator);
    return status;
  } else {
    const uint32_t released = release(iterator);
    return status != 0 ? status : released;
  }
}

// A run that makes an iterator and gives it back.
template <class Iterator, class Release>
uint32_t made(Iterator* iterator, Release release) {
  return stepWith(
      iterator, [](Iterator*) { return 0u; }, release);
}

}  // namespace fibdb::test::fault

#endif
