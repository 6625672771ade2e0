// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/JsonText.hpp"

#include <nlohmann/json.hpp>

namespace tool
{

/** The JSON document in the one string of a reply, or what is wanted of it.
 *
 *  @throw sdbusplus::exception::SdBusError for a reply without a string first
 *  @throw as io::parseJson()
 */
nlohmann::json readDocument(sdbusplus::message_t& reply,
                            const io::Wanted& wanted);

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
