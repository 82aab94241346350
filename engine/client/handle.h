// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/client/handle.h: what the opaque 64-bit words that callers hold are made of.
//
// DESCRIPTION  A handle is a tag (what it stands for), a generation, and the slot it lives in. Slots are
// never unmapped and every use of a slot has a generation of its own, so any word can be checked: one that is
// zero, stale, or of another kind differs from the word that the slot holds now.
#ifndef FIBDB_ENGINE_CLIENT_HANDLE_H
#define FIBDB_ENGINE_CLIENT_HANDLE_H

#include <cstddef>
#include <cstdint>

namespace fibdb::client {

// Never zero, so a handle never is. kNode and those above it are child nodes: the node's number is added.
enum class HandleTag : uint8_t { kObject = 1, kIterator = 2, kConnection = 3, kServiceIterator = 5, kNode = 8 };

inline constexpr uint64_t kNoHandle = 0;

// Few slots leave many generations: a slot taken ten million times a second repeats a handle after 20 days.
inline constexpr unsigned kTagBits = 4;
inline constexpr unsigned kTagShift = 64 - kTagBits;
inline constexpr unsigned kSlotBits = 16;
inline constexpr unsigned kGenerationBits = 64 - kTagBits - kSlotBits;
inline constexpr uint64_t kGenerationMask = (uint64_t{1} << kGenerationBits) - 1;

constexpr uint64_t makeHandle(HandleTag tag, uint64_t generation, uint32_t slot) {
  return static_cast<uint64_t>(tag) << kTagShift | (generation & kGenerationMask) << kSlotBits | slot;
}

// A child node has no state of its own: its handle is its object's with another tag, and ends with it.
constexpr uint64_t nodeHandleOf(uint64_t object, size_t node) {
  const auto tag = static_cast<uint64_t>(HandleTag::kNode) + node;
  return tag << kTagShift | (object & ((uint64_t{1} << kTagShift) - 1));
}
constexpr bool isNodeHandle(uint64_t handle) { return handle >> kTagShift >= static_cast<uint64_t>(HandleTag::kNode); }
constexpr uint64_t objectHandleOf(uint64_t nodeHandle) {
  return static_cast<uint64_t>(HandleTag::kObject) << kTagShift | (nodeHandle & ((uint64_t{1} << kTagShift) - 1));
}

constexpr uint32_t slotOf(uint64_t handle) { return static_cast<uint32_t>(handle & ((1U << kSlotBits) - 1)); }

}  // namespace fibdb::client

#endif
