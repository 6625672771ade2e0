#include "io/common/src/Wait.hpp"

#include "io/common/src/Output.hpp"

#include <boost/asio/io_context.hpp>
#include <sdbusplus/asio/connection.hpp>

#include <stdexcept>

namespace io::bus
{

void waitUntilExit(const DbusConnPtr& conn)
{
    out::flush();
    while (conn->process_discard())
    {
    }
    // Once the bus is gone, processing throws out of the loop.
    ioContext().run();
    throw std::runtime_error("The bus connection is no longer watched");
}

} // namespace io::bus
