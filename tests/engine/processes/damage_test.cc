// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/processes/damage_test.cc: an arena that somebody has damaged does no harm to who reads it.
//
// Who may write to an arena is trusted. Who may only read it must be safe from what the others do: whatever stands in
// the file, every call of a process that joined for reading ends, with an answer or a code.
#include <fcntl.h>

#include <algorithm>
#include <random>
#include <vector>

#include "in_arena.h"
#include "tests/support/pace.h"

namespace fibdb::testing {
namespace {

constexpr uint32_t kRoutes = 1500;
constexpr uint32_t kFileBytes = 12 << 20;  // as far as the arena comes to be used

Row numbered(uint32_t number) {
  static constexpr uint8_t kMasks[] = {24, 16, 28, 32, 8, 20};
  Row row = route(0x0A000000 + number / 6 * 0x300 + number % 6, kMasks[number % 6], number % 40);
  return row.set("vrf_index", number % 3);
}

int fill(const std::string& arena) {
  CHECK_IN_CHILD(join(arena) == 0);
  for (uint32_t i = 0; i < kRoutes; ++i) CHECK_IN_CHILD(writeRow(numbered(i)) == 0);
  for (uint32_t i = 0; i < kRoutes; i += 7) CHECK_IN_CHILD(removeRow(numbered(i)) == 0);
  return 0;
}

// More records than there can be are no end.
constexpr uint32_t kTooMany = 200 * kRoutes;

int walkKey(uint64_t object, uint32_t index, const Row& row) {
  Key key = keyOfRow(TableId::ip4forward, index, row);
  if (index == kRouteLongest) key.bytes.back() = 32;
  uint64_t iterator = 0, count = 0;
  if (db_create_root_iter(object, &key.desc, key.data(), &iterator) != 0) return 0;
  uint32_t steps = 0;
  while (db_root_iterator_next(iterator) == 0) CHECK_IN_CHILD(++steps < kTooMany);
  db_get_table_record_count_by_key(object, &key.desc, key.data(), &count);
  uint32_t nodes = 0;
  fibdb_engine_explain(numberOf(TableId::ip4forward), index, key.data(), &nodes);
  return 0;
}

int countRow(const void*, uint32_t, void* context) { return ++*static_cast<uint32_t*>(context) < kTooMany ? 0 : 1; }

int readEverything(const std::string& arena, uint64_t seed) {
  alarm(20);
  if (join(arena, /*readOnly=*/true) != 0) return 0;
  std::mt19937_64 random(seed);
  uint64_t object = 0;
  if (db_create_ip4forward_obj(FIB_DB_OBJ_OP_SCAN, 0, &object) != 0) return 0;
  for (uint32_t i = 0; i < 40; ++i) {
    Row row = numbered(static_cast<uint32_t>(random() % kRoutes));
    readRow(row);
    for (const uint32_t index : {kRouteKey, kRouteByGroup, kRouteByVrf, kRouteLongest}) {
      if (const int wrong = walkKey(object, index, row)) return wrong;
    }
  }
  const uint32_t table = numberOf(TableId::ip4forward);
  uint32_t rows = 0;
  fibdb_engine_walk(table, countRow, &rows);
  CHECK_IN_CHILD(rows < kTooMany);
  const std::string low(13, '\0'), high(13, '\xff');
  rows = 0;
  fibdb_engine_walk_range(table, kRouteOrdered, low.data(), high.data(), countRow, &rows);
  CHECK_IN_CHILD(rows < kTooMany);
  std::vector<uint32_t> addrs;
  for (uint32_t i = 0; i < 100; ++i) addrs.push_back(0x0A000000 + static_cast<uint32_t>(random() % 0x100000));
  std::string found(addrs.size(), '\0'), answers(addrs.size() * numbered(0).length(), '\0');
  fibdb_engine_lookup_each(table, kRouteLongest, low.data(), addrs.data(), static_cast<uint32_t>(addrs.size()),
                           answers.data(), reinterpret_cast<uint8_t*>(found.data()));
  routesStored();
  FibDbEngineCheck check{};
  fibdb_engine_check([](const char*, const char*, void*) { return 0; }, nullptr, &check);
  FibDbEngineShared shared{};
  fibdb_engine_shared(&shared);
  std::string metrics(1 << 16, '\0');
  size_t length = 0;
  fibdb_engine_metrics(metrics.data(), metrics.size(), &length);
  return 0;
}

// Bytes, words and pages, most of them where something stands.
class Damage {
 public:
  Damage(const std::string& file, uint64_t seed) : random_(seed), descriptor_(open(file.c_str(), O_RDWR)) {
    whole_.resize(kFileBytes);
    EXPECT_EQ(pread(descriptor_, whole_.data(), whole_.size(), 0), static_cast<ssize_t>(whole_.size()));
    for (size_t at = kHead; at < whole_.size(); at += kWord) {
      if (std::any_of(&whole_[at], &whole_[at] + kWord, [](char byte) { return byte != 0; })) used_.push_back(at);
    }
  }
  ~Damage() { close(descriptor_); }
  Damage(const Damage&) = delete;
  Damage& operator=(const Damage&) = delete;

