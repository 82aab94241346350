// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/platform_double.h: a platform that does as it is told: records every call, and fails any of them.
//
// The double supplies every db_*, UFIB_DB_* and *_s symbol (the per-table ones expanded from the schema), so that the
// library under test is the shipped file. A call is recorded as text: "db_update_obj(#1, 0x00010004 2a000000)", where
// #1 is the first object made, ~1 the first iterator, +1 the first child node, and keys are shown as the bytes handed
// over.
#ifndef FIBDB_TESTS_SUPPORT_PLATFORM_DOUBLE_H
#define FIBDB_TESTS_SUPPORT_PLATFORM_DOUBLE_H

#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "fibdb/common.h"
#include "platform/schema/catalog.h"

namespace fibdb::test {

using Row = std::vector<uint8_t>;

class PlatformDouble {
 public:
  static PlatformDouble& instance();

  // Forgets all calls, results, rows and leaks; puts the counting hooks in place and resets the library's globals.
  void reset();

  // What the calls answer. ------------------------------------------------------------------------------------------
  // The next call of that name returns code; queued codes are used up in turn.
  void fail(std::string_view call, uint32_t code) { results_[std::string(call)].push_back(code); }
  // Every call of that name returns code.
  void failAlways(std::string_view call, uint32_t code) { always_[std::string(call)] = code; }
  // The n-th call from now on, whichever it is (allocations included), returns code; counted from 1.
  void failNth(uint64_t n, uint32_t code) {
    failAt_ = callCount_ + n;
    failCode_ = code;
  }
  // The call that failNth made fail; empty if it was not reached.
  const std::string& failedCall() const { return failedCall_; }

  // The row that reads and getters deliver, and the rows of an iteration.
  Row& record(schema::TableId table);
  std::deque<Row> entries;
  std::optional<uint32_t> byteLength;  // what getters of bytes say their length is, in place of the truth
  uint64_t countResult = 0;
  uint64_t sysTime = 1'700'000'000'000'000;
  uint64_t sysTimeReads = 0;

  // Told of every call as it comes, for tests that look at what is so at that moment.
  std::function<void(std::string_view call)> watch;

  // What the library did. -------------------------------------------------------------------------------------------
  std::vector<std::string> calls;       // without allocations and bounded copies
  std::vector<std::string> allCalls;    // with them
  std::vector<std::string> errorLines;  // formatted, as the hooks were handed them
  std::vector<std::string> infoLines;
  // The row staged by setters or set-all calls since the object was made.
  Row& staged(schema::TableId table);
  std::vector<Row> created;         // rows handed to UFIB_DB_Create
  std::vector<Row> serviceRecords;  // the bytes of each key request, entry buffer and update context handed over
  FibDbTableDesc lastDescriptor{};  // handed to UFIB_DB_TableRegister
  // Where the calls that make objects and iterators were told to put them, and what stood there.
  struct OutWord {
    const uint64_t* at;
    uint64_t before;
  };
  std::vector<OutWord> outWords;
  // Objects, iterators and blocks that are still alive, and releases of what was not.
  std::string leaks() const;

  // For the calls themselves.
  uint32_t answer(std::string_view call, const std::string& arguments);
  uint64_t makeObject(const uint64_t* out);
  void releaseObject(uint64_t object);
  std::string nameOf(uint64_t handle) const;
  bool takesBoundsCall(std::string_view call);
  void* allocate(size_t size);
  void release(void* block);
  uint64_t makeIterator(uint64_t object, const uint64_t* out);
  uint32_t advance(uint64_t iterator);
  uint64_t makeChild();
  schema::TableId tableOf(uint64_t object) const { return tables_.at(object); }
  void setTable(uint64_t object, schema::TableId table) { tables_[object] = table; }
  std::map<uint32_t, std::string> registered;  // id, descriptor name
  void* makeServiceIterator();
  void releaseServiceIterator(void* iterator);

 private:
  bool failsNow(std::string_view call, uint32_t& code);

  std::map<std::string, std::deque<uint32_t>, std::less<>> results_;
  std::map<std::string, uint32_t, std::less<>> always_;
  uint64_t callCount_ = 0;
  uint64_t failAt_ = 0;
  uint32_t failCode_ = 0;
  std::string failedCall_;
  std::map<schema::TableId, Row> records_;
  std::map<schema::TableId, Row> staged_;
  uint64_t objects_ = 0;
  uint64_t iterators_ = 0;
  uint64_t children_ = 0;
  std::set<uint64_t> aliveObjects_;
  std::map<uint64_t, uint64_t> iteratorOwner_;
  std::map<uint64_t, schema::TableId> tables_;
  std::set<void*> blocks_;
  std::set<void*> serviceIterators_;
  std::vector<std::string> violations_;
};

// Reads and writes a field of a row by its schema name.
uint64_t getField(schema::TableId table, const Row& row, std::string_view name);
void putField(schema::TableId table, Row& row, std::string_view name, uint64_t value);
void putBytes(schema::TableId table, Row& row, std::string_view name, const void* bytes);

}  // namespace fibdb::test

#endif
