// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/fuzz/calls_fuzz.cc: the input as a program of exported calls, on every table of the engine and on plain models.
//
// A byte chooses the table, the next one what is done to it. Whatever the library and the model say must be the same.
#include <cstdio>
#include <cstdlib>
#include <deque>

#include "fibdb/fibdb.h"
#include "tests/support/input.h"
#include "tests/support/record_model.h"
#include "tests/support/route_model.h"

namespace {

using namespace fibdb;

void reset() {
  if (fibdb_engine_reset() != 0) std::abort();
  FIB_DB_TableRegisterInit();
}

void run(test::Input& input) {
  test::RouteModel routes;
  std::deque<test::RecordModel> models;
  for (const program::RecordTable* table : program::recordTables()) models.emplace_back(*table);
  while (!input.empty()) {
    const size_t table = input.byte() % (models.size() + 1);
    table == models.size() ? routes.step(input) : models[table].step(input);
  }
  for (test::RecordModel& model : models) model.readAll();
  for (test::RecordModel& model : models) model.removeAll();
  routes.removeAll();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  reset();
  test::Input input(data, size);
  try {
    run(input);
  } catch (const test::Disagreement& disagreement) {
    std::fprintf(stderr, "%s\n", disagreement.text.c_str());
    std::abort();
  } catch (const program::Failure& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    std::abort();
  }
  FibDbEngineArenaStats stats{};
  if (fibdb_engine_arena_stats(&stats) != 0 || stats.objects != 0) std::abort();
  return 0;
}
