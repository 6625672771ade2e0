// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/EventsTimers.hpp"

#include <algorithm>
#include <utility>

namespace io::events
{

bool Timers::schedule(unsigned kind, std::chrono::steady_clock::duration delay,
                      Work work)
{
    std::shared_ptr<Entry>& entry = entries[kind];
    if (entry && entry->waiting)
    {
        return false;
    }
    entry = std::make_shared<Entry>(io);
    entry->timer.expires_after(delay);
    // By a weak pointer: the entry holds the timer, and that this handler.
    entry->timer.async_wait(
        [state = std::weak_ptr(entry),
         work = std::move(work)](const boost::system::error_code& error)
        {
            if (const auto held = state.lock())
            {
                held->waiting = false;
            }
            work(error);
        });
    return true;
}

bool Timers::isPending() const
{
    return std::any_of(entries.begin(), entries.end(),
                       [](const auto& entry) { return entry.second->waiting; });
}

void Timers::cancel()
{
    for (const auto& [kind, entry] : entries)
    {
        entry->timer.cancel();
    }
}

} // namespace io::events
