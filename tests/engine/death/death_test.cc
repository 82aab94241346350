// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/engine/death/death_test.cc: a writer dies before each of its stores, and so does the one that repairs.
//
// A table is written at random. Whenever a write does what none did before, it is carried out again and again, each
// time up to one store further, as if its process had been killed there. Then readers must see the table as it was
// before the write or as it is after it; and whoever writes next must find it whole: every block with one owner, every
// record in every index, every count right, and just what readers saw. The repair, too, is cut short, and made once
// more.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <regex>
#include <set>

#include "engine/store/table.h"
#include "fibdb/engine.h"
#include "tests/engine/death/deaths.h"
#include "tests/engine/store/accounting.h"
#include "tests/support/pace.h"
#include "tests/support/toy_tables.h"

namespace fibdb::death {
namespace {

using store::accountOf;
using store::kExtentBytes;
using store::Store;
using store::Table;
using test::Bytes;

using Rows = std::set<Bytes>;

// Places of stores that were carried out, and those before which a writer died, of all tests of this process.
std::set<SiteName>& placesSeen() {
  static std::set<SiteName> places;
  return places;
}
std::set<SiteName>& placesOfDeath() {
  static std::set<SiteName> places;
  return places;
}

struct Shape {
  const char* name;
  size_t table;
  uint32_t keys;  // how many there are to choose from
  uint32_t writes;
  uint64_t limit;  // of memory, or 0
  uint64_t arena = test::kSmallArena;
};

// A write of one record, which can be made again.
struct Write {
  enum class Kind { kWrite, kUpdate, kRemove, kLimits };
  Kind kind;
  Bytes row;
  Bytes key;  // the row's; ready, since who dies gives no memory back
};

class Mortals {
 public:
  Mortals(const Shape& shape, uint64_t seed)
      : shape_(shape), store_(test::kToyTables, shape.arena), table_(store_.table(shape.table)), random_(seed) {
    header_.resize(kExtentBytes);
  }

  void live() {
    table_.setLimits({0, shape_.limit});
    for (uint32_t i = 0; i < shape_.writes && !testing::Test::HasFailure(); ++i) {
      // By turns the table is being told anew, which some writes count, and some of them only.
      if (i % kEveryNow == kEveryNow / 2) table_.beginReplace(store::kEveryVr);
      if (i % kEveryNow == kEveryNow - 1) table_.giveUpReplace();
      carryOut(next(i), i % kEveryNow == 0);
    }
    for (const Bytes& row : rows()) {
      if (!testing::Test::HasFailure()) carryOut(make(Write::Kind::kRemove, row), false);
    }
    EXPECT_EQ(accountOf(store_), "");
  }

  uint64_t deaths() const { return deaths_; }
  uint64_t writesDied() const { return deadly_; }

 private:
  static constexpr uint32_t kEveryNow = 1500;

  // Carries a write out, and lets it die everywhere if it does something new.
  void carryOut(const Write& write, bool always) {
    keepHeader();
    tape_.run([&] { apply(write); });
    if (!isNew(tape_) && !always) return;
    ++deadly_;
    SCOPED_TRACE(testing::Message() << shape_.name << ", a write of kind " << static_cast<int>(write.kind));
    dieEverywhere(write);
  }

  const schema::Table& layout() const { return table_.layout(); }
  uint32_t below(uint32_t bound) { return static_cast<uint32_t>(random_() % bound); }

  // Keys far apart and inside each other, with and without bits below their masks; secondary keys that come and go.
  Bytes rowOf(uint32_t key) {
    Bytes row(layout().rowLength);
    std::mt19937 random(key * 7919 + 1);
    const auto ofKey = [&] { return static_cast<uint32_t>(random()); };
    for (uint8_t& byte : row) byte = static_cast<uint8_t>(ofKey());
    for (const schema::Index& index : layout().indexes) {
      if (index.kind != schema::IndexKind::kSecondary) continue;
      for (const schema::Column& column : index.parts()) {
        std::fill_n(row.begin() + column.offset, column.size, uint8_t{0});
        row[column.offset] = static_cast<uint8_t>(below(below(4) == 0 ? 200 : 4));
      }
    }
    for (const schema::Index& index : layout().indexes) {
      if (index.kind != schema::IndexKind::kLongest) continue;
      const auto columns = index.parts();
      static constexpr uint8_t kMasks[] = {0, 8, 9, 16, 20, 24, 24, 24, 28, 32, 32, 32};
      const uint32_t addr = (ofKey() % 3) << 30 | (ofKey() % 9) << 13 | ofKey() % 32;
      std::memcpy(row.data() + columns[columns.size() - 2].offset, &addr, sizeof addr);
      row[columns.back().offset] = kMasks[ofKey() % std::size(kMasks)];
      for (const schema::Column& column : columns.first(columns.size() - 2)) {
        std::fill_n(row.begin() + column.offset, column.size, uint8_t{0});
        row[column.offset] = static_cast<uint8_t>(ofKey() % 16 < 13 ? 0 : ofKey() % 6);
      }
    }
    return row;
  }

