// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/nhp_ext_label_test.cc: labels of next-hop extensions through the table service, against a model.
#include <algorithm>
#include <array>
#include <cstring>
#include <map>

#include "tests/end_to_end/engine_fixture.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Key = std::array<uint32_t, 7>;

FibDbNhpExtLabelItem itemOf(const Key& key) {
  FibDbNhpExtLabelItem item{};
  std::copy(key.begin(), key.end(), item.keyWords);
  return item;
}

Key keyOf(const FibDbNhpExtLabelItem& item) {
  Key key;
  std::copy_n(item.keyWords, key.size(), key.begin());
  return key;
}

FibDbNhpExtLabelItem fullItem(const Key& key, uint32_t smoothId = 6) {
  FibDbNhpExtLabelItem item = itemOf(key);
  item.labelWord1 = 1;
  item.labelWord2 = 2;
  item.labelByte1 = 3;
  item.labelByte2 = 4;
  std::memset(item.reserved, 0xEE, sizeof item.reserved);
  std::memset(item.labelData, 5, sizeof item.labelData);
  item.labelWord3 = 55;
  item.smoothId = smoothId;
  item.stamp1 = 7ull << 40;
  item.stamp2 = 8ull << 40;
  return item;
}

// Everything that is stored.
auto fieldsOf(const FibDbNhpExtLabelItem& item) {
  return std::make_tuple(keyOf(item), item.labelWord1, item.labelWord2, item.labelByte1, item.labelByte2,
                         std::vector<uint8_t>(std::begin(item.labelData), std::end(item.labelData)), item.labelWord3,
                         item.smoothId, item.stamp1, item.stamp2);
}

class NhpExtLabelTest : public EngineTest {
 protected:
  static std::vector<Key> walk(void* iterator) {
    std::vector<Key> keys;
    EXPECT_NE(iterator, nullptr);
    FibDbNhpExtLabelItem item{};
    uint32_t status = 0;
    while ((status = FIB_DB_GetNextNhpExtLabel(iterator, &item)) == 0) keys.push_back(keyOf(item));
    EXPECT_EQ(status, uint32_t{DB_ERR_ITER_END});
    EXPECT_EQ(FIB_DB_ReleaseNhpExtLabelIterator(iterator), 0u);
    std::ranges::sort(keys);
    return keys;
  }
};

TEST_F(NhpExtLabelTest, Is_created_once_read_and_deleted) {
  const Key key{1, 2, 3, 4, 5, 6, 7};
  const FibDbNhpExtLabelItem item = fullItem(key);
  FibDbNhpExtLabelItem read = itemOf(key);
  EXPECT_EQ(FIB_DB_ReadNhpExtLabel(&read), 15005u);
  EXPECT_EQ(FIB_DB_CreateNhpExtLabel(&item), 0u);
  EXPECT_EQ(FIB_DB_CreateNhpExtLabel(&item), uint32_t{DB_ERR_EXISTS});
  EXPECT_EQ(FIB_DB_ReadNhpExtLabel(&read), 0u);
  EXPECT_TRUE(fieldsOf(read) == fieldsOf(item));
  EXPECT_EQ(read.reserved[0], 0);

  EXPECT_EQ(FIB_DB_DeleteNhpExtLabel(&item), 0u);
  EXPECT_EQ(FIB_DB_DeleteNhpExtLabel(&item), 15005u);
  EXPECT_EQ(FIB_DB_ReadNhpExtLabel(&read), 15005u);
  EXPECT_TRUE(fieldsOf(read) == fieldsOf(item)) << "a read that fails leaves the item";
}

TEST_F(NhpExtLabelTest, The_smooth_id_is_updated_and_nothing_else) {
  const Key key{1, 2, 3, 4, 5, 6, 7};
  FibDbNhpExtLabelItem item = fullItem(key);
  EXPECT_EQ(FIB_DB_UpdateNhpExtLabelSmoothId(&item), 15005u);
  EXPECT_EQ(FIB_DB_CreateNhpExtLabel(&item), 0u);
  FibDbNhpExtLabelItem change = itemOf(key);
  change.smoothId = 66;
  change.stamp1 = 77;
  EXPECT_EQ(FIB_DB_UpdateNhpExtLabelSmoothId(&change), 0u);
  FibDbNhpExtLabelItem read = itemOf(key);
  EXPECT_EQ(FIB_DB_ReadNhpExtLabel(&read), 0u);
  item.smoothId = 66;
  EXPECT_TRUE(fieldsOf(read) == fieldsOf(item));
}

