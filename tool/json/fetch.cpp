// SPDX-License-Identifier: Apache-2.0
#include "tool/json/fetch.hpp"

#include <systemd/sd-bus.h>

#include <sdbusplus/exception.hpp>

namespace tool
{

nlohmann::json readDocument(sdbusplus::message_t& reply,
                            const io::Wanted& wanted)
{
    // Read where it is: a copy of a long text would be the larger part of what
    // a listing takes.
    const char* text = nullptr;
    const int result =
        sd_bus_message_read_basic(reply.get(), SD_BUS_TYPE_STRING, &text);
    if (result < 0)
    {
        throw sdbusplus::exception::SdBusError(
            -result, "sd_bus_message_read_basic string");
    }
    return io::parseJson(text, wanted);
}

} // namespace tool
