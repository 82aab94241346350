// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/replay/readers.h: what readers do while they are replayed, and whether it was right.
#ifndef FIBDB_TESTS_ENGINE_REPLAY_READERS_H
#define FIBDB_TESTS_ENGINE_REPLAY_READERS_H

#include <cstdint>
#include <string>

#include "tests/engine/replay/history.h"

namespace fibdb::replay {

// Replays one reader, drawn from the seed. Empty, or what it saw that was never so.
std::string replayReader(History& history, uint64_t seed);

}  // namespace fibdb::replay

#endif
