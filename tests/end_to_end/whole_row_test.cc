// SPDX-FileCopyrightText: 2026 The fibdb authors
// SPDX-License-Identifier: Apache-2.0
// tests/end_to_end/whole_row_test.cc: the two next-hop tables whose records travel as whole rows, against a model.
#include "platform/objdb.h"
#include "tests/end_to_end/table_model.h"

namespace fibdb::test {
namespace {

using testing::ElementsAre;

constexpr uint32_t kAny = FIB_DB_NO_PROPERTY;

// The words of an address in host byte order, as items hold it, all of them told by one number.
void putAddress(uint8_t (&address)[16], uint32_t number) {
  const uint32_t words[] = {0x20010DB8, number << 24, 0x01020304, number};
  std::memcpy(address, words, sizeof address);
}

uint32_t numberOf(const uint8_t (&address)[16]) {
  uint32_t number = 0;
  std::memcpy(&number, address + 12, sizeof number);
  return number;
}

// A key in few enough values that records share every part of it.
struct Key {
  uint32_t index, second, third, address, more;

  auto operator<=>(const Key&) const = default;
};

template <class Block>
std::vector<uint8_t> bytesOf(const Block& block) {
  return {std::begin(block), std::end(block)};
}

// What is the same of both tables.
template <class Table, class ItemT>
struct WholeRow {
  using Item = ItemT;
  static constexpr uint32_t kMissing = DB_ERR_NO_DATA;

  static uint32_t update(const Item* item) { return Table::updateContext(item); }
  static Item applied(const Item& item, Item stored) {
    stored.time_stamp_svc = item.time_stamp_svc;
    return stored;
  }

  static auto contextOf(const Item& item) {
    return std::make_tuple(item.status_high_prio, item.status_normal_prio, item.errcode_high_prio,
                           item.errcode_normal_prio, bytesOf(item.svc_ctx_high_prio), bytesOf(item.svc_ctx_normal_prio),
                           item.time_stamp_svc);
  }
  // Everything that is stored.
  static auto fieldsOf(const Item& item) {
    return std::make_tuple(Table::keyOf(item), contextOf(item), item.time_stamp_app, Table::moreFieldsOf(item));
  }
  static auto bulkFieldsOf(const Item& item) { return fieldsOf(item); }

  static uint32_t countByPrimaryKey(const Item& item, uint32_t* count) {
    FibDbKeyDesc desc{};
    uint8_t key[64];
    Table::keyField(&desc, key, &item);
    EXPECT_EQ(desc.indexId, Table::kPrimary);
    return Table::countByKey(&desc, key, count);
  }
  // The indexes of one table, and those of both.
  static std::vector<Index<Key, Item>> withCommon(std::vector<Index<Key, Item>> indexes) {
    const auto any = [](const Item&, const Item&) { return true; };
    indexes.insert(indexes.end(),
                   {{any, [](const Item&) { return walk<Table>(Table::iterate(kAny)); }},
                    {any, [](const Item&) { return walk<Table>(Table::iterateByKey(nullptr, nullptr, kAny)); }},
                    {[](const Item& record, const Item& item) { return Table::keyOf(record) == Table::keyOf(item); },
                     nullptr, countByPrimaryKey},
                    {[](const Item& record, const Item& item) { return record.key_word1 == item.key_word1; },
                     [](const Item& item) { return walk<Table>(Table::iterateByIndex(item.key_word1, kAny)); },
                     [](const Item& item, uint32_t* count) { return Table::countByIndex(item.key_word1, count); },
                     [](const Item& item, uint32_t bufLen, Item* items, uint32_t* filled) {
                       return Table::readByIndex(item.key_word1, bufLen, items, filled);
                     }}});
    return indexes;
  }
};

struct VpnSid : WholeRow<VpnSid, FibDbNhpVpnSidItem> {
  static constexpr const char* kName = "nhp_vpnsid";
  static constexpr uint32_t kStat = FIB_DB_TABLE_NHP_VPNSID;
  static constexpr uint32_t kPrimary = FIB_DB_NHP_VPNSID_PRIMARY;
  static constexpr size_t kRowLength = sizeof(FibDbNhpVpnSidRow);
  static constexpr size_t kAddressAt = 12;

