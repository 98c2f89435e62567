#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/dirsvc.h"
#include "platform/host/address_book.h"
#include "tests/platform/host/test_directory.h"
#include "tests/platform/host/test_server.h"

namespace {

using host_test::kSlot;
using host_test::TestServer;
using host_test::uniqueName;

DirsvcRecord keyOf(const std::string &name, uint8_t slot) {
  DirsvcRecord key = {};
  name.copy(key.name, sizeof(key.name));
  key.slot = slot;
  return key;
}

int32_t lookUp(const std::string &name, uint8_t slot) {
  const DirsvcRecord key = keyOf(name, slot);
  DirsvcRecord result = {};
  return dirsvcGetEntryByAttr(&key, &result);
}

TEST(DirectoryTest, AComponentIsFoundWhileItIsServed) {
  const std::string name = uniqueName("component");
  EXPECT_EQ(lookUp(name, kSlot), -1);
  {
    const TestServer server(name);
    EXPECT_EQ(lookUp(name, kSlot), 0);
    EXPECT_EQ(lookUp(name, kSlot + 1), -1);
    EXPECT_EQ(lookUp(name + "x", kSlot), -1);
  }
  EXPECT_EQ(lookUp(name, kSlot), -1);
}

TEST(DirectoryTest, LookingDoesNotConnect) {
  const std::string name = uniqueName("component");
  TestServer server(name);
  server.start();
  EXPECT_EQ(lookUp(name, kSlot), 0);
  server.pause();
  EXPECT_TRUE(server.connected().empty());
}

TEST(DirectoryTest, TheResultTellsWhereAndTheAddressStaysTheSame) {
  const std::string name = uniqueName("component");
  const TestServer server(name);
  DirsvcRecord key = keyOf(name, kSlot);
  key.chassis = 7;
  DirsvcRecord first = {};
  DirsvcRecord second = {};
  ASSERT_EQ(dirsvcGetEntryByAttr(&key, &first), 0);
  ASSERT_EQ(dirsvcGetEntryByAttr(&key, &second), 0);
  EXPECT_STREQ(first.name, name.c_str());
  EXPECT_EQ(first.chassis, 7);
  EXPECT_EQ(first.slot, kSlot);
  const uint64_t address = first.address;
  EXPECT_NE(address, 0u);
  EXPECT_EQ(std::memcmp(&first, &second, sizeof(first)), 0);
  EXPECT_EQ(swplat::AddressBook::instance().resolve(address)->name, name);
}

TEST(DirectoryTest, AFailedLookUpLeavesTheResultAlone) {
  const DirsvcRecord key = keyOf("nobody", kSlot);
  DirsvcRecord result;
  std::memset(&result, 0xA5, sizeof(result));
  const DirsvcRecord before = result;
  EXPECT_EQ(dirsvcGetEntryByAttr(&key, &result), -1);
  EXPECT_EQ(std::memcmp(&result, &before, sizeof(result)), 0);
  EXPECT_EQ(dirsvcGetEntryByAttr(nullptr, &result), -1);
  EXPECT_EQ(dirsvcGetEntryByAttr(&key, nullptr), -1);
}

TEST(DirectoryTest, NamesThatCannotBeServedAreNotFound) {
  EXPECT_EQ(lookUp("", kSlot), -1);
  EXPECT_EQ(lookUp("a/b", kSlot), -1);
  EXPECT_EQ(lookUp(std::string(34, 'n'), kSlot), -1);
  const std::string longest(33, 'n');
  const TestServer server(longest);
  EXPECT_EQ(lookUp(longest, kSlot), 0);
}

TEST(DirectoryTest, NumbersThatAreNoAddressResolveToNothing) {
  swplat::AddressBook book;
  EXPECT_FALSE(book.resolve(0));
  const uint64_t first = book.intern({"a", 1});
  EXPECT_EQ(book.intern({"a", 2}), first + 1);
  EXPECT_EQ(book.intern({"a", 1}), first);
  EXPECT_FALSE(book.resolve(first - 1));
  EXPECT_FALSE(book.resolve(first + 2));
  EXPECT_EQ(book.resolve(first + 1)->slot, 2);
}

}  // namespace
