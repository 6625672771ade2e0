// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/Events.hpp"

#include "io/common/src/EventsDaemon.hpp"
#include "io/common/src/EventsRecord.hpp"

#include <systemd/sd-journal.h>

#include <phosphor-logging/lg2.hpp>

#include <exception>

namespace io
{

namespace
{

/** Where the event log service expects registered events to come from. */
constexpr const char* codeFile =
    "CODE_FILE=/usr/src/debug/vordaskelin-bmc-apps/0.1+git/io/common/src/"
    "Events";

/** Write the record to the journal.
 *
 *  @return true when the journal took it
 */
bool send(const events::EventRecord& record)
{
    const std::string id = "EventRegistry.1.0." + record.messageId;
    return sd_journal_send_with_location(
               codeFile, record.line, record.function, "MESSAGE=%s",
               record.message, "PRIORITY=%i", record.priority,
               "REDFISH_MESSAGE_ID=%s", id.c_str(), "REDFISH_MESSAGE_ARGS=%s",
               record.arguments.c_str(), nullptr) == 0;
}

const char* resultName(bool sent)
{
    return sent ? "succeeded" : "failed";
}

} // namespace

bool Events::temperatureEvent(uint8_t slot, ThresholdSensorState oldState,
                              ThresholdSensorState newState)
{
    const auto record = events::temperatureRecord(slot, oldState, newState);
    if (!record)
    {
        lg2::info("No temperature event for status change: {OSS}=>{NSS}", "OSS",
                  static_cast<unsigned>(oldState), "NSS",
                  static_cast<unsigned>(newState));
        return true;
    }
    const bool sent = send(*record);
    lg2::info(
        "Gen temperature event {RSLT}: slot={SLOT}, prio={PRIO}, evt={EVT}",
        "RSLT", resultName(sent), "SLOT", slot, "PRIO", record->priority, "EVT",
        record->messageId);
    return sent;
}

bool Events::storageEvent(uint8_t slot, EventSeverity severity,
                          const std::string& messageId, const char* extraArg)
{
    const auto record =
        events::storageRecord(slot, severity, messageId, extraArg);
    if (!record)
    {
        return false;
    }
    const bool sent = send(*record);
    lg2::info("Gen storage event {RSLT}: slot={SLOT}, prio={PRIO}, evt={EVT}",
              "RSLT", resultName(sent), "SLOT", slot, "PRIO", record->priority,
              "EVT", record->messageId);
    return sent;
}

bool Events::eventLogLomLinkStateChange(uint8_t slot, uint8_t port,
                                        const std::string& name, bool up)
{
    return send(events::lomLinkRecord(slot, port, name, up));
}

bool Events::auditLogLinkStateChange(const DbusConnPtr& bus,
                                     const std::string& deviceDescription,
                                     uint8_t port, bool up)
{
    try
    {
        const events::Arguments arguments{
            {"PortNumber", std::to_string(port)},
            {"DeviceDescription", deviceDescription},
            {"LinkStatus", up ? "up" : "down"}};
        if (!events::commit(bus, "HRLKDEM4028I", arguments))
        {
            lg2::error("[ERR] Failed to generate link state audit log");
            return false;
        }
        return true;
    }
    catch (const std::exception& failure)
    {
        lg2::error("[ERR] Generate link state audit log. {E}", "E", failure);
        return false;
    }
}

} // namespace io
