// SPDX-License-Identifier: Apache-2.0
#include <systemd/sd-bus.h>

#include <sdbusplus/bus/match.hpp>

#include <utility>

namespace sdbusplus::bus::match
{

namespace
{

int onMatch(sd_bus_message* m, void* context, sd_bus_error* /*e*/) noexcept
{
    message_t message{m};
    (*static_cast<match::callback_t*>(context))(message);
    return 0; // other handlers may look at it too
}

} // namespace

match::match(sdbusplus::bus_t& bus, const std::string& rule,
             callback_t callbackIn) :
    callback(std::make_unique<callback_t>(std::move(callbackIn)))
{
    sd_bus_slot* added = nullptr;
    message::details::check(sd_bus_add_match(bus.get(), &added, rule.c_str(),
                                             onMatch, callback.get()),
                            "sd_bus_match");
    slot.reset(added);
}

} // namespace sdbusplus::bus::match
