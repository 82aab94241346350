// tools/fibdb/tables/ar_group.cc: show, add and delete AR group attributes, through the table service.
#include <array>

#include "fibdb/fibdb.h"
#include "tools/fibdb/base/interrupt.h"
#include "tools/fibdb/routes/routes.h"
#include "tools/fibdb/shell/command.h"

namespace fibdb::program {
namespace {

// Any origin type that is not FIB_DB_AR_ORIGIN_ORIGINATOR means: known by its AS number.
constexpr uint8_t kOriginAsn = 2;
static_assert(kOriginAsn != FIB_DB_AR_ORIGIN_ORIGINATOR);

constexpr std::array<std::string_view, 5> kAttributeWords{"originator", "asn", "smooth", "attr1", "attr2"};

uint32_t takeWord(Arguments& arguments, std::string_view what) {
  return static_cast<uint32_t>(arguments.number(what, UINT32_MAX));
}

FibDbArGroupAttrItem takeKey(Arguments& arguments) {
  FibDbArGroupAttrItem item{};
  item.keyWord1 = takeWord(arguments, "the first key word");
  item.keyWord2 = takeWord(arguments, "the second key word");
  item.keyByte = static_cast<uint8_t>(arguments.number("the key byte", UINT8_MAX));
  item.groupType = FIB_DB_AR_GROUP_TYPE;
  return item;
}

void takeAttribute(Arguments& arguments, FibDbArGroupAttrItem& item) {
  const size_t which = arguments.keyword(kAttributeWords);
  const uint32_t value = takeWord(arguments, "a value for " + std::string(kAttributeWords[which]));
  switch (which) {
    case 0:
      item.originType = FIB_DB_AR_ORIGIN_ORIGINATOR;
      item.originatorId = value;
      break;
    case 1:
      item.originType = kOriginAsn;
      item.originAsn = value;
      break;
    case 2:
      item.smoothId = value;
      break;
    case 3:
      item.attrWord1 = value;
      break;
    default:
      item.attrWord2 = value;
      break;
  }
}

std::string keyText(const FibDbArGroupAttrItem& item) {
  return "AR group " + std::to_string(item.keyWord1) + ' ' + std::to_string(item.keyWord2) + ' ' +
         std::to_string(item.keyByte);
}

std::vector<Fact> factsOf(const FibDbArGroupAttrItem& item) {
  return {{"key1", uint64_t{item.keyWord1}},           {"key2", uint64_t{item.keyWord2}},
          {"key_byte", uint64_t{item.keyByte}},        {"origin_type", uint64_t{item.originType}},
          {"originator", uint64_t{item.originatorId}}, {"asn", uint64_t{item.originAsn}},
          {"group_type", uint64_t{item.groupType}},    {"smooth", uint64_t{item.smoothId}},
          {"attr1", uint64_t{item.attrWord1}},         {"attr2", uint64_t{item.attrWord2}}};
}

void require(const FibDbArGroupAttrItem& item, uint32_t code) {
  if (code == FIB_DB_OK) return;
  if (code == DB_ERR_NO_DATA) throw Failure(Status::kFailed, "no " + keyText(item));
  throw Failure(Status::kFailed, keyText(item) + ": " + codeText(code));
}

class GroupIterator {
 public:
  // Of all groups, or of those with the origin of *origin.
  explicit GroupIterator(const FibDbArGroupAttrItem* origin)
      : handle_(origin == nullptr ? FIB_DB_CreateArGroupAttrIterator(FIB_DB_NO_PROPERTY)
                                  : FIB_DB_CreateArGroupAttrIteratorByOriginValue(origin, FIB_DB_NO_PROPERTY)) {
    if (handle_ == nullptr) throw Failure(Status::kFailed, "the AR groups cannot be iterated");
  }
  ~GroupIterator() { FIB_DB_ReleaseArGroupAttrIterator(handle_); }
  GroupIterator(const GroupIterator&) = delete;
  GroupIterator& operator=(const GroupIterator&) = delete;

  const FibDbArGroupAttrItem* next() {
    checkInterrupt();
    const uint32_t code = FIB_DB_GetNextArGroupAttrEntry(handle_, &item_);
    if (code == DB_ERR_ITER_END) return nullptr;
    if (code != FIB_DB_OK) throw Failure(Status::kFailed, "iterating the AR groups: " + codeText(code));
    return &item_;
  }

 private:
  void* handle_;
  FibDbArGroupAttrItem item_{};
};

Status showGroups(Session& session, const FibDbArGroupAttrItem* origin) {
  ListHead head{"AR groups", {}};
  for (Fact& fact : factsOf({})) head.columns.push_back({std::move(fact.name)});
  GroupIterator groups(origin);
  session.output.beginList(std::move(head));
  while (const FibDbArGroupAttrItem* item = groups.next()) {
    std::vector<Value> row;
    for (Fact& fact : factsOf(*item)) row.push_back(std::move(fact.value));
    session.output.row(std::move(row));
  }
  session.output.endList();
  return Status::kOk;
}

Status showArGroup(Session& session, Arguments& arguments) {
  if (arguments.empty()) return showGroups(session, nullptr);
  Arguments peek = arguments;
  const bool byKey = parseNumber(peek.word("a key")).has_value();
  if (!byKey) {
    FibDbArGroupAttrItem origin{};
    if (arguments.keyword(std::span(kAttributeWords).first(2)) == 0) {
      origin.originType = FIB_DB_AR_ORIGIN_ORIGINATOR;
      origin.originatorId = takeWord(arguments, "an originator id");
    } else {
      origin.originType = kOriginAsn;
      origin.originAsn = takeWord(arguments, "an AS number");
    }
    arguments.end();
    return showGroups(session, &origin);
  }
  FibDbArGroupAttrItem item = takeKey(arguments);
  arguments.end();
  require(item, FIB_DB_ReadArGroupAttr(&item));
  session.output.record(keyText(item), factsOf(item));
  return Status::kOk;
}

Status addArGroup(Session& session, Arguments& arguments) {
  FibDbArGroupAttrItem item = takeKey(arguments);
  while (!arguments.empty()) takeAttribute(arguments, item);
  require(item, FIB_DB_CreateArGroupAttr(&item));
  session.output.result("added " + keyText(item), factsOf(item));
  return Status::kOk;
}

Status deleteArGroup(Session& session, Arguments& arguments) {
  const FibDbArGroupAttrItem item = takeKey(arguments);
  arguments.end();
  require(item, FIB_DB_DeleteArGroupAttr(&item));
  session.output.result("deleted " + keyText(item), {{"deleted", keyText(item)}});
  return Status::kOk;
}

constexpr Command kCommands[] = {
    {"show ar-group", "[KEY1 KEY2 KEYBYTE | originator N | asn N]", "one AR group, those of an origin, or all", "",
     showArGroup},
    {"add ar-group", "KEY1 KEY2 KEYBYTE [originator N | asn N] [smooth N] [attr1 N] [attr2 N]", "add an AR group",
     "A group that exists is refused, not replaced: delete it first.", addArGroup},
    {"delete ar-group", "KEY1 KEY2 KEYBYTE", "delete an AR group", "", deleteArGroup},
};

}  // namespace

std::span<const Command> arGroupCommands() { return kCommands; }

}  // namespace fibdb::program
