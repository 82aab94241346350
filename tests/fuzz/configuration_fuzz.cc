// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/fuzz/configuration_fuzz.cc: any file is loaded as a configuration as far as it is one; what is then in the
// tables, written as a configuration, loads as the same.
#include "tests/fuzz/program_input.h"
#include "tools/fibdb/shell/shell.h"
#include "tools/fibdb/tables/record_tables.h"
#include "tools/fibdb/tables/record_words.h"

namespace {

using namespace fibdb;
using program::Status;

Status load(std::string_view text) {
  test::startAnew();
  const test::MemoryFile file(text);
  test::QuietOutput quiet(text.size() % 2 != 0);
  program::Session session{quiet.output(), {}};
  return program::Shell(session, false).run("load config " + file.name(), {});
}

// What `save config` writes, but for records whose name has a line break: those it refuses.
std::string saved() {
  std::string text;
  for (const program::RecordTable* table : program::recordTables()) {
    if (table->walk.create == nullptr || (table->write == nullptr && table->create == nullptr)) continue;
    for (const program::Record& record : recordsOf(*table, table->walk, program::Record(*table))) {
      const std::string words = wordsOf(*table, record);
      if (words.find_first_of("\r\n") == std::string::npos) text += "add " + words + '\n';
    }
  }
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Status status = load(test::textOf(data, size));
  test::require(status == Status::kOk || status == Status::kFailed, "another status");
  const std::string first = saved();
  test::require(load(first) == Status::kOk, "what was saved is refused");
  test::require(saved() == first, "what was saved loads as something else");
  return 0;
}
