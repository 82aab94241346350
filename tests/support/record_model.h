// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/record_model.h: any table that the program describes, beside a plain model: a map from keys to records.
//
// A step takes its decisions from an input (input.h), calls the table's exported functions, and compares what they say
// with the map. Keys are few, so that they meet again.
#ifndef FIBDB_TESTS_SUPPORT_RECORD_MODEL_H
#define FIBDB_TESTS_SUPPORT_RECORD_MODEL_H

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/disagreement.h"
#include "tools/fibdb/tables/record_tables.h"
#include "tools/fibdb/tables/record_words.h"

namespace fibdb::test {

// What a selection finds beside what has the values that it asks for.
struct Peculiarity {
  std::string_view table;
  std::string_view fields;         // of the selection
  std::string_view implied = {};   // a field that must have the value of a new record, too
  bool findsOne = false;           // one of them, whichever
  bool largestIsAny = false;       // of a router: it stands for all of them
  bool findsLongestMatch = false;  // the longest prefix, by the last two fields, that covers what is asked
};
inline constexpr Peculiarity kPeculiarities[] = {
    {.table = "ar-group", .fields = "originator", .implied = "group_type"},
    {.table = "ar-group", .fields = "asn", .implied = "group_type"},
    {.table = "group member", .fields = "group", .implied = "vr"},
    {.table = "vrf", .fields = "vr", .largestIsAny = true},
    {.table = "vrf", .fields = "name", .implied = "vr", .findsOne = true},
    {.table = "vrf", .fields = "vr name", .findsOne = true},
    {.table = "primary-attribute", .fields = "key1 key2", .findsOne = true},
    {.table = "dod-rule", .fields = "key1 key2 address length", .findsLongestMatch = true},
};

class RecordModel {
 public:
  using Record = program::Record;
  using RecordTable = program::RecordTable;
  using Field = program::Field;
  using Role = program::Role;

  explicit RecordModel(const RecordTable& table) : table_(table) {}

  // Throws Disagreement.
  template <class Input>
  void step(Input& input) {
    const uint8_t operation = input.byte();
    Record record = drawKey(input);
    switch (operation % 8) {
      case 0:
      case 1:
      case 2:
        return write(record, input);
      case 3:
        return remove(record);
      case 4:
        return read(record);
      case 5:
        return change(record, input);
      case 6:
        return compareAll();
      default:
        return select(record, input);
    }
  }

  // Removes what is there, record by record, where the table can.
  void removeAll() {
    while (table_.remove != nullptr && !records_.empty()) remove(records_.begin()->second);
    compareAll();
  }

  // Every record is read and compared.
  void readAll() {
    for (const auto& [key, stored] : records_) read(stored);
  }

  size_t size() const { return records_.size(); }

 private:
  [[noreturn]] void fail(const std::string& what, const Record& record) const {
    throw Disagreement{what + ": " + program::lineOf(table_, record.data())};
  }
  void expect(bool holds, const std::string& what, const Record& record) const {
    if (!holds) fail(what, record);
  }

  // What tells records apart, and what a field is, as bytes.
  std::string bytesOf(const std::vector<const Field*>& fields, const Record& record) const {
    std::string bytes;
    for (const Field* field : fields) {
      bytes.append(static_cast<const char*>(program::placeOf(*field, record.data())), sizeOf(field->layout));
    }
    return bytes;
  }
  std::string keyOf(const Record& record) const { return bytesOf(fieldsOf(table_, Role::kKey), record); }

  bool same(const Field& field, const Record& a, const Record& b) const {
    return program::shownOf(field, a.data()) == program::shownOf(field, b.data());
  }
  void expectSame(const Record& found, const Record& stored, const std::string& what) const {
    for (const Field& field : table_.fields) {
      expect(same(field, found, stored), what + ": " + std::string(field.name) + " of", found);
    }
  }

  // Small numbers mostly, so that they meet again; the largest now and then.
  template <class Input>
  void draw(const Field& field, Record& record, Input& input) const {
    const uint8_t choice = input.byte();
    const auto size = sizeOf(field.layout);
    auto* const place = static_cast<unsigned char*>(field.at(record.data()));
    std::memset(place, choice == 0xFF ? 0xFF : 0, size);
    if (field.layout.kind == program::Kind::kText) {
      std::memset(place, 0, size);
      for (size_t i = 0; i < choice % size; ++i) place[i] = static_cast<unsigned char>(input.byte() | 1);
    } else if (field.layout.kind == program::Kind::kPrefix) {
      place[0] = 0;
      place[3] = static_cast<unsigned char>(choice & 7);
      place[4] = choice >> 3;
    } else if (field.name == "length") {
      place[0] = choice % 33;
    } else if (choice != 0xFF) {
      place[0] = static_cast<unsigned char>(choice < 0xC0 ? choice & 3 : choice);
      place[size - 1] = static_cast<unsigned char>(place[size - 1] + (choice & 4));
    }
    if (field.goesWith != nullptr) field.goesWith(record.data());
  }

