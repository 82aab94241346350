/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* docs/missing.c: what each kind of function says when there is no such record. The tables are empty. */
#include <inttypes.h>
#include <stdio.h>

#include "fibdb/fibdb.h"

static int calls, surprises;

static void says(const char* call, uint32_t status, uint32_t expected) {
  printf("%-46s %6" PRIu32 "  %s\n", call, status, fibdb_engine_error_text(status));
  ++calls;
  if (status != expected) ++surprises;
}

static void routes(void) {
  FibDbIp4forwardItem route = {.mask_len = 32};
  FibDbMeLocalRouteItem local = {.mask_len = 32};
  FibDbDodRuleItem rule = {.ruleKeyLen = 32};
  says("FIB_DB_ReadIp4forward", FIB_DB_ReadIp4forward(&route), FIB_DB_NOT_FOUND);
  says("FIB_DB_ReadIp4forwardByLpm", FIB_DB_ReadIp4forwardByLpm(&route), FIB_DB_NO_ROUTE);
  says("FIB_DB_ReadDodRuleByLpm", FIB_DB_ReadDodRuleByLpm(&rule), FIB_DB_NO_ROUTE);
  says("FIB_DB_RemoveMeLocalRoute", FIB_DB_RemoveMeLocalRoute(&local), DB_ERR_NO_DATA);
}

static void nextHops(void) {
  FibDbNhpItem nextHop = {.nhp_index = 7};
  FibDbNhpStdItem standard = {.nhp_index = 7};
  FibDbNhpVpnItem vpn = {.nhp_index = 7};
  FibDbNhpVpnSidItem sid = {.key_word1 = 7};
  FibDbNhpExtLabelItem label = {.smoothId = 1};
  uint32_t count = 9;
  says("FIB_DB_ReadNhp", FIB_DB_ReadNhp(&nextHop), FIB_DB_NOT_FOUND);
  says("FIB_DB_UpdateNhpFlags", FIB_DB_UpdateNhpFlags(&nextHop), DB_ERR_NO_DATA);
  says("FIB_DB_RemoveNhp", FIB_DB_RemoveNhp(&nextHop), DB_ERR_NO_DATA);
  says("FIB_DB_ReadNhpStdByNhpIndex", FIB_DB_ReadNhpStdByNhpIndex(7, sizeof standard, &standard, &count), FIB_DB_OK);
  says("FIB_DB_CountNhpStdByNhpIndex", FIB_DB_CountNhpStdByNhpIndex(7, &count), FIB_DB_OK);
  says("FIB_DB_ReadNhpVpnByNhpIndex", FIB_DB_ReadNhpVpnByNhpIndex(7, &vpn), DB_ERR_ITER_END);
  says("FIB_DB_ReadNhpVpnSid", FIB_DB_ReadNhpVpnSid(&sid), DB_ERR_NO_DATA);
  says("FIB_DB_ReadNhpExtLabel", FIB_DB_ReadNhpExtLabel(&label), DB_ERR_NO_DATA);
}

static void configuration(void) {
  const uint32_t router = 3;
  FibDbEcmpCfgItem ecmp = {.vrId = router};
  uint16_t isolate = 0;
  uint64_t object = 0;
  says("FIB_DB_ReadEcmpCfg", FIB_DB_ReadEcmpCfg(&ecmp), FIB_DB_ERR);
  says("FIB_DB_ReadEcmpCfgCommon", FIB_DB_ReadEcmpCfgCommon(router, &object), FIB_DB_NOT_FOUND);
  says("FIB_DB_ReadIsolate", FIB_DB_ReadIsolate(&router, &isolate), FIB_DB_ERR);
  says("FIB_DB_UpdateIsolate", FIB_DB_UpdateIsolate(&router, 1), DB_ERR_NO_DATA);
  says("FIB_DB_UpdateEcmpDlb", FIB_DB_UpdateEcmpDlb(&router, 1), FIB_DB_ERR);
}

static void vrfs(void) {
  FibDbVrfItem vrf = {.vrf_id = 3};
  char name[FIB_DB_VRF_NAME_SIZE];
  uint32_t id = UINT32_MAX; /* stays when there is no such VRF */
  says("VRF_DB_Read", VRF_DB_Read(&vrf), FIB_DB_NOT_FOUND);
  says("VRF_INTF_GetNameById", VRF_INTF_GetNameById(0, 3, name, sizeof name), FIB_DB_ERR);
  says("VRF_INTF_GetIdByName", VRF_INTF_GetIdByName(0, "red", &id), FIB_DB_OK);
  if (id != UINT32_MAX) ++surprises;
}

static void registeredTables(void) {
  FibDbPriAttrItem attribute = {.keyWord1 = 1};
  void* iterator = FIB_DB_CreatePriAttrIterator(FIB_DB_NO_PROPERTY);
  says("FIB_DB_ReadPriAttr", FIB_DB_ReadPriAttr(&attribute), DB_ERR_NO_DATA);
  says("FIB_DB_UpdatePriAttrSmoothId", FIB_DB_UpdatePriAttrSmoothId(&attribute), DB_ERR_NO_DATA);
  says("FIB_DB_DeletePriAttr", FIB_DB_DeletePriAttr(&attribute), DB_ERR_NO_DATA);
  says("FIB_DB_GetNextPriAttrEntry", FIB_DB_GetNextPriAttrEntry(iterator, &attribute), DB_ERR_ITER_END);
  FIB_DB_ReleasePriAttrIterator(iterator);
}

static void iterators(void) {
  FibDbIp4forwardItem route;
  FibDbIterator* iterator = FIB_DB_CreateIp4forwardIterator(FIB_DB_NO_PROPERTY);
  says("FIB_DB_GetNextIp4forward", FIB_DB_GetNextIp4forward(iterator, &route), FIB_DB_NOT_FOUND);
  says("FIB_DB_GetNextIp4forward, once more", FIB_DB_GetNextIp4forward(iterator, &route), FIB_DB_NOT_FOUND);
  FIB_DB_ReleaseIp4forwardIterator(iterator);
}

int main(void) {
  FIB_DB_TableRegisterInit();
  routes();
  nextHops();
  configuration();
  vrfs();
  registeredTables();
  iterators();
  printf("%d calls, %d surprises\n", calls, surprises);
  return surprises;
}
