// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/survey.h: what the structures of a store tell about themselves to whoever checks the whole of it.
//
// DESCRIPTION  Each structure has a survey() that names every block of memory it owns and every entry it holds. Nobody
// may write meanwhile.
#ifndef FIBDB_ENGINE_STORE_SURVEY_H
#define FIBDB_ENGINE_STORE_SURVEY_H

#include <cstdint>

#include "engine/store/arena.h"
#include "engine/store/visit.h"

namespace fibdb::store {

using VisitBlock = Visit<Ref, uint32_t>;  // where, bytes

}  // namespace fibdb::store

#endif