  Write make(Write::Kind kind, const Bytes& row) { return {kind, row, test::packedKey(layout().primary(), row)}; }
  // The table fills and empties by turns.
  Write next(uint32_t i) {
    const bool filling = i * 8 / shape_.writes % 2 == 0;
    const uint32_t dice = below(20);
    if (shape_.limit != 0 && dice == 0 && below(20) == 0) return {Write::Kind::kLimits, {}, {}};
    if (dice == 19 && below(50) == 0 && table_.count() > 0) return make(Write::Kind::kWrite, *rows().begin());
    const Bytes row = rowOf(below(shape_.keys));
    if (dice < 4) return make(Write::Kind::kUpdate, row);
    return make((dice < 7) == filling ? Write::Kind::kRemove : Write::Kind::kWrite, row);
  }

  void apply(const Write& write) {
    store::Change change;
    uint64_t removed = 0;
    switch (write.kind) {
      case Write::Kind::kWrite:
        table_.write(write.row.data(), change);
        break;
      case Write::Kind::kUpdate:
        table_.update(write.key.data(), write.row.data(), ~store::FieldSet{0});
        break;
      case Write::Kind::kRemove:
        table_.remove(layout().primary(), write.key.data(), removed);
        break;
      case Write::Kind::kLimits:
        table_.setLimits({0, shape_.limit});
        break;
    }
  }

  static bool isNew(const Tape& tape) {
    bool isNew = false;
    for (uint64_t store = 0; store < tape.stores(); ++store) {
      // The same place many times in a row fills a block.
      if (store > 0 && tape.siteOf(store) == tape.siteOf(store - 1)) continue;
      isNew = placesSeen().insert(tape.siteOf(store)).second || isNew;
    }
    return isNew;
  }

  // What the arena knows about itself is stored by other means.
  void keepHeader() { std::memcpy(header_.data(), store_.arena().at<uint8_t>(0), header_.size()); }
  void rewind(Tape& tape) {
    tape.rewind();
    std::memcpy(store_.arena().at<uint8_t>(0), header_.data(), header_.size());
  }

  Rows rows() const {
    Rows rows;
    store::Cursor cursor;
    cursor.openAll(table_);
    Bytes row(layout().rowLength);
    while (cursor.next(row.data()) == 0) rows.insert(row);
    return rows;
  }

  // All that can be read, and what single reads answer that have to do with a row.
  struct Sight {
    Rows rows;
    std::vector<uint64_t> counts;
    std::vector<Bytes> answers;
    friend bool operator==(const Sight&, const Sight&) = default;
  };
  Sight look(const Bytes& about) const {
    Sight sight{rows(), {table_.count()}, {}};
    Bytes row(layout().rowLength);
    for (const schema::Index& index : layout().indexes) {
      if (about.empty()) break;
      Bytes key = test::packedKey(index, about);
      if (index.kind == schema::IndexKind::kLongest) key.back() = 32;
      store::Cursor cursor;
      const bool ordered = index.kind == schema::IndexKind::kOrdered;
      if (ordered) cursor.openRange(table_, index, key.data(), Bytes(key.size(), 0xFF).data());
      if (!ordered) cursor.openKey(table_, index, key.data());
      for (int steps = 0; steps < 50 && cursor.next(row.data()) == 0; ++steps) sight.answers.push_back(row);
      if (table_.read(index, key.data(), row.data()) == 0) sight.answers.push_back(row);
      uint64_t count = 0;
      table_.countByKey(index, key.data(), count);
      sight.counts.push_back(count);
    }
    return sight;
  }

