// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tools/fibdb/tables/service_state.h: the fields that the records of several next-hop tables end with: what the
// services say of a next hop, on their two channels, and who wrote it when.
#ifndef FIBDB_TOOLS_SERVICE_STATE_H
#define FIBDB_TOOLS_SERVICE_STATE_H

#include <algorithm>
#include <array>
#include <iterator>

#include "tools/fibdb/tables/field.h"

namespace fibdb::program {

// A table's own fields, and behind them the service state of its item.
template <class Item, size_t kOwn>
constexpr auto withServiceState(const Field (&own)[kOwn]) {
  const Field state[] = {
      property<&Item::status_high_prio>("status_high"),
      property<&Item::status_normal_prio>("status_normal"),
      property<&Item::errcode_high_prio>("error_high"),
      property<&Item::errcode_normal_prio>("error_normal"),
      property<&Item::svc_ctx_high_prio>("context_high", {.listed = false}),
      property<&Item::svc_ctx_normal_prio>("context_normal", {.listed = false}),
      property<&Item::app_source_id>("source", {.listed = false}),
      property<&Item::group_smooth_id>("smooth", {.listed = false}),
      property<&Item::app_obj_id>("object", {.listed = false}),
      property<&Item::app_version>("version", {.listed = false}),
      property<&Item::time_stamp_app>("stamp_app", {.listed = false}),
      property<&Item::time_stamp_svc>("stamp_svc", {.listed = false}),
  };
  std::array<Field, kOwn + std::size(state)> all{};
  std::copy(std::begin(state), std::end(state), std::copy(std::begin(own), std::end(own), all.begin()));
  return all;
}

}  // namespace fibdb::program

#endif
