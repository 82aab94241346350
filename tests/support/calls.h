// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/calls.h: sequences of recorded calls.
#ifndef FIBDB_TESTS_SUPPORT_CALLS_H
#define FIBDB_TESTS_SUPPORT_CALLS_H

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace fibdb::test {

using Calls = std::vector<std::string>;

inline Calls operator+(Calls calls, const Calls& more) {
  calls.insert(calls.end(), more.begin(), more.end());
  return calls;
}

inline Calls wordsOf(const std::string& text) {
  std::istringstream in(text);
  return {std::istream_iterator<std::string>(in), {}};
}

// The getters of "vr_id mac_addr[]", fields of a table: a block is got without asking for its length.
inline Calls getCalls(const std::string& table, const std::string& fields, const std::string& object = "#1") {
  Calls calls;
  for (const std::string& field : wordsOf(fields)) {
    const bool isBlock = field.ends_with("[]");
    calls.push_back("db_get_" + table + "_" + field.substr(0, field.find('[')) + "(" + object +
                    (isBlock ? ", no length)" : ")"));
  }
  return calls;
}

// The setters of "vr_id=1 mac_addr=1301020304cc".
inline Calls setCalls(const std::string& table, const std::string& fields, const std::string& object = "#1") {
  Calls calls;
  for (const std::string& field : wordsOf(fields)) {
    const size_t value = field.find('=');
    calls.push_back("db_set_" + table + "_" + field.substr(0, value) + "(" + object + ", " + field.substr(value + 1) +
                    ")");
  }
  return calls;
}

inline std::string nameOfCall(const std::string& call) { return call.substr(0, call.find('(')); }

}  // namespace fibdb::test

#endif