  // The writes that were carried out, by what they did, to the table and for its replace.
  std::vector<uint64_t> counted() const {
    const store::TableStats stats = table_.stats();
    const store::ReplaceCounts told = table_.replaceState().counts;
    return {stats.inserted, stats.replaced, stats.updated, stats.removed,
            told.kept,      told.changed,   told.added,    told.removed};
  }

  // Where the writer dies: before each place in which none died, and before some stores more.
  std::vector<uint64_t> deathsIn(const Tape& tape) {
    constexpr size_t kMost = pace::kIsSlow ? 80 : 160;
    std::vector<uint64_t> deaths, others;
    for (uint64_t store = 0; store < tape.stores(); ++store) {
      (placesOfDeath().insert(tape.siteOf(store)).second ? deaths : others).push_back(store);
    }
    std::shuffle(others.begin(), others.end(), random_);
    others.resize(std::min(others.size(), kMost));
    deaths.insert(deaths.end(), others.begin(), others.end());
    return deaths;
  }

  // The tape holds the whole write.
  void dieEverywhere(const Write& write) {
    const auto apply = [&] { this->apply(write); };
    const std::vector<uint64_t> deaths = deathsIn(tape_);
    const Sight after = look(write.row);
    countedAfter_ = counted();
    rewind(tape_);
    const Sight before = look(write.row);
    countedBefore_ = counted();
    leavesSight_ = before == after;
    for (const uint64_t death : deaths) {
      SCOPED_TRACE(testing::Message() << "death before store " << death);
      ASSERT_FALSE(tape_.run(apply, death));
      ++deaths_;
      const Sight seen = look(write.row);
      ASSERT_TRUE(seen == before || seen == after) << "readers see what never was";
      wasVisible_ = seen == after;
      if (death % 3 == 0) dieRepairing(seen, write);
      repairAndCheck(seen, write);
      if (death % 16 == 0) writeAgain(write, after);
      rewind(tape_);
      if (testing::Test::HasFailure()) return;
    }
    ASSERT_TRUE(tape_.run(apply));
    ASSERT_TRUE(look(write.row) == after);
  }

  void repair() {
    store_.remakeLocks();
    table_.repair();
  }

  // Once in some place, and then once more.
  void dieRepairing(const Sight& seen, const Write& write) {
    Tape first;
    first.run([&] { repair(); });
    std::vector<uint64_t> deaths;
    for (uint64_t store = 0; store < first.stores(); ++store) {
      if (placesOfDeath().insert(first.siteOf(store)).second) deaths.push_back(store);
    }
    if (first.stores() > 0) deaths.push_back(below(static_cast<uint32_t>(first.stores())));
    first.rewind();
    for (const uint64_t death : deaths) {
      first.run([&] { repair(); }, death);
      repairAndCheck(seen, write);
      first.rewind();
    }
  }

  void repairAndCheck(const Sight& seen, const Write& write) {
    Tape tape;
    tape.run([&] { repair(); });
    EXPECT_EQ(accountOf(store_), "");
    EXPECT_TRUE(look(write.row) == seen) << "what was visible stays, what was not leaves nothing";
    const std::vector<uint64_t> counted = this->counted();
    EXPECT_TRUE((counted == countedAfter_ && (wasVisible_ || leavesSight_)) ||
                (counted == countedBefore_ && (!wasVisible_ || leavesSight_)))
        << "what was visible counts once, what was not does not";
    tape.rewind();
  }

  // The next writer, who repairs before it writes.
  void writeAgain(const Write& write, const Sight& after) {
    Tape tape;
    tape.run([&] {
      store_.remakeLocks();
      apply(write);
    });
    EXPECT_TRUE(look(write.row) == after);
    EXPECT_EQ(accountOf(store_), "");
    tape.rewind();
  }

