// SPDX-License-Identifier: Apache-2.0
#include "peer.hpp"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <utility>

Peer::Peer(const Daemon& daemon, Handler handlerIn) :
    bus(daemon.connect()),
    handler(std::move(handlerIn)),
    stopEvent(mustWork(eventfd(0, EFD_CLOEXEC), "eventfd"))
{
    const char* name = nullptr;
    mustWork(sd_bus_get_unique_name(bus.get(), &name),
             "sd_bus_get_unique_name");
    uniqueName = name;
    mustWork(sd_bus_add_filter(bus.get(), nullptr, onMessage, this),
             "sd_bus_add_filter");
    thread = std::thread([this] { serve(); });
}

Peer::~Peer()
{
    eventfd_write(stopEvent, 1);
    thread.join();
    close(stopEvent);
}

int Peer::onMessage(sd_bus_message* m, void* self, sd_bus_error* /*error*/)
{
    uint8_t type = 0;
    sd_bus_message_get_type(m, &type);
    if (type != SD_BUS_MESSAGE_METHOD_CALL)
    {
        return 0;
    }
    auto* peer = static_cast<Peer*>(self);
    peer->alive = peer->handler(m);
    return 1;
}

/** @return whether to go on */
bool Peer::wait()
{
    std::array<pollfd, 2> fds{
        {{sd_bus_get_fd(bus.get()), POLLIN, 0}, {stopEvent, POLLIN, 0}}};
    mustWork(poll(fds.data(), fds.size(), -1), "poll");
    return fds[1].revents == 0;
}

void Peer::serve()
{
    while (alive)
    {
        const int r = sd_bus_process(bus.get(), nullptr);
        if (r < 0)
        {
            break;
        }
        sd_bus_flush(bus.get());
        if (r == 0 && !wait())
        {
            break;
        }
    }
    sd_bus_close(bus.get());
}

int emitHappened(sd_bus* bus, const char* text)
{
    return sd_bus_emit_signal(bus, "/com/example", "com.example.Test",
                              "Happened", "s", text);
}
