// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/registered_test.cc: the auxiliary tables over the engine: those of the table service against a
// model, and what is each one's own.
#include <algorithm>
#include <array>
#include <cstring>
#include <map>

#include "platform/objdb.h"
#include "platform/ufib.h"
#include "tests/end_to_end/engine_fixture.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Bytes = std::vector<uint8_t>;

template <class Record>
Bytes bytesOf(const Record& record) {
  Bytes bytes(sizeof record);
  std::memcpy(bytes.data(), &record, sizeof record);
  return bytes;
}

template <size_t Size>
void fillBytes(uint8_t (&bytes)[Size], uint32_t value) {
  for (size_t i = 0; i < Size; ++i) bytes[i] = static_cast<uint8_t>(value + i);
}

// An object of the database, for what the library does not offer.
template <auto kCreate, auto kRelease>
class Object {
 public:
  explicit Object(uint32_t kind) { EXPECT_EQ(kCreate(kind, 0, &handle_), 0u); }
  ~Object() { EXPECT_EQ(kRelease(handle_), 0u); }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  uint64_t handle() const { return handle_; }

  // The row under a primary key of one word, or of these bytes.
  template <class Key>
  Bytes rowUnder(uint32_t indexId, const Key& key, size_t length) {
    const FibDbKeyDesc desc{.indexId = indexId, .rsv1 = 0, .rsv2 = 0};
    Bytes row(length);
    EXPECT_EQ(db_read_obj_with_buf(handle_, &desc, &key, row.data(), static_cast<uint32_t>(length)), 0u);
    return row;
  }

 private:
  uint64_t handle_ = 0;
};

// The tables of the service, as the model sees them: a key of two small numbers, a value, and the functions. ----------
struct Key {
  uint8_t a, b;
  auto operator<=>(const Key&) const = default;
};

struct PriAttr {
  using Item = FibDbPriAttrItem;
  static void setKey(Item& item, Key key) {
    item.keyWord1 = key.a;
    item.keyWord2 = 7;
    item.keyByte = key.b;
  }
  static void setValue(Item& item, uint32_t value) {
    item.attrWord1 = value;
    item.attrByte = static_cast<uint8_t>(value);
    item.attrWord2 = value + 1;
    item.smoothId = value + 2;
  }
  static constexpr auto create = FIB_DB_CreatePriAttr;
  static constexpr auto read = FIB_DB_ReadPriAttr;
  static constexpr auto remove = FIB_DB_DeletePriAttr;
  static constexpr auto update = FIB_DB_UpdatePriAttrSmoothId;
  static constexpr auto iterate = FIB_DB_CreatePriAttrIterator;
  static constexpr auto next = FIB_DB_GetNextPriAttrEntry;
  static constexpr auto release = FIB_DB_ReleasePriAttrIterator;
};

struct DodRule {
  using Item = FibDbDodRuleItem;
  static void setKey(Item& item, Key key) {
    item.ruleKey1 = 7;
    item.ruleKey2 = key.a;
    item.ruleKey3 = 10u << 24;
    item.ruleKeyLen = static_cast<uint8_t>(8 + key.b);
  }
  static void setValue(Item& item, uint32_t value) {
    item.ruleFlag = static_cast<uint8_t>(value);
    fillBytes(item.ruleData, value);
    item.smoothId = value + 1;
    item.ruleStamp1 = value + (1ull << 40);
    item.ruleStamp2 = value + (1ull << 50);
  }
  static constexpr auto create = FIB_DB_CreatDodRule;
  static constexpr auto read = FIB_DB_ReadDodRule;
  static constexpr auto remove = FIB_DB_DeleteDodRule;
  static constexpr auto update = FIB_DB_UpdateDodRuleSmthId;
  static constexpr auto iterate = FIB_DB_CreateDodRuleIterator;
  static constexpr auto next = FIB_DB_GetNextDodRuleEntry;
  static constexpr auto release = FIB_DB_ReleaseDodRuleIterator;
};

