// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/basic_stream_descriptor.hpp>
#include <sdbusplus/bus.hpp>

namespace sdbusplus::asio
{

/** A bus connection that is served by an I/O context.
 *
 *  It always has work posted or a wait armed on the context, so run() does not
 *  return while it lives. What sd-bus raises while it processes leaves run().
 *  The context outlives the connection, and is not run after it. */
class connection : public sdbusplus::bus_t
{
  public:
    /** Takes a reference of its own on the bus. */
    connection(boost::asio::io_context& ioIn, sd_bus* shared);

    connection(const connection&) = delete;
    connection& operator=(const connection&) = delete;
    ~connection();

  private:
    /** For this kind of executor only: one that can hold any doubles what
     *  Asio brings into a program. */
    using Descriptor = boost::asio::posix::basic_stream_descriptor<
        boost::asio::io_context::executor_type>;

    boost::asio::io_context& io;
    Descriptor descriptor;

    void serve();
    void processSoon();
    void processWhenReadable();
};

} // namespace sdbusplus::asio
