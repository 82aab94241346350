// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/config/nodes.h: the child nodes of the two configuration records as data.
#ifndef FIBDB_TESTS_CONFIG_NODES_H
#define FIBDB_TESTS_CONFIG_NODES_H

#include <algorithm>
#include <functional>

#include "tests/config/records.h"

namespace fibdb::test {

struct NodeField {
  std::string name;
  size_t offset;
  size_t width;
};

// What is said of a failure, by the error hook unless it says otherwise; for kCode.
struct NodeTexts {
  std::string getOpen;
  std::string get;
  std::string setOpen;
  std::string set;
};

enum class OpenFailure { kInformation, kCount, kError };

// The functions take their node as bytes.
struct Node {
  const Record* record;
  std::string name;
  std::string getter;   // FIB_DB_Get<getter>
  std::string setter;   // FIB_DB_Set<setter>
  std::string records;  // FIB_DB_Read<records>, FIB_DB_Write<records>, FIB_DB_Update<records>
  size_t inItem;
  uint32_t validFlag;
  std::vector<NodeField> fields;  // in the order of the calls
  OpenFailure openFailure;        // of the getter
  NodeTexts texts;

  size_t size = 0;
  std::function<uint32_t(uint64_t obj, Bytes& node)> get;
  std::function<uint32_t(uint64_t obj, const Bytes& node)> set;
  std::function<uint32_t(const uint32_t* vrId, Bytes& node)> read;
  std::function<uint32_t(const uint32_t* vrId, const Bytes& node)> write;
  std::function<uint32_t(const uint32_t* vrId, const Bytes& node)> update;

