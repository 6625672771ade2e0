// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "handles.hpp"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/** Bytes in the D-Bus wire format, laid out by hand, so that they may be in
 *  the other byte order, or wrong. Alignment counts from the first byte. */
class WireWriter
{
  public:
    explicit WireWriter(std::endian orderIn) : order(orderIn)
    {
    }

    WireWriter& align(std::size_t to);
    WireWriter& u8(uint8_t value);
    WireWriter& u32(uint32_t value);
    WireWriter& u64(uint64_t value);
    /** Length, text and NUL, as for `s` and `o`. */
    WireWriter& text(std::string_view value);
    /** The same with a length of one byte, as for `g`. */
    WireWriter& signature(std::string_view value);
    WireWriter& raw(std::string_view bytes);

    const std::string& bytes() const
    {
        return out;
    }

  private:
    std::endian order;
    std::string out;

    void number(uint64_t value, std::size_t size);
};

/** A signal with this body as it comes out of sd-bus on the receiving end of a
 *  connection without a daemon, which would have checked the body. */
class WireMessage
{
  public:
    WireMessage(std::endian order, std::string_view signature,
                std::string_view body);

    sd_bus_message* get() const
    {
        return message.get();
    }

  private:
    BusPtr bus;
    MessagePtr message;
};
