// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/EventsRecord.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace io::events
{

namespace
{

struct TemperatureRow
{
    bool worse;
    ThresholdSensorState newState;
    const char* messageId;
    int priority;
    const char* message;
};

// The wording is the registry's: whatever the old state was, a change to
// non-critical speaks of critical, and one to critical of non-recoverable.
constexpr std::array temperatureRows{
    TemperatureRow{true, ThresholdSensorState::critical, "HRLKDCA0017M",
                   priorityCritical,
                   "PCIe %1 overtemperature has transitioned to critical from "
                   "a less severe state."},
    TemperatureRow{true, ThresholdSensorState::nonRecoverable, "HRLKDCA0019N",
                   priorityCritical,
                   "PCIe %1 overtemperature has transitioned to "
                   "non-recoverable from a less severe state."},
    TemperatureRow{false, ThresholdSensorState::nonCritical, "HRLKDCA2017I",
                   priorityInformational,
                   "PCIe %1 overtemperature has transitioned to a less severe "
                   "state from critical."},
    TemperatureRow{false, ThresholdSensorState::critical, "HRLKDCA2019I",
                   priorityInformational,
                   "PCIe %1 overtemperature has deasserted the transition to "
                   "non-recoverable from a less severe state."},
    TemperatureRow{false, ThresholdSensorState::normal, "HRLKDCA0013I",
                   priorityInformational,
                   "PCIe %1 overtemperature has transitioned to normal state."},
};

struct StorageText
{
    std::string_view messageId;
    const char* message;
};

/** Informational storage events: their text follows from their id. */
constexpr std::array storageTexts{
    StorageText{"HRLKDUN0048I",
                "This message is for the use case when an implementation has "
                "detected a Sensor transition to the normal state"},
    StorageText{"HRLKDUN2049I",
                "This message is for the use case when an implementation has "
                "detected that a Sensor has deasserted a transition to "
                "non-critical from normal"},
    StorageText{"HRLKDUN2050I",
                "This message is for the use case when an implementation has "
                "detected a Sensor transition to less severe from critical"},
    StorageText{"HRLKDUN0057I",
                "This message is for the use case when an implementation has "
                "detected a RAID controller does not have a battery."},
    StorageText{"HRLKDUN2057I",
                "This message is for the use case when an implementation has "
                "detected that a RAID controller has a battery."},
};

constexpr const char* sensorWarning =
    "This message is for the use case when an implementation has detected a "
    "Sensor transitioned to non-critical from normal";
constexpr const char* sensorCritical =
    "This message is for the use case when an implementation has detected a "
    "Sensor transitioned to critical from less severe";

// Both end as the registry's entries do, and the one for a lost link has no
// slot among its arguments.
constexpr const char* lomLinkUp =
    "This message is for the use case when an implementation has detected that "
    "a link up of PCIe";
constexpr const char* lomLinkDown =
    "This message is for the use case when an implementation has detected a "
    "Link down of PCIe device";

const char* informationalText(std::string_view messageId)
{
    const auto* found = std::find_if(storageTexts.begin(), storageTexts.end(),
                                     [&](const StorageText& row)
                                     { return row.messageId == messageId; });
    return found == storageTexts.end() ? nullptr : found->message;
}

/** A storage event's priority and text; no text for an id that has none. */
std::pair<int, const char*> storageMessage(EventSeverity severity,
                                           std::string_view messageId)
{
    if (severity == EventSeverity::informational)
    {
        return {priorityInformational, informationalText(messageId)};
    }
    if (severity == EventSeverity::warning)
    {
        return {priorityWarning, sensorWarning};
    }
    return {priorityCritical, sensorCritical};
}

} // namespace

std::optional<EventRecord> temperatureRecord(uint8_t slot,
                                             ThresholdSensorState oldState,
                                             ThresholdSensorState newState)
{
    if (oldState == newState)
    {
        return std::nullopt;
    }
    const bool worse = oldState < newState;
    const auto* row = std::find_if(
        temperatureRows.begin(), temperatureRows.end(),
        [&](const TemperatureRow& candidate)
        { return candidate.worse == worse && candidate.newState == newState; });
    if (row == temperatureRows.end())
    {
        return std::nullopt;
    }
    return EventRecord{"temperatureEvent", "CODE_LINE=464",
                       row->message,       row->priority,
                       row->messageId,     std::to_string(slot)};
}

std::optional<EventRecord> storageRecord(uint8_t slot, EventSeverity severity,
                                         const std::string& messageId,
                                         const char* extraArg)
{
    const auto [priority, message] = storageMessage(severity, messageId);
    if (message == nullptr)
    {
        return std::nullopt;
    }
    EventRecord record{"storageEvent", "CODE_LINE=383", message,
                       priority,       messageId,       std::to_string(slot)};
    if (extraArg != nullptr)
    {
        record.line = "CODE_LINE=391";
        record.arguments.append("::").append(extraArg);
    }
    return record;
}

EventRecord lomLinkRecord(uint8_t slot, uint8_t port, const std::string& name,
                          bool up)
{
    const std::string arguments = std::to_string(port) + "::" + name;
    constexpr const char* function = "eventLogLomLinkStateChange";
    if (up)
    {
        return {function,       "CODE_LINE=250",
                lomLinkUp,      priorityInformational,
                "HRLKDEA2003I", arguments + "::" + std::to_string(slot)};
    }
    return {function,        "CODE_LINE=261", lomLinkDown,
            priorityWarning, "HRLKDEA0003J",  arguments};
}

} // namespace io::events
