// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/tools/tables/record_table_test.cc: the commands of a table that exists in this file alone, with every kind of
// field, keys of several columns, and functions that do as they are told.
#include "tools/fibdb/tables/record_table.h"
#include "tools/fibdb/output/output.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <set>
#include <sstream>

#include "tools/fibdb/base/failure.h"
#include "tools/fibdb/tables/record_tables.h"

namespace fibdb::program {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

struct Part {
  uint32_t word;
  uint8_t small;
};

struct Probe {
  uint16_t id;
  uint8_t mac[6];
  char name[8];
  Part part;
  uint32_t address;
  uint8_t address6[16];
  uint16_t list[3];
  uint64_t wide;
  uint8_t kind;
};

// The table, and what its functions answer instead of their work.
struct Store {
  std::vector<Probe> records;
  uint32_t code = 0;      // of every function, when not 0
  uint32_t nextCode = 0;  // of a step, when not 0
  bool walkable = true;
  size_t place = 0;
  Probe query = {};
  std::vector<std::string> calls;
};
Store store;

Probe* find(const Probe* key) {
  const auto same = [&](const Probe& p) {
    return p.id == key->id && std::memcmp(p.mac, key->mac, sizeof p.mac) == 0 && std::strcmp(p.name, key->name) == 0;
  };
  const auto found = std::find_if(store.records.begin(), store.records.end(), same);
  return found == store.records.end() ? nullptr : &*found;
}

uint32_t read(Probe* item) {
  const Probe* found = find(item);
  if (found == nullptr) return DB_ERR_NO_DATA;
  *item = *found;
  return 0;
}

uint32_t create(const Probe* item) {
  store.calls.emplace_back("create");
  if (store.code != 0) return store.code;
  if (find(item) != nullptr) return 20022;
  return store.records.push_back(*item), 0u;
}

uint32_t removeProbe(const Probe* item) {
  if (store.code != 0) return store.code;
  store.records.erase(store.records.begin() + (find(item) - store.records.data()));
  return 0;
}

uint32_t changeAll(const Probe* item) {
  store.calls.emplace_back("change");
  if (store.code != 0) return store.code;
  *find(item) = *item;
  return 0;
}

uint32_t changeWide(const Probe* item) {
  store.calls.emplace_back("change wide");
  if (store.code != 0) return store.code;
  find(item)->wide = item->wide;
  return 0;
}

void* walkAll(uint32_t) {
  store.place = 0;
  return store.walkable ? &store : nullptr;
}

void* walkQuery(const Probe* query, uint32_t property) {
  store.query = *query;
  return walkAll(property);
}

uint32_t next(void* iterator, Probe* item) {
  auto& from = *static_cast<Store*>(iterator);
  if (from.nextCode != 0) return from.nextCode;
  if (from.place == from.records.size()) return DB_ERR_ITER_END;
  *item = from.records[from.place++];
  return 0;
}

uint32_t release(void*) { return 0; }

uint32_t countProbes(uint8_t* count) {
  *count = 200;
  return store.code;
}

uint32_t countLike(const Probe* query, uint32_t* count) {
  store.query = *query;
  *count = 300;
  return store.code;
}

// Finds by id alone; a code of its own says that there is none.
constexpr uint32_t kNoSuchId = 10003;
uint32_t readById(Probe* item) {
  if (store.code != 0) return store.code;
  const auto found = std::ranges::find(store.records, item->id, &Probe::id);
  if (found == store.records.end()) return kNoSuchId;
  *item = *found;
  return 0;
}

void becomesKind7(Probe* item) { item->kind = 7; }

constexpr Field kFields[] = {
    key<&Probe::id>("id"),
    key<&Probe::mac>("mac"),
    key<&Probe::name>("short_name"),
    property<&Probe::part, &Part::word>("word", {.initial = 11}),
    property<&Probe::part, &Part::small>("small"),
    property<&Probe::address>("address", {.kind = Kind::kAddress, .goesWith = onItem<becomesKind7>}),
    property<&Probe::address6>("address6", {.kind = Kind::kAddress6}),
    property<&Probe::list>("list", {.listed = false}),
    property<&Probe::wide>("wide", {.change = onItem<changeWide>}),
    shown<&Probe::kind>("kind"),
};

constexpr Selection kSelections[] = {
    {"word small", walkOf<walkQuery, next, release>()},
    {"address", walkOf<walkQuery, next, release>()},
};

constexpr RecordTable kWhole{
    .word = "probe",
    .one = "a probe",
    .many = "probes",
    .itemSize = sizeof(Probe),
    .fields = kFields,
    .codes = kServiceCodes,
    .read = onItem<read>,
    .create = onItem<create>,
    .change = onItem<changeAll>,
    .remove = onItem<removeProbe>,
    .walk = walkOf<walkAll, next, release>(),
    .selections = kSelections,
};

RecordTable without(void (*take)(RecordTable& table)) {
  RecordTable table = kWhole;
  take(table);
  return table;
}

class RecordTableTest : public testing::Test {
 protected:
  RecordTableTest() { store = {}; }

