// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "daemon.hpp"
#include "handles.hpp"

#include <gtest/gtest.h>

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>

#include <string>
#include <utility>

/** The bus that messages which are never sent belong to. */
inline sd_bus* testBus()
{
    static const BusPtr bus = sharedDaemon().connect();
    return bus.get();
}

/** An empty method call, to write to. */
inline sdbusplus::message_t newMessage()
{
    sd_bus_message* m = nullptr;
    mustWork(sd_bus_message_new_method_call(testBus(), &m, "com.example",
                                            "/com/example", "com.example.Test",
                                            "Do"),
             "sd_bus_message_new_method_call");
    return sdbusplus::message_t(m, std::false_type());
}

/** Make a written message readable, from its beginning. */
inline sdbusplus::message_t sealed(sdbusplus::message_t m)
{
    mustWork(sd_bus_message_seal(m.get(), 1, 0), "sd_bus_message_seal");
    return m;
}

/** A readable message with the values that sd_bus_message_append takes. */
template <typename... Args>
sdbusplus::message_t messageWith(const char* types, Args... args)
{
    auto m = newMessage();
    mustWork(sd_bus_message_append(m.get(), types, args...), types);
    return sealed(std::move(m));
}

/** Run it and check every side of the SdBusError that it has to throw. */
template <typename F>
void expectError(F&& f, int error, const std::string& prefix,
                 const std::string& name, const std::string& description)
{
    try
    {
        f();
        FAIL() << "nothing thrown";
    }
    catch (const sdbusplus::exception::SdBusError& e)
    {
        EXPECT_EQ(e.get_errno(), error);
        EXPECT_EQ(e.what(), prefix + ": " + name + ": " + description);
        EXPECT_EQ(e.name(), name);
        EXPECT_EQ(e.description(), description);
        EXPECT_STREQ(e.get_error()->name, name.c_str());
    }
}

/** The error of a message that holds something else than is read. */
template <typename F>
void expectWrongType(F&& f, const std::string& step)
{
    expectError(std::forward<F>(f), ENXIO, step, "System.Error.ENXIO",
                "No such device or address");
}
