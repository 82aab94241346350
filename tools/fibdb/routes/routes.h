// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/routes.h: routes as the program sees them, over the library's exported calls.
//
// DESCRIPTION: reads go to the table at once; all writes take the batch path. Failure carries what the library or the
// engine answered. THREADS: one thread; the batch path has one writer.
#ifndef FIBDB_TOOLS_ROUTES_H
#define FIBDB_TOOLS_ROUTES_H

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "fibdb/fibdb.h"
#include "tools/fibdb/base/words.h"
#include "tools/fibdb/routes/routes_file.h"

namespace fibdb::program {

inline constexpr uint64_t kBatchOperations = 4096;
inline constexpr uint64_t kBatchesWaiting = 16;
inline constexpr size_t kShownRefusals = 10;

// Where a prefix belongs: a VRF of a virtual router.
struct Vrf {
  uint32_t vr = 0;
  uint32_t index = 0;

  auto operator<=>(const Vrf&) const = default;
};

Prefix prefixOf(const FibDbIp4forwardItem& item);
// The autonomous system that the route was loaded with, which the program keeps in an attribute; 0: none.
uint32_t originOf(const FibDbIp4forwardItem& item);
Vrf vrfOf(const FibDbIp4forwardItem& item);
FibDbIp4forwardKey keyOf(const Vrf& vrf, const Prefix& prefix);
// ", vr 1 vrf 2", and nothing of the first VRF of the first router, to which routes belong unless it is said.
std::string inVrf(const Vrf& vrf);

std::optional<FibDbIp4forwardItem> readRoute(const Prefix& prefix, const Vrf& vrf = {});
// The longest prefix that covers all of this one.
std::optional<FibDbIp4forwardItem> lookUpCovering(const Prefix& prefix, const Vrf& vrf = {});
std::optional<FibDbIp4forwardItem> lookUpRoute(uint32_t address, const Vrf& vrf = {});
uint32_t countRoutes();

// Every route of the table, in any order or in key order, or those that an iterator of the library finds. Same promises
// as the library's iterators.
class RouteIterator {
 public:
  enum class Order { kAny, kKey };

  explicit RouteIterator(Order order);
  // Owns the iterator from now on.
  explicit RouteIterator(FibDbIterator* handle);
  ~RouteIterator();
  RouteIterator(const RouteIterator&) = delete;
  RouteIterator& operator=(const RouteIterator&) = delete;

  // Nothing at the end. Also a place where Ctrl-C ends the walk.
  const FibDbIp4forwardItem* next();

 private:
  FibDbIterator* handle_;
  FibDbIp4forwardItem item_{};
};

// The routes whose keys lie between two keys, both included, in key order. Starts at the first of them, not at that of
// the table; same promises as an iterator.
class RouteRange {
 public:
  // atOnce: how many routes the first read takes; the next ones take more and more.
  RouteRange(const FibDbIp4forwardKey& first, const FibDbIp4forwardKey& last, size_t atOnce = kFewAtOnce);

  // Nothing at the end. Also a place where Ctrl-C ends the walk.
  const FibDbIp4forwardItem* next();
  uint64_t routesRead() const { return read_; }

 private:
  static constexpr size_t kFewAtOnce = 16;
  static constexpr size_t kManyAtOnce = 1024;

  bool refill();

  FibDbIp4forwardKey from_;  // the next read starts here, or behind it
  const FibDbIp4forwardKey last_;
  size_t atOnce_;
  bool begun_ = false;
  bool ended_ = false;
  std::vector<FibDbIp4forwardItem> items_;
  size_t next_ = 0;
  uint64_t read_ = 0;
};

// Opens the process's asynchronous connection once; closing applies what waits.
void openConnection();
void closeConnection();

struct RefusedRoute {
  Route route;
  uint32_t code = 0;
};

// What became of everything handed over.
struct LoadCounts {
  uint64_t inserted = 0;
  uint64_t replaced = 0;
  uint64_t removed = 0;
  uint64_t refused = 0;
  uint32_t code = 0;                       // of the first refusal
  std::vector<RefusedRoute> firstRefused;  // at most kShownRefusals
};

// Writes and removes routes in batches.
//
// DESCRIPTION: operations are collected, handed over when a batch is full, and applied by the engine
// meanwhile. A batch keeps its routes until it is applied: when some were refused, reading them back tells
// which. INVARIANTS: no batch outlives the loader; the destructor waits for those under way.
class RouteLoader {
 public:
  // keepsSame: a route that says the same as the one that is there is written as that was, stamps included.
  explicit RouteLoader(uint32_t generation, const Vrf& vrf = {}, bool keepsSame = false);
  ~RouteLoader();
  RouteLoader(const RouteLoader&) = delete;
  RouteLoader& operator=(const RouteLoader&) = delete;

  void write(const Route& route);
  void remove(const Prefix& prefix);
  // Hands over what is collected, waits until everything was applied.
  const LoadCounts& finish();

 private:
  class Batch;

  void begin();
  void handOver();
  void collect(bool all);
  void take(const Batch& batch);
  void findRefused(const Batch& batch, uint32_t failed);
  bool wasApplied(const Route& route) const;
  FibDbIp4forwardItem itemFor(const Route& route) const;
  template <class Add>
  void add(const Route& route, Add addOperation);

  const Vrf vrf_;
  const uint32_t generation_;  // stamped into every route as table_smooth_id
  const uint32_t writer_;      // this process, as source_pid
  const bool keepsSame_;
  uint64_t object_ = 0;
  std::mutex mutex_;  // guards the batches' results against the engine's thread
  std::condition_variable applied_;
  std::deque<std::unique_ptr<Batch>> underWay_;  // oldest first
  std::unique_ptr<Batch> current_;
  LoadCounts counts_;
};

}  // namespace fibdb::program

#endif
