// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/ServiceUtility.hpp"
#include "test/io/private_bus.hpp"

#include <gtest/gtest.h>

namespace
{

/** Reads a text property of a service that answers so. */
bool readFrom(const Service::Handler& handler, std::string& value)
{
    const PrivateBus bus;
    const Service service(bus, handler);
    return io::ServiceUtility::getProperty(
        bus.connect(), service.name().c_str(), "/com/mervax/test",
        "com.mervax.Test", "State", value, 0);
}

TEST(ServiceUtility, readsAPropertyByTheFullSignature)
{
    std::string value;
    EXPECT_TRUE(readFrom([](sd_bus_message* call)
                         { sd_bus_reply_method_return(call, "v", "s", "On"); },
                         value));
    EXPECT_EQ(value, "On");
}

TEST(ServiceUtility, aValueStaysWhereThereIsNone)
{
    std::string value = "before";
    EXPECT_FALSE(readFrom([](sd_bus_message* call)
                          { sd_bus_reply_method_errno(call, ENOENT, nullptr); },
                          value));
    EXPECT_FALSE(readFrom([](sd_bus_message* call)
                          { sd_bus_reply_method_return(call, "v", "u", 7); },
                          value));
    EXPECT_EQ(value, "before");
}

} // namespace