  // The field as the record's row and its calls name it.
  std::string inRow(const NodeField& field) const { return name + "_" + field.name; }
  // A value of its own for each field, of its full width; the field in a node of nothing else.
  static uint64_t valueOf(const NodeField& field) {
    return (field.width == 4 ? 0xF0000000 : 0x80) + static_cast<uint64_t>(field.offset);
  }
  Bytes full() const {
    Bytes node(size, 0xA5);
    for (const NodeField& field : fields) putNumber(node, field.offset, field.width, valueOf(field));
    return node;
  }
};

template <class Struct>
Node nodeOf(Node node, uint32_t (*get)(uint64_t, Struct*), uint32_t (*set)(uint64_t, const Struct*),
            uint32_t (*read)(const uint32_t*, Struct*), uint32_t (*write)(const uint32_t*, const Struct*),
            uint32_t (*update)(const uint32_t*, const Struct*)) {
  const auto out = [](Bytes& bytes) { return reinterpret_cast<Struct*>(bytes.data()); };
  const auto in = [](const Bytes& bytes) { return reinterpret_cast<const Struct*>(bytes.data()); };
  node.size = sizeof(Struct);
  node.get = [=](uint64_t obj, Bytes& bytes) { return get(obj, out(bytes)); };
  node.set = [=](uint64_t obj, const Bytes& bytes) { return set(obj, in(bytes)); };
  node.read = [=](const uint32_t* vrId, Bytes& bytes) { return read(vrId, out(bytes)); };
  node.write = [=](const uint32_t* vrId, const Bytes& bytes) { return write(vrId, in(bytes)); };
  node.update = [=](const uint32_t* vrId, const Bytes& bytes) { return update(vrId, in(bytes)); };
  return node;
}

inline const std::vector<Node>& allNodes() {
  const Record* const ecmp = &ecmpRecord();
  const Record* const global = &globalRecord();
#define FIELD(Struct, name) \
  { #name, offsetof(Struct, name), sizeof(Struct::name) }
  static const std::vector<Node> nodes{
      nodeOf<FibDbEcmpHashMode>({ecmp,
                                 "ecmp_hash_mode",
                                 "EcmpHashMode",
                                 "EcmpHashMode",
                                 "EcmpHashMode",
                                 offsetof(FibDbEcmpCfgItem, hashMode),
                                 0x8,
                                 {FIELD(FibDbEcmpHashMode, hashmode), FIELD(FibDbEcmpHashMode, overlay_hashmode),
                                  FIELD(FibDbEcmpHashMode, underlay_hashmode)},
                                 OpenFailure::kInformation,
                                 {.getOpen = "GetEcmpHashMode fail, create child node failed, ret=4294967289.",
                                  .get = "GetEcmpHashMode fields fail, ret=4294967289.",
                                  .setOpen = "SetEcmpHashMode fail, create child node failed, ret=4294967289.",
                                  .set = "SetEcmpProc fields fail, ret=4294967289."}},
                                FIB_DB_GetEcmpHashMode, FIB_DB_SetEcmpHashMode, FIB_DB_ReadEcmpHashMode,
                                FIB_DB_WriteEcmpHashMode, FIB_DB_UpdateEcmpHashMode),
      nodeOf<FibDbEcmpSeed>(
          {ecmp,
           "ecmp_seed",
           "EcmpSeed",
           "EcmpSeed",
           "EcmpSeed",
           offsetof(FibDbEcmpCfgItem, seed),
           0x40,
           {FIELD(FibDbEcmpSeed, globalSeed), FIELD(FibDbEcmpSeed, underlaySeed), FIELD(FibDbEcmpSeed, overlaySeed)},
           OpenFailure::kInformation,
           {.getOpen = "GetEcmpSeed fail, create child node failed, ret=4294967289.",
            .get = "GetEcmpSeed fields fail, ret=4294967289.",
            .setOpen = "SetEcmpSeed fail, create child node failed, ret=4294967289.",
            .set = "SetEcmpSeed fields fail, ret=4294967289."}},
          FIB_DB_GetEcmpSeed, FIB_DB_SetEcmpSeed, FIB_DB_ReadEcmpSeed, FIB_DB_WriteEcmpSeed, FIB_DB_UpdateEcmpSeed),
      nodeOf<FibDbEcmpProc>({ecmp,
                             "ecmp_proc",
                             "EcmpProc",
                             "EcmpProc",
                             "EcmpProc",
                             offsetof(FibDbEcmpCfgItem, proc),
                             0x1,
                             {FIELD(FibDbEcmpProc, profileId), FIELD(FibDbEcmpProc, sip), FIELD(FibDbEcmpProc, dip),
                              FIELD(FibDbEcmpProc, vlan), FIELD(FibDbEcmpProc, l4sport), FIELD(FibDbEcmpProc, l4dport),
                              FIELD(FibDbEcmpProc, protocol), FIELD(FibDbEcmpProc, flowlabel),
                              FIELD(FibDbEcmpProc, sport), FIELD(FibDbEcmpProc, dscp), FIELD(FibDbEcmpProc, dpcf)},
                             OpenFailure::kInformation,
                             {.getOpen = "GetEcmpProc fail, create child node failed, ret=4294967289.",
                              .get = "GetEcmpProc fields fail, ret=4294967289.",
                              .setOpen = "SetEcmpProc fail, create child node failed, ret=4294967289.",
                              .set = "SetEcmpProc fields fail, ret=4294967289."}},
                            FIB_DB_GetEcmpProc, FIB_DB_SetEcmpProc, FIB_DB_ReadEcmpProc, FIB_DB_WriteEcmpProc,
                            FIB_DB_UpdateEcmpProc),
      nodeOf<FibDbEcmpTunnel>(
          {ecmp,
           "ecmp_tunnel",
           "FeiEcmpTunnel",
           "FeiEcmpTunnel",
           "FeiEcmpTunnel",
           offsetof(FibDbEcmpCfgItem, tunnel),
           0x4,
           {FIELD(FibDbEcmpTunnel, profileId), FIELD(FibDbEcmpTunnel, innerSip), FIELD(FibDbEcmpTunnel, innerDip),
            FIELD(FibDbEcmpTunnel, srcPort), FIELD(FibDbEcmpTunnel, dstPort), FIELD(FibDbEcmpTunnel, protocol),
            FIELD(FibDbEcmpTunnel, srcIntf), FIELD(FibDbEcmpTunnel, srcMac), FIELD(FibDbEcmpTunnel, dstMac),
            FIELD(FibDbEcmpTunnel, includeErspan), FIELD(FibDbEcmpTunnel, ecmpInnerHashFlag)},
           OpenFailure::kCount,
           {.getOpen = "",
            .get = "GetFeiEcmpTunnel fields fail, ret=4294967289.",
            .setOpen = "SetFeiEcmpTunnel fail, create child node fail, ret=4294967289.",
            .set = "SetFeiEcmpTunnel fields fail, ret=4294967289."}},
          FIB_DB_GetFeiEcmpTunnel, FIB_DB_SetFeiEcmpTunnel, FIB_DB_ReadFeiEcmpTunnel, FIB_DB_WriteFeiEcmpTunnel,
          FIB_DB_UpdateFeiEcmpTunnel),
      nodeOf<FibDbNvo3VxlanHash>(
          {ecmp,
           "nvo3_vxlan_hash",
           "Nvo3VxlanHash",
           "Nvo3VxlanHash",
           "Nvo3VxlanHash",
           offsetof(FibDbEcmpCfgItem, nvo3VxlanHash),
           0x2,
           {FIELD(FibDbNvo3VxlanHash, profileId), FIELD(FibDbNvo3VxlanHash, sip), FIELD(FibDbNvo3VxlanHash, dip),
            FIELD(FibDbNvo3VxlanHash, l4sport), FIELD(FibDbNvo3VxlanHash, l4dport), FIELD(FibDbNvo3VxlanHash, protocol),
            FIELD(FibDbNvo3VxlanHash, srcIntf), FIELD(FibDbNvo3VxlanHash, vni)},
           OpenFailure::kInformation,
           {.getOpen = "GetNvo3VxlanHash fail, create child node failed, ret=4294967289.",
            .get = "GetNvo3VxlanHash fields fail, ret=4294967289.",
            .setOpen = "SetNvo3VxlanHash fail, create child node failed, ret=4294967289.",
            .set = "SetNvo3VxlanHash fields fail, ret=4294967289."}},
          FIB_DB_GetNvo3VxlanHash, FIB_DB_SetNvo3VxlanHash, FIB_DB_ReadNvo3VxlanHash, FIB_DB_WriteNvo3VxlanHash,
          FIB_DB_UpdateNvo3VxlanHash),
      nodeOf<FibDbEcmpUniversalId>(
          {ecmp,
           "ecmp_universalId",
           "EcmpUniversalId",
           "EcmpUniversal",
           "EcmpUniversal",
           offsetof(FibDbEcmpCfgItem, universalId),
           0x10,
           {FIELD(FibDbEcmpUniversalId, globalUniversalId), FIELD(FibDbEcmpUniversalId, underlayUniversalId),
            FIELD(FibDbEcmpUniversalId, overlayUniversalId), FIELD(FibDbEcmpUniversalId, globalRandom),
            FIELD(FibDbEcmpUniversalId, underlayRandom), FIELD(FibDbEcmpUniversalId, overlayRandom)},
           OpenFailure::kInformation,
           {.getOpen = "GetEcmpUniversalId fail, create child node failed, ret=4294967289.",
            .get = "GetEcmpUniversalId fields fail, ret=4294967289.",
            .setOpen = "SetEcmpUniversal fail, create child node failed, ret=4294967289.",
            .set = "SetEcmpUniversalId fields fail, ret=4294967289."}},
          FIB_DB_GetEcmpUniversalId, FIB_DB_SetEcmpUniversal, FIB_DB_ReadEcmpUniversal, FIB_DB_WriteEcmpUniversal,
          FIB_DB_UpdateEcmpUniversal),

      nodeOf<FibDbLoadBalance>(
          {global,
           "load_balance",
           "BalanceMode",
           "BalanceMode",
           "BalanceMode",
           offsetof(FibDbGlbCfgItem, loadBalance),
           0x4,
           {FIELD(FibDbLoadBalance, mode), FIELD(FibDbLoadBalance, sip), FIELD(FibDbLoadBalance, dip),
            FIELD(FibDbLoadBalance, l4sport), FIELD(FibDbLoadBalance, l4dport)},
           OpenFailure::kError,
           {.getOpen = "GetBalanceMode fail, create child node failed. ret = -7.",
            .get = "GetBalanceMode field fail, ret=4294967289.",
            .setOpen = "SetBalanceMode fail, create child node failed. ret = 4294967289.",
            .set = "SetBalanceMode set field failed. ret=-7."}},
          FIB_DB_GetBalanceMode, FIB_DB_SetBalanceMode, FIB_DB_ReadBalanceMode, FIB_DB_WriteBalanceMode,
          FIB_DB_UpdateBalanceMode),
  };
#undef FIELD
  return nodes;
}

// Those of a record, in the order in which an item is filled.
inline std::vector<Node> nodesOf(const Record& record) {
  std::vector<Node> nodes;
  for (const std::string& name : record.nodes) nodes.push_back(*std::ranges::find(allNodes(), name, &Node::name));
  return nodes;
}

}  // namespace fibdb::test

#endif
