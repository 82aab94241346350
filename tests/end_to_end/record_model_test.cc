// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/record_model_test.cc: every table that the program describes, and the routes,
// beside their models, at random.
#include "tests/support/record_model.h"

#include <ostream>

#include "tests/end_to_end/engine_fixture.h"
#include "tests/support/input.h"
#include "tests/support/pace.h"
#include "tests/support/route_model.h"

namespace fibdb::program {

// In the names of tests: the same ones every day.
void PrintTo(const RecordTable* table, std::ostream* out) { *out << table->word; }

}  // namespace fibdb::program

namespace fibdb::test {
namespace {

class AnyTable : public EngineTest, public testing::WithParamInterface<const program::RecordTable*> {};

TEST_P(AnyTable, agrees_with_its_model) {
  RandomInput input(seedOfToday());
  RecordModel model(*GetParam());
  try {
    for (uint32_t i = 0; i < pace::shareOf(1000); ++i) model.step(input);
    model.readAll();
    model.removeAll();
  } catch (const Disagreement& disagreement) {
    FAIL() << disagreement.text;
  }
  logged.clear();  // what is missing is said
}

TEST_F(EngineTest, routes_agree_with_their_model) {
  RandomInput input(seedOfToday());
  try {
    RouteModel model;
    for (uint32_t i = 0; i < pace::shareOf(10000); ++i) model.step(input);
    model.removeAll();
  } catch (const Disagreement& disagreement) {
    FAIL() << disagreement.text;
  }
}

std::string nameOfTable(const testing::TestParamInfo<const program::RecordTable*>& info) {
  std::string name(info.param->word);
  for (char& c : name) c = c == ' ' || c == '-' ? '_' : c;
  return name;
}
INSTANTIATE_TEST_SUITE_P(Described, AnyTable,
                         testing::ValuesIn(program::recordTables().begin(), program::recordTables().end()),
                         nameOfTable);

}  // namespace
}  // namespace fibdb::test
