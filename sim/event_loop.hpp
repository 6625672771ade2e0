#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>

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

    /** Runs the action once, from the loop, also for a delay of 0. */
    void after(std::chrono::milliseconds delay, std::function<void()> action);
    void run();

    sd_event* get() const
    {
        return event;
    }

  private:
    struct Timer
    {
        EventLoop* loop = nullptr;
        sd_event_source* source = nullptr;
        std::function<void()> action;
        std::list<Timer>::iterator self;
    };

    static int fire(sd_event_source* source, uint64_t now, void* data);

    sd_event* event = nullptr;
    std::list<Timer> timers;
};

} // namespace sim
