// tools/fibdb/tables/vpn_nexthop.cc: next hops into a VPN, keyed by their index, VR, VRF and destination VPN. The
// library has no iterator over them.
#include <array>
#include <cstring>
#include <optional>

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

// The keys of an index's records, or of all, from rows of the database.
struct KeySearch {
  std::optional<uint32_t> index = {};
  std::array<FibDbEngineColumn, 4> columns = {};  // a row begins with its key
  std::vector<Item> found = {};

  static int visit(const void* row, uint32_t, void* context) {
    auto& search = *static_cast<KeySearch*>(context);
    std::array<uint32_t, 4> words{};
    for (size_t i = 0; i < words.size(); ++i) {
      const auto* place = static_cast<const unsigned char*>(row) + search.columns[i].offset;
      std::memcpy(&words[i], place, sizeof words[i]);
    }
    if (search.index && words[0] != *search.index) return 0;
    Item& item = search.found.emplace_back();
    item.nhp_index = words[0];
    item.vr_id = words[1];
    item.vrf_index = words[2];
    item.dst_vpn_id = words[3];
    return 0;
  }

  uint32_t run() {
    const uint32_t table = fibdb_engine_find_table("nhp_vpn");
    for (uint32_t i = 0; i < columns.size(); ++i) {
      if (const uint32_t code = fibdb_engine_column(table, i, &columns[i]); code != FIB_DB_OK) return code;
    }
    return fibdb_engine_walk(table, &KeySearch::visit, this);
  }
};

// What is found is read; a record that went meanwhile is left out.
std::optional<std::vector<Item>> read(KeySearch search) {
  if (search.run() != FIB_DB_OK) return std::nullopt;
  std::vector<Item> items;
  for (Item& item : search.found) {
    const uint32_t read = FIB_DB_ReadNhpVpn(&item);
    if (read == FIB_DB_OK) items.push_back(item);
    if (read != FIB_DB_OK && read != FIB_DB_NOT_FOUND) return std::nullopt;
  }
  return items;
}

std::optional<std::vector<Item>> findAll(const Item*) { return read({}); }

// Of an index the library reads one record, whichever; the others are searched for only where there is one.
std::optional<std::vector<Item>> findByIndex(const Item* query) {
  Item any{};
  const uint32_t code = FIB_DB_ReadNhpVpnByNhpIndex(query->nhp_index, &any);
  if (code == DB_ERR_ITER_END) return std::vector<Item>();
  return code == FIB_DB_OK ? read({query->nhp_index}) : std::nullopt;
}

constexpr Selection kSelections[] = {{"index", foundWith<findByIndex, kObjectCodes.end>()}};

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
    .walk = foundWith<findAll, kObjectCodes.end>(),
    .selections = kSelections,
    .nexthop = "index",
};

}  // namespace fibdb::program