  static Item itemOf(const Key& key) {
    Item item{.key_word1 = key.index, .key_word2 = key.second, .key_word3 = key.third};
    putAddress(item.sid, key.address);
    return item;
  }
  static Key keyOf(const Item& item) { return {item.key_word1, item.key_word2, item.key_word3, numberOf(item.sid), 0}; }
  static Key anyKey(std::mt19937& random) {
    return {draw(random, 5), draw(random, 3), draw(random, 2), draw(random, 3), 0};
  }
  // What the other indexes look at.
  static void scatter(Item& item, std::mt19937& random) {
    putAddress(item.addr2, draw(random, 2));
    item.attr_byte1 = static_cast<uint8_t>(draw(random, 2));
    item.attr_byte2 = static_cast<uint8_t>(draw(random, 2));
    item.time_stamp_app = random();
    item.time_stamp_svc = random();
  }
  static void fill(Item& item) {
    item.attr_word1 = 1;
    putAddress(item.addr2, 2);
    putAddress(item.addr3, 3);
    item.attr_word2 = 4;
    item.attr_word3 = 5;
    item.attr_byte1 = 6;
    item.attr_byte2 = 7;
    item.attr_byte3 = 8;
    item.flags = 9;
    item.attr_word4 = 10;
    item.attr_word5 = 11;
    std::memset(item.block16a, 12, sizeof item.block16a);
    std::memset(item.block16b, 13, sizeof item.block16b);
    item.app_source_id = 14;
    item.group_smooth_id = 15;
    item.app_obj_id = 16ull << 40;
    item.app_version = 17;
    std::memset(item.block32a, 18, sizeof item.block32a);
    std::memset(item.block32b, 19, sizeof item.block32b);
  }
  static auto moreFieldsOf(const Item& item) {
    return std::make_tuple(item.attr_word1, bytesOf(item.sid), bytesOf(item.addr2), bytesOf(item.addr3),
                           item.attr_word2, item.attr_word3, item.attr_byte1, item.attr_byte2, item.attr_byte3,
                           item.flags, item.attr_word4, item.attr_word5, bytesOf(item.block16a), bytesOf(item.block16b),
                           item.app_source_id, item.group_smooth_id, item.app_obj_id, item.app_version,
                           bytesOf(item.block32a), bytesOf(item.block32b));
  }

  static std::vector<Index<Key, Item>> indexes() {
    return withCommon(
        {{[](const Item& a, const Item& b) {
            return a.key_word2 == b.key_word2 && a.key_word3 == b.key_word3 && bytesOf(a.addr2) == bytesOf(b.addr2) &&
                   a.attr_byte1 == b.attr_byte1 && a.attr_byte2 == b.attr_byte2;
          },
          [](const Item& i) {
            return walk<VpnSid>(FIB_DB_CreateNhpVpnSidIteratorByXsidInfo(i.key_word2, i.key_word3, i.addr2,
                                                                         i.attr_byte1, i.attr_byte2, kAny));
          }},
         {[](const Item& a, const Item& b) {
            return a.key_word2 == b.key_word2 && a.key_word3 == b.key_word3 && bytesOf(a.sid) == bytesOf(b.sid);
          },
          [](const Item& i) {
            return walk<VpnSid>(FIB_DB_CreateNhpVpnSidIteratorByVpnSid(i.key_word2, i.key_word3, i.sid, kAny));
          }}});
  }

