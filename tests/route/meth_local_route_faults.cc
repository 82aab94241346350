// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/route/meth_local_route_faults.cc: the rows of the local routes for the fault loop.
#include "fibdb/route.h"
#include "tests/support/fault_rows.h"

namespace fibdb::test::fault {
namespace {

FibDbMeLocalRouteItem route{1, 2, 3, 32, {}};

const Rules kStaging{{"db_set_meth_local_route_*", one}};
const Rules kUnpacking{{"db_get_meth_local_route_*", ignored}};

const FaultRows kRows{
    {"FIB_DB_SetMeLocalRouteKeyField",
     [] {
       FibDbKeyDesc desc{};
       uint8_t key[13];
       return FIB_DB_SetMeLocalRouteKeyField(&desc, key, &route), 0u;
     },
     {}},
    {"FIB_DB_SetMeLocalRouteItem", [] { return FIB_DB_SetMeLocalRouteItem(callersObject, &route); }, kStaging},
    {"FIB_DB_GetMeLocalRouteItem", [] { return FIB_DB_GetMeLocalRouteItem(callersObject, &route), 0u; }, kUnpacking},
    {"FIB_DB_WriteMeLocalRoute", [] { return FIB_DB_WriteMeLocalRoute(&route); },
     onObjectOf("meth_local_route", kStaging + Rules{{"db_write_obj", written}})},
    {"FIB_DB_RemoveMeLocalRoute", [] { return FIB_DB_RemoveMeLocalRoute(&route); },
     onObjectOf("meth_local_route", {{"db_remove_obj", written}})},
    {"FIB_DB_CountMeLocalRoute",
     [] {
       uint32_t count = 0;
       return FIB_DB_CountMeLocalRoute(&count);
     },
     onObjectOf("meth_local_route", {{"db_get_table_record_count", raw}})},
    {"FIB_DB_ScanMeLocalRoute",
     [] {
       FibDbMeLocalRouteItem items[3];
       return FIB_DB_ScanMeLocalRoute(sizeof items, items);
     },
     onObjectOf("meth_local_route",
                kUnpacking + Rules{{"db_create_root_iter", raw}, {"db_root_iterator_next", counted}})},
};

}  // namespace
}  // namespace fibdb::test::fault
