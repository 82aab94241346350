// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// engine/store/check.cc: who owns what, and what stands where.
#include "engine/store/check.h"

#include <pthread.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <utility>

#include "engine/store/word.h"
#include "fibdb/engine.h"

namespace fibdb::store {

using schema::IndexKind;

namespace {

constexpr uint32_t kExtentUnits = kExtentBytes / kRefUnit;

// A table that writes overtake is looked at so often, with a pause between.
constexpr uint32_t kMostLooks = 20;
constexpr long kPauseNanoseconds = 1'000'000;

// Whose a unit is: the lower half of its mark. Indexes are kFirstIndex and on.
enum Owner : uint8_t { kNobody, kFree, kResting, kQueue, kRecords, kFirstIndex };
constexpr uint8_t kOwner = 0x0F;
static_assert(kFirstIndex + kMaxIndexes <= kOwner + 1);
// What begins there: the upper half.
constexpr uint8_t kLive = 0x10;   // a live record
constexpr uint8_t kDead = 0x20;   // a dead one
constexpr uint8_t kSeen = 0x40;   // and is in the list of free slots, or in the index that is being looked at
constexpr uint8_t kKnown = 0x80;  // what an index has records under: a key's block, a trie

constexpr const char* kOwnerNames[] = {"nobody",  "free block", "resting block", "queue",   "records",
                                       "index 0", "index 1",    "index 2",       "index 3", "index 4",
                                       "index 5", "index 6",    "index 7"};
static_assert(std::size(kOwnerNames) == kFirstIndex + kMaxIndexes);

constexpr const char* nameOf(IndexKind kind) {
  switch (kind) {
    case IndexKind::kPrimary:
      return "primary index";
    case IndexKind::kOrdered:
      return "ordered index";
    case IndexKind::kLongest:
      return "longest-prefix index";
    default:
      return "secondary index";
  }
}

constexpr uint8_t ownerOf(size_t index) { return static_cast<uint8_t>(kFirstIndex + index); }

// A mark for every unit of the extents of one table.
class Marks {
 public:
  // places: a word for each extent of the arena.
  Marks(const Arena& arena, uint8_t owner, uint32_t* places)
      : places_(places), placeCount_(static_cast<uint32_t>(arena.reservedBytes() / kExtentBytes)) {
    for (uint32_t extent = 1; extent < placeCount_; ++extent) {
      places_[extent] = arena.isOwn(extent * kExtentUnits, owner) ? ++extents_ : 0;
    }
    marks_ = static_cast<uint8_t*>(std::calloc(extents_ + size_t{1}, kExtentUnits));
  }
  ~Marks() { std::free(marks_); }
  Marks(const Marks&) = delete;
  Marks& operator=(const Marks&) = delete;

  bool valid() const { return marks_ != nullptr; }
  uint32_t extents() const { return extents_; }

  // nullptr outside of the table's extents.
  uint8_t* find(Ref ref) const {
    const uint32_t extent = ref / kExtentUnits;
    if (extent >= placeCount_ || places_[extent] == 0) return nullptr;
    return marks_ + uint64_t{places_[extent] - 1} * kExtentUnits + ref % kExtentUnits;
  }
  bool has(Ref ref, uint8_t flags) const {
    const uint8_t* const mark = find(ref);
    return mark != nullptr && (*mark & flags) == flags;
  }
  // The marks of each extent, and what their first is the mark of.
  template <class Each>
  void eachExtent(Each&& each) const {
    for (uint32_t extent = 1; extent < placeCount_; ++extent) {
      if (places_[extent] != 0) each(find(extent * kExtentUnits), extent * kExtentUnits);
    }
  }

 private:
  uint32_t* const places_;  // of each extent: which of the table's it is, from 1 on; 0: not the table's
  const uint32_t placeCount_;
  uint32_t extents_ = 0;
  uint8_t* marks_;
};

// As printf has it.
constexpr unsigned long long number(uint64_t value) { return value; }

// What is wrong. Of findings that say the same of different places the first stands for all.
class Findings {
 public:
  // what, of whom, and over whom.
  struct Kind {
    const char* what;
    uint8_t owner = kNobody, over = kNobody;

    friend bool operator==(const Kind&, const Kind&) = default;
  };