  void inflict() {
    for (uint64_t wounds = 1 + random_() % 20; wounds > 0; --wounds) {
      const size_t at = used_[random_() % used_.size()];
      switch (random_() % 6) {
        case 0:
          put(at + random_() % kWord, random_(), 1);
          break;
        case 1:
          put(at, random_(), 4);
          break;
        case 2:  // what another place has: a reference that leads elsewhere
          put(at, *reinterpret_cast<const uint32_t*>(&whole_[used_[random_() % used_.size()]]), 4);
          break;
        case 3:
          put(at + 4, random_() % 4, 4);
          break;
        case 4:
          put(at, ~uint64_t{0}, 8);
          break;
        default:
          if (random_() % 8 == 0) putPage(at);
      }
    }
  }
  void heal() {
    for (const size_t page : wounded_) write(page, &whole_[page], kPage);
    wounded_.clear();
  }

 private:
  static constexpr size_t kWord = 8, kPage = 4096, kHead = 4096;

  void write(size_t at, const void* bytes, size_t length) {
    EXPECT_EQ(pwrite(descriptor_, bytes, length, static_cast<off_t>(at)), static_cast<ssize_t>(length));
  }
  void put(size_t at, uint64_t value, size_t length) {
    wounded_.push_back(at / kPage * kPage);
    write(at, &value, length);
  }
  void putPage(size_t at) {
    std::string page(kPage, '\0');
    for (char& byte : page) byte = static_cast<char>(random_());
    wounded_.push_back(at / kPage * kPage);
    write(wounded_.back(), page.data(), kPage);
  }

  std::mt19937_64 random_;
  const int descriptor_;
  std::string whole_;
  std::vector<size_t> used_, wounded_;
};

TEST(Damage, of_an_arena_ends_every_call_of_a_reader_with_an_answer_or_a_code) {
  const char* given = std::getenv("FIBDB_DAMAGES");
  const uint64_t damages = given != nullptr ? std::strtoull(given, nullptr, 0) : pace::shareOf(300);
  const uint64_t seed = testSeed();
  const ArenaFolder folder;
  ASSERT_EQ(inChild([&] { return fill(folder.arena()); }), 0);
  Damage damage(folder.arena(), seed);
  for (uint64_t i = 0; i < damages; ++i) {
    damage.inflict();
    ASSERT_EQ(inChild([&] { return readEverything(folder.arena(), seed + i); }), 0)
        << "damage " << i << ", FIBDB_SEED=" << seed;
    damage.heal();
  }
}

int countFinding(const char*, const char* finding, void* context) {
  *static_cast<uint32_t*>(context) += finding != nullptr;
  return 0;
}

int takeFirst(const char*, const char*, void* context) {
  ++*static_cast<uint32_t*>(context);
  return 1;
}

int checkToFirstFinding(const std::string& arena) {
  alarm(20);
  CHECK_IN_CHILD(join(arena, /*readOnly=*/true) == 0);
  uint32_t all = 0, first = 0;
  FibDbEngineCheck whole{}, ended{};
  CHECK_IN_CHILD(fibdb_engine_check(countFinding, &all, &whole) == 0);
  CHECK_IN_CHILD(all > 1 && whole.findings >= all);
  CHECK_IN_CHILD(fibdb_engine_check(takeFirst, &first, &ended) == 0);
  CHECK_IN_CHILD(first == 1 && ended.tables < whole.tables);
  return 0;
}

TEST(Damage, is_told_finding_by_finding_until_who_asked_has_enough) {
  const uint64_t seed = testSeed();
  const ArenaFolder folder;
  ASSERT_EQ(inChild([&] { return fill(folder.arena()); }), 0);
  Damage damage(folder.arena(), seed);
  for (int i = 0; i < 50; ++i) damage.inflict();
  EXPECT_EQ(inChild([&] { return checkToFirstFinding(folder.arena()); }), 0) << "FIBDB_SEED=" << seed;
}

}  // namespace
}  // namespace fibdb::testing
