// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/asio/basic_waitable_timer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/system/error_code.hpp>

#include <chrono>
#include <functional>
#include <map>
#include <memory>

namespace io::events
{

/** Work that waits for its time, at most one piece of each kind.
 *
 *  The I/O context outlives it. Work that still waits when it goes is told so
 *  by an error, if the context runs on.
 */
class Timers
{
  public:
    using Work = std::function<void(const boost::system::error_code&)>;

    explicit Timers(boost::asio::io_context& context) : io(context)
    {
    }

    /** Do the work after a delay, when the context runs.
     *
     *  @return false, with nothing changed, when work of that kind still waits
     */
    bool schedule(unsigned kind, std::chrono::steady_clock::duration delay,
                  Work work);

    /** Does work still wait? */
    bool isPending() const;

    /** Call off what waits; its work learns of it by an error. */
    void cancel();

  private:
    /** A steady_timer, without the means to hold any kind of executor. */
    using Timer = boost::asio::basic_waitable_timer<
        std::chrono::steady_clock,
        boost::asio::wait_traits<std::chrono::steady_clock>,
        boost::asio::io_context::executor_type>;

    struct Entry
    {
        explicit Entry(boost::asio::io_context& context) : timer(context)
        {
        }

        Timer timer;
        bool waiting{true};
    };

    boost::asio::io_context& io;
    std::map<unsigned, std::shared_ptr<Entry>> entries;
};

} // namespace io::events
