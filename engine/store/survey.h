// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/survey.h: what the structures of a store tell about themselves to whoever checks the whole of it.
//
// DESCRIPTION  Each structure has a survey() that names every block of memory it owns and every entry it holds, and
// says what of its own is not as it must be. It trusts nothing that it reads: a block is looked into only when whoever
// checks has found it to lie where the table has memory and to be nobody else's. So a survey never leaves the table's
// memory, comes to each place once at most, and ends, whatever the memory holds. A writer may change it meanwhile.
#ifndef FIBDB_ENGINE_STORE_SURVEY_H
#define FIBDB_ENGINE_STORE_SURVEY_H

#include <cstdint>

#include "engine/store/arena.h"
#include "engine/store/visit.h"

namespace fibdb::store {

// A block: where, and its bytes. Whether it may be looked into.
using VisitBlock = Visit<bool(Ref, uint64_t)>;
// What is not as it must be, and where; kNoRef: nowhere in particular.
using VisitWrong = Visit<void(const char*, Ref)>;

// To whom a structure with blocks of one kind tells it.
struct Surveyor {
  VisitBlock block;
  Visit<bool(Ref)> holds;  // whether the table has memory there, for who must look to know how long a block is
  VisitWrong wrong;
};

}  // namespace fibdb::store

#endif
