// tools/fibdb/tables/nexthop.cc: show, add and delete next hops.
#include "tools/fibdb/tables/nexthop.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "tools/fibdb/base/interrupt.h"
#include "tools/fibdb/routes/routes.h"
#include "tools/fibdb/shell/command.h"

namespace fibdb::program {
namespace {

// A property of a next hop: the word that sets it, which is also its name in answers.
struct Property {
  std::string_view word;
  uint64_t most;
  uint64_t (*get)(const FibDbNhpItem& item);
  void (*set)(FibDbNhpItem& item, uint64_t value);
};

template <auto kMember>
constexpr Property propertyOf(std::string_view word) {
  using Field = std::remove_reference_t<decltype(std::declval<FibDbNhpItem&>().*kMember)>;
  return {word, static_cast<Field>(~Field{0}), [](const FibDbNhpItem& item) -> uint64_t { return item.*kMember; },
          [](FibDbNhpItem& item, uint64_t value) { item.*kMember = static_cast<Field>(value); }};
}

constexpr Property kProperties[] = {
    propertyOf<&FibDbNhpItem::vr_id>("vr"),
    propertyOf<&FibDbNhpItem::vrf_index>("vrf"),
    propertyOf<&FibDbNhpItem::origin_nhp>("origin"),
    propertyOf<&FibDbNhpItem::nhp_num>("num"),
    propertyOf<&FibDbNhpItem::nhp_flag>("flag"),
    propertyOf<&FibDbNhpItem::ref_cnt>("refs"),
    propertyOf<&FibDbNhpItem::flags>("flags"),
    propertyOf<&FibDbNhpItem::iid_flags>("iid_flags"),
    propertyOf<&FibDbNhpItem::app_source_id>("source"),
    propertyOf<&FibDbNhpItem::table_smooth_id>("smooth"),
    propertyOf<&FibDbNhpItem::app_obj_id>("object"),
    propertyOf<&FibDbNhpItem::app_version>("version"),
};

constexpr auto propertyWords() {
  std::array<std::string_view, std::size(kProperties)> words{};
  for (size_t i = 0; i < words.size(); ++i) words[i] = kProperties[i].word;
  return words;
}

class NexthopIterator {
 public:
  NexthopIterator() : handle_(FIB_DB_CreateNhpIterator(FIB_DB_NO_PROPERTY)) {
    if (handle_ == nullptr) throw Failure(Status::kFailed, "the next hops cannot be iterated");
  }
  ~NexthopIterator() { FIB_DB_ReleaseNhpIterator(handle_); }
  NexthopIterator(const NexthopIterator&) = delete;
  NexthopIterator& operator=(const NexthopIterator&) = delete;

  const FibDbNhpItem* next() {
    checkInterrupt();
    const uint32_t status = FIB_DB_GetNextNhpEntry(handle_, &item_);
    if (status == FIB_DB_NOT_FOUND) return nullptr;
    if (status != FIB_DB_OK) throw Failure(Status::kFailed, "iterating the next hops: " + codeText(status));
    return &item_;
  }

