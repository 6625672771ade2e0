// SPDX-License-Identifier: Apache-2.0
#include "wire.hpp"

#include <algorithm>

namespace spdm
{

Bytes Reader::take(size_t size)
{
    if (!good || size > rest.size())
    {
        good = false;
        rest = {};
        return {};
    }
    Bytes taken = rest.first(size);
    rest = rest.subspan(size);
    return taken;
}

uint32_t Reader::number(size_t size)
{
    uint32_t value = 0;
    Bytes field = take(size);
    for (size_t i = field.size(); i > 0; --i)
    {
        value = value << 8 | field[i - 1];
    }
    return value;
}

uint8_t Reader::u8()
{
    return static_cast<uint8_t>(number(1));
}

uint16_t Reader::u16()
{
    return static_cast<uint16_t>(number(2));
}

uint32_t Reader::u24()
{
    return number(3);
}

uint32_t Reader::u32()
{
    return number(4);
}

std::span<uint8_t> Writer::reserve(size_t size)
{
    if (!good || size > area.size() - used)
    {
        good = false;
        return {};
    }
    std::span<uint8_t> reserved = area.subspan(used, size);
    used += size;
    return reserved;
}

void Writer::u8(uint8_t value)
{
    bytes({&value, 1});
}

void Writer::u16(uint16_t value)
{
    u8(static_cast<uint8_t>(value));
    u8(static_cast<uint8_t>(value >> 8));
}

void Writer::u32(uint32_t value)
{
    u16(static_cast<uint16_t>(value));
    u16(static_cast<uint16_t>(value >> 16));
}

void Writer::bytes(Bytes value)
{
    std::span<uint8_t> room = reserve(value.size());
    if (good)
    {
        std::ranges::copy(value, room.begin());
    }
}

void Writer::zeros(size_t count)
{
    std::ranges::fill(reserve(count), uint8_t{0});
}

void Writer::header(uint8_t version, uint8_t code, uint8_t param1,
                    uint8_t param2)
{
    u8(version);
    u8(code);
    u8(param1);
    u8(param2);
}

} // namespace spdm
