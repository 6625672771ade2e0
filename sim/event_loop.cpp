#include "event_loop.hpp"

#include "bus_error.hpp"

#include <systemd/sd-event.h>

#include <csignal>
#include <ctime>
#include <iterator>
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
}

EventLoop::~EventLoop()
{
    for (Timer& timer : timers)
    {
        sd_event_source_disable_unref(timer.source);
    }
    sd_event_unref(event);
}

void EventLoop::after(std::chrono::milliseconds delay,
                      std::function<void()> action)
{
    Timer& timer = timers.emplace_back();
    timer.loop = this;
    timer.action = std::move(action);
    timer.self = std::prev(timers.end());
    auto microseconds =
        std::chrono::duration_cast<std::chrono::microseconds>(delay).count();
    // The default accuracy of 250 ms would blur every order; 1 us is exact.
    check(sd_event_add_time_relative(event, &timer.source, CLOCK_MONOTONIC,
                                     static_cast<uint64_t>(microseconds), 1,
                                     fire, &timer),
          "timer");
}

int EventLoop::fire(sd_event_source* source, uint64_t /*now*/, void* data)
{
    auto* timer = static_cast<Timer*>(data);
    std::function<void()> action = std::move(timer->action);
    timer->loop->timers.erase(timer->self);
    sd_event_source_disable_unref(source);
    action();
    return 0;
}

void EventLoop::run()
{
    check(sd_event_loop(event), "event loop");
}

} // namespace sim
