// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/client/faults.h: codes that tests ask for in place of success.
#ifndef FIBDB_ENGINE_CLIENT_FAULTS_H
#define FIBDB_ENGINE_CLIENT_FAULTS_H

#include <cstdint>

#include "platform/schema/catalog.h"

namespace fibdb::client {

// The next `count` calls that commit a change of the table return code.
void armFault(schema::TableId table, uint32_t code, uint32_t count);
void endFaults();

}  // namespace fibdb::client

#endif
