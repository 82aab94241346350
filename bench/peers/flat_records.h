// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// bench/peers/flat_records.h: records in one array, for an index that leads to their numbers.
#ifndef FIBDB_BENCH_PEERS_FLAT_RECORDS_H
#define FIBDB_BENCH_PEERS_FLAT_RECORDS_H

#include <vector>

#include "bench/route.h"

namespace fibdb::bench {

class FlatRecords {
 public:
  uint32_t put(const Record& record) {
    if (free_.empty()) {
      records_.push_back(record);
      return static_cast<uint32_t>(records_.size() - 1);
    }
    const uint32_t number = free_.back();
    free_.pop_back();
    records_[number] = record;
    return number;
  }
  void drop(uint32_t number) { free_.push_back(number); }
  void clear() {
    records_ = {};
    free_ = {};
  }

  const Record& at(uint64_t number) const { return records_[number]; }
  size_t count() const { return records_.size() - free_.size(); }
  uint64_t bytes() const { return records_.capacity() * sizeof(Record) + free_.capacity() * sizeof(uint32_t); }

 private:
  std::vector<Record> records_;
  std::vector<uint32_t> free_;
};

}  // namespace fibdb::bench

#endif
