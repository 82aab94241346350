// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// An index over a field that the table does not have.
#include "platform/schema/catalog.h"

using namespace fibdb::schema;
constexpr auto kFields = laidOut({Field{"index", FieldKind::kNumber, 4, 1}});

#ifdef WRONG
constexpr Index kIndex = indexOf(kFields, 1, IndexKind::kSecondary, "indx");
#else
constexpr Index kIndex = indexOf(kFields, 1, IndexKind::kSecondary, "index");
#endif

static_assert(kIndex.keyLength == 4);
