// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/routes/route_questions.h: what other commands use of those that ask for routes.
#ifndef FIBDB_TOOLS_ROUTE_QUESTIONS_H
#define FIBDB_TOOLS_ROUTE_QUESTIONS_H

#include <cstdint>

#include "tools/fibdb/routes/route_search.h"
#include "tools/fibdb/routes/routes.h"
#include "tools/fibdb/shell/command.h"

namespace fibdb::program {

// Numbers of a virtual router and of a VRF, as far as routes reach.
uint32_t takeVr(Arguments& arguments);
uint32_t takeVrfIndex(Arguments& arguments);
// Whether the words `vr N` or `vrf N` come next.
bool namesVrf(Arguments arguments);
// These words; the first VRF of the first router without them.
Vrf takeVrf(Arguments& arguments);
// The same; the routes of all VRFs without them.
RouteQuery takeVrfOrAll(Arguments& arguments);

// The route that covers an address, and where it leads. Throws Failure when there is none.
void showCoveringRoute(Session& session, uint32_t address, const Vrf& vrf = {});

// How many routes there are, by mask length and by group.
void showRouteSummary(Session& session);

}  // namespace fibdb::program

#endif
