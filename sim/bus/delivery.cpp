// SPDX-License-Identifier: Apache-2.0
#include "sim/bus/delivery.hpp"

#include "sim/bus/bus.hpp"
#include "sim/bus/bus_error.hpp"
#include "sim/bus/service.hpp"
#include "sim/bus/value.hpp"

#include <cstdio>
#include <exception>
#include <utility>

namespace sim
{

namespace
{

/** One call on its way to its answer; steps share it. */
class Delivery : public std::enable_shared_from_this<Delivery>
{
  public:
    Delivery(Bus& busIn, Service& serviceIn, sd_bus_message* callIn,
             Reply replyIn) :
        bus(busIn),
        service(serviceIn),
        call(sd_bus_message_ref(callIn)),
        reply(std::move(replyIn))
    {
    }

    /** Sends the signals that come first, one behind the other, then answers.
     */
    void signalsFrom(size_t index);

  private:
    void wait(std::chrono::milliseconds delay, void (Delivery::*step)(size_t),
              size_t index);
    void emitBefore(size_t index);
    void finish(size_t unused);
    void answer();
    void answerValues();
    void follow();
    void emit(const Signal& signal);

    Bus& bus;
    Service& service;
    MessagePtr call;
    Reply reply;
};

void Delivery::wait(std::chrono::milliseconds delay,
                    void (Delivery::*step)(size_t), size_t index)
{
    if (delay.count() == 0)
    {
        (this->*step)(index);
        return;
    }
    bus.loop().after(delay, [self = shared_from_this(), step, index]
                     { (self.get()->*step)(index); });
}

void Delivery::signalsFrom(size_t index)
{
    if (index < reply.before.size())
    {
        wait(reply.before[index].delay, &Delivery::emitBefore, index);
        return;
    }
    wait(reply.delay, &Delivery::finish, 0);
}

void Delivery::emitBefore(size_t index)
{
    emit(reply.before[index]);
    signalsFrom(index + 1);
}

void Delivery::finish(size_t /*unused*/)
{
    if (!service.alive())
    {
        return;
    }
    try
    {
        answer();
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "bmcsim: %s: %s\n", service.name().c_str(),
                     failure.what());
        sd_bus_reply_method_errorf(call.get(), SD_BUS_ERROR_FAILED, "%s",
                                   failure.what());
    }
    follow();
}

void Delivery::answer()
{
    if (sd_bus_message_get_expect_reply(call.get()) <= 0)
    {
        return;
    }
    if (reply.kind == Reply::Kind::values)
    {
        answerValues();
    }
    else if (reply.kind == Reply::Kind::error)
    {
        check(sd_bus_reply_method_errorf(call.get(), reply.errorName.c_str(),
                                         "%s", reply.errorMessage.c_str()),
              "reply");
    }
}

void Delivery::answerValues()
{
    sd_bus_message* message = nullptr;
    check(sd_bus_message_new_method_return(call.get(), &message), "reply");
    MessagePtr owner(message);
    appendValues(message, reply.signature, reply.values);
    check(sd_bus_send(nullptr, message, nullptr), "reply");
}

void Delivery::follow()
{
    for (const Signal& signal : reply.after)
    {
        if (signal.delay.count() == 0)
        {
            emit(signal);
            continue;
        }
        bus.loop().after(signal.delay, [self = shared_from_this(), &signal]
                         { self->emit(signal); });
    }
    if (reply.kind == Reply::Kind::die)
    {
        reply.dieAfter.emplace(0);
    }
    if (reply.dieAfter)
    {
        // Never from here: sd-bus is still handling the call.
        bus.loop().after(*reply.dieAfter, [&dying = service] { dying.die(); });
    }
}

void Delivery::emit(const Signal& signal)
{
    Service* sender =
        signal.service.empty() ? &service : bus.find(signal.service);
    if (sender == nullptr)
    {
        std::fprintf(stderr, "bmcsim: no service %s for a signal\n",
                     signal.service.c_str());
        return;
    }
    sender->emit(signal);
}

} // namespace

void deliver(Bus& bus, Service& service, sd_bus_message* call, Reply reply)
{
    std::make_shared<Delivery>(bus, service, call, std::move(reply))
        ->signalsFrom(0);
}

} // namespace sim
