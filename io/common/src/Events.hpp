// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"

#include <cstdint>
#include <string>

namespace io
{

/** State of a threshold sensor; a less severe state has the smaller number.
 *
 *  Values beyond the named ones may come in: they name no state.
 */
enum class ThresholdSensorState : unsigned
{
    normal = 0,
    nonCritical = 1,
    critical = 2,
    nonRecoverable = 3,
};

/** How severe a storage event is; any value beyond 1 is critical. */
enum class EventSeverity : unsigned
{
    informational = 0,
    warning = 1,
    critical = 2,
};

/** The inventory class that changed; other values name none. */
enum class HiddenInvChgType : unsigned
{
    system = 1,
    pci = 2,
    storage = 3,
};

/** Events for the BMC's event log.
 *
 *  Some go as structured records to the system journal, from where the event
 *  log service takes them; others by a method call to that service. A record
 *  of the tool's own log tells how a generator of journal records fared.
 */
class Events
{
  public:
    /** Report that a PCIe adapter's temperature sensor changed its state.
     *
     *  @param slot the adapter's slot; 255 stands for an unknown one
     *  @return true when the record was written, or when this change of state
     *          needs none; false when the journal did not take it
     */
    static bool temperatureEvent(uint8_t slot, ThresholdSensorState oldState,
                                 ThresholdSensorState newState);

    /** Report a state of a storage controller.
     *
     *  @param messageId id in the event registry, without the registry's
     *         name; for an informational event it must be one that is known
     *  @param extraArg second argument of the message; null when there is none
     *  @return true when the record was written; false for an unknown id of an
     *          informational event, or when the journal did not take it
     */
    static bool storageEvent(uint8_t slot, EventSeverity severity,
                             const std::string& messageId,
                             const char* extraArg);

    /** Report that the link of a LAN-on-motherboard port went up or down.
     *
     *  @return true when the record was written
     */
    static bool eventLogLomLinkStateChange(uint8_t slot, uint8_t port,
                                           const std::string& name, bool up);

    /** Enter in the audit log that a PCIe link went up or down.
     *
     *  @return true when the event log service answered without an error;
     *          otherwise the journal tells why not
     */
    static bool auditLogLinkStateChange(const DbusConnPtr& bus,
                                        const std::string& deviceDescription,
                                        uint8_t port, bool up);

    /** Enter in the hidden log that an inventory class changed.
     *
     *  The entry carries the class's sequence number out of a file that
     *  survives reboots. With a delay it is written when the I/O context has
     *  run that long; a request that comes for the same class meanwhile is
     *  covered by it. What goes wrong is told in the journal.
     */
    static void hiddenLogForChange(const DbusConnPtr& bus,
                                   HiddenInvChgType type,
                                   uint32_t delaySeconds);

    /** Is a delayed entry still to be written? */
    static bool isHiddenLogPending();
};

} // namespace io
