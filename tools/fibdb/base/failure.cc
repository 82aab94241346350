// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/base/failure.cc: see failure.h.
#include "tools/fibdb/base/failure.h"

#include "fibdb/engine.h"
#include "fibdb/fibdb.h"

namespace fibdb::program {

std::string codeText(uint32_t code) {
  switch (code) {
    case FIB_DB_OK:
      return "done";
    case FIB_DB_ERR:
      return "the library refused it (code 1)";
    case FIB_DB_NOT_FOUND:
      return "no such record (code 60)";
    case FIB_DB_NO_ROUTE:
      return "no route covers it (code 10003)";
    default:
      return std::string(fibdb_engine_error_text(code)) + " (code " + std::to_string(code) + ")";
  }
}

}  // namespace fibdb::program
