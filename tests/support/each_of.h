// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/support/each_of.h: a test for each element of a list that lives as long as the program.
//
// The framework copies parameters several times whenever a test program starts, which is for every single test: of what
// is large it gets the address.
#ifndef FIBDB_TESTS_SUPPORT_EACH_OF_H
#define FIBDB_TESTS_SUPPORT_EACH_OF_H

#include <gtest/gtest.h>

#include <vector>

namespace fibdb::test {

template <class Element>
std::vector<const Element*> addressesOf(const std::vector<Element>& list) {
  std::vector<const Element*> addresses;
  for (const Element& element : list) addresses.push_back(&element);
  return addresses;
}

template <class Element>
auto eachOf(const std::vector<Element>& list) {
  return testing::ValuesIn(addressesOf(list));
}

}  // namespace fibdb::test

#endif
