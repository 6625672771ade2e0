// SPDX-License-Identifier: Apache-2.0
#include "value_text.hpp"

#include <phosphor-logging/lg2/flags.hpp>

#include <bit>
#include <cstddef>

namespace lg2::details
{

namespace
{

/** Bits of the field; 0 where no width was asked for. */
std::size_t widthOf(uint64_t flags)
{
    if ((flags & bits(field8)) != 0)
    {
        return 8;
    }
    if ((flags & bits(field16)) != 0)
    {
        return 16;
    }
    if ((flags & bits(field32)) != 0)
    {
        return 32;
    }
    return (flags & bits(field64)) != 0 ? 64 : 0;
}

/** Digits of a base of 2^bitsPerDigit, with no leading zeros but those that
 *  fill up to the given number of digits. */
std::string digits(uint64_t value, unsigned bitsPerDigit, std::size_t atLeast)
{
    const uint64_t mask = (1U << bitsPerDigit) - 1U;
    std::string out;
    while (value != 0 || out.size() < atLeast)
    {
        out.insert(out.begin(), "0123456789abcdef"[value & mask]);
        value >>= bitsPerDigit;
    }
    return out;
}

/** A binary number shows its width's bits and no others; 64 by default. */
std::string binaryText(uint64_t flags, uint64_t value)
{
    const std::size_t width = widthOf(flags);
    const std::size_t shown = width == 0 ? 64 : width;
    const uint64_t mask =
        shown == 64 ? ~uint64_t{0} : (uint64_t{1} << shown) - 1U;
    return "0b" + digits(value & mask, 1, shown);
}

/** A hexadecimal number is filled up to its width but never cut to it. */
std::string hexText(uint64_t flags, uint64_t value)
{
    const std::size_t width = widthOf(flags);
    return "0x" + digits(value, 4, width == 0 ? 1 : width / 4);
}

std::string textFor(uint64_t flags, uint64_t value)
{
    if ((flags & bits(bin)) != 0)
    {
        return binaryText(flags, value);
    }
    if ((flags & bits(hex)) != 0)
    {
        return hexText(flags, value);
    }
    return std::to_string(value);
}

/** Other bases show the two's complement in 64 bits. */
std::string textFor(uint64_t flags, int64_t value)
{
    if ((flags & bits(bin | hex)) != 0)
    {
        return textFor(flags, std::bit_cast<uint64_t>(value));
    }
    return std::to_string(value);
}

std::string textFor(uint64_t /*flags*/, double value)
{
    return std::to_string(value);
}

/** Text ends at its first NUL, as it does for every C function behind. */
std::string textFor(uint64_t /*flags*/, std::string_view value)
{
    return std::string(value.substr(0, value.find('\0')));
}

} // namespace

std::string valueText(const field& f)
{
    return std::visit([&f](auto value) { return textFor(f.flags, value); },
                      f.value);
}

} // namespace lg2::details
