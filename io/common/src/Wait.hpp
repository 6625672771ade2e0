// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"

namespace io::bus
{

/** Wait for signals until a handler ends the process; there is no limit.
 *
 *  For startAndWait(), which sees to it that it comes last.
 *
 *  @throw sdbusplus::exception::SdBusError when the connection ends
 *  @throw std::runtime_error when the loop ends without a reason
 */
[[noreturn]] void waitUntilExit(const DbusConnPtr& conn);

/** Start something that a service tells the end of by a signal, and wait for
 *  it until its handler ends the process.
 *
 *  The signal may come before the reply to the call that starts it. So first
 *  is subscribed; and what the blocking call has read while it looked for its
 *  reply is delivered before the descriptor is waited on, which it would not
 *  make readable again.
 *
 *  @param subscribe returns the match whose handler ends the process
 *  @param start returns whether there is something to wait for; if not, this
 *         returns
 *  @throw as waitUntilExit(), and what the two throw
 */
template <typename Subscribe, typename Start>
void startAndWait(const DbusConnPtr& conn, Subscribe subscribe, Start start)
{
    [[maybe_unused]] const auto match = subscribe();
    if (start())
    {
        waitUntilExit(conn);
    }
}

/** Let timers on the I/O context run while they are pending.
 *
 *  No longer: the connection's read wait keeps the context busy for ever.
 */
void runWhile(bool (*pending)());

} // namespace io::bus
