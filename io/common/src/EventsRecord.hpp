// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Events.hpp"

#include <cstdint>
#include <optional>
#include <string>

/** Which record of the event registry belongs to an event. */
namespace io::events
{

/** Priorities of syslog(3) that event records carry. */
inline constexpr int priorityCritical = 2;
inline constexpr int priorityWarning = 4;
inline constexpr int priorityInformational = 6;

/** One registered event, as it is written to the journal. */
struct EventRecord
{
    const char* function{nullptr}; //!< CODE_FUNC
    const char* line{nullptr};     //!< "CODE_LINE=…", known to consumers
    const char* message{nullptr};  //!< with the registry's placeholders
    int priority{priorityInformational};
    std::string messageId; //!< without the registry's name
    std::string arguments; //!< joined by "::"
};

/** The record for a change of state, none when the change needs none. */
std::optional<EventRecord> temperatureRecord(uint8_t slot,
                                             ThresholdSensorState oldState,
                                             ThresholdSensorState newState);

/** The record for a storage event, none for an informational event with an
 *  id that has no text. */
std::optional<EventRecord> storageRecord(uint8_t slot, EventSeverity severity,
                                         const std::string& messageId,
                                         const char* extraArg);

/** The record for a LAN-on-motherboard port whose link went up or down. */
EventRecord lomLinkRecord(uint8_t slot, uint8_t port, const std::string& name,
                          bool up);

} // namespace io::events
