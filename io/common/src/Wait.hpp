#pragma once

#include "io/common/src/Bus.hpp"

namespace io::bus
{

/** Wait for signals until a handler ends the process; there is no limit.
 *
 *  To be called after the last blocking call, while the matches whose handlers
 *  shall run are alive. What was printed so far goes out first. Signals that
 *  the blocking call read while it looked for its reply are delivered before
 *  the descriptor is waited on: they would not make it readable again.
 *
 *  @throw sdbusplus::exception::SdBusError when the connection ends
 *  @throw std::runtime_error when the loop ends without a reason
 */
[[noreturn]] void waitUntilExit(const DbusConnPtr& conn);

} // namespace io::bus