  static constexpr auto read = FIB_DB_ReadNhpVpnSid;
  static constexpr auto keyField = FIB_DB_SetNhpVpnSidKeyField;
  static constexpr auto write = FIB_DB_WriteNhpVpnSid;
  static constexpr auto remove = FIB_DB_RemoveNhpVpnSid;
  static constexpr auto removeByIndex = FIB_DB_RemoveNhpVpnSidByNhpIndex;
  static constexpr auto readByIndex = FIB_DB_ReadNhpVpnSidByNhpIndex;
  static constexpr auto countByKey = FIB_DB_CountNhpVpnSidByKey;
  static constexpr auto countByIndex = FIB_DB_CountNhpVpnSidByNhpIndex;
  static constexpr auto updateContext = FIB_DB_UpdateNhpVpnSidContext;
  static constexpr auto iterate = FIB_DB_CreateNhpVpnSidIterator;
  static constexpr auto iterateByKey = FIB_DB_CreateNhpVpnSidIteratorByKey;
  static constexpr auto iterateByIndex = FIB_DB_CreateNhpVpnSidIteratorByNhpIndex;
  static constexpr auto next = FIB_DB_GetNextNhpVpnSidEntry;
  static constexpr auto release = FIB_DB_ReleaseNhpVpnSidIterator;
  static constexpr auto createObject = db_create_nhp_vpnsid_obj;
  static constexpr auto releaseObject = db_release_nhp_vpnsid_object;
};

struct Srv6Te : WholeRow<Srv6Te, FibDbNhpSrv6TeItem> {
  static constexpr const char* kName = "pp4ext_srv6_te";
  static constexpr uint32_t kStat = FIB_DB_TABLE_PP4EXT_SRV6_TE;
  static constexpr uint32_t kPrimary = FIB_DB_PP4EXT_SRV6_TE_PRIMARY;
  static constexpr size_t kRowLength = sizeof(FibDbNhpSrv6TeRow);
  static constexpr size_t kAddressAt = 16;

  static Item itemOf(const Key& key) {
    Item item{.key_word1 = key.index,
              .key_word2 = key.second,
              .key_word3 = key.third,
              .key_word4 = key.more >> 8,
              .type_byte = static_cast<uint8_t>(key.more)};
    putAddress(item.addr, key.address);
    return item;
  }
  static Key keyOf(const Item& item) {
    return {item.key_word1, item.key_word2, item.key_word3, numberOf(item.addr), item.key_word4 << 8 | item.type_byte};
  }
  static Key anyKey(std::mt19937& random) {
    return {draw(random, 5), draw(random, 2), draw(random, 2), draw(random, 2), draw(random, 2) << 8 | draw(random, 2)};
  }
  static void scatter(Item& item, std::mt19937& random) {
    item.time_stamp_app = random();
    item.time_stamp_svc = random();
  }
  static void fill(Item& item) {
    item.attr_byte1 = 1;
    item.attr_word1 = 2;
    putAddress(item.addr2, 3);
    item.attr_word2 = 4;
    item.attr_word3 = 5;
    item.attr_byte2 = 6;
    item.attr_byte3 = 7;
    std::memset(item.block1, 8, sizeof item.block1);
    std::memset(item.block2, 9, sizeof item.block2);
    item.attr_word4 = 10;
  }
  static auto moreFieldsOf(const Item& item) {
    return std::make_tuple(bytesOf(item.addr), item.attr_byte1, item.attr_word1, bytesOf(item.addr2), item.attr_word2,
                           item.attr_word3, item.attr_byte2, item.attr_byte3, bytesOf(item.block1),
                           bytesOf(item.block2), item.attr_word4);
  }

  static std::vector<Index<Key, Item>> indexes() {
    return withCommon({{[](const Item& a, const Item& b) {
                          return a.key_word2 == b.key_word2 && a.key_word3 == b.key_word3 &&
                                 a.key_word4 == b.key_word4 && a.type_byte == b.type_byte;
                        },
                        [](const Item& i) {
                          return walk<Srv6Te>(FIB_DB_CreateNhp4ExtSrv6TeIterByPolicyInfo(
                              i.key_word2, i.key_word3, i.key_word4, i.type_byte, kAny));
                        }}});
  }

  // The table has no read of one record but this.
  static uint32_t read(Item* item) {
    FibDbKeyDesc desc{};
    uint8_t key[33];
    FIB_DB_SetNhp4ExtSrv6TeKeyField(&desc, key, item);
    uint32_t found = 0;
    const uint32_t status = FIB_DB_ReadNhp4ExtSrv6TeByKey(&desc, key, sizeof *item, item, &found);
    return status == 0 && found == 0 ? uint32_t{DB_ERR_NO_DATA} : status;
  }

