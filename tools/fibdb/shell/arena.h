// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/shell/arena.h: the arena that the program looks into: for reading, until a command writes.
#ifndef FIBDB_TOOLS_ARENA_H
#define FIBDB_TOOLS_ARENA_H

#include <cstdint>
#include <string>
#include <string_view>

namespace fibdb::program {

// What a command does with the tables; kUnknown: its verb is in no list.
enum class TableUse : uint8_t { kUnknown, kNone, kReads, kWrites };
TableUse tableUseOf(std::string_view command);

class Arena {
 public:
  Arena() = default;
  // As the command line names it, or else the environment; empty: the program's tables are its own.
  explicit Arena(std::string name);

  // Joins as the command with these words needs it. One that is not there is made by the first command that writes.
  // Throws Failure.
  void enterFor(std::string_view command);

 private:
  void enter(bool writes);

  enum class Joined : uint8_t { kNot, kReading, kWriting };

  std::string name_;
  Joined joined_ = Joined::kNot;
};

}  // namespace fibdb::program

#endif
