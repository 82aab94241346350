// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// config/ecmp_nodes.cc: the six child nodes of the ECMP record, each got and set as a whole.
#include "config/configuration.h"
#include "platform/objdb_tables.h"

namespace {

using fibdb::ChildNode;
using fibdb::Text;

#define FIELD(Node, node, name) \
  fibdb::NodeField<&Node::name, db_get_ecmp_cfg_##node##_##name, db_set_ecmp_cfg_##node##_##name>

constexpr ChildNode<FIELD(FibDbEcmpHashMode, ecmp_hash_mode, hashmode),
                    FIELD(FibDbEcmpHashMode, ecmp_hash_mode, overlay_hashmode),
                    FIELD(FibDbEcmpHashMode, ecmp_hash_mode, underlay_hashmode)>
    kHashMode{"ecmp_hash_mode"};

constexpr ChildNode<FIELD(FibDbEcmpSeed, ecmp_seed, globalSeed), FIELD(FibDbEcmpSeed, ecmp_seed, underlaySeed),
                    FIELD(FibDbEcmpSeed, ecmp_seed, overlaySeed)>
    kSeed{"ecmp_seed"};

constexpr ChildNode<FIELD(FibDbEcmpProc, ecmp_proc, profileId), FIELD(FibDbEcmpProc, ecmp_proc, sip),
                    FIELD(FibDbEcmpProc, ecmp_proc, dip), FIELD(FibDbEcmpProc, ecmp_proc, vlan),
                    FIELD(FibDbEcmpProc, ecmp_proc, l4sport), FIELD(FibDbEcmpProc, ecmp_proc, l4dport),
                    FIELD(FibDbEcmpProc, ecmp_proc, protocol), FIELD(FibDbEcmpProc, ecmp_proc, flowlabel),
                    FIELD(FibDbEcmpProc, ecmp_proc, sport), FIELD(FibDbEcmpProc, ecmp_proc, dscp),
                    FIELD(FibDbEcmpProc, ecmp_proc, dpcf)>
    kProc{"ecmp_proc"};

constexpr ChildNode<
    FIELD(FibDbNvo3VxlanHash, nvo3_vxlan_hash, profileId), FIELD(FibDbNvo3VxlanHash, nvo3_vxlan_hash, sip),
    FIELD(FibDbNvo3VxlanHash, nvo3_vxlan_hash, dip), FIELD(FibDbNvo3VxlanHash, nvo3_vxlan_hash, l4sport),
    FIELD(FibDbNvo3VxlanHash, nvo3_vxlan_hash, l4dport), FIELD(FibDbNvo3VxlanHash, nvo3_vxlan_hash, protocol),
    FIELD(FibDbNvo3VxlanHash, nvo3_vxlan_hash, srcIntf), FIELD(FibDbNvo3VxlanHash, nvo3_vxlan_hash, vni)>
    kNvo3VxlanHash{"nvo3_vxlan_hash"};

// Required: the last two fields are got and set in the other order than the struct has them.
constexpr ChildNode<FIELD(FibDbEcmpTunnel, ecmp_tunnel, profileId), FIELD(FibDbEcmpTunnel, ecmp_tunnel, innerSip),
                    FIELD(FibDbEcmpTunnel, ecmp_tunnel, innerDip), FIELD(FibDbEcmpTunnel, ecmp_tunnel, srcPort),
                    FIELD(FibDbEcmpTunnel, ecmp_tunnel, dstPort), FIELD(FibDbEcmpTunnel, ecmp_tunnel, protocol),
                    FIELD(FibDbEcmpTunnel, ecmp_tunnel, srcIntf), FIELD(FibDbEcmpTunnel, ecmp_tunnel, srcMac),
                    FIELD(FibDbEcmpTunnel, ecmp_tunnel, dstMac), FIELD(FibDbEcmpTunnel, ecmp_tunnel, includeErspan),
                    FIELD(FibDbEcmpTunnel, ecmp_tunnel, ecmpInnerHashFlag)>
    kTunnel{"ecmp_tunnel"};

constexpr ChildNode<FIELD(FibDbEcmpUniversalId, ecmp_universalId, globalUniversalId),
                    FIELD(FibDbEcmpUniversalId, ecmp_universalId, underlayUniversalId),
                    FIELD(FibDbEcmpUniversalId, ecmp_universalId, overlayUniversalId),
                    FIELD(FibDbEcmpUniversalId, ecmp_universalId, globalRandom),
                    FIELD(FibDbEcmpUniversalId, ecmp_universalId, underlayRandom),
                    FIELD(FibDbEcmpUniversalId, ecmp_universalId, overlayRandom)>
    kUniversalId{"ecmp_universalId"};

#undef FIELD

static_assert(sizeof(FibDbEcmpProc) == 20 && sizeof(FibDbNvo3VxlanHash) == 16 && sizeof(FibDbEcmpTunnel) == 24);
static_assert(sizeof(FibDbEcmpHashMode) == 16 && sizeof(FibDbEcmpUniversalId) == 28 && sizeof(FibDbEcmpSeed) == 16);

struct NodeTexts {
  Text<uint32_t> openFailed;
  Text<uint32_t> failed;
};

// A node that cannot be opened is said as information: it may never have been written.
template <class Node, class... Fields>
uint32_t getNode(const ChildNode<Fields...>& child, uint64_t obj, Node* node, const NodeTexts& texts) {
  uint64_t handle = 0;
  if (const uint32_t code = child.open(obj, handle)) {
    texts.openFailed.info(code);
    return FIB_DB_ERR;
  }
  return fibdb::settleFields(child.get(handle, node), texts.failed);
}

template <class Node, class... Fields>
uint32_t setNode(const ChildNode<Fields...>& child, uint64_t obj, const Node* node, const NodeTexts& texts) {
  uint64_t handle = 0;
  if (const uint32_t code = child.open(obj, handle)) return fibdb::settleFields(code, texts.openFailed);
  return fibdb::settleFields(child.set(handle, node), texts.failed);
}

}  // namespace