struct DodAging {
  using Item = FibDbDodAgingItem;
  static void setKey(Item& item, Key key) { item.agingKey = 16u * key.a + key.b; }
  static void setValue(Item& item, uint32_t value) {
    item.agingWord1 = value;
    item.agingWord2 = value + 1;
    item.agingWord3 = value + 2;
    item.agingWord4 = value + 3;
  }
  static constexpr auto create = FIB_DB_CreateDodAging;
  static constexpr auto read = FIB_DB_ReadDodAging;
  static constexpr auto remove = FIB_DB_DeleteDodAging;
  static constexpr auto iterate = FIB_DB_CreateDodAgingIterator;
  static constexpr auto next = FIB_DB_GetNextDodAgingEntry;
  static constexpr auto release = FIB_DB_ReleaseDodAgingIterator;
};

struct SpecialIp {
  using Item = FibDbSpecialIpItem;
  static void setKey(Item& item, Key key) { item.specialKey = 16u * key.a + key.b; }
  static void setValue(Item& item, uint32_t value) {
    item.specialWord = value;
    item.specialByte = static_cast<uint8_t>(value);
    fillBytes(item.specialPart1, value);
    fillBytes(item.specialPart2, value + 2);
  }
  static constexpr auto create = FIB_DB_WriteSpecialIp;
  static constexpr auto read = FIB_DB_ReadSpecialIp;
  static constexpr auto remove = FIB_DB_DeleteSpecialIp;
  static constexpr auto iterate = FIB_DB_CreateSpecialIpIterator;
  static constexpr auto next = FIB_DB_GetNextSpecialEntry;
  static constexpr auto release = FIB_DB_ReleaseSpecialIpIterator;
};

struct SpecialIpSub {
  using Item = FibDbSpecialIpSubItem;
  static void setKey(Item& item, Key key) {
    item.subKey1 = 7;
    item.subKey2 = key.a;
    item.subKeyByte = key.b;
  }
  static void setValue(Item& item, uint32_t value) {
    item.subWord = value;
    item.subByte1 = static_cast<uint8_t>(value);
    item.subByte2 = static_cast<uint8_t>(value + 1);
    fillBytes(item.subData, value);
  }
  static constexpr auto create = FIB_DB_WriteSpecialIpSub;
  static constexpr auto read = FIB_DB_ReadSpecialIpSub;
  static constexpr auto remove = FIB_DB_DeleteSpecialIpSub;
  static constexpr auto iterate = FIB_DB_CreateSpecialIpSubIterator;
  static constexpr auto next = FIB_DB_GetNextSpecialIpSubEntry;
  static constexpr auto release = FIB_DB_ReleaseSpecialIpSubIterator;
};

struct FwdVsVpn {
  using Item = FibDbFwdVsVpnItem;
  static void setKey(Item& item, Key key) { item.fwdKey = 16u * key.a + key.b; }
  static void setValue(Item& item, uint32_t value) {
    item.fwdWord = value;
    fillBytes(item.fwdBlock1, value);
    fillBytes(item.fwdBlock2, value + 32);
    item.fwdWord2 = value + 1;
    item.fwdHalf1 = static_cast<uint16_t>(value);
    item.fwdHalf2 = static_cast<uint16_t>(value + 1);
  }
  static constexpr auto create = FIB_DB_CreateFwdVsVpn;
  static constexpr auto read = FIB_DB_ReadFwdVsVpn;
  static constexpr auto remove = FIB_DB_DeleteFwdVsVpn;
};

struct VirtualMethHost {
  using Item = FibDbVirtualMethHostItem;
  static void setKey(Item& item, Key key) { item.hostKey = 16u * key.a + key.b; }
  static void setValue(Item& item, uint32_t value) {
    item.hostWord = value;
    item.hostByte1 = static_cast<uint8_t>(value);
    item.hostByte2 = static_cast<uint8_t>(value + 1);
    item.hostValue = value + (1ull << 40);
  }
  static constexpr auto create = FIB_DB_CreateVirtualMethHost;
  static constexpr auto read = FIB_DB_ReadVirtualMethHost;
  static constexpr auto remove = FIB_DB_DeleteVirtualMethHost;
  static constexpr auto iterate = FIB_DB_CreateVirtualMethHostIterator;
  static constexpr auto next = FIB_DB_GetNextVirtualMethHostEntry;
  static constexpr auto release = FIB_DB_ReleaseVirtualMethHostIterator;
};

