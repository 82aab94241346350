// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/routes.cc: see routes.h.
#include "tools/fibdb/routes/routes.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>

#include "tools/fibdb/base/call.h"
#include "tools/fibdb/base/failure.h"
#include "tools/fibdb/base/interrupt.h"

namespace fibdb::program {
namespace {

uint64_t microsecondsNow() {
  using std::chrono::microseconds;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<uint64_t>(std::chrono::duration_cast<microseconds>(now).count());
}

FibDbIp4forwardItem keyItem(const Prefix& prefix, const Vrf& vrf) {
  FibDbIp4forwardItem item{};
  item.vr_id = vrf.vr;
  item.vrf_index = vrf.index;
  item.dest_ip_addr = prefix.address;
  item.mask_len = prefix.length;
  return item;
}

[[noreturn]] void fail(const std::string& what, uint32_t code) {
  throw Failure(Status::kFailed, what + ": " + codeText(code));
}

}  // namespace

Prefix prefixOf(const FibDbIp4forwardItem& item) { return {item.dest_ip_addr, item.mask_len}; }
Vrf vrfOf(const FibDbIp4forwardItem& item) { return {item.vr_id, item.vrf_index}; }

FibDbIp4forwardKey keyOf(const Vrf& vrf, const Prefix& prefix) {
  return {vrf.vr, vrf.index, prefix.address, prefix.length};
}

uint32_t originOf(const FibDbIp4forwardItem& item) { return item.attr_word_e; }

std::string inVrf(const Vrf& vrf) {
  if (vrf == Vrf()) return "";
  return ", vr " + std::to_string(vrf.vr) + " vrf " + std::to_string(vrf.index);
}

std::optional<FibDbIp4forwardItem> readRoute(const Prefix& prefix, const Vrf& vrf) {
  FibDbIp4forwardItem item = keyItem(prefix, vrf);
  const uint32_t status = call<FIB_DB_ReadIp4forward>(&item);
  if (status == FIB_DB_NOT_FOUND) return std::nullopt;
  if (status != FIB_DB_OK) fail("reading " + formatPrefix(prefix), status);
  return item;
}

std::optional<FibDbIp4forwardItem> lookUpCovering(const Prefix& prefix, const Vrf& vrf) {
  FibDbIp4forwardItem item = keyItem(prefix, vrf);
  const uint32_t status = call<FIB_DB_ReadIp4forwardByLpm>(&item);
  if (status == FIB_DB_NO_ROUTE) return std::nullopt;
  if (status != FIB_DB_OK) fail("looking up " + formatPrefix(prefix), status);
  return item;
}

std::optional<FibDbIp4forwardItem> lookUpRoute(uint32_t address, const Vrf& vrf) {
  return lookUpCovering({address, 32}, vrf);
}

uint32_t countRoutes() {
  uint32_t count = 0;
  const uint32_t status = call<FIB_DB_CountIp4forward>(&count);
  if (status != FIB_DB_OK) fail("counting routes", status);
  return count;
}

RouteIterator::RouteIterator(Order order)
    : RouteIterator(order == Order::kKey ? call<FIB_DB_CreateDictionaryIterator>(FIB_DB_NO_PROPERTY)
                                         : call<FIB_DB_CreateIp4forwardIterator>(FIB_DB_NO_PROPERTY)) {}

RouteIterator::RouteIterator(FibDbIterator* handle) : handle_(handle) {
  if (handle_ == nullptr) throw Failure(Status::kFailed, "the routes cannot be iterated");
}

RouteIterator::~RouteIterator() { call<FIB_DB_ReleaseIp4forwardIterator>(handle_); }

const FibDbIp4forwardItem* RouteIterator::next() {
  checkInterrupt();
  const uint32_t status = call<FIB_DB_GetNextIp4forward>(handle_, &item_);
  if (status == FIB_DB_NOT_FOUND) return nullptr;
  if (status != FIB_DB_OK) fail("iterating the routes", status);
  return &item_;
}

RouteRange::RouteRange(const FibDbIp4forwardKey& first, const FibDbIp4forwardKey& last, size_t atOnce)
    : from_(first), last_(last), atOnce_(atOnce) {}

const FibDbIp4forwardItem* RouteRange::next() {
  if (next_ == items_.size() && (ended_ || !refill())) return nullptr;
  return &items_[next_++];
}

// The route that the last read ended with may be gone by now, or be there again: it is passed over by its key.
bool RouteRange::refill() {
  struct Reading {
    std::vector<FibDbIp4forwardItem>& items;
    const FibDbIp4forwardItem* passed;
    uint64_t left;
  };
  checkInterrupt();
  const std::optional<FibDbIp4forwardItem> passed = begun_ ? std::optional(items_.back()) : std::nullopt;
  items_.clear();
  items_.reserve(atOnce_);
  Reading reading{items_, passed ? &*passed : nullptr, atOnce_};
  // Called by a library that knows no exceptions: there is room for what it adds.
  const auto visit = [](const void* row, uint32_t, void* context) {
    auto& into = *static_cast<Reading*>(context);
    FibDbIp4forwardRecord record{};
    std::memcpy(&record, row, sizeof record);
    FibDbIp4forwardItem item{};
    FIB_DB_GetIp4forwardItem(&record, &item);
    const FibDbIp4forwardItem* passed = into.passed;
    if (passed != nullptr && vrfOf(*passed) == vrfOf(item) && prefixOf(*passed) == prefixOf(item)) return 0;
    into.items.push_back(item);
    return --into.left == 0 ? 1 : 0;
  };
  const uint32_t code = call<fibdb_engine_walk_range>(call<fibdb_engine_find_table>("ip4forward"),
                                                      FIB_DB_IP4FORWARD_DICTIONARY, &from_, &last_, visit, &reading);
  if (code != FIB_DB_OK) fail("walking the routes in key order", code);
  begun_ = true;
  ended_ = reading.left > 0;
  next_ = 0;
  read_ += items_.size();
  atOnce_ = std::max(atOnce_, std::min(atOnce_ * 8, kManyAtOnce));
  if (items_.empty()) return false;
  from_ = keyOf(vrfOf(items_.back()), prefixOf(items_.back()));
  return true;
}

void openConnection() {
  if (FIB_DB_GetAsyncConn() != 0) return;
  const uint32_t status = call<FIB_DB_CreateAsyncConnect>(kBatchesWaiting, kBatchOperations);
  if (status != FIB_DB_OK) fail("connecting for batch writes", status);
}

void closeConnection() {
  if (FIB_DB_GetAsyncConn() != 0) call<FIB_DB_DestroyAsyncConnect>();
}

// The routes of one batch, and its result once the engine has called back.
class RouteLoader::Batch {
 public:
  explicit Batch(RouteLoader& loader) : loader_(loader) { routes.reserve(kBatchOperations); }