  static constexpr auto keyField = FIB_DB_SetNhp4ExtSrv6TeKeyField;
  static constexpr auto write = FIB_DB_WriteNhp4ExtSrv6Te;
  static constexpr auto remove = FIB_DB_RemoveNhpPp4ExtSrv6Te;
  static constexpr auto removeByIndex = FIB_DB_RemoveNhp4ExtSrv6TeByNhpIndex;
  static constexpr auto readByIndex = FIB_DB_ReadNhp4ExtSrv6TeByNhpIndex;
  static constexpr auto countByKey = FIB_DB_CountNhp4ExtSrv6TeByKey;
  static constexpr auto countByIndex = FIB_DB_CountNhp4ExtSrv6TeByNhpIndex;
  static constexpr auto updateContext = FIB_DB_UpdateNhp4ExtSrv6TeContext;
  static constexpr auto iterate = FIB_DB_CreateNhp4ExtSrv6TeIterator;
  static constexpr auto iterateByKey = FIB_DB_CreateNhp4ExtSrv6TeIteratorByKey;
  static constexpr auto iterateByIndex = FIB_DB_CreateNhp4ExtSrv6TeIterByNhpIndex;
  static constexpr auto next = FIB_DB_GetNextNhp4ExtSrv6TeEntry;
  static constexpr auto release = FIB_DB_ReleaseNhp4ExtSrv6TeIterator;
  static constexpr auto createObject = db_create_pp4ext_srv6_te_obj;
  static constexpr auto releaseObject = db_release_pp4ext_srv6_te_object;
};

template <class Table>
class WholeRowTest : public EngineTest {
 protected:
  using Item = typename Table::Item;

