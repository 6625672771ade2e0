// SPDX-License-Identifier: Apache-2.0
#include "messages.hpp"

#include <sys/socket.h>
#include <systemd/sd-bus.h>

#include <sdbusplus/exception.hpp>

#include <array>
#include <cerrno>
#include <utility>

namespace fuzz
{

namespace
{

void check(int result, const char* what)
{
    if (result < 0)
    {
        throw sdbusplus::exception::SdBusError(-result, what);
    }
}

sd_bus* open()
{
    std::array<int, 2> ends{};
    check(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0
              ? 0
              : -errno,
          "socketpair");
    sd_bus* bus = nullptr;
    check(sd_bus_new(&bus), "sd_bus_new");
    // The other end stays open for as long as the process lives.
    check(sd_bus_set_fd(bus, ends[0], ends[0]), "sd_bus_set_fd");
    check(sd_bus_start(bus), "sd_bus_start");
    return bus;
}

/** The connection to nobody, which stays for ever: enough to make messages. */
sd_bus* deafBus()
{
    static sd_bus* const bus = open();
    return bus;
}

sd_bus_message* newSignal()
{
    sd_bus_message* message = nullptr;
    check(sd_bus_message_new_signal(deafBus(), &message, "/a", "a.b", "C"),
          "sd_bus_message_new_signal");
    return message;
}

} // namespace

Signal::Signal() : message(newSignal(), std::false_type())
{
}

Signal& Signal::add(uint32_t number)
{
    check(sd_bus_message_append_basic(message.get(), 'u', &number), "append");
    return *this;
}

Signal& Signal::add(const std::string& text)
{
    check(sd_bus_message_append_basic(message.get(), 's', text.c_str()),
          "append");
    return *this;
}

sdbusplus::message_t Signal::seal()
{
    check(sd_bus_message_seal(message.get(), 1, 0), "seal");
    return std::move(message);
}

} // namespace fuzz
