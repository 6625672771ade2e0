// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/Events.hpp"

#include "io/common/src/EventsRecord.hpp"
#include "io/common/src/EventsSequence.hpp"
#include "io/common/src/File.hpp"
#include "io/common/src/Targets.hpp"

#include <systemd/sd-journal.h>

#include <boost/asio/basic_waitable_timer.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>
#include <phosphor-logging/lg2.hpp>

#include <chrono>
#include <exception>
#include <map>
#include <utility>
#include <vector>

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

/** Message arguments by name; they go out in this order. */
using Arguments = std::vector<std::pair<std::string, std::string>>;

/** Hand an entry to the event log service and wait for its answer.
 *
 *  @return false when the service answered with an error
 *  @throw sdbusplus::exception::SdBusError when it gave no answer
 */
bool commit(const DbusConnPtr& bus, const char* messageId,
            const Arguments& arguments)
{
    return bus::call(bus, target::eventLog, "swlogCommit", messageId, arguments)
        .has_value();
}

const char* resultName(bool sent)
{
    return sent ? "succeeded" : "failed";
}

/** Name of an inventory class, null when the value names none. */
const char* className(HiddenInvChgType type)
{
    switch (type)
    {
        case HiddenInvChgType::system:
            return "System";
        case HiddenInvChgType::pci:
            return "PCI";
        case HiddenInvChgType::storage:
            return "Storage subsystem";
        default:
            return nullptr;
    }
}

/** A steady_timer, without the means to hold any kind of executor. */
using Timer = boost::asio::basic_waitable_timer<
    std::chrono::steady_clock,
    boost::asio::wait_traits<std::chrono::steady_clock>,
    boost::asio::io_context::executor_type>;

/** The delayed entries that still wait, by class. */
std::map<HiddenInvChgType, Timer>& timers()
{
    // Made first, so that at the end of the process it goes after them.
    bus::ioContext();
    static std::map<HiddenInvChgType, Timer> waiting;
    return waiting;
}

nlohmann::json loadOrStartOver()
{
    try
    {
        return events::loadSequences(events::sequenceFile);
    }
    catch (const std::exception& failure)
    {
        lg2::error("[ERR] hiddenLogForChange, load {F} failed. {E}", "F",
                   events::sequenceFile, "E", failure);
        return nullptr;
    }
}

/** Count in the file. From reading to writing nobody else does, so that no
 *  two entries ever carry the same number. */
uint64_t nextSequence(const char* name)
{
    FileTurn turn(events::sequenceFile);
    nlohmann::json document = loadOrStartOver();
    const uint64_t sequence = events::takeSequence(document, name);
    turn.write(document.dump());
    return sequence;
}

/** The number is stored first: an entry that fails has used it up. */
void writeEntry(const DbusConnPtr& bus, HiddenInvChgType type)
{
    const char* name = className(type);
    if (name == nullptr)
    {
        return;
    }
    try
    {
        const Arguments arguments{
            {"InventoryType", std::string(name) + " Inventory"},
            {"SequenceNumber", std::to_string(nextSequence(name))}};
        if (!commit(bus, "HRLKDDM4010I", arguments))
        {
            lg2::error("[ERR] Failed to generate hidden log of type {T}", "T",
                       static_cast<unsigned>(type));
        }
    }
    catch (const std::exception& failure)
    {
        lg2::error("[ERR] Generate hidden log of type {T}. {E}", "T",
                   static_cast<unsigned>(type), "E", failure);
    }
}

void onTimer(const DbusConnPtr& bus, HiddenInvChgType type,
             const boost::system::error_code& error)
{
    if (error)
    {
        const bool aborted = error == boost::asio::error::operation_aborted;
        lg2::error("[ERR] hidden log timer {S}", "S",
                   aborted ? "aborted" : "failed");
        return;
    }
    writeEntry(bus, type);
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
        const Arguments arguments{{"PortNumber", std::to_string(port)},
                                  {"DeviceDescription", deviceDescription},
                                  {"LinkStatus", up ? "up" : "down"}};
        if (!commit(bus, "HRLKDEM4028I", arguments))
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

void Events::hiddenLogForChange(const DbusConnPtr& bus, HiddenInvChgType type,
                                uint32_t delaySeconds)
{
    if (delaySeconds == 0)
    {
        writeEntry(bus, type);
        return;
    }
    const auto [timer, isNew] = timers().try_emplace(type, bus::ioContext());
    if (!isNew)
    {
        lg2::warning("[WARN] The existing hidden log timer has not expired");
        return;
    }
    timer->second.expires_after(std::chrono::seconds(delaySeconds));
    timer->second.async_wait(
        [bus, type](const boost::system::error_code& error)
        {
            timers().erase(type);
            onTimer(bus, type, error);
        });
}

bool Events::isHiddenLogPending()
{
    return !timers().empty();
}

} // namespace io
