// SPDX-License-Identifier: Apache-2.0
#include "tool/event/event.hpp"

#include "io/common/src/Events.hpp"
#include "io/common/src/Wait.hpp"
#include "tool/event/event_params.hpp"
#include "tool/output.hpp"

namespace tool
{

namespace
{

bool logHidden(const DbusConnPtr& bus, const HiddenRequest& request)
{
    io::Events::hiddenLogForChange(
        bus, static_cast<io::HiddenInvChgType>(request.type), request.delay);
    io::bus::runWhile(io::Events::isHiddenLogPending);
    return true;
}

bool raiseLink(const DbusConnPtr& bus, const EventParams& params,
               uint32_t address)
{
    const bool up = params.link == "up";
    if (!params.name.empty())
    {
        return io::Events::eventLogLomLinkStateChange(params.slot, params.port,
                                                      params.name, up);
    }
    return io::Events::auditLogLinkStateChange(
        bus, describeDevice(address, params.slot), params.port, up);
}

bool raiseStorage(const EventParams& params)
{
    const auto severity = params.severity <= 2
                            ? static_cast<io::EventSeverity>(params.severity)
                            : io::EventSeverity::informational;
    return io::Events::storageEvent(params.slot, severity, params.id,
                                    params.name.empty() ? nullptr
                                                        : params.name.c_str());
}

bool raiseTemperature(const EventParams& params)
{
    return io::Events::temperatureEvent(
        params.slot,
        static_cast<io::ThresholdSensorState>(params.senState >> 4),
        static_cast<io::ThresholdSensorState>(params.senState & 0xF));
}

/** Raise the event; null, or what to tell the user when it failed. */
const char* raiseSelected(const DbusConnPtr& bus, const EventParams& params,
                          uint32_t address)
{
    switch (selectEvent(params, address))
    {
        case EventKind::link:
            return raiseLink(bus, params, address)
                     ? nullptr
                     : "Failed to generate link event";
        case EventKind::storage:
            return raiseStorage(params) ? nullptr
                                        : "Failed to generate storage event";
        case EventKind::temperature:
            return raiseTemperature(params)
                     ? nullptr
                     : "Failed to generate temperature event";
        default:
            return "Insufficient parameters";
    }
}

} // namespace

bool raiseEvent(const DbusConnPtr& bus, const Options& options)
{
    if (const auto hidden = readHiddenRequest(options.params))
    {
        return logHidden(bus, *hidden);
    }
    const char* failure =
        raiseSelected(bus, readEventParams(options.params), options.address);
    if (failure == nullptr)
    {
        return true;
    }
    out::line(failure);
    out::line("Failed to generate event log");
    return false;
}

} // namespace tool
