/* SPDX-FileCopyrightText: 2026 The fibdb authors */
/* SPDX-License-Identifier: Apache-2.0 */
/* docs/lookup.c: addresses as the library takes them, and what the mask of a question means. */
#include <arpa/inet.h>
#include <stdio.h>

#include "fibdb/fibdb.h"

/* inet_pton gives network byte order; the library takes numbers: 10.1.2.3 is 0x0A010203. */
static uint32_t addressOf(const char* text) {
  struct in_addr address;
  return inet_pton(AF_INET, text, &address) == 1 ? ntohl(address.s_addr) : 0;
}

static int add(uint64_t* batch, const char* address, uint8_t mask, uint32_t group) {
  const FibDbIp4forwardItem route = {.dest_ip_addr = addressOf(address), .mask_len = mask, .attr_word_a = group};
  return FIB_DB_BatchAddOperWriteIp4forward(batch, &route, 0) == FIB_DB_OK;
}

/* The group of the longest prefix that covers the address and is no longer than mask; 0 without a route. */
static uint32_t groupOf(const char* address, uint8_t mask) {
  FibDbIp4forwardItem route = {.dest_ip_addr = addressOf(address), .mask_len = mask};
  return FIB_DB_ReadIp4forwardByLpm(&route) == FIB_DB_OK ? route.attr_word_a : 0;
}

static int expect(const char* address, uint8_t mask, uint32_t group) {
  const uint32_t found = groupOf(address, mask);
  printf("%s, no longer than /%u: group %u\n", address, mask, found);
  return found == group;
}

int main(void) {
  uint64_t batch = 0, argument = 0;
  if (FIB_DB_CreateAsyncConnect(0, 0) != FIB_DB_OK) return 1;
  if (FIB_DB_GetIp4forwardBatchAsyncObject(&batch) != FIB_DB_OK) return 1;
  if (!add(&batch, "0.0.0.0", 0, 1) || !add(&batch, "10.0.0.0", 8, 2) || !add(&batch, "10.1.0.0", 16, 3)) return 1;
  if (!add(&batch, "10.1.2.3", 16, 4)) return 1; /* bits below the mask: a second record of the same prefix */
  if (FIB_DB_BatchExecuteAsync(&batch, &argument) != FIB_DB_OK) return 1;
  FIB_DB_DestroyAsyncConnect();

  int right = expect("10.1.2.3", 32, 3); /* of 10.1.0.0/16 and 10.1.2.3/16 the lower address */
  right &= expect("10.1.2.3", 15, 2);
  right &= expect("10.1.2.3", 0, 1); /* a mask that was left out asks for the default route */

  FibDbIp4forwardItem exact = {.dest_ip_addr = addressOf("10.1.2.3"), .mask_len = 16};
  right &= FIB_DB_ReadIp4forward(&exact) == FIB_DB_OK && exact.attr_word_a == 4; /* a key is all its bits */
  exact.dest_ip_addr = addressOf("10.1.9.9");
  right &= FIB_DB_ReadIp4forward(&exact) == FIB_DB_NOT_FOUND;
  puts(right ? "every lookup as documented" : "a lookup went elsewhere");
  return !right;
}
