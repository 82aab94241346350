// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/death/deaths.cc: the tape, and the jump out of a writer that dies.
#include "tests/engine/death/deaths.h"

#include <csetjmp>
#include <cstring>

namespace fibdb::death {
namespace {

Tape* theTape;
uint64_t storesLeft;
std::jmp_buf outOfLife;

}  // namespace

void Tape::beforeStore(void* at, unsigned bytes, uint64_t, Site site) {
  // Who dies runs no destructor: nothing is put in order, and no lock is given back.
  if (storesLeft-- == 0) std::longjmp(outOfLife, 1);
  uint64_t held = 0;
  std::memcpy(&held, at, bytes);
  theTape->stores_.push_back({at, bytes, held, site});
}

bool Tape::run(const std::function<void()>& writer, uint64_t death) {
  stores_.clear();
  storesLeft = death;
  theTape = this;
  watched::watcher.store = beforeStore;
  const bool died = setjmp(outOfLife) != 0;
  if (!died) writer();
  watched::watcher = {};
  return !died;
}

SiteName Tape::siteOf(uint64_t store) const {
  const Site& site = stores_[store].site;
  return {std::string_view(site.file).substr(std::string_view(site.file).rfind('/') + 1), site.line};
}

void Tape::rewind() {
  for (auto store = stores_.rbegin(); store != stores_.rend(); ++store) {
    std::memcpy(store->at, &store->held, store->bytes);
  }
  stores_.clear();
}

}  // namespace fibdb::death
