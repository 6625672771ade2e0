// SPDX-License-Identifier: Apache-2.0
#include "support/expect.hpp"

#include <boost/container/flat_map.hpp>
#include <sdbusplus/message.hpp>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

namespace
{

template <typename T>
void expectRefused(sdbusplus::message_t m, const std::string& step)
{
    T value{};
    expectWrongType([&] { m.read(value); }, step);
    EXPECT_EQ(value, T{});
}

TEST(Read, refusesAnotherBasicType)
{
    const std::string fundamental = "sd_bus_message_read_basic fundamental";
    expectRefused<uint8_t>(messageWith("i", 1), fundamental);
    expectRefused<int16_t>(messageWith("q", 1), fundamental);
    expectRefused<uint16_t>(messageWith("n", 1), fundamental);
    expectRefused<int32_t>(messageWith("u", 1), fundamental);
    expectRefused<uint32_t>(messageWith("i", 1), fundamental);
    expectRefused<int64_t>(messageWith("t", uint64_t{1}), fundamental);
    expectRefused<uint64_t>(messageWith("s", "1"), fundamental);
    expectRefused<double>(messageWith("x", int64_t{1}), fundamental);
    expectRefused<const char*>(messageWith("y", 1), fundamental);
    expectRefused<bool>(messageWith("i", 1), "sd_bus_message_read_basic bool");
}

TEST(Read, refusesAnotherKindOfText)
{
    const std::string text = "sd_bus_message_read_basic string";
    expectRefused<std::string>(messageWith("o", "/a"), text);
    expectRefused<std::string>(messageWith("u", 1), text);
    expectRefused<std::string>(messageWith("as", 1, "a"), text);
    expectRefused<std::string>(messageWith("v", "s", "a"), text);
    expectRefused<sdbusplus::message::object_path>(messageWith("s", "/a"),
                                                   text);
    expectRefused<sdbusplus::message::signature>(messageWith("s", "s"), text);
}

TEST(Read, refusesAnotherSequence)
{
    const std::string enter =
        "sd_bus_message_enter_container emplace_back_container";
    expectRefused<std::vector<uint8_t>>(messageWith("s", "a"), enter);
    expectRefused<std::vector<uint8_t>>(messageWith("ai", 1, 2), enter);
    expectRefused<std::vector<uint32_t>>(messageWith("ai", 0), enter);
    expectRefused<std::vector<std::string>>(messageWith("ao", 1, "/a"), enter);
    expectRefused<std::vector<std::string>>(messageWith("v", "as", 0), enter);
    expectRefused<std::vector<bool>>(messageWith("ay", 0), enter);
    expectRefused<std::vector<std::pair<std::string, std::string>>>(
        messageWith("a{si}", 0), enter);
}

TEST(Read, refusesAnotherMap)
{
    const std::string enter =
        "sd_bus_message_enter_container emplace_container";
    using Map = std::map<std::string, int>;
    expectRefused<Map>(messageWith("a{su}", 0), enter);
    expectRefused<Map>(messageWith("as", 0), enter);
    expectRefused<Map>(messageWith("i", 1), enter);
    expectRefused<boost::container::flat_map<std::string, int>>(
        messageWith("a{ss}", 0), enter);
    expectRefused<std::set<std::string>>(messageWith("ay", 0), enter);
}

TEST(Read, refusesTheEndOfTheMessage)
{
    const auto empty = messageWith("");
    expectRefused<int>(empty, "sd_bus_message_read_basic fundamental");
    expectRefused<bool>(empty, "sd_bus_message_read_basic bool");
    expectRefused<std::string>(empty, "sd_bus_message_read_basic string");
    expectRefused<std::vector<uint8_t>>(
        empty, "sd_bus_message_enter_container emplace_back_container");
    expectRefused<std::map<std::string, int>>(
        empty, "sd_bus_message_enter_container emplace_container");
    expectRefused<std::tuple<int>>(empty,
                                   "sd_bus_message_enter_container tuple");
}

TEST(Read, keepsWhatCameBeforeTheRefusal)
{
    auto m = messageWith("isi", 1, "two", 3);
    int one = 0;
    std::string two;
    std::string three;
    expectWrongType([&] { m.read(one, two, three); },
                    "sd_bus_message_read_basic string");
    EXPECT_EQ(one, 1);
    EXPECT_EQ(two, "two");
    EXPECT_EQ(three, "");
    // Nothing of the refused value was taken out of the message.
    EXPECT_EQ(m.unpack<int>(), 3);
}

TEST(Read, leavesARefusedArrayInTheMessage)
{
    auto m = messageWith("au", 2, 7, 8);
    std::vector<uint8_t> bytes;
    EXPECT_THROW(m.read(bytes), sdbusplus::exception::SdBusError);
    EXPECT_EQ(m.unpack<std::vector<uint32_t>>(), (std::vector<uint32_t>{7, 8}));
}

TEST(Read, addsToASequence)
{
    std::vector<uint8_t> bytes{1};
    messageWith("ay", 2, 2, 3).read(bytes);
    EXPECT_EQ(bytes, (std::vector<uint8_t>{1, 2, 3}));
    std::vector<std::string> texts{"a"};
    messageWith("as", 1, "b").read(texts);
    EXPECT_EQ(texts, (std::vector<std::string>{"a", "b"}));
}

TEST(Read, keepsTheFirstOfEqualKeys)
{
    std::map<std::string, int> ordered{{"c", 0}};
    messageWith("a{si}", 3, "a", 1, "a", 2, "c", 3).read(ordered);
    EXPECT_EQ(ordered, (std::map<std::string, int>{{"a", 1}, {"c", 0}}));

    boost::container::flat_map<std::string, int> flat;
    messageWith("a{si}", 3, "b", 1, "a", 2, "b", 3).read(flat);
    EXPECT_EQ(flat, (boost::container::flat_map<std::string, int>{{"a", 2},
                                                                  {"b", 1}}));
}

TEST(Read, replacesTextAndNumbers)
{
    std::string text = "old";
    int number = 9;
    bool flag = true;
    messageWith("sib", "new", 1, 0).read(text, number, flag);
    EXPECT_EQ(text, "new");
    EXPECT_EQ(number, 1);
    EXPECT_FALSE(flag);
}

TEST(Read, takesBooleans)
{
    std::vector<bool> flags;
    messageWith("ab", 3, 1, 0, 1).read(flags);
    EXPECT_EQ(flags, (std::vector<bool>{true, false, true}));
}

TEST(Read, pointsIntoTheMessageForCStrings)
{
    auto m = messageWith("ss", "one", "two");
    const char* one = nullptr;
    const char* two = nullptr;
    m.read(one, two);
    EXPECT_STREQ(one, "one");
    EXPECT_STREQ(two, "two");
}

TEST(Read, takesATreeOfObjects)
{
    auto m = messageWith("a{sa{sas}}", 2, "/a", 2, "x", 2, "i", "j", "y", 0,
                         "/b", 0);
    using Services =
        boost::container::flat_map<std::string, std::vector<std::string>>;
    std::vector<std::pair<std::string, Services>> tree;
    m.read(tree);
    ASSERT_EQ(tree.size(), 2U);
    EXPECT_EQ(tree[0].first, "/a");
    EXPECT_EQ(tree[0].second, (Services{{"x", {"i", "j"}}, {"y", {}}}));
    EXPECT_EQ(tree[1].first, "/b");
    EXPECT_TRUE(tree[1].second.empty());
}

TEST(Read, fillsATupleOfReferences)
{
    auto m = messageWith("(is)", 1, "two");
    int one = 0;
    std::string two;
    m.read(std::tie(one, two));
    EXPECT_EQ(one, 1);
    EXPECT_EQ(two, "two");
}

TEST(Read, unpacksOneValueOrSeveral)
{
    auto m = messageWith("sib", "one", 2, 1);
    EXPECT_EQ(m.unpack<std::string>(), "one");
    EXPECT_EQ((m.unpack<int, bool>()), std::make_tuple(2, true));
}

TEST(Read, refusesAMessageThatIsStillBeingWritten)
{
    auto m = newMessage();
    m.append(1);
    int number = 0;
    expectError([&] { m.read(number); }, EACCES,
                "sd_bus_message_read_basic fundamental",
                "org.freedesktop.DBus.Error.AccessDenied",
                "Operation not permitted");
}

TEST(Read, refusesNoMessage)
{
    sdbusplus::message_t none;
    std::vector<std::string> texts;
    expectError([&] { none.read(texts); }, EINVAL,
                "sd_bus_message_enter_container emplace_back_container",
                "org.freedesktop.DBus.Error.InvalidArgs", "Invalid argument");
}

TEST(Read, refusesAnotherStruct)
{
    const std::string enter = "sd_bus_message_enter_container tuple";
    expectRefused<std::tuple<int, std::string>>(messageWith("(ii)", 1, 2),
                                                enter);
    expectRefused<std::tuple<int, std::string>>(messageWith("i", 1), enter);
    expectRefused<std::tuple<int, int>>(messageWith("ii", 1, 2), enter);
}

} // namespace
