#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/post.hpp>
#include <sdbusplus/bus.hpp>
#include <sdbusplus/message.hpp>

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
    /** On the connection that the thread shares. */
    explicit connection(boost::asio::io_context& ioIn) :
        sdbusplus::bus_t(sdbusplus::bus::new_default()),
        io(ioIn),
        descriptor(io.get_executor(), get_fd())
    {
        processSoon();
    }

    /** Takes a reference of its own on the bus. */
    connection(boost::asio::io_context& ioIn, sd_bus* shared) :
        sdbusplus::bus_t(shared),
        io(ioIn),
        descriptor(io.get_executor(), get_fd())
    {
        processSoon();
    }

    connection(const connection&) = delete;
    connection& operator=(const connection&) = delete;

    ~connection()
    {
        descriptor.release(); // sd-bus closes it
    }

    boost::asio::io_context& get_io_context()
    {
        return io;
    }

  private:
    boost::asio::io_context& io;
    boost::asio::posix::stream_descriptor descriptor;

    void serve()
    {
        if (process_discard())
        {
            processSoon();
        }
        else
        {
            processWhenReadable();
        }
    }

    void processSoon()
    {
        boost::asio::post(io, [this] { serve(); });
    }

    void processWhenReadable()
    {
        descriptor.async_wait(boost::asio::posix::stream_descriptor::wait_read,
                              [this](const boost::system::error_code& error)
                              {
                                  if (!error)
                                  {
                                      serve();
                                  }
                              });
    }
};

} // namespace sdbusplus::asio