uint32_t FIB_DB_GetEcmpHashMode(uint64_t obj, FibDbEcmpHashMode* node) {
  return getNode(kHashMode, obj, node,
                 {.openFailed = "GetEcmpHashMode fail, create child node failed, ret=%u.",
                  .failed = "GetEcmpHashMode fields fail, ret=%u."});
}

uint32_t FIB_DB_SetEcmpHashMode(uint64_t obj, const FibDbEcmpHashMode* node) {
  // Required: a field that fails is said in the words of the packet fields.
  return setNode(kHashMode, obj, node,
                 {.openFailed = "SetEcmpHashMode fail, create child node failed, ret=%u.",
                  .failed = "SetEcmpProc fields fail, ret=%u."});
}

uint32_t FIB_DB_GetEcmpSeed(uint64_t obj, FibDbEcmpSeed* node) {
  return getNode(kSeed, obj, node,
                 {.openFailed = "GetEcmpSeed fail, create child node failed, ret=%u.",
                  .failed = "GetEcmpSeed fields fail, ret=%u."});
}

uint32_t FIB_DB_SetEcmpSeed(uint64_t obj, const FibDbEcmpSeed* node) {
  return setNode(kSeed, obj, node,
                 {.openFailed = "SetEcmpSeed fail, create child node failed, ret=%u.",
                  .failed = "SetEcmpSeed fields fail, ret=%u."});
}

uint32_t FIB_DB_GetEcmpProc(uint64_t obj, FibDbEcmpProc* node) {
  return getNode(kProc, obj, node,
                 {.openFailed = "GetEcmpProc fail, create child node failed, ret=%u.",
                  .failed = "GetEcmpProc fields fail, ret=%u."});
}

uint32_t FIB_DB_SetEcmpProc(uint64_t obj, const FibDbEcmpProc* node) {
  return setNode(kProc, obj, node,
                 {.openFailed = "SetEcmpProc fail, create child node failed, ret=%u.",
                  .failed = "SetEcmpProc fields fail, ret=%u."});
}

uint32_t FIB_DB_GetNvo3VxlanHash(uint64_t obj, FibDbNvo3VxlanHash* node) {
  return getNode(kNvo3VxlanHash, obj, node,
                 {.openFailed = "GetNvo3VxlanHash fail, create child node failed, ret=%u.",
                  .failed = "GetNvo3VxlanHash fields fail, ret=%u."});
}

uint32_t FIB_DB_SetNvo3VxlanHash(uint64_t obj, const FibDbNvo3VxlanHash* node) {
  return setNode(kNvo3VxlanHash, obj, node,
                 {.openFailed = "SetNvo3VxlanHash fail, create child node failed, ret=%u.",
                  .failed = "SetNvo3VxlanHash fields fail, ret=%u."});
}

uint32_t FIB_DB_GetFeiEcmpTunnel(uint64_t obj, FibDbEcmpTunnel* node) {
  uint64_t handle = 0;
  if (kTunnel.open(obj, handle) != FIB_DB_OK) {
    // Required: this node alone is not said but counted.
    FIB_DB_RecordErrStat(FIB_DB_TABLE_ECMP_CFG, FIB_DB_OPER_READ);
    return FIB_DB_ERR;
  }
  return fibdb::settleFields(kTunnel.get(handle, node), "GetFeiEcmpTunnel fields fail, ret=%u.");
}

uint32_t FIB_DB_SetFeiEcmpTunnel(uint64_t obj, const FibDbEcmpTunnel* node) {
  // Required: "fail", where the other nodes say "failed".
  return setNode(kTunnel, obj, node,
                 {.openFailed = "SetFeiEcmpTunnel fail, create child node fail, ret=%u.",
                  .failed = "SetFeiEcmpTunnel fields fail, ret=%u."});
}

uint32_t FIB_DB_GetEcmpUniversalId(uint64_t obj, FibDbEcmpUniversalId* node) {
  return getNode(kUniversalId, obj, node,
                 {.openFailed = "GetEcmpUniversalId fail, create child node failed, ret=%u.",
                  .failed = "GetEcmpUniversalId fields fail, ret=%u."});
}

uint32_t FIB_DB_SetEcmpUniversal(uint64_t obj, const FibDbEcmpUniversalId* node) {
  // Required: the two texts name the function differently.
  return setNode(kUniversalId, obj, node,
                 {.openFailed = "SetEcmpUniversal fail, create child node failed, ret=%u.",
                  .failed = "SetEcmpUniversalId fields fail, ret=%u."});
}
