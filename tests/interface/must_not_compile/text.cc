// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// A text that lost a conversion.
#include "runtime/text.h"

#ifdef WRONG
constexpr fibdb::Text<uint32_t> kText = "ret: gone";
#else
constexpr fibdb::Text<uint32_t> kText = "ret: %d";
#endif

const void* use() { return &kText; }
