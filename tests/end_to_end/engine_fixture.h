// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/engine_fixture.h: the library over an empty engine, failing the test on any log line.
#ifndef FIBDB_TESTS_END_TO_END_ENGINE_FIXTURE_H
#define FIBDB_TESTS_END_TO_END_ENGINE_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "fibdb/fibdb.h"
#include "platform/objdb_tables.h"

namespace fibdb::test {

// The seed of a random test: FIBDB_SEED repeats a run.
inline uint32_t seedOfToday() {
  const char* const given = std::getenv("FIBDB_SEED");
  const uint32_t seed =
      given != nullptr ? static_cast<uint32_t>(std::strtoul(given, nullptr, 10)) : std::random_device()();
  std::printf("FIBDB_SEED=%u\n", seed);
  return seed;
}

inline std::vector<std::string> logged;

inline int logLine(const char* text, ...) {
  char line[512];
  va_list arguments;
  va_start(arguments, text);
  std::vsnprintf(line, sizeof line, text, arguments);
  va_end(arguments);
  logged.emplace_back(line);
  return 0;
}

class EngineTest : public testing::Test {
 protected:
  EngineTest() {
    EXPECT_EQ(fibdb_engine_reset(), 0u);
    logged.clear();
    const FibDbLogHooks hooks{.info = logLine, .error = logLine};
    FIB_DB_LogFuncInit(&hooks);
    FIB_DB_TableRegisterInit();
  }
  ~EngineTest() override {
    EXPECT_THAT(logged, testing::IsEmpty());
    FibDbEngineArenaStats stats{};
    EXPECT_EQ(fibdb_engine_arena_stats(&stats), 0u);
    EXPECT_EQ(stats.objects, 0u);
  }
};

// An open batch path; what was added is executed and applied when it closes.
class Batch {
 public:
  explicit Batch(uint64_t queueLimit = 0, uint64_t batchLimit = 0) {
    EXPECT_EQ(FIB_DB_CreateAsyncConnect(queueLimit, batchLimit), 0u);
    EXPECT_EQ(FIB_DB_GetIp4forwardBatchAsyncObject(&object_), 0u);
  }
  ~Batch() {
    execute();
    FIB_DB_DestroyAsyncConnect();
    // The library keeps its batch object, which is of no use without its connection.
    EXPECT_EQ(db_release_ip4forward_object(std::exchange(g_fibAsyncBatchObject, 0)), 0u);
  }

  uint32_t write(const FibDbIp4forwardItem& item) {
    return whileFull([&] { return FIB_DB_BatchAddOperWriteIp4forward(&object_, &item, 0); });
  }
  uint32_t update(const FibDbIp4forwardItem& item) {
    return whileFull([&] { return FIB_DB_BatchAddOperWriteIp4forward(&object_, &item, 1); });
  }
  uint32_t remove(const FibDbIp4forwardItem& item) {
    return whileFull([&] { return FIB_DB_BatchAddOperRemoveIp4forward(&object_, &item); });
  }
  void execute(FibDbBatchCompletion* completion = nullptr) {
    uint64_t argument = reinterpret_cast<uint64_t>(completion);
    while (FIB_DB_BatchExecuteAsync(&object_, &argument) == FIB_DB_BATCH_NOT_EXECUTED) {
      EXPECT_EQ(fibdb_engine_drain(FIB_DB_GetAsyncConn()), 0u);
    }
    EXPECT_EQ(fibdb_engine_drain(FIB_DB_GetAsyncConn()), 0u);
  }
  uint64_t* object() { return &object_; }

 private:
  template <class Add>
  uint32_t whileFull(Add add) {
    const uint32_t status = add();
    if (status != DB_ERR_RETRY) return status;
    logged.clear();  // the library says that the batch was full
    execute();
    EXPECT_EQ(FIB_DB_GetIp4forwardBatchAsyncObject(&object_), 0u);
    return add();
  }

  uint64_t object_ = 0;
};

// What became of a batch, once it was executed with this record.
class Completion {
 public:
  FibDbBatchCompletion* record() { return &record_; }
  const FibDbBatchResult& result() const { return result_; }

 private:
  static void done(void* context, const FibDbBatchResult* result) {
    static_cast<Completion*>(context)->result_ = *result;
  }

  FibDbBatchResult result_{};
  FibDbBatchCompletion record_{.done = done, .context = this};
};

inline FibDbIp4forwardItem routeOf(uint32_t addr, uint8_t mask, uint32_t group = 0) {
  FibDbIp4forwardItem item{};
  item.dest_ip_addr = addr;
  item.mask_len = mask;
  item.attr_word_a = group;
  return item;
}

}  // namespace fibdb::test

#endif