  __attribute__((format(printf, 3, 4))) void add(const Kind& kind, const char* format, ...) {
    ++count_;
    Line* const line = std::find_if(lines_, lines_ + used_, [&](const Line& known) { return known.kind == kind; });
    if (line == lines_ + kMost) return;
    if (line < lines_ + used_) return static_cast<void>(++line->times);
    ++used_;
    line->kind = kind;
    line->times = 1;
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line->text, sizeof line->text, format, arguments);
    va_end(arguments);
  }
  uint64_t count() const { return count_; }

  bool tell(const char* table, const Check::VisitFinding& visit) const {
    uint64_t left = count_;
    for (const Line& line : std::span(lines_, used_)) {
      char text[kBytes + 32];
      std::snprintf(text, sizeof text, line.times > 1 ? "%s (and %llu more)" : "%s", line.text, number(line.times - 1));
      if (!visit(table, text)) return false;
      left -= line.times;
    }
    if (left == 0) return true;
    char text[kBytes];
    std::snprintf(text, sizeof text, "and %llu more", number(left));
    return visit(table, text);
  }

 private:
  static constexpr uint32_t kMost = 20, kBytes = 96;
  struct Line {
    Kind kind;
    uint64_t times;
    char text[kBytes];
  };

  Line lines_[kMost];
  uint32_t used_ = 0;
  uint64_t count_ = 0;
};

void pause() {
  int before;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
  const timespec time{0, kPauseNanoseconds};
  nanosleep(&time, nullptr);
  pthread_setcancelstate(before, nullptr);
}

}  // namespace

// One look at one table.
class Check::Look {
 public:
  Look(Table& table, uint8_t owner, uint32_t* places)
      : table_(table),
        state_(*table.state_),
        heap_(table.heap()),
        records_(table.records(heap_)),
        owner_(owner),
        begun_(heap_.clock()),
        // Only behind the clock: a write that begins later than this shows there.
        overtaken_(follow(state_.heap.log.progress) != 0),
        marks_(heap_.arena(), owner, places) {}

  bool valid() const { return marks_.valid(); }
  void all();

  bool isOvertaken() const { return overtaken_; }
  const Findings& findings() const { return findings_; }
  // By owner, in kRefUnit.
  using Units = std::array<uint64_t, kOwner + 1>;
  Units units() const;
  uint64_t records() const { return live_; }
  uint64_t blocks() const { return blocks_; }

 private:
  void checkHeap();
  void checkRecords();
  void checkPrimary();
  void checkSecondary(size_t index);
  void checkOrdered(size_t index);
  void checkPrefixes(size_t index);
  void checkEntered(size_t index);
  void checkUnits();

  // Calls survey with a surveyor for blocks of this owner.
  template <class Survey>
  void surveyAs(uint8_t owner, Survey&& survey) {
    const auto block = [this, owner](Ref ref, uint64_t bytes) { return claim(ref, bytes, owner); };
    const auto holds = [this](Ref ref) { return marks_.find(ref) != nullptr; };
    const auto wrong = [this, owner](const char* what, Ref at) { find(owner, what, at); };
    survey(Surveyor{block, holds, wrong});
  }
  bool claim(Ref block, uint64_t bytes, uint8_t owner);
  bool enter(Ref record, uint8_t owner);
  void find(uint8_t owner, const char* what, Ref at);
  // A copy that no writer changes. REQUIRES: the place is one of a record.
  const uint8_t* row(Ref record) {
    copyOutWide(row_, records_.row(record), table_.layout().rowLength);
    return row_;
  }

  const Table& table_;
  const TableState& state_;
  Heap heap_;
  const Records records_;
  const uint8_t owner_;  // what the table is called in the arena
  const uint64_t begun_;
  bool overtaken_;
  const Marks marks_;
  Findings findings_;
  uint64_t blocks_ = 0, live_ = 0;
  alignas(uint64_t) uint8_t row_[schema::kMaxRowLength];
};

void Check::Look::all() {
  checkHeap();
  checkRecords();
  for (size_t i = 0; i < table_.planCount_ && !overtaken_; ++i) {
    switch (table_.plans_[i].kind) {
      case IndexKind::kPrimary:
        checkPrimary();
        break;
      case IndexKind::kSecondary:
        checkSecondary(i);
        break;
      case IndexKind::kOrdered:
        checkOrdered(i);
        break;
      case IndexKind::kLongest:
        checkPrefixes(i);
        break;
    }
    checkEntered(i);
  }
  checkUnits();
  acquireFence();
  if (heap_.clock() != begun_) overtaken_ = true;
}

