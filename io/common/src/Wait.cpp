// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/Wait.hpp"

#include <boost/asio/io_context.hpp>
#include <sdbusplus/asio/connection.hpp>

#include <stdexcept>

namespace io::bus
{

void waitUntilExit(const DbusConnPtr& conn)
{
    beforeWaiting();
    while (conn->process_discard())
    {
    }
    // Once the bus is gone, processing throws out of the loop.
    ioContext().run();
    throw std::runtime_error("The bus connection is no longer watched");
}

void runWhile(bool (*pending)())
{
    beforeWaiting();
    while (pending() && ioContext().run_one() > 0)
    {
    }
}

} // namespace io::bus
