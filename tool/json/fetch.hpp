// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/JsonText.hpp"

#include <systemd/sd-bus.h>

#include <nlohmann/json.hpp>

namespace tool
{

/** The JSON document in the one string of a reply, or what is wanted of it.
 *
 *  @throw sdbusplus::exception::SdBusError for a reply without a string first
 *  @throw as io::parseJson()
 */
inline nlohmann::json readDocument(sdbusplus::message_t& reply,
                                   const io::Wanted& wanted)
{
    // Read where it is: a copy of a long text would be the larger part of what
    // a listing takes.
    const char* text = nullptr;
    io::bus::check(sd_bus_message_read_basic(reply.get(), SD_BUS_TYPE_STRING,
                                             static_cast<void*>(&text)),
                   "sd_bus_message_read_basic string");
    return io::parseJson(text, wanted);
}

/** Call a method whose reply is a JSON document in one string.
 *
 *  @throw as io::bus::call() and readDocument()
 */
template <typename... Args>
io::bus::Answer<nlohmann::json>
fetchDocument(const DbusConnPtr& bus, const io::bus::Target& target,
              const char* method, const io::Wanted& wanted, const Args&... args)
{
    auto reply = io::bus::call(bus, target, method, args...);
    if (!reply)
    {
        return std::unexpected(std::move(reply.error()));
    }
    return readDocument(*reply, wanted);
}

} // namespace tool
