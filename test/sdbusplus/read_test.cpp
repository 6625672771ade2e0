// SPDX-License-Identifier: Apache-2.0
#include "test/io/private_bus.hpp"

#include <gtest/gtest.h>

#include <boost/container/flat_map.hpp>
#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace
{

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint32_t>;
using Texts = std::vector<std::string>;
using Entries = std::vector<std::pair<std::string, Texts>>;
using Map = boost::container::flat_map<std::string, Texts>;

/** A readable message with the values that sd_bus_message_append takes. */
template <typename... Args>
sdbusplus::message_t messageWith(const char* types, Args... args)
{
    static const PrivateBus bus;
    static sd_bus* const connection = bus.open();
    sd_bus_message* m = nullptr;
    sd_bus_message_new_signal(connection, &m, "/a", "a.b", "C");
    EXPECT_GE(sd_bus_message_append(m, types, args...), 0) << types;
    EXPECT_EQ(sd_bus_message_seal(m, 1, 0), 0);
    return sdbusplus::message_t(m, std::false_type());
}

template <typename T>
T valueIn(sdbusplus::message_t m)
{
    T value{};
    m.read(value);
    return value;
}

/** What reading a value says, which then has to be as it was. */
template <typename T>
std::string refusal(sdbusplus::message_t m)
{
    T value{};
    try
    {
        m.read(value);
    }
    catch (const sdbusplus::exception::SdBusError& error)
    {
        EXPECT_EQ(value, T{});
        return error.what();
    }
    return "none";
}

/** What is said of a message that holds something else. */
std::string wrongType(const std::string& step)
{
    return step + ": System.Error.ENXIO: No such device or address";
}

const std::string fundamental =
    wrongType("sd_bus_message_read_basic fundamental");
const std::string boolean = wrongType("sd_bus_message_read_basic bool");
const std::string text = wrongType("sd_bus_message_read_basic string");
const std::string sequence =
    wrongType("sd_bus_message_enter_container emplace_back_container");
const std::string map =
    wrongType("sd_bus_message_enter_container emplace_container");
const std::string variant = wrongType("sd_bus_message_skip variant");

/** Whether this is said of what is no list of such numbers: a library of 2026
 *  reads all of a list at once. */
bool isOfNumbers(const std::string& said)
{
    return said == sequence || said == wrongType("sd_bus_message_read_array");
}

TEST(Read, takesOneValueAfterTheOther)
{
    auto m = messageWith("siub", "text", -1, 0xffffffffU, 1);
    std::string words;
    int32_t number = 0;
    uint32_t mask = 0;
    bool flag = false;
    m.read(words, number, mask, flag);
    EXPECT_EQ(words, "text");
    EXPECT_EQ(number, -1);
    EXPECT_EQ(mask, 0xffffffffU);
    EXPECT_TRUE(flag);
}

TEST(Read, takesSequences)
{
    EXPECT_EQ(valueIn<Bytes>(messageWith("ay", 3, 0, 1, 255)),
              (Bytes{0, 1, 255}));
    EXPECT_EQ(valueIn<Bytes>(messageWith("ay", 0)), Bytes());
    EXPECT_EQ(valueIn<Words>(messageWith("au", 2, 1, 2)), (Words{1, 2}));
    EXPECT_EQ(valueIn<Texts>(messageWith("as", 2, "b", "")), (Texts{"b", ""}));
    EXPECT_EQ(valueIn<Entries>(messageWith("a{sas}", 2, "b", 1, "i", "a", 0)),
              (Entries{{"b", {"i"}}, {"a", {}}}));
}

TEST(Read, takesATreeOfObjects)
{
    using Tree = std::vector<std::pair<std::string, Map>>;
    EXPECT_EQ(valueIn<Tree>(messageWith("a{sa{sas}}", 2, "/a", 2, "x", 2, "i",
                                        "j", "y", 0, "/b", 0)),
              (Tree{{"/a", {{"x", {"i", "j"}}, {"y", {}}}}, {"/b", {}}}));
}

TEST(Read, keepsTheFirstOfEqualKeys)
{
    EXPECT_EQ(valueIn<Map>(
                  messageWith("a{sas}", 3, "b", 1, "1", "a", 0, "b", 1, "2")),
              (Map{{"a", {}}, {"b", {"1"}}}));
}

TEST(Read, refusesAnotherBasicType)
{
    EXPECT_EQ(refusal<uint8_t>(messageWith("i", 1)), fundamental);
    EXPECT_EQ(refusal<int32_t>(messageWith("u", 1)), fundamental);
    EXPECT_EQ(refusal<uint32_t>(messageWith("i", 1)), fundamental);
    EXPECT_EQ(refusal<bool>(messageWith("i", 1)), boolean);
    EXPECT_EQ(refusal<std::string>(messageWith("o", "/a")), text);
    EXPECT_EQ(refusal<std::string>(messageWith("u", 1)), text);
    EXPECT_EQ(refusal<std::string>(messageWith("as", 1, "a")), text);
    EXPECT_EQ(refusal<std::string>(messageWith("v", "s", "a")), text);
}

TEST(Read, refusesAnotherContainer)
{
    EXPECT_TRUE(isOfNumbers(refusal<Bytes>(messageWith("s", "a"))));
    EXPECT_TRUE(isOfNumbers(refusal<Bytes>(messageWith("ai", 1, 2))));
    EXPECT_TRUE(isOfNumbers(refusal<Words>(messageWith("ai", 0))));
    EXPECT_EQ(refusal<Texts>(messageWith("ao", 1, "/a")), sequence);
    EXPECT_EQ(refusal<Texts>(messageWith("v", "as", 0)), sequence);
    EXPECT_EQ(refusal<Entries>(messageWith("a{si}", 0)), sequence);
    EXPECT_EQ(refusal<Map>(messageWith("a{ss}", 0)), map);
    EXPECT_EQ(refusal<Map>(messageWith("as", 0)), map);
    EXPECT_EQ(refusal<Map>(messageWith("i", 1)), map);
}

TEST(Read, refusesTheEndOfTheMessage)
{
    EXPECT_EQ(refusal<int32_t>(messageWith("")), fundamental);
    EXPECT_EQ(refusal<bool>(messageWith("")), boolean);
    EXPECT_EQ(refusal<std::string>(messageWith("")), text);
    EXPECT_TRUE(isOfNumbers(refusal<Bytes>(messageWith(""))));
    EXPECT_EQ(refusal<Map>(messageWith("")), map);
}

using Value = std::variant<std::monostate, bool, uint8_t, Bytes, std::string>;

TEST(Variant, holdsTheAlternativeThatWasSent)
{
    EXPECT_EQ(valueIn<Value>(messageWith("v", "b", 1)), Value(true));
    EXPECT_EQ(valueIn<Value>(messageWith("v", "y", 7)), Value(uint8_t{7}));
    EXPECT_EQ(valueIn<Value>(messageWith("v", "ay", 1, 7)), Value(Bytes{7}));
    EXPECT_EQ(valueIn<Value>(messageWith("v", "s", "a")), Value("a"));
}

TEST(Variant, ofAnotherTypeIsTheFirstAlternativeMadeAnew)
{
    auto m =
        messageWith("vvvvi", "v", "y", 7, "s", "text", "as", 1, "a", "i", 7, 5);
    Value inner("old");
    std::variant<uint8_t> byte = uint8_t{9};
    std::variant<Words, bool> words = true;
    std::variant<std::string, std::monostate> later = std::monostate();
    int32_t behind = 0;
    m.read(inner, byte, words, later, behind);
    EXPECT_EQ(inner, Value());
    EXPECT_EQ(byte, std::variant<uint8_t>());
    EXPECT_EQ(words.index(), 0U);
    EXPECT_EQ(later.index(), 0U);
    // What they held was skipped as a whole.
    EXPECT_EQ(behind, 5);
}

// There is nothing to skip either, and that is no error.
TEST(Variant, isTheFirstAlternativeAtTheEndOfTheMessage)
{
    Value value("old");
    messageWith("").read(value);
    EXPECT_EQ(value, Value());
}

TEST(Variant, refusesWhatIsNoVariant)
{
    EXPECT_EQ(refusal<Value>(messageWith("s", "/a")), variant);
    EXPECT_EQ(refusal<Value>(messageWith("o", "/a")), variant);
    EXPECT_EQ(refusal<Value>(messageWith("as", 1, "a")), variant);
}

TEST(Variant, isReadAsThePropertiesOfAnObject)
{
    using Properties = boost::container::flat_map<std::string, Value>;
    EXPECT_EQ(valueIn<Properties>(messageWith("a{sv}", 3, "Name", "s", "x",
                                              "Odd", "a{ss}", 0, "On", "b", 0)),
              (Properties{{"Name", "x"}, {"Odd", {}}, {"On", false}}));
}

TEST(Variant, isNotReadWhileTheMessageIsWritten)
{
    static const PrivateBus bus;
    sd_bus* const connection = bus.open();
    sd_bus_message* m = nullptr;
    ASSERT_GE(sd_bus_message_new_signal(connection, &m, "/a", "a.b", "C"), 0);
    ASSERT_GE(sd_bus_message_append(m, "v", "u", 1), 0);
    EXPECT_EQ(refusal<std::variant<uint32_t>>(
                  sdbusplus::message_t(m, std::false_type())),
              "sd_bus_message_verify_type variant: "
              "org.freedesktop.DBus.Error.AccessDenied: Operation not "
              "permitted");
    sd_bus_unref(connection);
}

} // namespace
