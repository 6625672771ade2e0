// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/bus/reply.hpp"

#include <systemd/sd-bus.h>

#include <memory>

namespace sim
{

class Service;
class Bus;

struct MessageUnref
{
    void operator()(sd_bus_message* message) const
    {
        sd_bus_message_unref(message);
    }
};

using MessagePtr = std::unique_ptr<sd_bus_message, MessageUnref>;

/** Carries out a reply to a call: its delays, its signals, the answer and what
 *  follows it. Returns at once; the rest happens from the loop. */
void deliver(Bus& bus, Service& service, sd_bus_message* call, Reply reply);

} // namespace sim