TEST_F(NhpExtLabelTest, The_VRF_is_the_second_and_third_word_and_a_property_is_ignored) {
  const Key key{1, 2, 3, 4, 5, 6, 7};
  const FibDbNhpExtLabelItem item = fullItem(key);
  ASSERT_EQ(FIB_DB_CreateNhpExtLabel(&item), 0u);
  EXPECT_THAT(walk(FIB_DB_CreateNhpExtLabelIteratorByVrf(2, 3, FIB_DB_NO_PROPERTY)), ElementsAre(key));
  EXPECT_THAT(walk(FIB_DB_CreateNhpExtLabelIteratorByVrf(2, 3, 9)), ElementsAre(key));
  EXPECT_THAT(walk(FIB_DB_CreateNhpExtLabelIteratorByVrf(3, 2, FIB_DB_NO_PROPERTY)), IsEmpty());
  EXPECT_THAT(walk(FIB_DB_CreateNhpExtLabelIterator(9)), ElementsAre(key));
}

TEST_F(NhpExtLabelTest, Reads_and_iterators_agree_with_a_model) {
  std::mt19937 random(seedOfToday());
  const auto below = [&](uint32_t bound) { return static_cast<uint32_t>(random() % bound); };
  std::map<Key, FibDbNhpExtLabelItem> model;
  const auto keysOf = [&](auto holds) {
    std::vector<Key> keys;
    for (const auto& [key, item] : model) {
      if (holds(key)) keys.push_back(key);
    }
    return keys;
  };
  for (int round = 0; round < 2000; ++round) {
    const Key key{below(3), below(3), below(2), 4, 5, 6, below(3)};
    const bool there = model.contains(key);
    FibDbNhpExtLabelItem item = fullItem(key, below(1000));
    switch (below(5)) {
      case 0:
      case 1:
        ASSERT_EQ(FIB_DB_CreateNhpExtLabel(&item), there ? uint32_t{DB_ERR_EXISTS} : 0u);
        model.emplace(key, item);
        break;
      case 2:
        ASSERT_EQ(FIB_DB_DeleteNhpExtLabel(&item), there ? 0u : 15005u);
        model.erase(key);
        break;
      case 3:
        ASSERT_EQ(FIB_DB_UpdateNhpExtLabelSmoothId(&item), there ? 0u : 15005u);
        if (there) model[key].smoothId = item.smoothId;
        break;
      default:
        ASSERT_EQ(FIB_DB_ReadNhpExtLabel(&item), there ? 0u : 15005u);
        if (there) {
          ASSERT_TRUE(fieldsOf(item) == fieldsOf(model[key]));
        }
    }
    if (round % 25 != 0) continue;
    ASSERT_EQ(walk(FIB_DB_CreateNhpExtLabelIterator(FIB_DB_NO_PROPERTY)), keysOf([](const Key&) { return true; }));
    ASSERT_EQ(walk(FIB_DB_CreateNhpExtLabelIteratorByVrf(key[1], key[2], FIB_DB_NO_PROPERTY)),
              keysOf([&](const Key& other) { return other[1] == key[1] && other[2] == key[2]; }));
  }
}

TEST_F(NhpExtLabelTest, Without_registration_the_service_says_so) {
  fibdb_engine_reset();
  const FibDbNhpExtLabelItem item = fullItem({1, 2, 3, 4, 5, 6, 7});
  EXPECT_EQ(FIB_DB_CreateNhpExtLabel(&item), uint32_t{DB_ERR_NOT_REGISTERED});
  EXPECT_EQ(FIB_DB_CreateNhpExtLabelIterator(FIB_DB_NO_PROPERTY), nullptr);
  EXPECT_EQ(FIB_DB_CreateNhpExtLabelIteratorByVrf(2, 3, FIB_DB_NO_PROPERTY), nullptr);
}

}  // namespace
}  // namespace fibdb::test
