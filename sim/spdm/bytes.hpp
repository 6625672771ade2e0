// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/spdm/protocol.hpp"

#include <string_view>

namespace sim::spdm
{

/**
 * Reads little-endian fields from a message of unknown origin. A read past the
 * end gives zeros and marks the reader as failed; the caller asks once.
 */
class Reader
{
  public:
    explicit Reader(View data) : rest(data)
    {
    }

    uint8_t u8()
    {
        return static_cast<uint8_t>(number(1));
    }

    uint16_t u16()
    {
        return static_cast<uint16_t>(number(2));
    }

    uint32_t u32()
    {
        return static_cast<uint32_t>(number(4));
    }

    /** The next count bytes; empty if there are fewer. */
    View take(size_t count);

    void skip(size_t count)
    {
        take(count);
    }

    [[nodiscard]] bool failed() const
    {
        return bad;
    }

    [[nodiscard]] size_t left() const
    {
        return rest.size();
    }

  private:
    uint64_t number(size_t width);

    View rest;
    bool bad = false;
};

/** Builds a message of little-endian fields. */
class Writer
{
  public:
    Writer& u8(uint8_t value)
    {
        return number(value, 1);
    }

    Writer& u16(uint16_t value)
    {
        return number(value, 2);
    }

    Writer& u24(uint32_t value)
    {
        return number(value, 3);
    }

    Writer& u32(uint32_t value)
    {
        return number(value, 4);
    }

    Writer& bytes(View data);
    Writer& zeros(size_t count);

    [[nodiscard]] const Bytes& view() const
    {
        return data;
    }

    [[nodiscard]] Bytes take()
    {
        return std::move(data);
    }

  private:
    Writer& number(uint64_t value, size_t width);

    Bytes data;
};

/** A writer that has the four header bytes of an SPDM message already. */
Writer message(uint8_t spdmVersion, uint8_t code, uint8_t param1,
               uint8_t param2);

void append(Bytes& to, View from);

/**
 * Bytes of a text of hexadecimal digits, two per byte; spaces between bytes
 * are skipped. Throws std::invalid_argument for anything else.
 */
Bytes fromHex(std::string_view text);

} // namespace sim::spdm
