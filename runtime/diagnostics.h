// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// runtime/diagnostics.h: the shape shared by all result processors.
#ifndef FIBDB_RUNTIME_DIAGNOSTICS_H
#define FIBDB_RUNTIME_DIAGNOSTICS_H

#include <cstdint>

#include "runtime/text.h"

namespace fibdb {

// A result processor: database code and operation in, the library's status out.
using Settle = uint32_t(uint32_t code, uint32_t oper);

// What a processor says about a failure: the operation's name, and the code.
using FailureText = Text<const char*, uint32_t>;

// A success, or a publication, which is a success that is counted.
inline bool succeeds(FibDbTableId table, uint32_t code) {
  if (code == DB_RET_PUB_STATUS) FIB_DB_RecordErrStat(table, FIB_DB_OPER_PUB);
  return code == FIB_DB_OK || code == DB_RET_PUB_STATUS;
}

// Writes, updates and removals: success and publication are FIB_DB_OK, a failure stays the database's own code.
uint32_t settleWrite(FibDbTableId table, uint32_t code, uint32_t oper, const FailureText& failed);

// Reads: a missing record is FIB_DB_NOT_FOUND and nobody's fault, any other failure is FIB_DB_ERR.
uint32_t settleRead(FibDbTableId table, uint32_t code, uint32_t oper, const FailureText& failed);

// A success, or a failure that is said and FIB_DB_ERR, whatever its code.
inline uint32_t settleFields(uint32_t code, const Text<uint32_t>& failed) {
  if (code == FIB_DB_OK) return FIB_DB_OK;
  failed.error(code);
  return FIB_DB_ERR;
}

// The same in words that leave the code unsaid.
inline uint32_t settleFieldsUnsaid(uint32_t code, const Text<>& failed) {
  if (code == FIB_DB_OK) return FIB_DB_OK;
  failed.error();
  return FIB_DB_ERR;
}

// A failure that is said in its function's own words, counted under its table, and handed on as it is.
struct Failure {
  FibDbTableId table = FIB_DB_TABLE_COUNT;  // counts nowhere, and says so
  FibDbOperType oper = FIB_DB_OPER_ERR;
  Text<uint32_t> text = {};

  uint32_t operator()(uint32_t code) const {
    text.error(code);
    FIB_DB_RecordErrStat(table, oper);
    return code;
  }
};

// Writes, updates and removals whose functions say a failure in their own words.
inline uint32_t settleWrite(uint32_t code, const Failure& failure) {
  return succeeds(failure.table, code) ? uint32_t{FIB_DB_OK} : failure(code);
}

}  // namespace fibdb

#endif
