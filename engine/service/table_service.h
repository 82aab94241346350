// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/service/table_service.h: what administration needs of the table service beside its calls.
#ifndef FIBDB_ENGINE_SERVICE_TABLE_SERVICE_H
#define FIBDB_ENGINE_SERVICE_TABLE_SERVICE_H

namespace fibdb::service {

// Forgets all registrations. REQUIRES: nobody uses the service.
void forgetTables();

// After fork(), in the child: the parent's iterators are stale, registered tables stay.
void forgetIterators();

}  // namespace fibdb::service

#endif