  template <class Input>
  Record drawKey(Input& input) const {
    Record record = program::newRecord(table_);
    for (const Field* field : fieldsOf(table_, Role::kKey)) draw(*field, record, input);
    return record;
  }

  // A value that says that the field is not set is no value to give it.
  bool saysUnset(const Field& field, const Record& record) const {
    if (field.isSet == nullptr || field.initial == 0) return false;
    uint64_t value = 0;
    std::memcpy(&value, program::placeOf(field, record.data()), field.layout.width);
    return value == field.initial;
  }

  template <class Input>
  void drawProperty(const Field& field, Record& record, Input& input) const {
    Record drawn = record;
    draw(field, drawn, input);
    if (!saysUnset(field, drawn)) record = drawn;
  }

  // A record as the table has it now, by its key; false: none.
  bool fetch(Record& record) const {
    if (table_.read != nullptr) {
      const uint32_t code = table_.read(record.data());
      expect(code == 0 || code == table_.codes.missing, "read gives " + std::to_string(code), record);
      return code == 0;
    }
    for (const Record& found : walked(table_.walk, Record(table_))) {
      if (keyOf(found) != keyOf(record)) continue;
      record = found;
      return true;
    }
    return false;
  }

  // What is the service's of a record is first known when it is read.
  void keep(const Record& written) {
    Record found = written;
    expect(fetch(found), "written and not there", written);
    for (const Field* field : fieldsOf(table_, Role::kProperty)) {
      if (field->change != nullptr && !same(*field, found, program::newRecord(table_))) {
        expect(same(*field, found, written), "written otherwise: " + std::string(field->name) + " of", found);
      } else if (field->change == nullptr) {
        expect(same(*field, found, written), "not written: " + std::string(field->name) + " of", found);
      }
    }
    records_.insert_or_assign(keyOf(written), found);
  }

  template <class Input>
  void write(Record& record, Input& input) {
    if (table_.create == nullptr && table_.write == nullptr) return;
    const auto properties = fieldsOf(table_, Role::kProperty);
    for (uint8_t left = input.byte() % 8; left > 0 && !properties.empty(); --left) {
      drawProperty(*properties[input.byte() % properties.size()], record, input);
    }
    if (table_.create == nullptr) {
      Record given = record;
      const uint32_t code = table_.write(given.data());
      expect(code == 0, "write gives " + std::to_string(code), record);
      return keep(record);
    }
    const bool stored = records_.contains(keyOf(record));
    Record given = record;
    const uint32_t code = table_.create(given.data());
    expect(code == (stored ? uint32_t{DB_ERR_EXISTS} : 0u), "create gives " + std::to_string(code), record);
    if (!stored) keep(record);
  }

  void remove(Record record) {
    if (table_.remove == nullptr) return;
    const bool stored = records_.erase(keyOf(record)) > 0;
    const uint32_t code = table_.remove(record.data());
    expect((code == 0) == stored, "remove gives " + std::to_string(code), record);
  }

  void read(Record record) const {
    const auto stored = records_.find(keyOf(record));
    const Record asked = record;
    expect(fetch(record) == (stored != records_.end()), "read says otherwise whether there is", asked);
    if (stored != records_.end()) expectSame(record, stored->second, "read");
  }

  template <class Input>
  void change(Record record, Input& input) {
    const auto properties = fieldsOf(table_, Role::kProperty);
    const auto stored = records_.find(keyOf(record));
    if (properties.empty() || stored == records_.end()) return;
    const Field& field = *properties[input.byte() % properties.size()];
    if (!program::changes(table_, field)) return;
    record = stored->second;
    drawProperty(field, record, input);
    Record given = record;
    const uint32_t code = (field.change != nullptr ? field.change : table_.change)(given.data());
    expect(code == 0, "change gives " + std::to_string(code), record);
    Record found = record;
    expect(fetch(found), "changed and not there", record);
    for (const Field* other : fieldsOf(table_, Role::kProperty)) {
      expect(same(*other, found, record), "change of " + std::string(field.name) + ": " + std::string(other->name),
             found);
    }
    stored->second = found;
  }

  std::vector<Record> walked(const program::Walk& walk, const Record& query) const {
    return program::recordsOf(table_, walk, query);
  }

  // Whether these are the expected ones, or one of them, each as it is in the model.
  void compare(const std::vector<Record>& found, const std::set<std::string>& expected, const Record& query,
               const std::string& what, bool findsOne = false) const {
    std::set<std::string> keys;
    for (const Record& record : found) {
      const std::string key = keyOf(record);
      expect(keys.insert(key).second, what + " gives twice", record);
      expect(expected.contains(key), what + " gives what is not there", record);
      expectSame(record, records_.at(key), what);
    }
    const size_t size = findsOne ? std::min<size_t>(expected.size(), 1) : expected.size();
    expect(found.size() == size,
           what + " gives " + std::to_string(found.size()) + " instead of " + std::to_string(size), query);
  }

