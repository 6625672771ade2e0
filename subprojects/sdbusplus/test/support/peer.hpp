// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "daemon.hpp"
#include "handles.hpp"

#include <functional>
#include <string>
#include <thread>

/** A service on the bus, in a thread of its own, written against sd-bus alone.
 */
class Peer
{
  public:
    /** Gets every method call; replies, or does not, as the test wants. A
     *  false result ends the service at once, with its connection. */
    using Handler = std::function<bool(sd_bus_message* call)>;

    Peer(const Daemon& daemon, Handler handler);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    /** Unique name on the bus, to call it by. */
    const std::string& name() const
    {
        return uniqueName;
    }

  private:
    BusPtr bus;
    Handler handler;
    std::string uniqueName;
    int stopEvent;
    bool alive = true;
    std::thread thread;

    static int onMessage(sd_bus_message* m, void* self, sd_bus_error* error);
    void serve();
    bool wait();
};

/** Emits com.example.Test.Happened from /com/example with one text.
 *  @return 0 or more, as functions of sd-bus do */
int emitHappened(sd_bus* bus, const char* text);