template <class Table>
class ServiceModelTest : public EngineTest {
 protected:
  using Item = typename Table::Item;

  // Items are compared as bytes, so they are made in place, from zeros.
  static void make(Item& item, Key key) {
    std::memset(static_cast<void*>(&item), 0, sizeof item);
    Table::setKey(item, key);
  }
  static void make(Item& item, Key key, uint32_t value) {
    make(item, key);
    Table::setValue(item, value);
  }

  // What the model holds of an item; the time of a creation is not the model's to know.
  static Bytes modelled(Item& item) {
    if constexpr (requires { item.fwdTimeStamp; }) item.fwdTimeStamp = 0;
    return bytesOf(item);
  }

  static std::vector<Bytes> walked() {
    std::vector<Bytes> items;
    void* const iterator = Table::iterate(FIB_DB_NO_PROPERTY);
    EXPECT_NE(iterator, nullptr);
    Item item;
    uint32_t status = 0;
    do {
      std::memset(static_cast<void*>(&item), 0, sizeof item);
      status = Table::next(iterator, &item);
      if (status == 0) items.push_back(modelled(item));
    } while (status == 0);
    EXPECT_EQ(status, uint32_t{DB_ERR_ITER_END});
    EXPECT_EQ(Table::next(iterator, &item), uint32_t{DB_ERR_ITER_END});
    EXPECT_EQ(Table::release(iterator), 0u);
    std::ranges::sort(items);
    return items;
  }
};

using Tables = testing::Types<PriAttr, DodRule, DodAging, SpecialIp, SpecialIpSub, FwdVsVpn, VirtualMethHost>;
TYPED_TEST_SUITE(ServiceModelTest, Tables);

TYPED_TEST(ServiceModelTest, Records_agree_with_a_model) {
  std::mt19937 random(seedOfToday());
  const auto below = [&](uint32_t bound) { return static_cast<uint32_t>(random() % bound); };
  std::map<Key, Bytes> model;
  for (int round = 0; round < 2000; ++round) {
    const Key key{static_cast<uint8_t>(below(4)), static_cast<uint8_t>(below(5))};
    const bool there = model.contains(key);
    typename TypeParam::Item item;
    switch (below(4)) {
      case 0:
        this->make(item, key, below(1000));
        ASSERT_EQ(TypeParam::create(&item), there ? uint32_t{DB_ERR_EXISTS} : 0u);
        model.emplace(key, this->modelled(item));
        break;
      case 1:
        this->make(item, key);
        ASSERT_EQ(TypeParam::remove(&item), there ? 0u : 15005u);
        model.erase(key);
        break;
      case 2:
        if constexpr (requires { TypeParam::update; }) {
          this->make(item, key, 5);
          item.smoothId = below(1000);
          ASSERT_EQ(TypeParam::update(&item), there ? 0u : 15005u);
          if (!there) break;
          typename TypeParam::Item changed;
          std::memcpy(static_cast<void*>(&changed), model[key].data(), sizeof changed);
          changed.smoothId = item.smoothId;
          model[key] = bytesOf(changed);
        }
        [[fallthrough]];
      default:
        this->make(item, key);
        ASSERT_EQ(TypeParam::read(&item), there ? 0u : 15005u);
        if (there) {
          ASSERT_EQ(this->modelled(item), model[key]);
        }
    }
    if constexpr (requires { TypeParam::iterate; }) {
      if (round % 25 != 0) continue;
      std::vector<Bytes> expected;
      for (const auto& [unused, bytes] : model) expected.push_back(bytes);
      std::ranges::sort(expected);
      ASSERT_EQ(this->walked(), expected);
    }
  }
}

TYPED_TEST(ServiceModelTest, A_read_that_fails_leaves_the_item) {
  typename TypeParam::Item item;
  this->make(item, {1, 2}, 99);
  const Bytes before = bytesOf(item);
  EXPECT_EQ(TypeParam::read(&item), 15005u);
  EXPECT_EQ(bytesOf(item), before);
}

