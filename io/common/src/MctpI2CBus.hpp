// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"
#include "io/common/src/YieldContext.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace io
{

/** MCTP daemons on I2C root buses (MCTP over SMBus, DSP0237).
 *
 *  Calls block, whether or not a coroutine's context is handed in; the tool
 *  has no coroutines. What goes wrong is told in the journal.
 */
class MctpI2CBus
{
  public:
    /** Are the numbers of endpoints that getMaxMctpEpOnBuses() fetches still
     *  to be fetched? */
    static bool isMaxMctpEpUnknown();

    /** Learn from the backplane service how many endpoints a bus can have.
     *
     *  Words that are not plausible are skipped, with a word in the journal.
     *
     *  @return false when the service did not tell
     */
    static bool getMaxMctpEpOnBuses(const DbusConnPtr& conn);

    /** Reserve endpoint ids for a root bus and have a daemon started on it.
     *
     *  @param word, number handed on to the launcher as they are
     *  @return false when there is no room or the launcher refused
     *  @throw sdbusplus::exception::SdBusError when the launcher did not answer
     */
    static bool enableMctpService(const DbusConnPtr& conn, uint8_t bus,
                                  uint32_t word, uint16_t number);

    /** The bus name of the daemon on a bus, empty when there is none. */
    static std::string findMctpService(const DbusConnPtr& conn, uint8_t bus,
                                       const boost::asio::yield_context* yield);

    /** Have the daemon on the root bus of a bus look for endpoints.
     *
     *  @return true when the daemon said that it does
     */
    static bool triggerMctpDiscovery(const DbusConnPtr& conn, uint8_t bus,
                                     const boost::asio::yield_context* yield);

    /** The same with the daemon's bus name.
     *
     *  @throw sdbusplus::exception::SdBusError when the daemon did not answer
     */
    static bool triggerMctpDiscovery(const DbusConnPtr& conn,
                                     const std::string& service,
                                     const boost::asio::yield_context* yield);

    /** The bus that a daemon's device path ("/dev/i2c-3") names, cut to 8
     *  bits; none when it names no number. */
    static std::optional<uint8_t> busOfPath(std::string_view path);
};

} // namespace io
