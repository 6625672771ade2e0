// SPDX-License-Identifier: Apache-2.0
#include "support/journal.hpp"

#include <gtest/gtest.h>

#include <phosphor-logging/lg2.hpp>

#include <cstdint>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>

namespace
{

enum class Colour : uint8_t
{
    red,
};

std::string to_string(Colour /*colour*/)
{
    return "a colour whose name is long enough to be allocated";
}

template <typename... Ts>
std::string logged(Ts&&... ts)
{
    Journal journal;
    lg2::info("{V}", "V", std::forward<Ts>(ts)...);
    const Fields record = journal.take();
    std::string value = valueOf(record, "V");
    EXPECT_EQ(valueOf(record, "MESSAGE"), value);
    return value;
}

TEST(Value, isANumberForIntegers)
{
    EXPECT_EQ(logged(0), "0");
    EXPECT_EQ(logged(-1), "-1");
    EXPECT_EQ(logged(uint8_t{200}), "200");
    EXPECT_EQ(logged(int8_t{-100}), "-100");
    EXPECT_EQ(logged('a'), "97");
    EXPECT_EQ(logged(uint16_t{65535}), "65535");
    EXPECT_EQ(logged(std::numeric_limits<int64_t>::min()),
              "-9223372036854775808");
    EXPECT_EQ(logged(std::numeric_limits<uint64_t>::max()),
              "18446744073709551615");
    EXPECT_EQ(logged(lg2::dec, 12), "12");
    EXPECT_EQ(logged(lg2::dec | lg2::field32, 12), "12");
    EXPECT_EQ(logged(lg2::signed_val, -12), "-12");
    EXPECT_EQ(logged(lg2::unsigned_val, 12U), "12");
}

TEST(Value, isHexadecimal)
{
    EXPECT_EQ(logged(lg2::hex, 0U), "0x0");
    EXPECT_EQ(logged(lg2::hex, 0xabcU), "0xabc");
    EXPECT_EQ(logged(lg2::hex | lg2::field8, 0xaU), "0x0a");
    EXPECT_EQ(logged(lg2::field8 | lg2::hex, 0xabcU), "0xabc");
    EXPECT_EQ(logged(lg2::hex | lg2::field16, 0xabcU), "0x0abc");
    EXPECT_EQ(logged(lg2::hex | lg2::field32, 0x80010001U), "0x80010001");
    EXPECT_EQ(logged(lg2::hex | lg2::field64, 1U), "0x0000000000000001");
    EXPECT_EQ(logged(lg2::hex, int8_t{-1}), "0xffffffffffffffff");
    EXPECT_EQ(logged(lg2::hex | lg2::field8, -2), "0xfffffffffffffffe");
}

TEST(Value, isBinary)
{
    EXPECT_EQ(logged(lg2::bin | lg2::field8, 5U), "0b00000101");
    EXPECT_EQ(logged(lg2::bin | lg2::field8, 0x1ffU), "0b11111111");
    EXPECT_EQ(logged(lg2::bin | lg2::field16, 5U), "0b0000000000000101");
    EXPECT_EQ(logged(lg2::bin | lg2::field32, 0x80000001U),
              "0b10000000000000000000000000000001");
    EXPECT_EQ(logged(lg2::bin, -1), "0b" + std::string(64, '1'));
    EXPECT_EQ(logged(lg2::bin | lg2::field64, 0U), "0b" + std::string(64, '0'));
}

TEST(Value, isAWordForBooleans)
{
    EXPECT_EQ(logged(true), "True");
    EXPECT_EQ(logged(false), "False");
    EXPECT_EQ(logged(lg2::str, true), "True");
}

TEST(Value, isAFractionForFloatingPoint)
{
    EXPECT_EQ(logged(1.5), "1.500000");
    EXPECT_EQ(logged(-0.25F), "-0.250000");
    EXPECT_EQ(logged(lg2::floating, 1e10), "10000000000.000000");
}

TEST(Value, isTextForText)
{
    char writable[] = "array";
    const char* pointer = "pointer";
    EXPECT_EQ(logged(std::string("string")), "string");
    EXPECT_EQ(logged(std::string_view("view")), "view");
    EXPECT_EQ(logged(pointer), "pointer");
    EXPECT_EQ(logged(writable), "array");
    EXPECT_EQ(logged(static_cast<char*>(writable)), "array");
    EXPECT_EQ(logged(std::filesystem::path("/a/b")), "/a/b");
    EXPECT_EQ(logged(lg2::str, std::string("string")), "string");
    EXPECT_EQ(logged(std::string()), "");
}

TEST(Value, endsAtTheFirstNul)
{
    EXPECT_EQ(logged(std::string("ab\0cd", 5)), "ab");
}

TEST(Value, isTheTextOfAnException)
{
    const std::runtime_error error("it broke");
    const std::exception& base = error;
    EXPECT_EQ(logged(error), "it broke");
    EXPECT_EQ(logged(base), "it broke");
}

TEST(Value, isAnAddressForPointers)
{
    EXPECT_EQ(logged(reinterpret_cast<void*>(0x1234)), "0x0000000000001234");
    EXPECT_EQ(logged(nullptr), "0x0000000000000000");
}

TEST(Value, isWhatToStringSays)
{
    EXPECT_EQ(logged(Colour::red), to_string(Colour::red));
}

} // namespace