  uint64_t argument() { return reinterpret_cast<uint64_t>(&completion_); }

  std::vector<Route> routes;
  std::optional<FibDbBatchResult> result;  // guarded by the loader's mutex

 private:
  // On the engine's thread. Notified under the lock: the loader may be gone as soon as it is free.
  static void applied(void* context, const FibDbBatchResult* result) {
    auto& batch = *static_cast<Batch*>(context);
    const std::lock_guard lock(batch.loader_.mutex_);
    batch.result = *result;
    batch.loader_.applied_.notify_one();
  }

  RouteLoader& loader_;
  FibDbBatchCompletion completion_{&Batch::applied, this};
};

RouteLoader::RouteLoader(uint32_t generation, const Vrf& vrf, bool keepsSame)
    : vrf_(vrf), generation_(generation), writer_(static_cast<uint32_t>(getpid())), keepsSame_(keepsSame) {
  openConnection();
  begin();
}

RouteLoader::~RouteLoader() {
  std::unique_lock lock(mutex_);
  applied_.wait(lock, [this] { return underWay_.empty() || underWay_.back()->result.has_value(); });
}

FibDbIp4forwardItem RouteLoader::itemFor(const Route& route) const {
  if (keepsSame_) {
    const auto known = readRoute(route.prefix, vrf_);
    if (known && known->attr_word_a == route.group && originOf(*known) == route.origin) return *known;
  }
  FibDbIp4forwardItem item = keyItem(route.prefix, vrf_);
  item.attr_word_a = route.group;
  item.attr_word_e = route.origin;
  item.source_pid = writer_;
  item.table_smooth_id = generation_;
  item.time_stamp_svc = microsecondsNow();
  return item;
}

void RouteLoader::write(const Route& route) {
  const FibDbIp4forwardItem item = itemFor(route);
  add(route, [&] { return call<FIB_DB_BatchAddOperWriteIp4forward>(&object_, &item, 0); });
}

void RouteLoader::remove(const Prefix& prefix) {
  add({prefix, 0, 0}, [&] {
    const FibDbIp4forwardItem item = keyItem(prefix, vrf_);
    return call<FIB_DB_BatchAddOperRemoveIp4forward>(&object_, &item);
  });
}

const LoadCounts& RouteLoader::finish() {
  if (!current_->routes.empty()) handOver();
  collect(true);
  // The connection counts a batch when its completion has returned: who asks for its counters next finds them settled.
  call<fibdb_engine_drain>(FIB_DB_GetAsyncConn());
  return counts_;
}

// A full batch is handed over before the library would have to refuse, and log, one operation too many; an
// engine with smaller batches refuses all the same.
template <class Add>
void RouteLoader::add(const Route& route, Add addOperation) {
  if (current_->routes.size() == kBatchOperations) handOver();
  uint32_t code = addOperation();
  if (code == DB_ERR_RETRY && !current_->routes.empty()) {
    handOver();
    code = addOperation();
  }
  if (code != FIB_DB_OK) fail(formatPrefix(route.prefix), code);
  current_->routes.push_back(route);
}

void RouteLoader::begin() {
  const uint32_t status = call<FIB_DB_GetIp4forwardBatchAsyncObject>(&object_);
  if (status != FIB_DB_OK) fail("preparing a batch", status);
  current_ = std::make_unique<Batch>(*this);
}

void RouteLoader::handOver() {
  uint64_t argument = current_->argument();
  uint32_t status = call<FIB_DB_BatchExecuteAsync>(&object_, &argument);
  while (status == FIB_DB_BATCH_NOT_EXECUTED) {
    collect(true);
    call<fibdb_engine_drain>(FIB_DB_GetAsyncConn());
    status = call<FIB_DB_BatchExecuteAsync>(&object_, &argument);
  }
  if (status != FIB_DB_OK) fail("handing over a batch", status);
  {
    const std::lock_guard lock(mutex_);
    underWay_.push_back(std::move(current_));
  }
  collect(false);
  begin();
}

// Takes the results that have come in, or waits for all. Batches are applied in order, so the oldest is first.
void RouteLoader::collect(bool all) {
  std::unique_lock lock(mutex_);
  while (!underWay_.empty()) {
    Batch& oldest = *underWay_.front();
    if (!oldest.result && !all) return;
    applied_.wait(lock, [&] { return oldest.result.has_value(); });
    lock.unlock();
    take(oldest);
    lock.lock();
    underWay_.pop_front();
  }
}

void RouteLoader::take(const Batch& batch) {
  const FibDbBatchResult& result = *batch.result;
  counts_.inserted += result.inserted;
  counts_.replaced += result.replaced;
  counts_.removed += result.removed;
  counts_.refused += result.failed;
  if (result.failed == 0) return;
  if (counts_.code == 0) counts_.code = result.code;
  findRefused(batch, result.failed);
}

void RouteLoader::findRefused(const Batch& batch, uint32_t failed) {
  for (const Route& route : batch.routes) {
    if (failed == 0 || counts_.firstRefused.size() == kShownRefusals) return;
    if (wasApplied(route)) continue;
    counts_.firstRefused.push_back({route, batch.result->code});
    --failed;
  }
}

// A route that is not there, or carries another generation's stamp, was refused.
bool RouteLoader::wasApplied(const Route& route) const {
  const auto stored = readRoute(route.prefix, vrf_);
  return stored && stored->table_smooth_id == generation_;
}

}  // namespace fibdb::program