  const Shape shape_;
  Store store_;
  Table& table_;
  std::mt19937_64 random_;
  Tape tape_;
  Bytes header_;
  // Of the write that dies; leavesSight_: what can be read is the same before and after.
  std::vector<uint64_t> countedBefore_, countedAfter_;
  bool wasVisible_ = false, leavesSight_ = false;
  uint64_t deaths_ = 0, deadly_ = 0;
};

constexpr Shape kShapes[] = {
    {.name = "route", .table = 2, .keys = 500, .writes = 9000, .limit = 0},
    {.name = "route at its limit", .table = 2, .keys = 60000, .writes = 12000, .limit = 3 * kExtentBytes},
    {.name = "shared", .table = 3, .keys = 500, .writes = 6000, .limit = 0},
    {.name = "many", .table = 4, .keys = 900, .writes = 6000, .limit = 0},
    {.name = "arena at its end", .table = 4, .keys = 60000, .writes = 9000, .limit = 0, .arena = 6 * kExtentBytes},
};

uint64_t seedOfToday() {
  const uint64_t seed = test::testSeed();
  std::printf("FIBDB_SEED=%llu\n", static_cast<unsigned long long>(seed));
  return seed;
}

TEST(Death, leaves_nothing_that_the_next_writer_does_not_put_in_order) {
  const uint64_t seed = seedOfToday();
  uint64_t deaths = 0;
  for (const Shape& shape : kShapes) {
    Mortals mortals(shape, seed);
    mortals.live();
    ASSERT_FALSE(HasFailure()) << "FIBDB_SEED=" << seed;
    deaths += mortals.deaths();
    std::printf("%s: %llu deaths in %llu writes\n", shape.name, static_cast<unsigned long long>(mortals.deaths()),
                static_cast<unsigned long long>(mortals.writesDied()));
  }
  EXPECT_GT(deaths, pace::kIsSlow ? 1000U : 2000U);
}

// What was to become blocks becomes records: walks go through slots that were never cut.
TEST(Death, an_extent_that_comes_back_used_reads_as_zero_to_records) {
  store::Arena arena(test::kSmallArena);
  store::Ref claimed = store::kNoRef;
  auto* const state = arena.at<store::HeapState>(arena.takeExtent(1, claimed));
  auto* const recordsState = reinterpret_cast<store::RecordsState*>(state + 1);
  store::Heap heap(arena, *state);
  const store::RecordLayout layout(20);
  store::Records records(heap, *recordsState, layout);
  heap.log().begin(store::Doing::kStep);
  ASSERT_EQ(heap.ensure(1000), 0U);
  const store::Ref block = heap.allocate(1000);
  std::memset(heap.at<uint8_t>(block), 0xFF, 1000);
  heap.log().takeBack();
  const store::Ref extent = state->spare;
  ASSERT_EQ(extent, block);

  Tape tape;
  const auto prepare = [&] {
    heap.log().begin(store::Doing::kStep);
    EXPECT_TRUE(records.prepare());
    heap.log().end();
  };
  ASSERT_TRUE(tape.run(prepare));
  const uint64_t stores = tape.stores();
  std::vector<SiteName> sites;
  for (uint64_t store = 0; store < stores; ++store) sites.push_back(tape.siteOf(store));
  tape.rewind();
  for (uint64_t death = 0; death < stores; death += death < stores - 40 ? 1000 : 1) {
    placesOfDeath().insert(sites[death]);
    ASSERT_FALSE(tape.run(prepare, death));
    heap.log().takeBack();
    Tape again;
    ASSERT_TRUE(again.run(prepare));
    ASSERT_EQ(recordsState->firstExtent, extent);
    ASSERT_EQ(recordsState->lastExtent, extent);
    const auto* const bytes = arena.at<uint8_t>(extent);
    ASSERT_TRUE(std::all_of(bytes, bytes + kExtentBytes, [](uint8_t byte) { return byte == 0; })) << death;
    again.rewind();
    tape.rewind();
  }
}

// To end a replace is many writes, each of which stands by itself.
TEST(Death, of_who_ends_a_replace_leaves_each_record_removed_and_counted_or_neither) {
  constexpr uint32_t kStale = 3;
  Store store(test::kToyTables, test::kSmallArena);
  Table& table = store.table(test::kRouteTable);
  for (uint32_t i = 0; i < kStale; ++i) {
    Bytes row(table.layout().rowLength);
    row[4] = static_cast<uint8_t>(i + 1);
    row[8] = 32;
    store::Change change;
    ASSERT_EQ(table.write(row.data(), change), 0U);
  }
  ASSERT_EQ(table.beginReplace(store::kEveryVr), 0U);
  Tape tape;
  const auto end = [&] {
    store::ReplaceCounts counts;
    table.endReplace(counts);
  };
  ASSERT_TRUE(tape.run(end));
  ASSERT_EQ(table.count(), 0U);
  const uint64_t stores = tape.stores();
  tape.rewind();
  for (uint64_t death = 0; death < stores; ++death) {
    ASSERT_FALSE(tape.run(end, death));
    Tape next;
    next.run([&] {
      store.remakeLocks();
      table.repair();
    });
    ASSERT_EQ(accountOf(store), "");
    const store::ReplaceState state = table.replaceState();
    ASSERT_EQ(state.counts.removed, kStale - table.count()) << "death before store " << death;
    next.rewind();
    tape.rewind();
  }
}

// More than the log holds: it lets go of what stands, and notes anew.
TEST(Death, of_who_frees_a_multitude_leaves_each_block_free_or_resting) {
  constexpr uint32_t kBlocks = 40'000;
  store::Arena arena(test::kSmallArena);
  store::Ref claimed = store::kNoRef;
  auto* const state = arena.at<store::HeapState>(arena.takeExtent(1, claimed));
  store::Heap heap(arena, *state);
  for (uint32_t i = 0; i < kBlocks; ++i) {
    ASSERT_EQ(heap.ensure(store::kRefUnit), 0U);
    heap.retire(heap.allocate(store::kRefUnit), store::kRefUnit);
  }
  Tape tape;
  const auto reclaim = [&] {
    heap.log().begin(store::Doing::kStep);
    heap.reclaim();
  };
  ASSERT_TRUE(tape.run(reclaim));
  const uint64_t stores = tape.stores();
  tape.rewind();
  for (uint64_t death = 0; death < stores; death += stores / 97) {
    ASSERT_FALSE(tape.run(reclaim, death));
    Tape next;
    next.run([&] {
      heap.log().takeBack();
      heap.countShelves();
    });
    std::set<store::Ref> small;
    std::string wrong;
    const auto held = [](store::Ref) { return true; };
    const auto say = [&](const char* what, store::Ref) { wrong = what; };
    const auto once = [&](store::Ref block, uint64_t bytes) {
      if (bytes == store::kRefUnit && !small.insert(block).second) wrong = "twice";
      return true;
    };
    const auto any = [](store::Ref, uint64_t) { return true; };
    heap.survey({once, held, say}, {once, held, say}, {any, held, say});
    ASSERT_EQ(wrong, "") << "death before store " << death;
    ASSERT_EQ(small.size(), kBlocks) << "death before store " << death;
    next.rewind();
    tape.rewind();
  }
}

// Who died before the arena gave it the extent that it had named.
TEST(Death, a_claim_that_was_not_granted_is_dropped) {
  store::Arena arena(test::kSmallArena);
  store::HeapState state{};
  store::Heap heap(arena, state);
  state.claimed = store::Arena::extentAt(5);
  Tape tape;
  const auto settle = [&] { heap.settleClaim(); };
  ASSERT_TRUE(tape.run(settle));
  EXPECT_EQ(state.claimed, store::kNoRef);
  EXPECT_EQ(state.spare, store::kNoRef);
  ASSERT_EQ(tape.stores(), 1U);
  placesOfDeath().insert(tape.siteOf(0));
  tape.rewind();
  ASSERT_FALSE(tape.run(settle, 0));
  ASSERT_TRUE(tape.run(settle));
  EXPECT_EQ(state.claimed, store::kNoRef);
}

// The lines of the store's sources in which words are stored.
std::set<std::pair<std::string, int>> placesInSources() {
  const std::regex stores(R"((^|[^\w.>])(store|publish)\()");
  const std::regex declares(R"(^\s*(//|void |inline void|template))");
  std::set<std::pair<std::string, int>> places;
  for (const auto& entry : std::filesystem::directory_iterator(FIBDB_STORE_FOLDER)) {
    // To begin to tell a table anew is one store, to end it is many writes, and each stands by itself.
    if (entry.path().filename() == "word.h" || entry.path().filename() == "replace.cc") continue;
    std::ifstream file(entry.path());
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
      if (std::regex_search(line, stores) && !std::regex_search(line, declares)) {
        places.emplace(entry.path().filename().string(), number);
      }
    }
  }
  return places;
}

// Runs after the other tests, in the same process.
TEST(Death, came_at_every_store_there_is) {
  for (const auto& place : placesInSources()) {
    EXPECT_TRUE(placesOfDeath().contains(place)) << place.first << ":" << place.second;
  }
}

}  // namespace
}  // namespace fibdb::death
