// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>
#include <sdbusplus/message.hpp>

#include <functional>
#include <memory>
#include <string>

namespace sdbusplus::bus
{
namespace match
{

namespace details
{

struct SlotUnref
{
    void operator()(sd_bus_slot* slot) const
    {
        sd_bus_slot_unref(slot);
    }
};

} // namespace details

/** A subscription that lasts as long as the object.
 *
 *  The callback runs inside bus_t::process_discard. It is called from C:
 *  an exception that leaves it ends the program (std::terminate). */
struct match
{
    using callback_t = std::function<void(sdbusplus::message_t&)>;

    /** @param[in] rule - a match rule of the bus daemon; a comma at its end
     *                    is fine
     *  @throw SdBusError where the rule is refused */
    match(sdbusplus::bus_t& bus, const std::string& rule,
          callback_t callbackIn);

  private:
    // Behind a pointer, since sd-bus keeps its address when the match moves.
    std::unique_ptr<callback_t> callback;
    std::unique_ptr<sd_bus_slot, details::SlotUnref> slot;
};

} // namespace match

using match_t = match::match;

} // namespace sdbusplus::bus
