// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/Text.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>

namespace io::text
{

namespace
{

std::string digits(uint64_t number, unsigned base, unsigned width,
                   const char* symbols)
{
    std::string text;
    do
    {
        text.push_back(symbols[number % base]);
        number /= base;
    } while (number != 0);
    text.resize(std::max<std::size_t>(text.size(), width), '0');
    std::reverse(text.begin(), text.end());
    return text;
}

} // namespace

std::string cat(std::initializer_list<std::string_view> pieces)
{
    std::size_t size = 0;
    for (std::string_view piece : pieces)
    {
        size += piece.size();
    }
    std::string text;
    text.reserve(size);
    for (std::string_view piece : pieces)
    {
        text.append(piece);
    }
    return text;
}

std::string decimal(uint64_t number, unsigned width)
{
    return digits(number, 10, width, "0123456789");
}

std::string hex(uint64_t number, unsigned width)
{
    return digits(number, 16, width, "0123456789abcdef");
}

std::string upperHex(uint64_t number, unsigned width)
{
    return digits(number, 16, width, "0123456789ABCDEF");
}

std::string fixed(double number, int decimals)
{
    // No double has more digits in front of its point.
    std::array<char, std::numeric_limits<double>::max_exponent10 + 32> text{};
    std::snprintf(text.data(), text.size(), "%.*f", decimals, number);
    return text.data();
}

std::string alignRight(std::string_view text, std::size_t width)
{
    const std::size_t blanks = width - std::min(width, text.size());
    return std::string(blanks, ' ').append(text);
}

std::string alignLeft(std::string_view text, std::size_t width)
{
    std::string field(text);
    field.resize(std::max(field.size(), width), ' ');
    return field;
}

std::string date(std::time_t seconds)
{
    std::array<char, 26> text{};
    // None for a year of more than four digits.
    std::string_view written =
        ctime_r(&seconds, text.data()) != nullptr ? text.data() : "\n";
    written.remove_suffix(1);
    return std::string(written);
}

std::string_view afterLastDot(std::string_view text)
{
    return text.substr(text.rfind('.') + 1);
}

std::optional<std::string> findValue(const std::string& text,
                                     std::string_view key)
{
    const std::size_t at = text.find(key);
    if (at == std::string::npos)
    {
        return std::nullopt;
    }
    return text.substr(at + key.size());
}

} // namespace io::text
