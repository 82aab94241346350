// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// An index id whose key length is not the sum of its columns.
#include "platform/schema/catalog.h"

using namespace fibdb::schema;
constexpr auto kFields = laidOut({Field{"index", FieldKind::kNumber, 4, 1}, Field{"kind", FieldKind::kNumber, 1, 1}});

#ifdef WRONG
constexpr uint32_t kId = 0x01090004;
#else
constexpr uint32_t kId = 0x01090005;
#endif

static_assert(indexOf(kFields, 1, IndexKind::kSecondary, "index, kind").id() == kId);
