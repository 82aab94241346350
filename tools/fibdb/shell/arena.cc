// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/shell/arena.cc: see arena.h.
#include "tools/fibdb/shell/arena.h"

#include <cstdlib>
#include <utility>

#include "fibdb/engine.h"
#include "tools/fibdb/base/call.h"
#include "tools/fibdb/base/failure.h"

namespace fibdb::program {
namespace {

constexpr const char* kVariable = "FIBDB_ARENA";

}  // namespace

Arena::Arena(std::string name) : name_(std::move(name)) {
  const char* const own = std::getenv(kVariable);
  if (name_.empty() && own != nullptr) name_ = own;
  // The environment says size and mode, too, for who makes it.
  if (!name_.empty()) setenv(kVariable, name_.c_str(), 1);
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
