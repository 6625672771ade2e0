// SPDX-License-Identifier: Apache-2.0
#include "sim/bus/event_loop.hpp"

#include "sim/bus/bus_error.hpp"

#include <systemd/sd-event.h>

#include <csignal>
#include <ctime>
#include <utility>

namespace sim
{

namespace
{

void endOn(sd_event* event, int signalNumber)
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signalNumber);
    sigprocmask(SIG_BLOCK, &set, nullptr);
    // Without a handler the loop ends with the given data, 0, as its result.
    check(sd_event_add_signal(event, nullptr, signalNumber, nullptr, nullptr),
          "signal");
}

} // namespace

EventLoop::EventLoop()
{
    check(sd_event_new(&event), "event loop");
    endOn(event, SIGTERM);
    endOn(event, SIGINT);
    // The default accuracy of 250 ms would blur every order; 1 us is exact.
    check(sd_event_add_time(event, &alarm, CLOCK_MONOTONIC, 0, 1, ring, this),
          "timer");
    check(sd_event_source_set_enabled(alarm, SD_EVENT_OFF), "timer");
}

EventLoop::~EventLoop()
{
    sd_event_source_disable_unref(alarm);
    sd_event_unref(event);
}

void EventLoop::after(std::chrono::milliseconds delay,
                      std::function<void()> action)
{
    actions.emplace(Clock::now() + delay, std::move(action));
    setAlarm();
}

void EventLoop::setAlarm()
{
    if (actions.empty())
    {
        return;
    }
    auto due = std::chrono::duration_cast<std::chrono::microseconds>(
        actions.begin()->first.time_since_epoch());
    check(sd_event_source_set_time(alarm, static_cast<uint64_t>(due.count())),
          "timer");
    check(sd_event_source_set_enabled(alarm, SD_EVENT_ONESHOT), "timer");
}

int EventLoop::ring(sd_event_source* /*source*/, uint64_t /*now*/, void* data)
{
    auto& loop = *static_cast<EventLoop*>(data);
    const Clock::time_point now = Clock::now();
    while (!loop.actions.empty() && loop.actions.begin()->first <= now)
    {
        auto next = loop.actions.extract(loop.actions.begin());
        next.mapped()();
    }
    loop.setAlarm();
    return 0;
}

void EventLoop::run()
{
    check(sd_event_loop(event), "event loop");
}

} // namespace sim