TYPED_TEST(ServiceModelTest, Without_registration_the_service_says_so) {
  fibdb_engine_reset();
  typename TypeParam::Item item;
  this->make(item, {1, 2}, 99);
  EXPECT_EQ(TypeParam::create(&item), uint32_t{DB_ERR_NOT_REGISTERED});
  EXPECT_EQ(TypeParam::read(&item), uint32_t{DB_ERR_NOT_REGISTERED});
  EXPECT_EQ(TypeParam::remove(&item), uint32_t{DB_ERR_NOT_REGISTERED});
  if constexpr (requires { TypeParam::iterate; }) {
    EXPECT_EQ(TypeParam::iterate(FIB_DB_NO_PROPERTY), nullptr);
  }
}

// Primary attributes. -------------------------------------------------------------------------------------------------
class PriAttrTest : public EngineTest {};

TEST_F(PriAttrTest, Records_that_differ_in_the_key_byte_alone_share_their_hash_key) {
  for (uint8_t byte = 1; byte <= 2; ++byte) {
    const FibDbPriAttrItem item{.keyWord1 = 5, .attrWord1 = 70u + byte, .keyWord2 = 6, .keyByte = byte};
    ASSERT_EQ(FIB_DB_CreatePriAttr(&item), 0u);
  }
  FibDbPriAttrItem read{};
  FIB_DB_SetPriAttrKeyByNhpGrpNode(&read, 5, 6);
  EXPECT_EQ(FIB_DB_ReadPriAttrByHash(&read), 0u);
  EXPECT_THAT(read.keyByte, testing::AnyOf(1, 2));
  EXPECT_EQ(read.attrWord1, 70u + read.keyByte);
  FIB_DB_SetPriAttrKeyByNhpGrpNode(&read, 6, 5);
  EXPECT_EQ(FIB_DB_ReadPriAttrByHash(&read), 15005u);
}

TEST_F(PriAttrTest, An_update_renews_the_smooth_stamp_and_keeps_that_of_the_creation) {
  FibDbPriAttrItem item{.keyWord1 = 1, .keyWord2 = 2, .keyByte = 3, .smoothId = 4};
  const auto stored = [] {
    const uint8_t key[9] = {1, 0, 0, 0, 2, 0, 0, 0, 3};
    FibDbPriAttrRow row{};
    const Bytes bytes = Object<db_create_pri_attr_obj, db_release_pri_attr_object>(FIB_DB_OBJ_OP_READ)
                            .rowUnder(FIB_DB_PRI_ATTR_PRIMARY, key, sizeof row);
    std::memcpy(&row, bytes.data(), sizeof row);
    return row;
  };
  const uint64_t before = UFIB_DB_GetSysTime();
  ASSERT_EQ(FIB_DB_CreatePriAttr(&item), 0u);
  const FibDbPriAttrRow created = stored();
  EXPECT_GE(created.time_stamp_create, before);
  EXPECT_EQ(uint64_t{created.time_stamp_create}, uint64_t{created.time_stamp_smooth});
  while (UFIB_DB_GetSysTime() <= created.time_stamp_create) {
  }
  item.smoothId = 5;
  ASSERT_EQ(FIB_DB_UpdatePriAttrSmoothId(&item), 0u);
  const FibDbPriAttrRow updated = stored();
  EXPECT_EQ(updated.table_smooth_id, 5u);
  EXPECT_EQ(uint64_t{updated.time_stamp_create}, uint64_t{created.time_stamp_create});
  EXPECT_GT(uint64_t{updated.time_stamp_smooth}, uint64_t{created.time_stamp_smooth});
}

// Rules of on-demand routes. ------------------------------------------------------------------------------------------
class DodRuleTest : public EngineTest {
 protected:
  static FibDbDodRuleItem ruleOf(uint32_t key2, uint32_t address, uint8_t length) {
    return {.ruleKey1 = 1, .ruleKey2 = key2, .ruleKey3 = address, .ruleKeyLen = length};
  }
};

