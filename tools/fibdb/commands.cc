// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/commands.cc: which commands there are, in the order of help.
#include "tools/fibdb/shell/command.h"

namespace fibdb::program {

const std::vector<const Command*>& allCommands() {
  static const std::vector<const Command*> commands = [] {
    std::vector<const Command*> all;
    for (const auto rows : {routeCommands(), routeQuestionCommands(), mapCommands(), recordCommands(), configCommands(),
                            databaseCommands(), statisticsCommands(), arenaCommands(), measureCommands(),
                            watchCommands(), sessionCommands()}) {
      for (const Command& row : rows) all.push_back(&row);
    }
    return all;
  }();
  return commands;
}

}  // namespace fibdb::program
