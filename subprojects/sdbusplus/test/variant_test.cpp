// SPDX-License-Identifier: Apache-2.0
#include "support/expect.hpp"

#include <sdbusplus/message.hpp>

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

namespace
{

TEST(Variant, holdsTheAlternativeThatWasSent)
{
    using V = std::variant<bool, uint8_t, int64_t, double, std::string,
                           sdbusplus::message::object_path,
                           std::vector<std::string>, std::tuple<int, bool>>;
    const auto read = [](auto... args)
    { return messageWith(args...).template unpack<V>(); };
    EXPECT_EQ(read("v", "b", 1), V(true));
    EXPECT_EQ(read("v", "y", 7), V(uint8_t{7}));
    EXPECT_EQ(read("v", "x", int64_t{-7}), V(int64_t{-7}));
    EXPECT_EQ(read("v", "d", 0.5), V(0.5));
    EXPECT_EQ(read("v", "s", "text"), V(std::string("text")));
    EXPECT_EQ(read("v", "o", "/a"), V(sdbusplus::message::object_path("/a")));
    EXPECT_EQ(read("v", "as", 2, "a", "b"),
              V(std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(read("v", "(ib)", 3, 1), V(std::make_tuple(3, true)));
}

TEST(Variant, ofAnotherTypeIsTheFirstAlternativeMadeAnew)
{
    auto m = messageWith("vvi", "s", "text", "as", 1, "a", 5);
    std::variant<uint32_t> number = 9U;
    std::variant<std::vector<uint8_t>, int> bytes = 9;
    int behind = 0;
    m.read(number, bytes, behind);
    EXPECT_EQ(number, std::variant<uint32_t>(0U));
    EXPECT_EQ(bytes.index(), 0U);
    EXPECT_TRUE(std::get<0>(bytes).empty());
    // What it held was skipped as a whole.
    EXPECT_EQ(behind, 5);
}

TEST(Variant, ofAnotherTypeIsAMonostateThatStandsFirst)
{
    using V = std::variant<std::monostate, std::string>;
    EXPECT_EQ(messageWith("v", "i", 1).unpack<V>(), V());
    EXPECT_EQ(messageWith("v", "s", "a").unpack<V>(), V("a"));
}

TEST(Variant, ofAnotherTypeIsNoMonostateThatStandsLater)
{
    using V = std::variant<std::string, std::monostate>;
    EXPECT_EQ(messageWith("v", "i", 1).unpack<V>(), V(""));
}

TEST(Variant, refusesWhatIsNoVariant)
{
    std::variant<std::string, int> value = 7;
    for (const auto* types : {"s", "o"})
    {
        auto m = messageWith(types, "/a");
        expectWrongType([&] { m.read(value); }, "sd_bus_message_skip variant");
    }
    auto array = messageWith("as", 1, "a");
    expectWrongType([&] { array.read(value); }, "sd_bus_message_skip variant");
    EXPECT_EQ(value, (std::variant<std::string, int>(7)));
}

// There is nothing to skip either, and that is no error.
TEST(Variant, isTheFirstAlternativeAtTheEndOfTheMessage)
{
    std::variant<std::string> value = "old";
    messageWith("").read(value);
    EXPECT_EQ(value, std::variant<std::string>(""));
}

TEST(Variant, insideAVariant)
{
    using Inner = std::variant<std::monostate, int>;
    using Outer = std::variant<std::monostate, Inner>;
    EXPECT_EQ(messageWith("v", "v", "i", 5).unpack<Outer>(), Outer(Inner(5)));
    EXPECT_EQ(messageWith("v", "v", "s", "x").unpack<Outer>(), Outer(Inner()));
    EXPECT_EQ(messageWith("v", "i", 5).unpack<Outer>(), Outer());
}

TEST(Variant, asThePropertiesOfAnObject)
{
    auto m = messageWith("a{sv}", 3, "Name", "s", "x", "Size", "t",
                         uint64_t{1} << 40U, "Odd", "a{ss}", 0);
    std::map<std::string, std::variant<std::monostate, std::string, uint64_t>>
        properties;
    m.read(properties);
    EXPECT_EQ(std::get<std::string>(properties["Name"]), "x");
    EXPECT_EQ(std::get<uint64_t>(properties["Size"]), uint64_t{1} << 40U);
    EXPECT_EQ(properties["Odd"].index(), 0U);
}

} // namespace