TEST_F(DodRuleTest, The_longest_prefix_within_the_same_first_words_is_found) {
  for (const uint8_t length : std::initializer_list<uint8_t>{8, 16, 24}) {
    FibDbDodRuleItem rule = ruleOf(2, 0x0A010200u >> (32 - length) << (32 - length), length);
    rule.ruleFlag = length;
    ASSERT_EQ(FIB_DB_CreatDodRule(&rule), 0u);
  }
  const FibDbDodRuleItem other = ruleOf(3, 0, 0);
  ASSERT_EQ(FIB_DB_CreatDodRule(&other), 0u);

  const auto found = [](uint32_t key2, uint32_t address, uint8_t length) {
    FibDbDodRuleItem rule = ruleOf(key2, address, length);
    const uint32_t status = FIB_DB_ReadDodRuleByLpm(&rule);
    return std::pair(status, uint32_t{rule.ruleFlag});
  };
  EXPECT_EQ(found(2, 0x0A010203, 32), std::pair(0u, 24u));
  EXPECT_EQ(found(2, 0x0A010303, 32), std::pair(0u, 16u));
  EXPECT_EQ(found(2, 0x0A020303, 32), std::pair(0u, 8u));
  EXPECT_EQ(found(2, 0x0A010200, 23), std::pair(0u, 16u));
  EXPECT_EQ(found(2, 0x0B000000, 32), std::pair(10003u, 0u));
  EXPECT_EQ(found(3, 0x0B000000, 32), std::pair(0u, 0u));
  EXPECT_EQ(found(4, 0x0A010203, 32), std::pair(10003u, 0u));
}

TEST_F(DodRuleTest, The_longest_match_agrees_with_a_search_of_all_rules) {
  std::mt19937 random(seedOfToday());
  std::map<std::pair<uint8_t, uint32_t>, bool> model;  // length and address
  const auto cut = [](uint32_t address, uint8_t length) {
    return length == 0 ? 0 : address >> (32 - length) << (32 - length);
  };
  for (int round = 0; round < 1000; ++round) {
    const auto address = static_cast<uint32_t>(random()) & 0xC0C00003;
    const auto length = static_cast<uint8_t>(random() % 33);
    const FibDbDodRuleItem rule = ruleOf(2, cut(address, length), length);
    if (random() % 2 == 0) {
      EXPECT_EQ(FIB_DB_CreatDodRule(&rule), model.contains({length, rule.ruleKey3}) ? uint32_t{DB_ERR_EXISTS} : 0u);
      model[{length, rule.ruleKey3}] = true;
    } else {
      EXPECT_EQ(FIB_DB_DeleteDodRule(&rule), model.erase({length, rule.ruleKey3}) != 0 ? 0u : 15005u);
    }
    FibDbDodRuleItem query = ruleOf(2, static_cast<uint32_t>(random()) & 0xC0C00003, 32);
    const uint32_t sought = query.ruleKey3;
    int longest = 32;
    while (longest >= 0 &&
           !model.contains({static_cast<uint8_t>(longest), cut(sought, static_cast<uint8_t>(longest))})) {
      --longest;
    }
    ASSERT_EQ(FIB_DB_ReadDodRuleByLpm(&query), longest < 0 ? 10003u : 0u);
    if (longest >= 0) {
      ASSERT_EQ(query.ruleKeyLen, longest);
      ASSERT_EQ(query.ruleKey3, cut(sought, query.ruleKeyLen));
    }
  }
}

TEST_F(DodRuleTest, A_read_leaves_the_bytes_that_are_the_callers) {
  FibDbDodRuleItem rule = ruleOf(2, 0, 0);
  rule.reserved[0] = 1;
  ASSERT_EQ(FIB_DB_CreatDodRule(&rule), 0u);
  rule.reserved[0] = 7;
  rule.reserved[1] = 8;
  EXPECT_EQ(FIB_DB_ReadDodRule(&rule), 0u);
  EXPECT_EQ(FIB_DB_ReadDodRuleByLpm(&rule), 0u);
  EXPECT_EQ(rule.reserved[0], 7);
  EXPECT_EQ(rule.reserved[1], 8);
}

// Rows with gaps, and items with room. --------------------------------------------------------------------------------
class RowTest : public EngineTest {};

TEST_F(RowTest, An_aging_record_has_two_zeros_behind_its_words) {
  const FibDbDodAgingItem item{
      .agingKey = 1, .agingWord1 = ~0u, .agingWord2 = ~0u, .agingWord3 = ~0u, .agingWord4 = ~0u};
  ASSERT_EQ(FIB_DB_CreateDodAging(&item), 0u);
  Bytes expected = bytesOf(item);
  expected.resize(22);
  Object<db_create_fib_dod_aging_obj, db_release_fib_dod_aging_object> object(FIB_DB_OBJ_OP_READ);
  EXPECT_EQ(object.rowUnder(FIB_DB_DOD_AGING_PRIMARY, item.agingKey, 22), expected);
}