  void compareAll() const {
    const Record query(table_);
    std::set<std::string> all;
    for (const auto& [key, record] : records_) all.insert(key);
    if (table_.walk.create != nullptr) compare(walked(table_.walk, query), all, query, "walk");
    if (table_.count != nullptr) {
      uint64_t count = 0;
      expect(table_.count(&count) == 0 && count == records_.size(), "count gives " + std::to_string(count), query);
    }
  }

  Peculiarity peculiarityOf(const program::Selection& selection) const;
  // The records that a selection finds, or of which it finds one.
  std::set<std::string> expectedOf(const program::Selection& selection, const std::vector<const Field*>& fields,
                                   const Record& query) const;
  // A selection by values of a record that is there, or by drawn ones.
  template <class Input>
  void select(const Record& key, Input& input);

  const RecordTable& table_;
  std::map<std::string, Record> records_;
};

inline Peculiarity RecordModel::peculiarityOf(const program::Selection& selection) const {
  const auto* const found = std::ranges::find_if(kPeculiarities, [&](const Peculiarity& peculiarity) {
    return peculiarity.table == table_.word && peculiarity.fields == selection.fields;
  });
  return found == std::end(kPeculiarities) ? Peculiarity{} : *found;
}

inline std::set<std::string> RecordModel::expectedOf(const program::Selection& selection,
                                                     const std::vector<const Field*>& fields,
                                                     const Record& query) const {
  const Peculiarity peculiar = peculiarityOf(selection);
  const Record fresh = program::newRecord(table_);
  const auto has = [&](const Record& record, const Field& field, const Record& wanted) {
    return valueOf(field, record.data()) == valueOf(field, wanted.data());
  };
  const auto number = [&](const Record& of, size_t fromEnd) {
    uint64_t value = 0;
    const Field& field = *fields[fields.size() - fromEnd];
    std::memcpy(&value, program::placeOf(field, of.data()), sizeOf(field.layout));
    return value;
  };
  const auto covers = [&](const Record& record) {
    const auto length = static_cast<uint8_t>(number(record, 1));
    const auto differing = static_cast<uint32_t>(number(record, 2) ^ number(query, 2));
    return length <= number(query, 1) && (differing & program::maskOf(length)) == 0;
  };
  const auto agrees = [&](const Record& record) {
    size_t exact = fields.size() - (peculiar.findsLongestMatch ? 2 : 0);
    if (peculiar.largestIsAny && valueOf(*fields[0], query.data()) == program::Value(uint64_t{UINT32_MAX})) exact = 0;
    for (size_t i = 0; i < exact; ++i) {
      if (!has(record, *fields[i], query)) return false;
    }
    // What a value that was given goes with is asked for, too.
    for (const Field* field : fieldsOf(table_, Role::kShown)) {
      if (!has(query, *field, Record(table_)) && !has(record, *field, query)) return false;
    }
    if (peculiar.findsLongestMatch && !covers(record)) return false;
    return std::ranges::all_of(
        table_.fields, [&](const Field& field) { return field.name != peculiar.implied || has(record, field, fresh); });
  };
  std::set<std::string> expected;
  const Record* longest = nullptr;
  for (const auto& [key, record] : records_) {
    if (!agrees(record)) continue;
    if (!peculiar.findsLongestMatch) {
      expected.insert(key);
    } else if (longest == nullptr ||
               std::pair(number(record, 1), number(*longest, 2)) > std::pair(number(*longest, 1), number(record, 2))) {
      longest = &record;  // of one length the lowest address
    }
  }
  if (longest != nullptr) expected.insert(keyOf(*longest));
  return expected;
}

template <class Input>
void RecordModel::select(const Record& key, Input& input) {
  if (table_.selections.empty()) return compareAll();
  const program::Selection& selection = table_.selections[input.byte() % table_.selections.size()];
  const auto fields = fieldsOf(table_, selection);
  const auto stored = records_.find(keyOf(key));
  Record query(table_);
  for (const Field* field : fields) {
    if (stored != records_.end()) {
      std::memcpy(field->at(query.data()), program::placeOf(*field, stored->second.data()), sizeOf(field->layout));
      if (field->goesWith != nullptr) field->goesWith(query.data());
    } else {
      draw(*field, query, input);
    }
  }
  const std::set<std::string> expected = expectedOf(selection, fields, query);
  const std::string what = "selection by " + std::string(selection.fields);
  if (selection.count != nullptr) {
    uint64_t count = 0;
    expect(selection.count(query.data(), &count) == 0 && count == expected.size(),
           what + ", count " + std::to_string(count), query);
  }
  if (selection.walk.create != nullptr)
    compare(walked(selection.walk, query), expected, query, what, peculiarityOf(selection).findsOne);
}

}  // namespace fibdb::test

#endif
