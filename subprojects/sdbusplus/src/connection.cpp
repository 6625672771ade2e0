// SPDX-License-Identifier: Apache-2.0
#include <boost/asio/post.hpp>
#include <sdbusplus/asio/connection.hpp>

namespace sdbusplus::asio
{

connection::connection(boost::asio::io_context& ioIn, sd_bus* shared) :
    sdbusplus::bus_t(shared), io(ioIn), descriptor(io.get_executor(), get_fd())
{
    processSoon();
}

connection::~connection()
{
    descriptor.release(); // sd-bus closes it
}

void connection::serve()
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

void connection::processSoon()
{
    boost::asio::post(io, [this] { serve(); });
}

void connection::processWhenReadable()
{
    descriptor.async_wait(Descriptor::wait_read,
                          [this](const boost::system::error_code& error)
                          {
                              if (!error)
                              {
                                  serve();
                              }
                          });
}

} // namespace sdbusplus::asio