TEST_F(RowTest, A_special_address_has_zeros_where_its_item_has_room) {
  FibDbSpecialIpItem item{.specialKey = 1, .specialByte = 0xFF};
  std::memset(item.reserved, 0xEE, sizeof item.reserved);
  ASSERT_EQ(FIB_DB_WriteSpecialIp(&item), 0u);
  Bytes expected = bytesOf(item);
  std::fill_n(expected.begin() + 9, 3, uint8_t{0});
  Object<db_create_fib_special_ip_obj, db_release_fib_special_ip_object> object(FIB_DB_OBJ_OP_READ);
  EXPECT_EQ(object.rowUnder(FIB_DB_SPECIAL_IP_PRIMARY, item.specialKey, 16), expected);
}

TEST_F(RowTest, Sub_entries_that_differ_in_a_byte_beside_the_key_are_one_and_reads_leave_the_room) {
  FibDbSpecialIpSubItem item{
      .subKey1 = 1, .subKey2 = 2, .reserved1 = {7, 8, 9}, .subKeyByte = 3, .subByte1 = 4, .reserved2 = 6};
  ASSERT_EQ(FIB_DB_WriteSpecialIpSub(&item), 0u);
  item.subByte1 = 5;
  EXPECT_EQ(FIB_DB_WriteSpecialIpSub(&item), uint32_t{DB_ERR_EXISTS});
  EXPECT_EQ(FIB_DB_ReadSpecialIpSub(&item), 0u);
  EXPECT_EQ(item.subByte1, 4);
  EXPECT_THAT(item.reserved1, ElementsAre(7, 8, 9));
  EXPECT_EQ(item.reserved2, 6);
}

TEST_F(RowTest, A_host_route_has_zeros_between_its_bytes_and_its_value) {
  const FibDbVirtualMethHostItem item{.hostKey = 1, .hostByte1 = 2, .hostByte2 = 3, .hostValue = ~0ull};
  ASSERT_EQ(FIB_DB_CreateVirtualMethHost(&item), 0u);
  Object<db_create_virtual_meth_host_route_obj, db_release_virtual_meth_host_route_object> object(FIB_DB_OBJ_OP_READ);
  EXPECT_THAT(object.rowUnder(FIB_DB_VIRTUAL_METH_HOST_PRIMARY, item.hostKey, 20),
              ElementsAre(1, 0, 0, 0, 0, 0, 0, 0, 2, 3, 0, 0, 255, 255, 255, 255, 255, 255, 255, 255));
}

TEST_F(RowTest, A_binding_reads_back_with_the_time_of_its_creation) {
  FibDbFwdVsVpnItem item{.fwdKey = 1, .fwdTimeStamp = 42};
  const uint64_t before = UFIB_DB_GetSysTime();
  ASSERT_EQ(FIB_DB_CreateFwdVsVpn(&item), 0u);
  EXPECT_EQ(item.fwdTimeStamp, 42u);
  EXPECT_EQ(FIB_DB_ReadFwdVsVpn(&item), 0u);
  EXPECT_GE(item.fwdTimeStamp, before);
  EXPECT_LE(item.fwdTimeStamp, UFIB_DB_GetSysTime());
}

// VRF class data, which others write. ---------------------------------------------------------------------------------
class VrfClassDataTest : public EngineTest {
 protected:
  // The row is the item.
  static void write(FibDbVrfClassDataItem item) {
    const Object<db_create_vrf_class_data_obj, db_release_vrf_class_data_object> object(FIB_DB_OBJ_OP_WRITE);
    ASSERT_EQ(db_set_vrf_class_data_all_fields(object.handle(), &item, sizeof item), 0u);
    ASSERT_EQ(db_write_obj(object.handle()), 0u);
  }
};

