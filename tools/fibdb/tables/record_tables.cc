// tools/fibdb/tables/record_tables.cc: their commands, in the order of help.
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

constexpr const RecordTable* kTables[] = {&kNexthops, &kArGroups};

}  // namespace

std::span<const Command> recordCommands() {
  static const std::vector<Command> commands = [] {
    std::vector<Command> all;
    for (const RecordTable* table : kTables) {
      for (const Command& command : commandsOf(*table)) all.push_back(command);
    }
    return all;
  }();
  return commands;
}

}  // namespace fibdb::program