  static Item fullItem(const Key& key) {
    Item item = Table::itemOf(key);
    Table::fill(item);
    item.status_high_prio = 20;
    item.status_normal_prio = 21;
    item.errcode_high_prio = 22;
    item.errcode_normal_prio = 23;
    std::memset(item.svc_ctx_high_prio, 24, sizeof item.svc_ctx_high_prio);
    std::memset(item.svc_ctx_normal_prio, 25, sizeof item.svc_ctx_normal_prio);
    item.time_stamp_app = 26ull << 40;
    item.time_stamp_svc = 27ull << 40;
    return item;
  }
};

using Tables = testing::Types<VpnSid, Srv6Te>;
TYPED_TEST_SUITE(WholeRowTest, Tables, TableNames);

TYPED_TEST(WholeRowTest, Lives_its_life) {
  using Item = typename TypeParam::Item;
  const Key key{42, 2, 3, 4, 0};
  Item item = this->fullItem(key);
  Item read = TypeParam::itemOf(key);
  EXPECT_EQ(TypeParam::read(&read), 15005u);
  EXPECT_EQ(TypeParam::write(&item), 0u);
  EXPECT_EQ(TypeParam::read(&read), 0u);
  EXPECT_TRUE(TypeParam::fieldsOf(read) == TypeParam::fieldsOf(item));

  // A context update changes the context alone.
  Item change = TypeParam::itemOf(key);
  change.status_high_prio = 34;
  std::memset(change.svc_ctx_normal_prio, 35, sizeof change.svc_ctx_normal_prio);
  change.time_stamp_svc = 36;
  change.time_stamp_app = 37;
  EXPECT_EQ(TypeParam::updateContext(&change), 0u);
  EXPECT_EQ(TypeParam::read(&read), 0u);
  EXPECT_TRUE(TypeParam::contextOf(read) == TypeParam::contextOf(change));
  EXPECT_EQ(read.time_stamp_app, 26ull << 40);
  EXPECT_TRUE(TypeParam::moreFieldsOf(read) == TypeParam::moreFieldsOf(item));

  // A second write replaces all of it.
  const Item bare = TypeParam::itemOf(key);
  EXPECT_EQ(TypeParam::write(&bare), 0u);
  EXPECT_EQ(TypeParam::read(&read), 0u);
  EXPECT_TRUE(TypeParam::fieldsOf(read) == TypeParam::fieldsOf(bare));

  EXPECT_EQ(TypeParam::remove(&item), 0u);
  EXPECT_EQ(TypeParam::read(&read), 15005u);
  EXPECT_EQ(TypeParam::remove(&item), 15005u);
  EXPECT_EQ(TypeParam::updateContext(&item), 15005u);
  EXPECT_THAT(logged, testing::SizeIs(2));
  logged.clear();
}

TYPED_TEST(WholeRowTest, The_database_holds_addresses_in_network_byte_order) {
  const auto item = TypeParam::itemOf({1, 2, 3, 0x0A, 0});
  ASSERT_EQ(TypeParam::write(&item), 0u);
  uint64_t object = 0;
  ASSERT_EQ(TypeParam::createObject(FIB_DB_OBJ_OP_SCAN, 0, &object), 0u);
  uint64_t iterator = 0;
  ASSERT_EQ(db_create_root_iter(object, nullptr, nullptr, &iterator), 0u);
  ASSERT_EQ(db_root_iterator_next(iterator), 0u);
  std::vector<uint8_t> row(TypeParam::kRowLength);
  EXPECT_EQ(db_read_obj_with_buf(object, nullptr, nullptr, row.data(), static_cast<uint32_t>(row.size())), 0u);
  const auto address = row.begin() + TypeParam::kAddressAt;
  EXPECT_THAT(std::vector<uint8_t>(address, address + 16),
              ElementsAre(0x20, 0x01, 0x0D, 0xB8, 0x0A, 0, 0, 0, 1, 2, 3, 4, 0, 0, 0, 0x0A));
  EXPECT_EQ(TypeParam::releaseObject(object), 0u);
}

TYPED_TEST(WholeRowTest, Bulk_reads_fill_what_there_is_room_for) {
  using Item = typename TypeParam::Item;
  expectBulkReadsFillWhatThereIsRoomFor<TypeParam>(
      [this](uint32_t index, uint32_t i) {
        return this->fullItem({index, i, 5, 6, 0});
      },
      [this](const Item& item) {
        return TypeParam::fieldsOf(item) == TypeParam::fieldsOf(this->fullItem(TypeParam::keyOf(item)));
      });
}

TYPED_TEST(WholeRowTest, Counts_reads_and_iterators_agree_with_a_model) { expectAgreementWithAModel<TypeParam>(); }

TYPED_TEST(WholeRowTest, A_publication_is_a_success_that_is_counted) {
  const uint32_t before = g_fibDbErrStat[TypeParam::kStat][FIB_DB_OPER_PUB];
  const uint32_t table = fibdb_engine_find_table(TypeParam::kName);
  const auto item = TypeParam::itemOf({1, 2, 3, 4, 0});
  ASSERT_EQ(fibdb_engine_fault(table, DB_RET_PUB_STATUS, 1), 0u);
  EXPECT_EQ(TypeParam::write(&item), 0u);
  ASSERT_EQ(fibdb_engine_fault(table, DB_RET_PUB_STATUS, 1), 0u);
  EXPECT_EQ(TypeParam::updateContext(&item), 0u);
  EXPECT_EQ(g_fibDbErrStat[TypeParam::kStat][FIB_DB_OPER_PUB], before + 2);
}

TYPED_TEST(WholeRowTest, Iterators_with_a_property_are_refused_as_the_records_have_no_vr_id) {
  EXPECT_EQ(TypeParam::iterate(0), nullptr);
  ASSERT_THAT(logged, testing::SizeIs(1));
  EXPECT_THAT(logged[0], testing::HasSubstr(" setProperty failed, ret: "));
  logged.clear();
}

// What only the VPN SIDs have.
class VpnSidTest : public WholeRowTest<VpnSid> {};

TEST_F(VpnSidTest, A_flag_update_changes_the_flags_alone) {
  FibDbNhpVpnSidItem item = fullItem({1, 2, 3, 4, 0});
  ASSERT_EQ(FIB_DB_WriteNhpVpnSid(&item), 0u);
  FibDbNhpVpnSidItem change = VpnSid::itemOf({1, 2, 3, 4, 0});
  change.flags = 0x80000001;
  EXPECT_EQ(FIB_DB_UpdateNhpVpnSidFlag(&change), 0u);
  item.flags = 0x80000001;
  FibDbNhpVpnSidItem read = VpnSid::itemOf({1, 2, 3, 4, 0});
  EXPECT_EQ(FIB_DB_ReadNhpVpnSid(&read), 0u);
  EXPECT_TRUE(VpnSid::fieldsOf(read) == VpnSid::fieldsOf(item));
}

}  // namespace
}  // namespace fibdb::test