TEST_F(VrfClassDataTest, A_record_is_read_by_its_key) {
  FibDbVrfClassDataItem item{.table_id = 1,
                             .producer_pid = 2,
                             .vr_id = 3,
                             .vrf_index = 4,
                             .topology_id = 5,
                             .vrf_state = 6,
                             .vrf_data_machine = 7,
                             .vrf_state_version = 8,
                             .vrf_data_version = 9,
                             .smooth_flag = 10,
                             .time_stamp_verify_begin = 1ull << 40,
                             .time_stamp_verify_end = 1ull << 41,
                             .time_stamp_age_begin = 1ull << 42,
                             .time_stamp_age_end = 1ull << 43};
  write(item);
  FibDbVrfClassDataItem read{};
  FIB_DB_SetVrfClassDataKey(&read, 1, 2, 3, 4);
  EXPECT_EQ(FIB_DB_ReadVrfClassData(&read), 0u);
  EXPECT_EQ(bytesOf(read), bytesOf(item));
  FIB_DB_SetVrfClassDataKey(&read, 1, 2, 4, 3);
  EXPECT_EQ(FIB_DB_ReadVrfClassData(&read), 60u);
}

TEST_F(VrfClassDataTest, Records_are_counted_by_table_state_and_flag) {
  for (uint32_t vrf = 1; vrf <= 5; ++vrf) {
    write({.table_id = 1, .vrf_index = vrf, .vrf_state = 6, .smooth_flag = vrf <= 2 ? 1u : 0u});
  }
  write({.table_id = 2, .vrf_index = 1, .vrf_state = 6, .smooth_flag = 1});
  const auto counted = [](uint32_t table, uint32_t state, uint32_t flag) {
    const FibDbVrfClassDataItem item{.table_id = table, .vrf_state = state, .smooth_flag = flag};
    uint32_t count = 777;
    EXPECT_EQ(FIB_DB_CountVrfClassDataByKey(&item, &count), 0u);
    return count;
  };
  EXPECT_EQ(counted(1, 6, 1), 2u);
  EXPECT_EQ(counted(1, 6, 0), 3u);
  EXPECT_EQ(counted(2, 6, 1), 1u);
  EXPECT_EQ(counted(1, 5, 1), 0u);
}

// Forced fragmentation. -----------------------------------------------------------------------------------------------
class ForceFragTest : public EngineTest {
 protected:
  static FibDbForceFragItem itemOf(uint32_t vr, uint32_t enable) {
    return {.vrId = vr, .enable = enable, .statusHigh = 1, .statusNormal = 2, .errcodeHigh = 3, .errcodeNormal = 4};
  }
  static std::vector<uint32_t> walk(uint32_t property) {
    std::vector<uint32_t> routers;
    void* const iterator = FIB_DB_CreateIpForceFragIterator(property);
    EXPECT_NE(iterator, nullptr);
    FibDbForceFragItem item{};
    while (FIB_DB_GetNextForceFragEntry(iterator, &item) == 0) {
      routers.push_back(item.vrId);
      EXPECT_EQ(bytesOf(item), bytesOf(itemOf(item.vrId, 10 * item.vrId)));
    }
    EXPECT_EQ(FIB_DB_GetNextForceFragEntry(iterator, &item), uint32_t{DB_ERR_ITER_END});
    EXPECT_EQ(FIB_DB_ReleaseIpForceFragIterator(iterator), 0u);
    return routers;
  }
};

TEST_F(ForceFragTest, A_router_is_written_replaced_and_read) {
  FibDbForceFragItem read{.vrId = 7};
  EXPECT_EQ(FIB_DB_ReadIpForceFrag(&read), 60u);
  const uint64_t before = UFIB_DB_GetSysTime();
  for (const uint32_t enable : {1u, 0u}) {
    const FibDbForceFragItem item = itemOf(7, enable);
    EXPECT_EQ(FIB_DB_WriteIpForceFrag(&item), 0u);
    EXPECT_EQ(FIB_DB_ReadIpForceFrag(&read), 0u);
    EXPECT_EQ(bytesOf(read), bytesOf(item));
  }
  uint64_t stamp = 0;
  const Bytes row = Object<db_create_ip_force_frag_obj, db_release_ip_force_frag_object>(FIB_DB_OBJ_OP_READ)
                        .rowUnder(FIB_DB_FORCE_FRAG_PRIMARY, read.vrId, 20);
  std::memcpy(&stamp, row.data() + 12, sizeof stamp);
  EXPECT_GE(stamp, before);
}

