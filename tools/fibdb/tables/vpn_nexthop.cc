// tools/fibdb/tables/vpn_nexthop.cc: next hops into a VPN, keyed by their index, VR, VRF and destination VPN. The
// library has no iterator over them.
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using Item = FibDbNhpVpnItem;

constexpr Field kFields[] = {
    key<&Item::nhp_index>("index"),
    key<&Item::vr_id>("vr"),
    key<&Item::vrf_index>("vrf"),
    key<&Item::dst_vpn_id>("vpn"),
    property<&Item::app_source_id>("source"),
    property<&Item::app_serial_id>("serial"),
    property<&Item::app_obj_id>("object"),
    property<&Item::app_version>("version"),
    property<&Item::time_stamp_app>("stamp_app"),
    property<&Item::time_stamp_svc>("stamp_svc"),
};

}  // namespace

constexpr RecordTable kVpnNexthops{
    .word = "vpn-nexthop",
    .one = "a VPN next hop",
    .many = "VPN next hops",
    .itemSize = sizeof(Item),
    .fields = kFields,
    .read = onItem<FIB_DB_ReadNhpVpn>,
    .write = onItem<FIB_DB_WriteNhpVpn>,
    .change = onItem<FIB_DB_WriteNhpVpn>,
    .remove = onItem<FIB_DB_RemoveNhpVpn>,
};

}  // namespace fibdb::program
