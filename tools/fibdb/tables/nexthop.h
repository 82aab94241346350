// tools/fibdb/tables/nexthop.h: what other commands use of the next hops.
#ifndef FIBDB_TOOLS_NEXTHOP_H
#define FIBDB_TOOLS_NEXTHOP_H

#include <cstdint>
#include <optional>
#include <vector>

#include "fibdb/fibdb.h"
#include "tools/fibdb/output/output.h"

namespace fibdb::program {

std::optional<FibDbNhpItem> readNexthop(uint32_t index);
// Throws Failure when it is refused.
void writeNexthop(FibDbNhpItem item);

// The index, and every property that `add nexthop` takes, as named there.
std::vector<Fact> nexthopFacts(const FibDbNhpItem& item);

}  // namespace fibdb::program

#endif