TEST_F(ForceFragTest, Routers_are_walked_whole_and_one_alone) {
  for (uint32_t vr = 1; vr <= 3; ++vr) {
    const FibDbForceFragItem item = itemOf(vr, 10 * vr);
    ASSERT_EQ(FIB_DB_WriteIpForceFrag(&item), 0u);
  }
  EXPECT_THAT(walk(FIB_DB_NO_PROPERTY), UnorderedElementsAre(1, 2, 3));
  EXPECT_THAT(walk(2), ElementsAre(2));
  EXPECT_THAT(walk(9), IsEmpty());
}

// IPv4 default routes, which others read. -----------------------------------------------------------------------------
class Re4DefaultTest : public EngineTest {
 protected:
  static uint64_t stored() {
    uint64_t records = 0;
    const Object<db_create_re4_default_obj, db_release_re4_default_object> object(FIB_DB_OBJ_OP_COUNT);
    EXPECT_EQ(db_get_table_record_count(object.handle(), &records), 0u);
    return records;
  }
};

TEST_F(Re4DefaultTest, A_route_is_written_replaced_and_removed) {
  const uint32_t fvrf = 5;
  for (uint8_t status = 1; status <= 2; ++status) {
    const FibDbRe4DefaultItem item{.fvrfIndex = fvrf, .statusHigh = status, .statusNormal = 3, .sysTime = 1ull << 40};
    EXPECT_EQ(FIB_DB_WriteRe4Default(&item), 0u);
    Object<db_create_re4_default_obj, db_release_re4_default_object> object(FIB_DB_OBJ_OP_READ);
    EXPECT_THAT(object.rowUnder(FIB_DB_RE4_DEFAULT_PRIMARY, fvrf, 14),
                ElementsAre(5, 0, 0, 0, status, 3, 0, 0, 0, 0, 0, 1, 0, 0));
  }
  EXPECT_EQ(stored(), 1u);
  EXPECT_EQ(FIB_DB_RemoveRe4Default(&fvrf), 0u);
  EXPECT_EQ(stored(), 0u);
}

TEST_F(Re4DefaultTest, Removing_a_missing_route_is_said_and_counted) {
  const uint32_t before = g_fibDbErrStat[FIB_DB_TABLE_RE4_DEFAULT][FIB_DB_OPER_REMOVE];
  const uint32_t fvrf = 5;
  EXPECT_EQ(FIB_DB_RemoveRe4Default(&fvrf), 15005u);
  EXPECT_THAT(logged, ElementsAre("RemoveRe4Default failed, ret: 15005"));
  logged.clear();
  EXPECT_EQ(g_fibDbErrStat[FIB_DB_TABLE_RE4_DEFAULT][FIB_DB_OPER_REMOVE], before + 1);
}

TEST_F(Re4DefaultTest, A_publication_is_counted_and_one_of_forced_fragmentation_is_not) {
  const auto counted = [] {
    uint64_t sum = 0;
    for (const auto& table : g_fibDbErrStat) {
      for (const uint32_t count : table) sum += count;
    }
    return sum;
  };
  const uint32_t before = g_fibDbErrStat[FIB_DB_TABLE_RE4_DEFAULT][FIB_DB_OPER_PUB];
  const uint64_t beforeAll = counted();
  ASSERT_EQ(fibdb_engine_fault(fibdb_engine_find_table("re4_default"), DB_RET_PUB_STATUS, 1), 0u);
  const FibDbRe4DefaultItem route{.fvrfIndex = 5};
  EXPECT_EQ(FIB_DB_WriteRe4Default(&route), 0u);
  EXPECT_EQ(g_fibDbErrStat[FIB_DB_TABLE_RE4_DEFAULT][FIB_DB_OPER_PUB], before + 1);
  ASSERT_EQ(fibdb_engine_fault(fibdb_engine_find_table("ip_force_frag"), DB_RET_PUB_STATUS, 1), 0u);
  const FibDbForceFragItem router{.vrId = 5};
  EXPECT_EQ(FIB_DB_WriteIpForceFrag(&router), 0u);
  EXPECT_EQ(counted(), beforeAll + 1);
}

}  // namespace
}  // namespace fibdb::test
