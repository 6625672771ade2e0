// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/Events.hpp"
#include "io/common/src/EventsDaemon.hpp"
#include "io/common/src/EventsSequence.hpp"
#include "io/common/src/EventsTimers.hpp"
#include "io/common/src/File.hpp"

#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>
#include <phosphor-logging/lg2.hpp>

#include <chrono>
#include <exception>

namespace io
{

namespace
{

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

/** The process's timers. They are made after the I/O context that they are
 *  on, so that at the end of the process they go before it. */
events::Timers& timers()
{
    static events::Timers table(bus::ioContext());
    return table;
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
        const events::Arguments arguments{
            {"InventoryType", std::string(name) + " Inventory"},
            {"SequenceNumber", std::to_string(nextSequence(name))}};
        if (!events::commit(bus, "HRLKDDM4010I", arguments))
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

void Events::hiddenLogForChange(const DbusConnPtr& bus, HiddenInvChgType type,
                                uint32_t delaySeconds)
{
    if (delaySeconds == 0)
    {
        writeEntry(bus, type);
        return;
    }
    const bool scheduled = timers().schedule(
        static_cast<unsigned>(type), std::chrono::seconds(delaySeconds),
        [bus, type](const boost::system::error_code& error)
        { onTimer(bus, type, error); });
    if (!scheduled)
    {
        lg2::warning("[WARN] The existing hidden log timer has not expired");
    }
}

bool Events::isHiddenLogPending()
{
    return timers().isPending();
}

} // namespace io
