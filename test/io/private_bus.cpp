// SPDX-License-Identifier: Apache-2.0
#include "test/io/private_bus.hpp"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sdbusplus/asio/connection.hpp>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

/** Ends the test where set-up that cannot fail fails. */
int mustWork(int result, const char* step)
{
    if (result < 0)
    {
        std::fprintf(stderr, "%s: %s\n", step, std::strerror(-result));
        std::abort();
    }
    return result;
}

/** A child that ends with its parent, and a pipe that it tells its line by.
 *  @param work gets the end to write to; does not return */
pid_t startChild(const std::function<void(int)>& work, std::string& line)
{
    std::array<int, 2> ends{};
    mustWork(pipe(ends.data()), "pipe");
    const pid_t pid = mustWork(fork(), "fork");
    if (pid == 0)
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        close(ends[0]);
        work(ends[1]);
        _exit(127);
    }
    close(ends[1]);
    char c = '\0';
    while (read(ends[0], &c, 1) == 1 && c != '\n')
    {
        line += c;
    }
    close(ends[0]);
    mustWork(line.empty() ? -ENOENT : 0, "child");
    return pid;
}

void endChild(pid_t pid)
{
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
}

[[noreturn]] void serve(sd_bus* bus, const Service::Handler& handler)
{
    for (;;)
    {
        sd_bus_message* message = nullptr;
        const int rc = sd_bus_process(bus, &message);
        if (rc < 0)
        {
            _exit(0);
        }
        if (sd_bus_message_is_method_call(message, nullptr, nullptr) > 0)
        {
            handler(message);
            sd_bus_flush(bus);
        }
        sd_bus_message_unref(message);
        if (rc == 0)
        {
            sd_bus_wait(bus, UINT64_MAX);
        }
    }
}

} // namespace

PrivateBus::PrivateBus() :
    pid(startChild(
        [](int pipe)
        {
            const std::string print = "--print-address=" + std::to_string(pipe);
            execl(DBUS_DAEMON, DBUS_DAEMON, "--config-file=" BUS_CONFIG,
                  "--nofork", "--nopidfile", print.c_str(), nullptr);
        },
        address))
{
}

PrivateBus::~PrivateBus()
{
    endChild(pid);
}

sd_bus* PrivateBus::open() const
{
    sd_bus* bus = nullptr;
    mustWork(sd_bus_new(&bus), "sd_bus_new");
    mustWork(sd_bus_set_address(bus, address.c_str()), "sd_bus_set_address");
    mustWork(sd_bus_set_bus_client(bus, 1), "sd_bus_set_bus_client");
    mustWork(sd_bus_start(bus), "sd_bus_start");
    const char* name = nullptr;
    mustWork(sd_bus_get_unique_name(bus, &name), "sd_bus_get_unique_name");
    return bus;
}

DbusConnPtr PrivateBus::connect(uint64_t timeoutUs) const
{
    sd_bus* bus = open();
    if (timeoutUs != 0)
    {
        mustWork(sd_bus_set_method_call_timeout(bus, timeoutUs),
                 "sd_bus_set_method_call_timeout");
    }
    auto connection = std::make_shared<sdbusplus::asio::connection>(
        io::bus::ioContext(), bus);
    sd_bus_unref(bus);
    return connection;
}

Service::Service(const PrivateBus& bus, const Handler& handler,
                 const char* knownAs) :
    pid(startChild(
        [&](int pipe)
        {
            sd_bus* own = bus.open();
            if (knownAs != nullptr)
            {
                mustWork(sd_bus_request_name(own, knownAs, 0), knownAs);
            }
            const char* name = nullptr;
            sd_bus_get_unique_name(own, &name);
            dprintf(pipe, "%s\n", name);
            close(pipe);
            serve(own, handler);
        },
        uniqueName))
{
}

Service::~Service()
{
    endChild(pid);
}
