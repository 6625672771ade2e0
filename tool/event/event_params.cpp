// SPDX-License-Identifier: Apache-2.0
#include "tool/event/event_params.hpp"

#include "io/common/src/Text.hpp"

#include <string_view>

namespace tool
{

namespace
{

using io::text::findValue;

template <typename T>
T readNumber(const std::string& params, std::string_view key, T absent)
{
    const auto value = findValue(params, key);
    return value ? static_cast<T>(std::stoul(*value)) : absent;
}

std::string paramText(const std::string& params, std::string_view key)
{
    const std::string value = findValue(params, key).value_or("");
    return value.substr(0, value.find(';'));
}

} // namespace

std::optional<HiddenRequest> readHiddenRequest(const std::string& params)
{
    if (!findValue(params, "hide="))
    {
        return std::nullopt;
    }
    HiddenRequest request;
    request.type = readNumber(params, "hide=", request.type);
    request.delay = readNumber(params, "delay=", request.delay);
    return request;
}

EventParams readEventParams(const std::string& params)
{
    EventParams read;
    read.slot = readNumber(params, "slot=", read.slot);
    read.port = readNumber(params, "port=", read.port);
    read.severity = readNumber(params, "severity=", read.severity);
    read.senState = readNumber(params, "senState=", read.senState);
    read.id = paramText(params, "id=");
    read.name = paramText(params, "name=");
    read.link = paramText(params, "link=");
    return read;
}

EventKind selectEvent(const EventParams& params, uint32_t address)
{
    constexpr uint8_t absent = 255;
    if (!params.link.empty() && params.port != absent &&
        params.slot != absent && address != 0)
    {
        return EventKind::link;
    }
    if (!params.id.empty() && params.severity != absent)
    {
        return EventKind::storage;
    }
    return params.senState != 0 ? EventKind::temperature
                                : EventKind::insufficient;
}

std::string describeDevice(uint32_t address, uint8_t slot)
{
    using io::text::upperHex;
    return io::text::cat({upperHex(address >> 24, 2), ":",
                          upperHex(address >> 16 & 0xFF, 2), ":",
                          upperHex(address >> 8 & 0xFF, 2), " in Slot ",
                          io::text::decimal(slot)});
}

} // namespace tool