 private:
  FibDbIterator* handle_;
  FibDbNhpItem item_{};
};

Status showAll(Session& session) {
  std::vector<FibDbNhpItem> items;
  NexthopIterator nexthops;
  while (const FibDbNhpItem* item = nexthops.next()) items.push_back(*item);
  std::sort(items.begin(), items.end(), [](auto& a, auto& b) { return a.nhp_index < b.nhp_index; });
  ListHead head{"next hops", {{"index"}}};
  for (const Property& property : kProperties) head.columns.push_back({std::string(property.word)});
  session.output.beginList(std::move(head));
  for (const FibDbNhpItem& item : items) {
    std::vector<Value> row;
    for (Fact& fact : nexthopFacts(item)) row.push_back(std::move(fact.value));
    session.output.row(std::move(row));
  }
  session.output.endList();
  return Status::kOk;
}

uint32_t takeIndex(Arguments& arguments) {
  return static_cast<uint32_t>(arguments.number("a next-hop index", UINT32_MAX));
}

[[noreturn]] void failMissing(uint32_t index) {
  throw Failure(Status::kFailed, "no next hop " + std::to_string(index));
}

Status showNexthop(Session& session, Arguments& arguments) {
  if (arguments.empty()) return showAll(session);
  const uint32_t index = takeIndex(arguments);
  arguments.end();
  const auto item = readNexthop(index);
  if (!item) failMissing(index);
  session.output.record("next hop " + std::to_string(index), nexthopFacts(*item));
  return Status::kOk;
}

Status addNexthop(Session& session, Arguments& arguments) {
  static constexpr auto kWords = propertyWords();
  FibDbNhpItem item{};
  item.nhp_index = takeIndex(arguments);
  item.nhp_num = 1;
  while (!arguments.empty()) {
    const Property& property = kProperties[arguments.keyword(kWords)];
    property.set(item, arguments.number("a value for " + std::string(property.word), property.most));
  }
  const bool replaced = readNexthop(item.nhp_index).has_value();
  writeNexthop(item);
  session.output.result((replaced ? "replaced next hop " : "added next hop ") + std::to_string(item.nhp_index),
                        {{"index", uint64_t{item.nhp_index}}, {"replaced", replaced}});
  return Status::kOk;
}

Status deleteNexthop(Session& session, Arguments& arguments) {
  FibDbNhpItem item{};
  item.nhp_index = takeIndex(arguments);
  arguments.end();
  // A removal of nothing would be counted as a failure of the table.
  if (!readNexthop(item.nhp_index)) failMissing(item.nhp_index);
  const uint32_t status = FIB_DB_RemoveNhp(&item);
  if (status != FIB_DB_OK) {
    throw Failure(Status::kFailed, "next hop " + std::to_string(item.nhp_index) + ": " + codeText(status));
  }
  session.output.result("deleted next hop " + std::to_string(item.nhp_index), {{"deleted", uint64_t{item.nhp_index}}});
  return Status::kOk;
}

constexpr Command kCommands[] = {
    {"show nexthop", "[INDEX]", "one next hop, or all of them in order", "", showNexthop},
    {"add nexthop",
     "INDEX [vr N] [vrf N] [origin N] [num N] [flag N] [refs N] [flags N] [iid_flags N] [source N] [smooth "
     "N] "
     "[object N] [version N]",
     "add a next hop, or replace it", "Numbers are decimal, or hexadecimal after 0x. What is not given is 0; num is 1.",
     addNexthop},
    {"delete nexthop", "INDEX", "delete a next hop", "", deleteNexthop},
};

}  // namespace

std::span<const Command> nexthopCommands() { return kCommands; }

std::optional<FibDbNhpItem> readNexthop(uint32_t index) {
  FibDbNhpItem item{};
  item.nhp_index = index;
  const uint32_t status = FIB_DB_ReadNhp(&item);
  if (status == FIB_DB_NOT_FOUND) return std::nullopt;
  if (status != FIB_DB_OK) {
    throw Failure(Status::kFailed, "reading next hop " + std::to_string(index) + ": " + codeText(status));
  }
  return item;
}

void writeNexthop(const FibDbNhpItem& item) {
  const uint32_t status = FIB_DB_WriteNhp(&item);
  if (status == FIB_DB_OK) return;
  throw Failure(Status::kFailed, "next hop " + std::to_string(item.nhp_index) + " refused: " + codeText(status));
}

std::vector<Fact> nexthopFacts(const FibDbNhpItem& item) {
  std::vector<Fact> facts{{"index", uint64_t{item.nhp_index}}};
  for (const Property& property : kProperties) facts.push_back({std::string(property.word), property.get(item)});
  return facts;
}

}  // namespace fibdb::program
