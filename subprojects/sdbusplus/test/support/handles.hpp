// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <memory>

struct CloseBus
{
    void operator()(sd_bus* bus) const
    {
        sd_bus_close_unref(bus);
    }
};

using BusPtr = std::unique_ptr<sd_bus, CloseBus>;

struct UnrefMessage
{
    void operator()(sd_bus_message* m) const
    {
        sd_bus_message_unref(m);
    }
};

using MessagePtr = std::unique_ptr<sd_bus_message, UnrefMessage>;

/** Ends the test program where set-up that cannot fail fails.
 *  @return the result that was checked */
int mustWork(int result, const char* step);
