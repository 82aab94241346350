// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/service/bounds.cc: the bounds-checked memory and string functions.
#include "platform/bounds.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace {

// Larger sizes are taken for negative numbers gone astray, and refused.
constexpr size_t kMostBytes = INT32_MAX;

// Most blocks that records have are of this size.
constexpr size_t kBlockBytes = 16;

bool overlap(const void* a, size_t aBytes, const void* b, size_t bBytes) {
  const auto aStart = reinterpret_cast<uintptr_t>(a);
  const auto bStart = reinterpret_cast<uintptr_t>(b);
  return aStart < bStart + bBytes && bStart < aStart + aBytes;
}

int copyViolation(const void* dst, size_t dstMax, const void* src, size_t count) {
  if (dst == nullptr || src == nullptr) return EINVAL;
  if (dstMax > kMostBytes || count > dstMax) return ERANGE;
  return overlap(dst, count, src, count) ? EINVAL : 0;
}

// length: how much of src would be copied, found without reading past what dst can hold.
int stringViolation(const char* dst, size_t dstMax, const char* src, size_t count, size_t& length) {
  if (dst == nullptr || src == nullptr) return EINVAL;
  if (dstMax == 0 || dstMax > kMostBytes || count > kMostBytes) return ERANGE;
  length = strnlen(src, count < dstMax ? count : dstMax);
  if (length == dstMax) return ERANGE;
  // Read: the terminator too, when it was it that ended the copy. Written: always a terminator.
  const size_t read = length < count ? length + 1 : length;
  return overlap(dst, length + 1, src, read) ? EINVAL : 0;
}

}  // namespace

int memcpy_s(void* dst, size_t dstMax, const void* src, size_t count) {
  const int violation = copyViolation(dst, dstMax, src, count);
  if (violation == 0 && count == kBlockBytes) {
    std::memcpy(dst, src, kBlockBytes);  // no call
  } else if (violation == 0) {
    std::memcpy(dst, src, count);
  } else if (dst != nullptr && dstMax <= kMostBytes) {
    std::memset(dst, 0, dstMax);
  }
  return violation;
}

int memset_s(void* dst, size_t dstMax, int value, size_t count) {
  if (dst == nullptr) return EINVAL;
  if (dstMax > kMostBytes) return ERANGE;
  const bool fits = count <= dstMax;
  std::memset(dst, value, fits ? count : dstMax);
  return fits ? 0 : ERANGE;
}

int strcpy_s(char* dst, size_t dstMax, const char* src) { return strncpy_s(dst, dstMax, src, kMostBytes); }

int strncpy_s(char* dst, size_t dstMax, const char* src, size_t count) {
  size_t length = 0;
  const int violation = stringViolation(dst, dstMax, src, count, length);
  if (violation == 0) {
    std::memcpy(dst, src, length);
    dst[length] = '\0';
  } else if (dst != nullptr && dstMax > 0 && dstMax <= kMostBytes) {
    dst[0] = '\0';
  }
  return violation;
}