void Check::Look::find(uint8_t owner, const char* what, Ref at) {
  if (at == kNoRef) return findings_.add({what, owner}, "%s: %s", kOwnerNames[owner], what);
  findings_.add({what, owner}, "%s: %s: %u", kOwnerNames[owner], what, at);
}

// Whether the block is the owner's alone from now on.
bool Check::Look::claim(Ref block, uint64_t bytes, uint8_t owner) {
  if (heap_.clock() != begun_) overtaken_ = true;
  if (overtaken_) return false;
  const uint64_t units = (bytes + kRefUnit - 1) / kRefUnit;
  if (units == 0) return true;
  uint8_t* const marks = marks_.find(block);
  if (marks == nullptr || block % kExtentUnits + units > kExtentUnits) {
    find(owner, "lies outside of the table's memory", block);
    return false;
  }
  const uint8_t* const taken = std::find_if(marks, marks + units, [](uint8_t mark) { return mark != kNobody; });
  if (taken != marks + units) {
    const auto over = static_cast<uint8_t>(*taken & kOwner);
    findings_.add({"lies over", owner, over}, "%s: lies over %s: %u", kOwnerNames[owner], kOwnerNames[over], block);
    return false;
  }
  std::memset(marks, owner, units);
  ++blocks_;
  return true;
}

// Whether a reference in an index is to a record that may be entered there.
bool Check::Look::enter(Ref record, uint8_t owner) {
  uint8_t* const mark = marks_.find(record);
  const bool isLive = mark != nullptr && (*mark & kLive) != 0;
  if (!isLive || (*mark & kSeen) != 0) {
    find(owner, isLive ? "entered more than once" : "not live but entered", record);
    return false;
  }
  *mark |= kSeen;
  return true;
}

void Check::Look::checkHeap() {
  surveyAs(kFree, [&](const Surveyor& free) {
    surveyAs(kResting, [&](const Surveyor& resting) {
      surveyAs(kQueue, [&](const Surveyor& queue) { heap_.survey(free, resting, queue); });
    });
  });
  if (load(state_.heap.claimed) != kNoRef)
    findings_.add({"claimed"}, "an extent is claimed, and no write is under way");
  if (load(state_.heap.owner) + 1 != owner_) findings_.add({"owner"}, "takes extents for another table");
  const uint64_t spare = load(state_.heap.spare) == kNoRef ? 0 : kExtentBytes;
  const uint64_t held = uint64_t{marks_.extents()} * kExtentBytes, said = load(state_.heap.heldBytes) + spare;
  if (held != said) {
    findings_.add({"held"}, "%llu bytes are held, and %llu counted", number(held), number(said));
  }
}

void Check::Look::checkRecords() {
  uint64_t dead = 0, free = 0;
  const auto slot = [&](Ref record, bool isLive) {
    *marks_.find(record) |= isLive ? kLive : kDead;
    ++(isLive ? live_ : dead);
  };
  const auto given = [&](Ref record) {
    const bool isDead = marks_.has(record, kDead), again = isDead && marks_.has(record, kSeen);
    if (!isDead) find(kRecords, "a free slot is live or none", record);
    if (again) find(kRecords, "twice in the list of free slots", record);
    if (!isDead || again) return false;
    *marks_.find(record) |= kSeen;
    ++free;
    return true;
  };
  surveyAs(kRecords, [&](const Surveyor& to) { records_.survey(to, slot, given); });
  if (free < dead) findings_.add({"dead"}, "records: %llu dead slots are lost", number(dead - free));
  const Tally::Reading count = state_.count.read();
  if (count.settled != live_ || marks_.has(count.underWay, kLive)) {
    findings_.add({"counted"}, "records: counted %u of %llu", count.settled, number(live_));
  }
  if (load(state_.peak) < live_) find(kRecords, "more than there ever were", kNoRef);
}

// Every live record stands in the index, but for those that tries have in order.
void Check::Look::checkEntered(size_t index) {
  const bool all = table_.plans_[index].tries == 0;
  marks_.eachExtent([&](uint8_t* marks, Ref first) {
    if ((*marks & kOwner) != kRecords) return;
    for (uint32_t unit = 0; unit < kExtentUnits; ++unit) {
      if ((marks[unit] & kLive) == 0) continue;
      const bool entered = (marks[unit] & kSeen) != 0;
      marks[unit] &= static_cast<uint8_t>(~kSeen);
      const bool must = all || table_.isOrderedApart(index, row(first + unit));
      if (entered != must) find(ownerOf(index), entered ? "entered beside the tries" : "not entered", first + unit);
    }
  });
}

