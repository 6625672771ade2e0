// SPDX-License-Identifier: Apache-2.0
#include "daemon.hpp"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

int mustWork(int result, const char* step)
{
    if (result < 0)
    {
        std::fprintf(stderr, "%s: %s\n", step, std::strerror(-result));
        std::abort();
    }
    return result;
}

namespace
{

[[noreturn]] void execDaemon(int addressPipe)
{
    // A test that dies takes its daemon with it.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const std::string print = "--print-address=" + std::to_string(addressPipe);
    execl(DBUS_DAEMON, DBUS_DAEMON, "--config-file=" BUS_CONFIG, "--nofork",
          "--nopidfile", print.c_str(), nullptr);
    _exit(127);
}

/** The daemon prints one line once it listens. */
std::string readLine(int fd)
{
    std::string line;
    char c = '\0';
    while (read(fd, &c, 1) == 1 && c != '\n')
    {
        line += c;
    }
    return line;
}

} // namespace

Daemon::Daemon()
{
    std::array<int, 2> ends{};
    mustWork(pipe(ends.data()), "pipe");
    pid = mustWork(fork(), "fork");
    if (pid == 0)
    {
        close(ends[0]);
        execDaemon(ends[1]);
    }
    close(ends[1]);
    address = readLine(ends[0]);
    close(ends[0]);
    mustWork(address.empty() ? -ENOENT : 0, DBUS_DAEMON);
}

Daemon::~Daemon()
{
    stop();
}

void Daemon::stop()
{
    if (pid > 0)
    {
        kill(pid, SIGTERM);
        waitpid(pid, nullptr, 0);
        pid = -1;
    }
}

BusPtr Daemon::connect() const
{
    sd_bus* bus = nullptr;
    mustWork(sd_bus_new(&bus), "sd_bus_new");
    BusPtr owned(bus);
    mustWork(sd_bus_set_address(bus, address.c_str()), "sd_bus_set_address");
    mustWork(sd_bus_set_bus_client(bus, 1), "sd_bus_set_bus_client");
    mustWork(sd_bus_start(bus), "sd_bus_start");
    const char* name = nullptr;
    mustWork(sd_bus_get_unique_name(bus, &name), "sd_bus_get_unique_name");
    return owned;
}

Daemon& sharedDaemon()
{
    static Daemon daemon;
    return daemon;
}
