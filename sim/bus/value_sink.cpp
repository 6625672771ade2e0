// SPDX-License-Identifier: Apache-2.0
#include "sim/bus/value_sink.hpp"

#include "sim/bus/bus_error.hpp"

#include <systemd/sd-bus.h>

#include <cstring>

namespace sim
{

namespace
{

template <typename T>
void appendNumber(sd_bus_message* message, char type, uint64_t bits)
{
    T value = static_cast<T>(bits);
    check(sd_bus_message_append_basic(message, type, &value), "append");
}

} // namespace

void MessageSink::number(char type, uint64_t bits)
{
    switch (type)
    {
        case 'y':
            return appendNumber<uint8_t>(message, type, bits);
        case 'n':
        case 'q':
            return appendNumber<uint16_t>(message, type, bits);
        // sd-bus takes a boolean from an int.
        case 'b':
        case 'i':
        case 'u':
            return appendNumber<uint32_t>(message, type, bits);
        default:
            return appendNumber<uint64_t>(message, type, bits);
    }
}

void MessageSink::real(double value)
{
    check(sd_bus_message_append_basic(message, 'd', &value), "append");
}

void MessageSink::text(char type, const std::string& value)
{
    check(sd_bus_message_append_basic(message, type, value.c_str()), "append");
}

void MessageSink::open(char kind, const std::string& contents)
{
    check(sd_bus_message_open_container(message, kind, contents.c_str()),
          "open container");
}

void MessageSink::close()
{
    check(sd_bus_message_close_container(message), "close container");
}

} // namespace sim