void Check::Look::checkPrimary() {
  const KeyShape& shape = table_.plans_[0].shape;
  Key key;
  const auto entry = [&](Ref record, uint64_t& hash) {
    if (!enter(record, ownerOf(0))) return false;
    shape.fromRow(row(record), key);
    hash = key.hash;
    return true;
  };
  const auto same = [&](Ref a, Ref b) {
    shape.fromRow(row(a), key);
    return shape.isIn(row(b), key.bytes);
  };
  surveyAs(ownerOf(0), [&](const Surveyor& to) { table_.primary(heap_).survey(to, entry, same); });
}

void Check::Look::checkSecondary(size_t index) {
  const SecondaryIndex postings = table_.secondary(heap_, index);
  const KeyShape& shape = table_.plans_[index].shape;
  const uint8_t owner = ownerOf(index);
  const auto isKey = [&](Ref block) { return marks_.has(block, owner | kKnown); };
  uint64_t keys = 0, runs = 0;
  const auto eachKey = [&](Ref block) {
    *marks_.find(block) |= kKnown;
    ++keys;
  };
  // Postings under one key are neighbours.
  Ref under = kNoRef;
  Tally::Reading tally{};
  uint32_t records = 0;
  bool isUnderWay = false;
  Key key;
  const auto endRun = [&] {
    if (!isKey(under)) return;
    ++runs;
    if (tally.settled != records || isUnderWay) find(owner, "a key miscounts", under);
  };
  const auto eachPosting = [&](const PostingEntry& posting) {
    const bool known = isKey(posting.key);
    if (posting.key != under) {
      endRun();
      under = posting.key;
      records = 0;
      isUnderWay = false;
      if (known) {
        postings.keyOf(under, key);
        tally = postings.tally(under);
      }
    }
    ++records;
    isUnderWay = isUnderWay || posting.record == tally.underWay;
    if (!known) find(owner, "under no key", posting.record);
    if (enter(posting.record, owner) && known && !shape.isIn(row(posting.record), key.bytes)) {
      find(owner, "under another key", posting.record);
    }
  };
  surveyAs(owner, [&](const Surveyor& to) { postings.survey(to, eachKey, eachPosting); });
  endRun();
  if (runs != keys) find(owner, "keys without records", kNoRef);
}

void Check::Look::checkOrdered(size_t index) {
  const KeyShape& shape = table_.plans_[index].shape;
  const uint8_t owner = ownerOf(index);
  const auto eachEntry = [&](const OrderedEntry& entry) {
    if (!enter(entry.record, owner)) return;
    if (shape.orderedInRow(row(entry.record), entry.record) != entry) find(owner, "under another key", entry.record);
  };
  surveyAs(owner, [&](const Surveyor& to) { table_.ordered(heap_, index).survey(to, eachEntry); });
}

void Check::Look::checkPrefixes(size_t index) {
  const Table::Plan& plan = table_.plans_[index];
  const uint8_t owner = ownerOf(index);
  uint8_t leading[KeyShape::kMaxOrderedKey] = {};
  const auto eachTrie = [&](Ref trie, const uint8_t* columns) {
    *marks_.find(trie) |= kKnown;
    std::memcpy(leading, columns, sizeof leading);
  };
  const auto isTrie = [&](Ref trie) { return marks_.has(trie, owner | kKnown); };
  const auto eachRecord = [&](const Prefix& prefix, bool exact, Ref record) {
    if (!enter(record, owner)) return;
    const uint8_t* const stored = row(record);
    const Prefix own = plan.prefixIn(stored);
    if (!plan.leading.isIn(stored, leading)) find(owner, "in another trie", record);
    const bool covers = exact ? own.addr == prefix.addr : prefix.covers(own.addr);
    if (own.length != prefix.length || !covers) find(owner, "at another prefix", record);
  };
  surveyAs(owner, [&](const Surveyor& to) { table_.prefixes(heap_, index).survey(to, eachTrie, isTrie, eachRecord); });
}

Check::Look::Units Check::Look::units() const {
  Units units{};
  marks_.eachExtent([&](const uint8_t* marks, Ref) {
    for (uint32_t unit = 0; unit < kExtentUnits; ++unit) ++units[marks[unit] & kOwner];
  });
  return units;
}

