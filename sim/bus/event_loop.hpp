// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>

struct sd_event;
struct sd_event_source;

namespace sim
{

/** The program's one event loop. */
class EventLoop
{
  public:
    /** SIGTERM and SIGINT end run(). Throws std::system_error. */
    EventLoop();
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /** Runs the action once, from the loop, also for a delay of 0. Actions
     *  with the same delay run in the order in which they were asked for. */
    void after(std::chrono::milliseconds delay, std::function<void()> action);
    void run();

    sd_event* get() const
    {
        return event;
    }

  private:
    using Clock = std::chrono::steady_clock; // CLOCK_MONOTONIC

    static int ring(sd_event_source* source, uint64_t now, void* data);
    void setAlarm();

    sd_event* event = nullptr;
    sd_event_source* alarm = nullptr;
    // One timer for all: sd-event gives timers that are due together no order.
    std::multimap<Clock::time_point, std::function<void()>> actions;
};

} // namespace sim
