// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/tables/check_engine_test.cc: what `check engine` answers when the engine is not in order, or would not
// stand still.
#include <gtest/gtest.h>

#include <sstream>

#include "fibdb/engine.h"
#include "tools/fibdb/output/output.h"
#include "tools/fibdb/shell/command.h"

namespace {

// What the engine below has to say: a line without a text is a table that was overtaken.
struct Said {
  const char* table;
  const char* finding;
};
std::vector<Said> theLines;
FibDbEngineCheck theCheck;
uint32_t theCode;

}  // namespace

// Of this program, and so before the engine's own.
uint32_t fibdb_engine_check(FibDbEngineFinding visit, void* context, FibDbEngineCheck* out) {
  for (const Said& said : theLines) {
    if (visit(said.table, said.finding, context) != 0) break;
  }
  *out = theCheck;
  return theCode;
}

namespace fibdb::program {
namespace {

struct Answer {
  Status status;
  std::string text;
};

Answer answer(Form form = Form::kTable) {
  const std::vector<std::string> words = {"check", "engine"};
  const CommandMatch match = findCommand(words);
  std::ostringstream answers;
  Output output(answers, answers, {}, form);
  Session session{output, {}};
  Arguments arguments(*match.command, std::span(words).subspan(match.wordCount));
  const Status status = match.command->run(session, arguments);
  return {status, answers.str()};
}

class CheckEngine : public testing::Test {
 protected:
  void SetUp() override {
    theLines.clear();
    theCheck = {.tables = 28, .overtaken = 0, .records = 1000, .blocks = 1, .findings = 0};
    theCode = 0;
  }
};

TEST_F(CheckEngine, without_findings_is_a_sentence) {
  const Answer clean = answer();
  EXPECT_EQ(clean.status, Status::kOk);
  EXPECT_EQ(clean.text, "28 tables checked, 1,000 records in 1 block of memory: 0 findings\n");
}

TEST_F(CheckEngine, fails_with_a_line_for_each_finding) {
  theLines = {{"nhp", "index 0: not entered: 17 (and 2 more)"}, {"vrf", "records: counted 3 of 4"}};
  theCheck.findings = 4;
  const Answer damaged = answer();
  EXPECT_EQ(damaged.status, Status::kFailed);
  EXPECT_EQ(damaged.text,
            "table  finding\n"
            "nhp    index 0: not entered: 17 (and 2 more)\n"
            "vrf    records: counted 3 of 4\n"
            "28 tables checked, 1,000 records in 1 block of memory: 4 findings\n");
  EXPECT_EQ(answer(Form::kJsonLines).text,
            "{\"list\":\"findings\",\"table\":\"nhp\",\"finding\":\"index 0: not entered: 17 (and 2 more)\"}\n"
            "{\"list\":\"findings\",\"table\":\"vrf\",\"finding\":\"records: counted 3 of 4\"}\n"
            "{\"tables\":28,\"overtaken\":0,\"records\":1000,\"blocks\":1,\"findings\":4}\n");
}

TEST_F(CheckEngine, fails_when_a_table_did_not_stand_still) {
  theLines = {{"ip4forward", nullptr}};
  theCheck.tables = 27;
  theCheck.overtaken = 1;
  const Answer overtaken = answer();
  EXPECT_EQ(overtaken.status, Status::kFailed);
  EXPECT_EQ(overtaken.text,
            "table       finding\n"
            "ip4forward  not checked: it was being written at every look\n"
            "27 tables checked, 1,000 records in 1 block of memory: 0 findings, 1 table not checked\n");
}

TEST_F(CheckEngine, says_why_it_could_not_be_made) {
  theCode = DB_ERR_NO_MEMORY;
  try {
    answer();
    FAIL() << "nothing was said";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status(), Status::kFailed);
    EXPECT_STREQ(failure.what(), "out of memory (code 20013)");
  }
}

}  // namespace
}  // namespace fibdb::program