void Check::Look::checkUnits() {
  uint64_t lost = 0;
  Ref place = kNoRef;
  marks_.eachExtent([&](const uint8_t* marks, Ref first) {
    for (uint32_t unit = 0; unit < kExtentUnits; ++unit) {
      if (marks[unit] == kNobody && lost++ == 0) place = first + unit;
    }
  });
  if (lost == 0) return;
  findings_.add({"lost"}, "%llu units belong to nobody, the first at %u", number(lost), place);
}

uint32_t Check::lookAt(Table& table, uint8_t owner, uint32_t* places, const Visit<bool(const Look&)>& done) {
  for (uint32_t overtakings = 0; overtakings < kMostLooks;) {
    Look look(table, owner, places);
    if (!look.valid()) return DB_ERR_NO_MEMORY;
    if (!look.isOvertaken()) look.all();
    if (look.isOvertaken()) {
      ++overtakings;
      pause();
    } else if (done(look)) {
      return 0;
    }
  }
  return DB_ERR_OVERTAKEN;
}

// A table that something is found in is looked at once more: of a write that had just ended, the last stores may not
// all have been seen.
uint32_t Check::checkTable(Table& table, uint8_t owner, uint32_t* places, const VisitFinding& visit,
                           CheckResult& result, bool& goOn) {
  const char* const name = table.layout().name.data();
  bool again = false;
  const uint32_t code = lookAt(table, owner, places, [&](const Look& look) {
    if (look.findings().count() > 0 && !std::exchange(again, true)) return false;
    ++result.checked;
    result.records += look.records();
    result.blocks += look.blocks();
    result.findings += look.findings().count();
    goOn = look.findings().tell(name, visit);
    return true;
  });
  if (code != DB_ERR_OVERTAKEN) return code;
  ++result.overtaken;
  goOn = visit(name, nullptr);
  return 0;
}

uint32_t Check::run(Store& store, const VisitFinding& visit, CheckResult& result) {
  const Arena& arena = store.arena();
  const uint64_t all = arena.reservedBytes() / kExtentBytes;
  // Of what is taken later the owner may be seen too late.
  const uint64_t taken = std::min(arena.usedBytes() / kExtentBytes, all - 1);
  auto* const places = static_cast<uint32_t*>(std::calloc(all, sizeof(uint32_t)));
  if (places == nullptr) return DB_ERR_NO_MEMORY;
  uint32_t code = 0;
  bool goOn = true;
  for (size_t i = 0; i < store.tableCount() && goOn && code == 0; ++i) {
    code = checkTable(store.table(i), static_cast<uint8_t>(i + 1), places, visit, result, goOn);
  }
  std::free(places);
  if (!goOn || code != 0) return code;

  const auto isTables = [&](Ref extent) {
    for (size_t i = 0; i < store.tableCount(); ++i) {
      if (arena.isOwn(extent, static_cast<uint8_t>(i + 1))) return true;
    }
    return false;
  };
  const uint64_t states = store.stateBytes() / kExtentBytes;
  Findings findings;
  for (uint64_t number = 1; number <= taken; ++number) {
    const auto extent = static_cast<Ref>(number * kExtentUnits);
    if (isTables(extent) != (number > states)) findings.add({"owner"}, "an extent has a wrong owner: %u", extent);
  }
  result.findings += findings.count();
  findings.tell("arena", visit);
  return 0;
}

uint32_t Check::measure(Store& store, size_t table, const VisitStructure& visit) {
  auto* const places =
      static_cast<uint32_t*>(std::calloc(store.arena().reservedBytes() / kExtentBytes, sizeof(uint32_t)));
  if (places == nullptr) return DB_ERR_NO_MEMORY;
  Look::Units units{};
  const uint32_t code = lookAt(store.table(table), static_cast<uint8_t>(table + 1), places, [&](const Look& look) {
    units = look.units();
    return true;
  });
  std::free(places);
  if (code != 0) return code;

  const auto tell = [&](const char* structure, uint32_t index, uint8_t owner) {
    return units[owner] == 0 || visit(structure, index, units[owner] * kRefUnit);
  };
  if (!tell("records", 0, kRecords)) return 0;
  const std::span<const schema::Index> indexes = store.table(table).layout().indexes;
  for (size_t i = 0; i < indexes.size(); ++i) {
    if (!tell(nameOf(indexes[i].kind), indexes[i].id(), ownerOf(i))) return 0;
  }
  if (!tell("free", 0, kFree) || !tell("resting", 0, kResting) || !tell("queue of what rests", 0, kQueue)) return 0;
  tell("lost", 0, kNobody);
  return 0;
}

}  // namespace fibdb::store
