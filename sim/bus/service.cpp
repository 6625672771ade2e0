// SPDX-License-Identifier: Apache-2.0
#include "sim/bus/service.hpp"

#include "sim/bus/bus.hpp"
#include "sim/bus/bus_error.hpp"
#include "sim/bus/delivery.hpp"
#include "sim/bus/value.hpp"

#include <systemd/sd-bus.h>

#include <cstdio>
#include <exception>
#include <utility>

namespace sim
{

namespace
{

std::string orEmpty(const char* text)
{
    return text == nullptr ? "" : text;
}

} // namespace

Service::Service(Bus& homeIn, std::string name) :
    home(homeIn), busName(std::move(name))
{
}

Service::~Service()
{
    die();
}

void Service::connect(const std::string& address)
{
    try
    {
        open(address);
    }
    catch (...)
    {
        sd_bus_unref(std::exchange(bus, nullptr));
        throw;
    }
}

void Service::open(const std::string& address)
{
    check(sd_bus_new(&bus), "bus");
    check(sd_bus_set_address(bus, address.c_str()), "bus address");
    check(sd_bus_set_bus_client(bus, 1), "bus");
    check(sd_bus_start(bus), "connecting to the bus");
    check(sd_bus_add_filter(bus, nullptr, onMessage, this), "filter");
    check(sd_bus_attach_event(bus, home.loop().get(), 0), "event loop");
    check(sd_bus_request_name(bus, busName.c_str(), 0),
          ("taking the name " + busName).c_str());
}

void Service::die()
{
    sd_bus_flush_close_unref(std::exchange(bus, nullptr));
}

void Service::emit(const Signal& signal)
{
    if (!alive())
    {
        return;
    }
    sd_bus_message* message = nullptr;
    check(sd_bus_message_new_signal(bus, &message, signal.path.c_str(),
                                    signal.interface.c_str(),
                                    signal.member.c_str()),
          "signal");
    MessagePtr owner(message);
    appendValues(message, signal.signature, signal.values);
    check(sd_bus_send(bus, message, nullptr), "signal");
}

Call Service::received(sd_bus_message* message) const
{
    return {.destination = orEmpty(sd_bus_message_get_destination(message)),
            .path = orEmpty(sd_bus_message_get_path(message)),
            .interface = orEmpty(sd_bus_message_get_interface(message)),
            .member = orEmpty(sd_bus_message_get_member(message)),
            .signature = orEmpty(sd_bus_message_get_signature(message, 1)),
            .args = readValues(message)};
}

int Service::onMessage(sd_bus_message* message, void* data,
                       sd_bus_error* /*error*/)
{
    auto* service = static_cast<Service*>(data);
    if (sd_bus_message_is_method_call(message, nullptr, nullptr) <= 0)
    {
        return 0;
    }
    try
    {
        Call call = service->received(message);
        service->home.log().write(call);
        deliver(service->home, *service, message,
                service->home.answer(*service, call));
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "bmcsim: %s: %s\n", service->busName.c_str(),
                     failure.what());
        sd_bus_reply_method_errorf(message, SD_BUS_ERROR_FAILED, "%s",
                                   failure.what());
    }
    return 1;
}

} // namespace sim
