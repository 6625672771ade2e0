// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "io/common/src/Bus.hpp"

#include <sys/types.h>
#include <systemd/sd-bus.h>

#include <functional>
#include <string>

/** What a test's services offer. */
constexpr const char* testPath = "/com/mervax/test";
constexpr const char* testInterface = "com.mervax.Test";

/** A dbus-daemon of the test's own, which ends with the object. */
class PrivateBus
{
  public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    /** A connection as the tool has one.
     *  @param timeoutUs after which a call is given up; 0 for the default */
    DbusConnPtr connect(uint64_t timeoutUs = 0) const;

    /** A new connection, named by the daemon; the caller unrefs it. */
    sd_bus* open() const;

  private:
    std::string address; // is there before the daemon tells it
    pid_t pid;
};

/** A service on the bus, in a process of its own, so that what it holds does
 *  not count for the test. It is there when the constructor returns. */
class Service
{
  public:
    /** Gets every method call and replies, or does not. */
    using Handler = std::function<void(sd_bus_message* call)>;

    /** @param knownAs a name that it also has, if any */
    Service(const PrivateBus& bus, const Handler& handler,
            const char* knownAs = nullptr);
    ~Service();
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /** What to call it by. */
    const std::string& name() const
    {
        return uniqueName;
    }

  private:
    std::string uniqueName; // is there before the service tells it
    pid_t pid;
};
