// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/JsonText.hpp"

#include <nlohmann/json.hpp>

#include <string>

namespace tool
{

/** Call a method whose reply is a JSON document in one string.
 *
 *  @throw as io::bus::ask() and io::parseJson()
 */
template <typename... Args>
io::bus::Answer<nlohmann::json>
fetchDocument(const DbusConnPtr& bus, const io::bus::Target& target,
              const char* method, const Args&... args)
{
    const auto text = io::bus::ask<std::string>(bus, target, method, args...);
    if (!text)
    {
        return std::unexpected(text.error());
    }
    return io::parseJson(*text);
}

} // namespace tool
