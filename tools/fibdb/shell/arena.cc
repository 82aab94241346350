// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/shell/arena.cc: see arena.h.
#include "tools/fibdb/shell/arena.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

#include "fibdb/engine.h"
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/base/failure.h"

namespace fibdb::program {
namespace {

constexpr const char* kVariable = "FIBDB_ARENA";

// How commands begin that change records, look at some, or at none.
constexpr std::array<std::string_view, 6> kWriting{"add", "set", "delete", "load", "clear", "tour"};
constexpr std::array<std::string_view, 6> kReading{"show", "count", "explain", "save", "bench", "check"};
constexpr std::array<std::string_view, 8> kAside{"help", "quit", "exit", "format", "timing", "trace", "watch", "arena"};

}  // namespace

Arena::Arena(std::string name) : name_(std::move(name)) {
  const char* const own = std::getenv(kVariable);
  if (name_.empty() && own != nullptr) name_ = own;
  // The environment says size and mode, too, for who makes it.
  if (!name_.empty()) setenv(kVariable, name_.c_str(), 1);
}

TableUse tableUseOf(std::string_view command) {
  const std::string_view verb = command.substr(0, command.find(' '));
  const auto isAmong = [&](const auto& verbs) { return std::ranges::find(verbs, verb) != verbs.end(); };
  if (isAmong(kWriting)) return TableUse::kWrites;
  if (isAmong(kReading)) return TableUse::kReads;
  return isAmong(kAside) ? TableUse::kNone : TableUse::kUnknown;
}

void Arena::enterFor(std::string_view command) {
  const TableUse use = tableUseOf(command);
  if (use != TableUse::kNone) enter(use == TableUse::kWrites);
}

void Arena::enter(bool writes) {
  if (name_.empty() || joined_ == Joined::kWriting || (joined_ == Joined::kReading && !writes)) return;
  const FibDbEngineArena how{name_.c_str(), 0, 0, writes ? 0U : 1U};
  const bool first = writes && joined_ == Joined::kNot;
  const uint32_t code = call<fibdb_engine_join>(first ? nullptr : &how);
  if (code != 0) throw Failure(Status::kFailed, call<fibdb_engine_join_text>());
  joined_ = writes ? Joined::kWriting : Joined::kReading;
}

}  // namespace fibdb::program
