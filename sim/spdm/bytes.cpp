// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/bytes.hpp"

#include <stdexcept>

namespace sim::spdm
{

View Reader::take(size_t count)
{
    if (count > rest.size())
    {
        bad = true;
        rest = {};
        return {};
    }
    View taken = rest.first(count);
    rest = rest.subspan(count);
    return taken;
}

uint64_t Reader::number(size_t width)
{
    uint64_t value = 0;
    unsigned shift = 0;
    for (uint8_t byte : take(width))
    {
        value |= uint64_t{byte} << shift;
        shift += 8;
    }
    return value;
}

Writer& Writer::bytes(View more)
{
    append(data, more);
    return *this;
}

Writer& Writer::zeros(size_t count)
{
    data.resize(data.size() + count);
    return *this;
}

Writer& Writer::number(uint64_t value, size_t width)
{
    for (size_t i = 0; i < width; i++)
    {
        data.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }
    return *this;
}

Writer message(uint8_t spdmVersion, uint8_t code, uint8_t param1,
               uint8_t param2)
{
    Writer writer;
    writer.u8(spdmVersion).u8(code).u8(param1).u8(param2);
    return writer;
}

void append(Bytes& to, View from)
{
    to.insert(to.end(), from.begin(), from.end());
}

static uint8_t hexDigit(char digit)
{
    constexpr std::string_view digits = "0123456789abcdef";
    char lower = digit >= 'A' && digit <= 'F'
                   ? static_cast<char>(digit - 'A' + 'a')
                   : digit;
    size_t value = digits.find(lower);
    if (value == std::string_view::npos)
    {
        throw std::invalid_argument("what is no hexadecimal digit");
    }
    return static_cast<uint8_t>(value);
}

Bytes fromHex(std::string_view text)
{
    Bytes result;
    while (!text.empty())
    {
        if (text.front() == ' ')
        {
            text.remove_prefix(1);
            continue;
        }
        if (text.size() < 2)
        {
            throw std::invalid_argument("half a byte at the end");
        }
        result.push_back(
            static_cast<uint8_t>(hexDigit(text[0]) << 4 | hexDigit(text[1])));
        text.remove_prefix(2);
    }
    return result;
}

} // namespace sim::spdm
