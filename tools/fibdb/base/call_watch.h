// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/base/call_watch.h: who is told of the program's calls (call.h).
#ifndef FIBDB_TOOLS_CALL_WATCH_H
#define FIBDB_TOOLS_CALL_WATCH_H

#include <functional>
#include <string>

namespace fibdb::program {

using CallWatcher = std::function<void(const std::string& line)>;

// Gives every call to the watcher, or to nobody again.
void watchCalls(CallWatcher watcher);

}  // namespace fibdb::program

#endif
