// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

/** Little-endian fields of SPDM messages, DSP0274. */
namespace spdm
{

using Bytes = std::span<const uint8_t>;

/** Bytes of the header that every message begins with. */
constexpr size_t headerSize = 4;

/** Fields of that header; the message holds at least headerSize bytes. */
constexpr uint8_t versionOf(Bytes message)
{
    return message[0];
}

constexpr uint8_t codeOf(Bytes message)
{
    return message[1];
}

constexpr uint8_t param1Of(Bytes message)
{
    return message[2];
}

constexpr uint8_t param2Of(Bytes message)
{
    return message[3];
}

/**
 * Reads a message front to back and never past its end. A read that does not
 * fit yields zeros or an empty span and makes ok() false for good.
 */
class Reader
{
  public:
    explicit Reader(Bytes message) : rest(message)
    {
    }

    Bytes take(size_t size);
    uint8_t u8();
    uint16_t u16();
    uint32_t u24();
    uint32_t u32();

    void skip(size_t size)
    {
        take(size);
    }

    bool ok() const
    {
        return good;
    }

    size_t left() const
    {
        return rest.size();
    }

    Bytes remaining() const
    {
        return rest;
    }

  private:
    uint32_t number(size_t size);

    Bytes rest;
    bool good{true};
};

/** Writes a message front to back; what does not fit is dropped and makes ok()
 * false. */
class Writer
{
  public:
    explicit Writer(std::span<uint8_t> room) : area(room)
    {
    }

    void u8(uint8_t value);
    void u16(uint16_t value);
    void u32(uint32_t value);
    void bytes(Bytes value);
    void zeros(size_t count);
    void header(uint8_t version, uint8_t code, uint8_t param1, uint8_t param2);

    /** The next size bytes for the caller to fill; empty if there is no
     * room. */
    std::span<uint8_t> reserve(size_t size);

    size_t size() const
    {
        return used;
    }

    bool ok() const
    {
        return good;
    }

  private:
    std::span<uint8_t> area;
    size_t used{0};
    bool good{true};
};

/** True if no bit or one bit is set. */
constexpr bool atMostOneBit(uint32_t value)
{
    return (value & (value - 1)) == 0;
}

} // namespace spdm
