// SPDX-License-Identifier: Apache-2.0
#include "tool/event/event_params.hpp"

#include "io/common/src/EventsRecord.hpp"
#include "target.hpp"

using tool::describeDevice;
using tool::EventKind;
using tool::EventParams;
using tool::readEventParams;
using tool::readHiddenRequest;
using tool::selectEvent;

namespace
{

constexpr uint32_t address = 0x8c0000;

void record(const EventParams& params)
{
    using io::ThresholdSensorState;
    io::events::temperatureRecord(
        params.slot, static_cast<ThresholdSensorState>(params.senState >> 4),
        static_cast<ThresholdSensorState>(params.senState & 0xF));
    for (const auto severity :
         {io::EventSeverity::informational, io::EventSeverity::warning,
          io::EventSeverity::critical})
    {
        io::events::storageRecord(params.slot, severity, params.id,
                                  params.name.c_str());
    }
    const auto link = io::events::lomLinkRecord(params.slot, params.port,
                                                params.name, params.port > 1);
    fuzz::require(link.arguments.find(params.name) != std::string::npos,
                  "the record names the port");
}

} // namespace

/** The `-p` text of an event, and the records that come of it. */
void fuzz::target(Input input)
{
    const std::string params = textOf(input);
    require(readHiddenRequest(params).has_value() ==
                (params.find("hide=") != std::string::npos),
            "hide= makes an entry of the hidden log");
    const EventParams read = readEventParams(params);
    require(selectEvent(read, address) != EventKind::link || !read.link.empty(),
            "a link event has a state");
    require(read.name.find(';') == std::string::npos, "a text ends at a ;");
    require(describeDevice(address, read.slot).starts_with("00:8C:00 in Slot "),
            "a device is named by its address");
    record(read);
}
