// SPDX-License-Identifier: Apache-2.0
#include "support/expect.hpp"

#include <boost/container/flat_map.hpp>
#include <sdbusplus/message.hpp>

#include <array>
#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

namespace
{

/** The bytes of a body do not show; its signature and values do. */
template <typename T>
T appendAndRead(const T& value, const char* signature)
{
    auto m = newMessage();
    m.append(value);
    m = sealed(std::move(m));
    EXPECT_STREQ(m.get_signature(), signature);
    T back{};
    m.read(back);
    return back;
}

template <typename T>
void expectRoundTrip(const T& value, const char* signature)
{
    EXPECT_EQ(appendAndRead(value, signature), value) << signature;
}

template <typename T>
void expectLimits(const char* signature)
{
    expectRoundTrip(std::numeric_limits<T>::lowest(), signature);
    expectRoundTrip(std::numeric_limits<T>::max(), signature);
}

TEST(Append, takesEveryBasicType)
{
    expectLimits<uint8_t>("y");
    expectLimits<int16_t>("n");
    expectLimits<uint16_t>("q");
    expectLimits<int32_t>("i");
    expectLimits<uint32_t>("u");
    expectLimits<int64_t>("x");
    expectLimits<uint64_t>("t");
    expectLimits<double>("d");
    expectRoundTrip(true, "b");
    expectRoundTrip(false, "b");
    expectRoundTrip(std::string("text"), "s");
    expectRoundTrip(std::string(), "s");
    expectRoundTrip(sdbusplus::message::object_path("/com/example"), "o");
    expectRoundTrip(sdbusplus::message::signature(std::string("a{sv}")), "g");
}

TEST(Append, takesCStringsLiteralsAndViews)
{
    const char* pointer = "pointer";
    char array[] = "array";
    char* writable = array;
    const std::string_view view = std::string_view("viewed").substr(0, 4);

    auto m = newMessage();
    m.append(pointer, array, writable, "literal", view);
    m = sealed(std::move(m));
    EXPECT_STREQ(m.get_signature(), "sssss");
    const auto texts = m.unpack<std::string, std::string, std::string,
                                std::string, std::string>();
    EXPECT_EQ(texts,
              std::make_tuple("pointer", "array", "array", "literal", "view"));
}

TEST(Append, writesANullCStringAsEmptyText)
{
    const char* none = nullptr;
    auto m = newMessage();
    m.append(none);
    EXPECT_EQ(sealed(std::move(m)).unpack<std::string>(), "");
}

TEST(Append, endsAStringAtItsFirstNul)
{
    auto m = newMessage();
    m.append(std::string("ab\0cd", 5));
    EXPECT_EQ(sealed(std::move(m)).unpack<std::string>(), "ab");
}

TEST(Append, takesSequences)
{
    expectRoundTrip(std::vector<uint8_t>{0, 1, 255}, "ay");
    expectRoundTrip(std::vector<uint8_t>{}, "ay");
    expectRoundTrip(std::vector<uint32_t>{1, 0xffffffff}, "au");
    expectRoundTrip(std::vector<int64_t>{-1, 1}, "ax");
    expectRoundTrip(std::vector<double>{0.5, -2}, "ad");
    expectRoundTrip(std::vector<std::string>{"a", "", "b"}, "as");
    expectRoundTrip(std::vector{sdbusplus::message::object_path("/a"),
                                sdbusplus::message::object_path("/b")},
                    "ao");
    expectRoundTrip(std::vector<std::vector<uint8_t>>{{1}, {}, {2, 3}}, "aay");
    expectRoundTrip(std::deque<uint16_t>{1, 2}, "aq");
    expectRoundTrip(std::set<std::string>{"a", "b"}, "as");
}

TEST(Append, takesArraysAndSpans)
{
    const std::array<uint8_t, 3> bytes{1, 2, 3};
    const std::array<const char*, 2> texts{"a", "b"};
    auto m = newMessage();
    m.append(bytes, std::span(bytes).subspan(1), std::span<const uint8_t>(),
             texts);
    m = sealed(std::move(m));
    EXPECT_STREQ(m.get_signature(), "ayayayas");

    std::vector<uint8_t> all;
    std::vector<uint8_t> part;
    std::vector<uint8_t> none;
    std::vector<std::string> read;
    m.read(all, part, none, read);
    EXPECT_EQ(all, (std::vector<uint8_t>{1, 2, 3}));
    EXPECT_EQ(part, (std::vector<uint8_t>{2, 3}));
    EXPECT_EQ(none, std::vector<uint8_t>());
    EXPECT_EQ(read, (std::vector<std::string>{"a", "b"}));
}

TEST(Append, takesMapsOfEveryMake)
{
    expectRoundTrip(std::map<std::string, uint32_t>{{"a", 1}, {"b", 2}},
                    "a{su}");
    expectRoundTrip(std::unordered_map<std::string, bool>{{"a", true}},
                    "a{sb}");
    expectRoundTrip(boost::container::flat_map<uint8_t, std::string>{{1, "a"}},
                    "a{ys}");
    expectRoundTrip(
        std::vector<std::pair<std::string, std::string>>{
            {"b", "1"}, {"a", "2"}, {"b", "3"}},
        "a{ss}");
}

TEST(Append, takesNestedMaps)
{
    using Services =
        boost::container::flat_map<std::string, std::vector<std::string>>;
    using Tree =
        std::vector<std::pair<sdbusplus::message::object_path, Services>>;
    expectRoundTrip(Tree{{std::string("/a"), {{"x", {"i", "j"}}, {"y", {}}}},
                         {std::string("/b"), {}}},
                    "a{oa{sas}}");
    expectRoundTrip(
        std::map<std::string, std::map<std::string, std::variant<int, bool>>>{
            {"a", {{"x", 1}, {"y", true}}}},
        "a{sa{sv}}");
}

TEST(Append, takesStructs)
{
    expectRoundTrip(std::tuple<int, std::string, bool>{1, "a", true}, "(isb)");
    expectRoundTrip(
        std::vector<std::tuple<uint8_t, std::vector<uint8_t>>>{{1, {2, 3}}},
        "a(yay)");
    expectRoundTrip(std::tuple<std::tuple<int>, std::string>{{1}, "a"},
                    "((i)s)");
}

TEST(Append, takesVariants)
{
    using V = std::variant<uint32_t, std::string, std::vector<uint8_t>>;
    expectRoundTrip(V(7U), "v");
    expectRoundTrip(V("text"), "v");
    expectRoundTrip(V(std::vector<uint8_t>{1, 2}), "v");
}

// The signature then promises a path that the body does not have, and takes
// nothing else until it has one.
TEST(Append, stopsAtAPathThatIsNone)
{
    auto m = newMessage();
    m.append(1, sdbusplus::message::object_path("no path"), 2, "text");
    m = sealed(std::move(m));
    EXPECT_STREQ(m.get_signature(), "io");
    EXPECT_EQ(m.unpack<int>(), 1);
    sdbusplus::message::object_path path;
    EXPECT_THROW(m.read(path), sdbusplus::exception::SdBusError);
}

// The value that is missing is the last one then.
TEST(Append, letsTheNextTextTakeThePlaceOfOneThatIsNone)
{
    auto m = newMessage();
    m.append(std::string("\xff"), std::string("right"));
    m = sealed(std::move(m));
    EXPECT_STREQ(m.get_signature(), "s");
    EXPECT_EQ(m.unpack<std::string>(), "right");
}

TEST(Append, leavesATextThatIsNoneOutOfAnArray)
{
    auto m = newMessage();
    m.append(std::vector<std::string>{"left", "\xff", "right"}, 7);
    m = sealed(std::move(m));
    EXPECT_STREQ(m.get_signature(), "asi");
    EXPECT_EQ(m.unpack<std::vector<std::string>>(),
              (std::vector<std::string>{"left", "right"}));
    EXPECT_EQ(m.unpack<int>(), 7);
}

TEST(Append, copiesABlockOfAMegabyte)
{
    const std::vector<uint8_t> block(1U << 20U, 0x5a);
    expectRoundTrip(block, "ay");
}

} // namespace
