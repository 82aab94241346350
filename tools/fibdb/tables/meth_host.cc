// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/meth_host.cc: host routes of the virtual management interface, keyed by one word, through the
// table service.
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbVirtualMethHostItem;

constexpr Field kFields[] = {
    key<&Item::hostKey>("key"),          property<&Item::hostWord>("word"),   property<&Item::hostByte1>("byte1"),
    property<&Item::hostByte2>("byte2"), property<&Item::hostValue>("value"),
};

}  // namespace

constexpr RecordTable kMethHosts{
    .word = "meth-host",
    .one = "a management host route",
    .many = "management host routes",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .codes = kServiceCodes,
    .read = onItem<FIB_DB_ReadVirtualMethHost>,
    .create = onItem<FIB_DB_CreateVirtualMethHost>,
    .remove = onItem<FIB_DB_DeleteVirtualMethHost>,
    .walk = walkOf<FIB_DB_CreateVirtualMethHostIterator, FIB_DB_GetNextVirtualMethHostEntry,
                   FIB_DB_ReleaseVirtualMethHostIterator>(),
};

}  // namespace fibdb::program