  // The answer, or "STATUS message | advice" of the refusal. The first two words are the command's.
  std::string answer(const std::string& line, bool json = false) { return answerOf(kWhole, line, json); }
  std::string json(const std::string& line) { return answer(line, true); }

  std::string answerOf(const RecordTable& table, const std::string& line, bool json = false) {
    const std::vector<Command> commands = commandsOf(table);
    const Words words = splitWords(line);
    const std::string name = words.at(0) + ' ' + words.at(1);
    const auto command =
        std::find_if(commands.begin(), commands.end(), [&](const Command& c) { return c.words == name; });
    if (command == commands.end()) return "no such command";
    std::ostringstream answers;
    Output output(answers, answers, {}, json ? Form::kJsonLines : Form::kTable);
    Session session{output, {}};
    Arguments arguments(*command, std::span(words).subspan(2));
    try {
      command->run(session, arguments);
    } catch (const Failure& failure) {
      return std::to_string(static_cast<int>(failure.status())) + ' ' + failure.what() + " | " + failure.advice();
    }
    return answers.str();
  }

  void add(uint16_t id, const char* name, uint8_t lastOfMac = 0) {
    Probe probe{.id = id, .mac = {0, 0, 0, 0, 0, lastOfMac}};
    std::strncpy(probe.name, name, sizeof probe.name - 1);
    store.records.push_back(probe);
  }
};

std::vector<std::string> usagesOf(const RecordTable& table) {
  std::vector<std::string> usages;
  for (const Command& command : commandsOf(table)) usages.push_back(usageOf(command));
  return usages;
}

// A key whose last columns may be left out.
constexpr Field kOptionalFields[] = {
    key<&Probe::id>("id"),
    key<&Probe::address>("at", {.kind = Kind::kAddress}),
    key<&Probe::kind>("kind", {.optional = true}),
    key<&Probe::wide>("wide_key", {.optional = true}),
    property<&Probe::part, &Part::word>("word"),
};

constexpr RecordTable kOptional{
    .word = "probe",
    .one = "a probe",
    .many = "probes",
    .itemSize = sizeof(Probe),
    .fields = kOptionalFields,
    .codes = kServiceCodes,
    .read = onItem<read>,
    .create = onItem<create>,
    .remove = onItem<removeProbe>,
};

// The tables of the program. A selection that names no field would not be found out before it is used.
TEST(RecordTables, are_sound) {
  for (const RecordTable* table : recordTables()) {
    SCOPED_TRACE(table->word);
    EXPECT_NE(table->one.find(' '), std::string_view::npos) << "an article first";
    EXPECT_EQ(table->fields.empty() ? Role::kShown : table->fields[0].role, Role::kKey);
    EXPECT_TRUE(std::ranges::is_sorted(table->fields, {}, [](const Field& field) { return field.role != Role::kKey; }));
    const std::vector<const Field*> keys = fieldsOf(*table, Role::kKey);
    EXPECT_TRUE(std::ranges::is_sorted(keys, {}, &Field::optional)) << "what may be left out comes last";
    for (const Field& field : table->fields) {
      EXPECT_TRUE(!field.optional || (field.role == Role::kKey && field.layout.kind == Kind::kNumber)) << field.name;
    }
    std::set<std::string> names;
    for (const Field& field : table->fields) EXPECT_TRUE(names.emplace(field.name).second) << field.name;
    for (const Selection& selection : table->selections) {
      for (const std::string& name : splitWords(selection.fields)) EXPECT_TRUE(names.contains(name)) << name;
      EXPECT_TRUE(canBeListed(selection) || canBeCounted(selection)) << selection.fields;
    }
    EXPECT_FALSE(table->write != nullptr && table->create != nullptr);
    if (table->nexthop.empty()) continue;
    const bool wholeKey = keys.size() == 1 && keys[0]->name == table->nexthop;
    EXPECT_NE(wholeKey, std::ranges::count(table->selections, table->nexthop, &Selection::fields) == 1);
  }
}

// A command's usage is made of the fields; a command exists when its functions do.
TEST_F(RecordTableTest, usages_name_keys_and_properties_with_their_kinds) {
  EXPECT_THAT(usagesOf(kWhole),
              ElementsAre("show probe [ID MAC SHORTNAME | word N small N | address ADDRESS]",
                          "add probe ID MAC SHORTNAME [word N] [small N] [address ADDRESS] [address6 ADDRESS] "
                          "[list N,N] [wide N]",
                          "set probe ID MAC SHORTNAME [word N] [small N] [address ADDRESS] [address6 ADDRESS] "
                          "[list N,N] [wide N]",
                          "delete probe ID MAC SHORTNAME", "count probe"));
}

TEST_F(RecordTableTest, a_missing_function_takes_its_command_away) {
  EXPECT_THAT(usagesOf(without([](RecordTable& t) { t.change = nullptr; })),
              Contains("set probe ID MAC SHORTNAME [wide N]"));
  EXPECT_THAT(usagesOf(without([](RecordTable& t) { t.create = nullptr; })), Not(Contains(HasSubstr("add "))));
  EXPECT_THAT(usagesOf(without([](RecordTable& t) { t.remove = nullptr; })), Not(Contains(HasSubstr("delete "))));
  EXPECT_THAT(usagesOf(without([](RecordTable& t) { t.walk = {}; })), Not(Contains("count probe")));
  const RecordTable writeOnly = without([](RecordTable& t) {
    t.read = nullptr;
    t.walk = {};
  });
  EXPECT_THAT(usagesOf(writeOnly), ElementsAre(HasSubstr("add probe"), HasSubstr("delete probe")));
  const RecordTable walkOnly = without([](RecordTable& t) {
    t.read = nullptr;
    t.selections = {};
  });
  EXPECT_EQ(usagesOf(walkOnly).front(), "show probe");
}

TEST_F(RecordTableTest, keys_that_may_be_left_out_are_0) {
  EXPECT_THAT(usagesOf(kOptional), Contains("add probe ID AT [KIND] [WIDEKEY] [word N]"));
  EXPECT_EQ(answerOf(kOptional, "add probe 1 10.0.0.1"), "added probe 1 10.0.0.1\n");
  EXPECT_EQ(answerOf(kOptional, "add probe 2 10.0.0.1 0 7 word 9"), "added probe 2 10.0.0.1 0 7\n");
  EXPECT_EQ(answerOf(kOptional, "add probe 3 10.0.0.1 5 word 9"), "added probe 3 10.0.0.1 5\n");
  EXPECT_EQ(store.records[0].kind, 0);
  EXPECT_EQ(store.records[1].wide, 7u);
  EXPECT_EQ(store.records[1].part.word, 9u);
  EXPECT_EQ(store.records[2].kind, 5);
  EXPECT_THAT(answerOf(kOptional, "show probe 3 10.0.0.1 5"), HasSubstr("word      9"));
  EXPECT_EQ(answerOf(kOptional, "delete probe 1 10.0.0.1"), "deleted probe 1 10.0.0.1\n");
}

TEST_F(RecordTableTest, words_that_are_neither_key_nor_property_are_refused_as_what_they_look_like) {
  EXPECT_THAT(answerOf(kOptional, "add probe 1 10.0.0.1 256"), HasSubstr("kind: \"256\" is not a number up to 255"));
  EXPECT_THAT(answerOf(kOptional, "add probe 1 10.0.0.1 wrod 5"), HasSubstr("did you mean \"word\"?"));
  EXPECT_THAT(answerOf(kOptional, "add probe 1 10.0.0.1 1 2 3"), HasSubstr("unknown word \"3\""));
  EXPECT_THAT(answerOf(kOptional, "show probe 1 10.0.0.1 x"), HasSubstr("unexpected word \"x\""));
  EXPECT_THAT(answerOf(kOptional, "show probe 1"), HasSubstr("at is missing"));
}

TEST_F(RecordTableTest, a_table_that_cannot_be_read_is_listed_but_not_looked_into) {
  const RecordTable walkOnly = without([](RecordTable& t) { t.read = nullptr; });
  add(1, "a");
  EXPECT_THAT(answerOf(walkOnly, "show probe"), HasSubstr("\n 1  0    a"));
  EXPECT_THAT(answerOf(walkOnly, "show probe 1 0 a"), HasSubstr("2 unknown word \"1\""));
  EXPECT_EQ(answerOf(walkOnly, "delete probe 1 0 a"), "deleted probe 1 0 a\n");
}

TEST_F(RecordTableTest, every_kind_of_field_is_taken_and_shown) {
  EXPECT_EQ(answer("add probe 7 0a0b0c0d0e0f eth0 word 0xff small 255 address 10.1.2.3 address6 2001:db8::1 "
                   "list 1,2,65535 wide 18446744073709551615"),
            "added probe 7 0a0b0c0d0e0f eth0\n");
  ASSERT_EQ(store.records.size(), 1u);
  EXPECT_EQ(store.records[0].mac[5], 0x0f);
  EXPECT_EQ(store.records[0].address, 0x0A010203u);
  EXPECT_EQ(store.records[0].address6[1], 0x01);
  EXPECT_EQ(store.records[0].address6[15], 1);
  EXPECT_EQ(answer("show probe 7 0a0b0c0d0e0f eth0"),
            "probe 7 0a0b0c0d0e0f eth0\n"
            "  id          7\n"
            "  mac         0a0b0c0d0e0f\n"
            "  short name  eth0\n"
            "  word        255\n"
            "  small       255\n"
            "  address     10.1.2.3\n"
            "  address6    2001:db8::1\n"
            "  list        1,2,65535\n"
            "  wide        18446744073709551615\n"
            "  kind        7\n");
}

TEST(StoreAt, a_shorter_text_leaves_nothing_of_a_longer_one) {
  char name[8] = {};
  const Layout layout{Kind::kText, 1, sizeof name};
  EXPECT_EQ(storeAt(name, layout, "longer"), "");
  EXPECT_EQ(storeAt(name, layout, "ab"), "");
  EXPECT_EQ(std::string(name, sizeof name), std::string("ab\0\0\0\0\0\0", sizeof name));
}

TEST_F(RecordTableTest, answers_in_json_have_the_key_and_what_was_done) {
  EXPECT_EQ(json("add probe 7 0 eth0"), "{\"id\":7,\"mac\":\"0\",\"short_name\":\"eth0\",\"replaced\":false}\n");
  EXPECT_EQ(json("set probe 7 0 eth0 small 3 address 1.2.3.4"),
            "{\"id\":7,\"mac\":\"0\",\"short_name\":\"eth0\",\"small\":3,\"address\":\"1.2.3.4\"}\n");
  EXPECT_EQ(json("count probe"), "{\"table\":\"probe\",\"records\":1}\n");
  EXPECT_THAT(json("show probe 7 0 eth0"), HasSubstr("\"address6\":\"::\",\"list\":\"0,0,0\""));
  EXPECT_EQ(json("delete probe 7 0 eth0"), "{\"id\":7,\"mac\":\"0\",\"short_name\":\"eth0\",\"deleted\":true}\n");
}

TEST_F(RecordTableTest, what_is_not_given_has_its_initial_value) {
  answer("add probe 1 0 a");
  EXPECT_EQ(store.records.at(0).part.word, 11u);
  EXPECT_EQ(store.records.at(0).wide, 0u);
  EXPECT_EQ(store.records.at(0).kind, 0);
}

// What does not fit its field is named, with the range; nothing is called.
TEST_F(RecordTableTest, values_beyond_their_field_are_refused_with_the_range) {
  const auto fault = [&](const std::string& words) {
    const std::string text = answer("add probe " + words);
    return text.substr(0, text.find(" | "));
  };
  EXPECT_EQ(fault("65536 0 a"), "2 id: \"65536\" is not a number up to 65535");
  EXPECT_EQ(fault("1 0 a small 256"), "2 small: \"256\" is not a number up to 255");
  EXPECT_EQ(fault("1 0 a word 4294967296"), "2 word: \"4294967296\" is not a number up to 4294967295");
  EXPECT_EQ(fault("1 0 a wide 18446744073709551616"),
            "2 wide: \"18446744073709551616\" is not a number up to 18446744073709551615");
  EXPECT_EQ(fault("1 0 a wide -1"), "2 wide: \"-1\" is not a number up to 18446744073709551615");
  EXPECT_EQ(fault("1 0 a wide 1,2"), "2 wide: \"1,2\" is more than a number");
  EXPECT_EQ(fault("1 0 a list 1,65536"), "2 list: \"65536\" is not a number up to 65535");
  EXPECT_EQ(fault("1 0 a list 1,2,3,4"), "2 list: \"1,2,3,4\" is more than 3 numbers");
  EXPECT_EQ(fault("1 0 a list 1,"), "2 list: \"\" is not a number up to 65535");
  EXPECT_EQ(fault("1 0a0b0c0d0e a"), "2 mac: \"0a0b0c0d0e\" is not 12 hexadecimal digits, nor 0");
  EXPECT_EQ(fault("1 0a0b0c0d0e0g a"), "2 mac: \"0a0b0c0d0e0g\" is not 12 hexadecimal digits, nor 0");
  EXPECT_EQ(fault("1 0 eightchr"), "2 short name: \"eightchr\" is longer than 7 characters");
  EXPECT_EQ(fault("1 0 a address 10.0.0.256"), "2 address: \"10.0.0.256\" is not an IPv4 address");
  EXPECT_EQ(fault("1 0 a address6 1::2::3"), "2 address6: \"1::2::3\" is not an IPv6 address");
  EXPECT_THAT(store.calls, IsEmpty());
  EXPECT_EQ(answer("add probe 65535 0 sevench small 255 list 9"), "added probe 65535 0 sevench\n");
}

TEST_F(RecordTableTest, missing_and_unknown_words_are_usage) {
  const std::string usage = " | usage: delete probe ID MAC SHORTNAME";
  EXPECT_EQ(answer("delete probe"), "2 id is missing" + usage);
  EXPECT_EQ(answer("delete probe 1 0"), "2 short name is missing" + usage);
  EXPECT_EQ(answer("delete probe 1 0 a b"), "2 unexpected word \"b\"" + usage);
  EXPECT_THAT(answer("add probe 1 0 a smal"), HasSubstr("2 a value for small is missing"));
  EXPECT_THAT(answer("add probe 1 0 a adress 1"), HasSubstr("2 unknown word \"adress\" | did you mean \"address\"?"));
  EXPECT_THAT(answer("add probe 1 0 a kind 1"), HasSubstr("2 unknown word \"kind\""));
  EXPECT_THAT(answer("set probe 1 0 a"), HasSubstr("2 one of word, small, address, address6, list, wide is missing"));
}

// Changes: the record's other fields stay, and each change is made by the function that its cell names.
TEST_F(RecordTableTest, set_changes_what_is_given_and_keeps_the_rest) {
  answer("add probe 1 0 a word 5 small 6 wide 7");
  store.calls.clear();
  EXPECT_EQ(answer("set probe 1 0 a small 60 address 1.1.1.1"), "changed probe 1 0 a\n");
  EXPECT_EQ(store.records[0].part.word, 5u);
  EXPECT_EQ(store.records[0].part.small, 60);
  EXPECT_EQ(store.records[0].address, 0x01010101u);
  EXPECT_EQ(store.records[0].kind, 7);
  EXPECT_EQ(store.records[0].wide, 7u);
  EXPECT_THAT(store.calls, ElementsAre("change"));
}

TEST_F(RecordTableTest, set_uses_the_fields_own_function_where_there_is_one) {
  add(1, "a");
  answer("set probe 1 0 a wide 8");
  EXPECT_THAT(store.calls, ElementsAre("change wide"));
  store.calls.clear();
  answer("set probe 1 0 a wide 9 small 1 word 2 wide 10");
  EXPECT_THAT(store.calls, ElementsAre("change", "change wide"));
  EXPECT_EQ(store.records[0].wide, 10u);
}

TEST_F(RecordTableTest, set_of_a_field_that_nothing_changes_is_refused) {
  add(1, "a");
  const RecordTable fixed = without([](RecordTable& t) { t.change = nullptr; });
  EXPECT_EQ(answerOf(fixed, "set probe 1 0 a wide 1 word 2"),
            "2 word of a probe cannot be changed | delete it and add it again\n"
            "usage: set probe ID MAC SHORTNAME [wide N]");
  EXPECT_THAT(store.calls, IsEmpty());
}

TEST_F(RecordTableTest, refusals_say_which_record_and_why) {
  EXPECT_EQ(answer("show probe 1 0 a"), "1 no probe 1 0 a | ");
  EXPECT_EQ(answer("set probe 1 0 a wide 1"), "1 no probe 1 0 a | ");
  EXPECT_EQ(answer("delete probe 1 0 a"), "1 no probe 1 0 a | ");
  add(1, "a");
  EXPECT_EQ(answer("add probe 1 0 a"), "1 probe 1 0 a: a record with this primary key exists (code 20022) | ");
  store.code = 1;
  EXPECT_EQ(answer("add probe 2 0 a"), "1 probe 2 0 a refused: the library refused it (code 1) | ");
  EXPECT_EQ(answer("set probe 1 0 a word 1"), "1 probe 1 0 a refused: the library refused it (code 1) | ");
  EXPECT_EQ(answer("set probe 1 0 a wide 1"), "1 wide of probe 1 0 a refused: the library refused it (code 1) | ");
  EXPECT_EQ(answer("delete probe 1 0 a"), "1 probe 1 0 a: the library refused it (code 1) | ");
  store.code = DB_ERR_NO_DATA;  // it vanished between the reading and the change
  EXPECT_EQ(answer("set probe 1 0 a word 1"), "1 no probe 1 0 a | ");
}

TEST_F(RecordTableTest, a_table_that_replaces_says_so) {
  const RecordTable replacing = without([](RecordTable& t) {
    t.create = nullptr;
    t.write = onItem<changeAll>;
  });
  add(1, "a");
  EXPECT_EQ(answerOf(replacing, "add probe 1 0 a word 4"), "replaced probe 1 0 a\n");
  EXPECT_EQ(store.records[0].part.word, 4u);
}

// Lists: by the key, column after column.
TEST_F(RecordTableTest, lists_are_in_key_order_and_leave_long_fields_out) {
  add(2, "b");
  add(10, "a");
  add(2, "a", 1);
  add(2, "a");
  EXPECT_EQ(answer("show probe"),
            "id  mac           short name  word  small  address  address6  wide  kind\n"
            " 2  0             a              0      0  0.0.0.0  ::           0     0\n"
            " 2  0             b              0      0  0.0.0.0  ::           0     0\n"
            " 2  000000000001  a              0      0  0.0.0.0  ::           0     0\n"
            "10  0             a              0      0  0.0.0.0  ::           0     0\n");
}

TEST_F(RecordTableTest, an_index_is_chosen_by_the_fields_that_it_asks_for) {
  EXPECT_EQ(answer("show probe small 3 word 4"), "no probes\n");
  EXPECT_EQ(store.query.part.word, 4u);
  EXPECT_EQ(store.query.part.small, 3);
  EXPECT_EQ(answer("show probe addr 1.2.3.4"), "no probes\n");
  EXPECT_EQ(store.query.address, 0x01020304u);
  EXPECT_THAT(answer("show probe word 4"), HasSubstr("2 no index serves these words together | usage: show probe ["));
  EXPECT_THAT(answer("show probe wrod 4 small 3"), HasSubstr("did you mean \"word\"?"));
}

TEST_F(RecordTableTest, iterations_that_fail_are_refused) {
  add(1, "a");
  store.nextCode = 1;
  EXPECT_EQ(answer("show probe"), "1 iterating the probes: the library refused it (code 1) | ");
  EXPECT_EQ(answer("count probe"), "1 iterating the probes: the library refused it (code 1) | ");
  store.walkable = false;
  EXPECT_EQ(answer("show probe"), "1 the probes cannot be iterated | ");
}

TEST_F(RecordTableTest, records_are_counted_by_the_tables_function_or_one_by_one) {
  add(1, "a");
  add(2, "a");
  EXPECT_EQ(answer("count probe"), "2\n");
  const RecordTable counting = without([](RecordTable& t) { t.count = countOf<countProbes>; });
  EXPECT_EQ(answerOf(counting, "count probe"), "200\n");
  store.code = 7;
  EXPECT_THAT(answerOf(counting, "count probe"), HasSubstr("1 counting the probes: "));
}

TEST_F(RecordTableTest, a_table_shows_one_record_in_its_own_way_where_it_has_one) {
  const RecordTable viewed = without([](RecordTable& t) {
    t.view = {[](Session& session, const void* key) {
                session.output.result("seen " + std::to_string(static_cast<const Probe*>(key)->id), {});
              },
              "In its own way."};
  });
  add(1, "a");
  EXPECT_EQ(answerOf(viewed, "show probe 7 0 a"), "seen 7\n") << "stored or not";
  EXPECT_THAT(answerOf(viewed, "show probe 7 0 a b"), HasSubstr("2 unexpected word \"b\""));
  EXPECT_THAT(answerOf(viewed, "show probe"), HasSubstr("\n 1  0    a"));
  EXPECT_EQ(commandsOf(viewed).front().details, "In its own way.");
}

// What is found at once is handed out one by one; what is looked for and not found is no failure.
std::optional<std::vector<Probe>> findAll(const Probe* query) {
  store.query = *query;
  return store.walkable ? std::optional(store.records) : std::nullopt;
}
constexpr Selection kFoundSelections[] = {{"word", foundWith<findAll, DB_ERR_ITER_END>()}};

TEST_F(RecordTableTest, records_that_are_found_at_once_are_listed_like_others) {
  const RecordTable finding = without([](RecordTable& t) { t.selections = kFoundSelections; });
  EXPECT_EQ(answerOf(finding, "show probe word 9"), "no probes\n");
  EXPECT_EQ(store.query.part.word, 9u);
  add(2, "b");
  add(1, "a");
  EXPECT_THAT(answerOf(finding, "show probe word 9"), HasSubstr("\n 1  0    a"));
  EXPECT_THAT(answerOf(finding, "show probe word 9"), HasSubstr("\n 2  0    b"));
  store.walkable = false;
  EXPECT_EQ(answerOf(finding, "show probe word 9"), "1 the probes cannot be iterated | ");
}

TEST_F(RecordTableTest, records_by_fields_are_those_of_an_index_or_of_the_whole_key) {
  add(2, "b");
  add(1, "a");
  Record query(kWhole);
  query.as<Probe>().id = 2;
  std::strcpy(query.as<Probe>().name, "b");
  const auto byIndex = recordsBy(kWhole, "word small", query);
  ASSERT_EQ(byIndex.size(), 2u);
  EXPECT_EQ(byIndex[0].as<Probe>().id, 1) << "in the order of the key";
  EXPECT_EQ(store.query.id, 2);
  store.query = {};
  const auto byKey = recordsBy(kWhole, "id mac short_name", query);
  ASSERT_EQ(byKey.size(), 1u);
  EXPECT_EQ(byKey[0].as<Probe>().id, 2);
  EXPECT_EQ(store.query.id, 0) << "no index was asked";
  query.as<Probe>().id = 3;
  EXPECT_THAT(recordsBy(kWhole, "id mac short_name", query), IsEmpty());
  store.nextCode = 1;
  EXPECT_THROW(recordsBy(kWhole, "word small", query), Failure) << "failing is not finding nothing";
}

TEST_F(RecordTableTest, a_line_has_the_key_and_what_is_listed_and_not_zero) {
  Probe probe{.id = 7, .mac = {}};
  EXPECT_EQ(lineOf(kWhole, &probe), "probe 7 0 ");
  probe.name[0] = 'a';
  probe.part.small = 3;
  probe.address = 0x0A000001;
  probe.list[0] = 9;
  probe.kind = 1;
  EXPECT_EQ(lineOf(kWhole, &probe), "probe 7 0 a, small 3, address 10.0.0.1, kind 1");
}

// Selections that are only counted, or that one read serves.
constexpr Selection kCounted[] = {{"word small", {}, countUnder<countLike>}};
constexpr Selection kRead[] = {{"id", walkTo<readById, Codes{kNoSuchId, DB_ERR_ITER_END}>()}};

TEST_F(RecordTableTest, records_are_counted_by_the_fields_that_an_index_asks_for) {
  RecordTable table = without([](RecordTable& t) { t.selections = kCounted; });
  EXPECT_THAT(usagesOf(table), Contains("count probe [word N small N]"));
  EXPECT_EQ(answerOf(table, "count probe small 3 word 4"), "300\n");
  EXPECT_EQ(store.query.part.word, 4u);
  EXPECT_EQ(store.query.part.small, 3);
  EXPECT_EQ(answerOf(table, "count probe"), "0\n");
  EXPECT_THAT(answerOf(table, "count probe word 4"), HasSubstr("2 no index serves these words together | usage: "));
  store.code = 7;
  EXPECT_THAT(answerOf(table, "count probe small 3 word 4"), HasSubstr("1 counting the probes: "));
  table.walk = {};
  EXPECT_THAT(usagesOf(table), Contains("count probe word N small N"));
  EXPECT_THAT(answerOf(table, "count probe"), HasSubstr("usage: count probe word N small N"));
}

TEST_F(RecordTableTest, what_can_only_be_counted_is_not_listed) {
  const RecordTable table = without([](RecordTable& t) { t.selections = kCounted; });
  EXPECT_EQ(usagesOf(table).front(), "show probe [ID MAC SHORTNAME]");
  EXPECT_THAT(answerOf(table, "show probe word 4 small 3"), HasSubstr("2 id: \"word\" is not a number"));
}

TEST_F(RecordTableTest, a_read_by_other_than_the_key_lists_what_it_finds) {
  const RecordTable table = without([](RecordTable& t) { t.selections = kRead; });
  add(1, "a");
  add(2, "b");
  EXPECT_THAT(answerOf(table, "show probe id 2"), HasSubstr("\n 2  0    b  "));
  EXPECT_EQ(answerOf(table, "show probe id 3"), "no probes\n");
  store.code = 7;
  EXPECT_THAT(answerOf(table, "show probe id 2"), HasSubstr("1 iterating the probes: "));
}

TEST_F(RecordTableTest, help_says_what_is_taken_for_granted) {
  const auto details = [](const RecordTable& table, std::string_view words) -> std::string {
    for (const Command& command : commandsOf(table)) {
      if (command.words == words) return std::string(command.details);
    }
    return "no such command";
  };
  const RecordTable kept = without([](RecordTable& t) { t.details = "Nobody adds them."; });
  EXPECT_THAT(details(kept, "add probe"), testing::EndsWith("\nNobody adds them."));
  EXPECT_EQ(details(kept, "show probe"), "");
  EXPECT_EQ(details(without([](RecordTable& t) {
                      t.details = "Nobody adds them.";
                      t.create = nullptr;
                    }),
                    "show probe"),
            "Nobody adds them.");
  EXPECT_EQ(details(kWhole, "add probe"),
            "Numbers are decimal, or hexadecimal after 0x. What is not given is 0; word is 11.\n"
            "One that exists is refused, not replaced: delete it first.");
  EXPECT_EQ(details(kWhole, "set probe"), "Numbers are decimal, or hexadecimal after 0x. What is not given stays.");
}

}  // namespace
}  // namespace fibdb::program
