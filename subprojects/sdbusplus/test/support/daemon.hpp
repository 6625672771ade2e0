// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "handles.hpp"

#include <sys/types.h>

#include <string>

/** A dbus-daemon of the test's own, which ends with the object. */
class Daemon
{
  public:
    Daemon();
    ~Daemon();
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    /** A new connection, as a client, named by the daemon. */
    BusPtr connect() const;

    /** Ends the daemon; whoever is connected sees the connection close. */
    void stop();

  private:
    pid_t pid = -1;
    std::string address;
};

/** The daemon that tests share which leave it running. */
Daemon& sharedDaemon();
