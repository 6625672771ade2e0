// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/BusAppend.hpp"

#include <systemd/sd-bus.h>

#include <sdbusplus/exception.hpp>

#include <cerrno>

namespace io::bus
{

namespace
{

/** What a call that cannot be built says. */
void check(int result)
{
    if (result < 0)
    {
        throw sdbusplus::exception::SdBusError(
            -result, "An argument cannot be sent: sd_bus_message_append");
    }
}

} // namespace

void append(sd_bus_message* call, const char* text)
{
    check(sd_bus_message_append_basic(call, SD_BUS_TYPE_STRING, text));
}

void append(sd_bus_message* call, const std::string& text)
{
    if (text.find('\0') != std::string::npos)
    {
        check(-EINVAL);
    }
    append(call, text.c_str());
}

void appendNumber(sd_bus_message* call, char type, const void* number)
{
    check(sd_bus_message_append_basic(call, type, number));
}

void append(sd_bus_message* call, const std::vector<uint8_t>& bytes)
{
    check(sd_bus_message_append_array(call, SD_BUS_TYPE_BYTE, bytes.data(),
                                      bytes.size()));
}

void append(sd_bus_message* call, const std::vector<std::string>& texts)
{
    check(sd_bus_message_open_container(call, SD_BUS_TYPE_ARRAY, "s"));
    for (const std::string& text : texts)
    {
        append(call, text);
    }
    check(sd_bus_message_close_container(call));
}

void append(sd_bus_message* call,
            const std::vector<std::pair<std::string, std::string>>& entries)
{
    check(sd_bus_message_open_container(call, SD_BUS_TYPE_ARRAY, "{ss}"));
    for (const auto& [key, value] : entries)
    {
        check(
            sd_bus_message_open_container(call, SD_BUS_TYPE_DICT_ENTRY, "ss"));
        append(call, key);
        append(call, value);
        check(sd_bus_message_close_container(call));
    }
    check(sd_bus_message_close_container(call));
}

} // namespace io::bus
