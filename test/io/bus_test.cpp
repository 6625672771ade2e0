// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/Bus.hpp"
#include "test/io/private_bus.hpp"

#include <gtest/gtest.h>

#include <sdbusplus/exception.hpp>

#include <cerrno>
#include <cstring>

namespace
{

TEST(BusCheck, aFailureIsThrownWithItsStep)
{
    EXPECT_NO_THROW(io::bus::check(0, "sd_bus_default"));
    try
    {
        io::bus::check(-ENOENT, "sd_bus_default");
        ADD_FAILURE() << "nothing thrown";
    }
    catch (const sdbusplus::exception::SdBusError& failure)
    {
        EXPECT_STREQ(failure.what(),
                     "sd_bus_default: org.freedesktop.DBus.Error.FileNotFound: "
                     "No such file or directory");
    }
}

TEST(BusService, aWordIsItsNameAndItsRootObject)
{
    const io::bus::Service service("rsa");
    EXPECT_EQ(service.name, "com.mervax.rsa");
    EXPECT_EQ(service.path, "/com/mervax/rsa");
    const io::bus::Target target = service.at(testInterface);
    EXPECT_STREQ(target.service, "com.mervax.rsa");
    EXPECT_STREQ(target.path, "/com/mervax/rsa");
    EXPECT_STREQ(target.interface, testInterface);
}

TEST(BusService, aWordIsTakenAsItIs)
{
    const io::bus::Service service("");
    EXPECT_EQ(service.name, "com.mervax.");
    EXPECT_EQ(service.path, "/com/mervax/");
    EXPECT_EQ(io::bus::Service("a b").name, "com.mervax.a b");
}

TEST(BusTarget, itsPropertiesAreBesideIt)
{
    const io::bus::Target target{"com.a", testPath, testInterface};
    const io::bus::Target properties = target.properties();
    EXPECT_STREQ(properties.service, "com.a");
    EXPECT_STREQ(properties.path, testPath);
    EXPECT_STREQ(properties.interface, "org.freedesktop.DBus.Properties");
}

TEST(BusSignal, aRuleEndsWithItsComma)
{
    EXPECT_EQ(io::bus::signalRule(testInterface, "Happened"),
              "type='signal', interface='com.mervax.Test', "
              "member='Happened',");
}

/** A service with the property that it is asked for, when it is asked right. */
class BusProperty : public testing::Test
{
  protected:
    const PrivateBus bus;
    const DbusConnPtr conn{bus.connect()};

    /** @param type of the value, and the value */
    template <typename T>
    Service holding(const char* type, T value) const
    {
        return Service(
            bus,
            [type, value](sd_bus_message* call)
            {
                isRead(call)
                    ? sd_bus_reply_method_return(call, "v", type, value)
                    : sd_bus_reply_method_errno(call, EINVAL, nullptr);
            });
    }

    template <typename T>
    io::bus::Answer<T> read(const Service& service) const
    {
        return io::bus::property<T>(
            conn, {service.name().c_str(), testPath, testInterface}, "State");
    }

  private:
    static bool isRead(sd_bus_message* call)
    {
        const char* of = nullptr;
        const char* name = nullptr;
        return sd_bus_message_is_method_call(
                   call, "org.freedesktop.DBus.Properties", "Get") > 0 &&
               std::strcmp(sd_bus_message_get_path(call), testPath) == 0 &&
               sd_bus_message_read(call, "ss", &of, &name) > 0 &&
               std::strcmp(of, testInterface) == 0 &&
               std::strcmp(name, "State") == 0;
    }
};

TEST_F(BusProperty, aTextIsRead)
{
    const Service service = holding("s", "On");
    const auto value = read<std::string>(service);
    ASSERT_TRUE(value) << value.error().text;
    EXPECT_EQ(*value, "On");
}

TEST_F(BusProperty, aByteIsRead)
{
    const Service service = holding("y", 7);
    const auto value = read<uint8_t>(service);
    ASSERT_TRUE(value) << value.error().text;
    EXPECT_EQ(*value, 7);
}

TEST_F(BusProperty, anotherTypeIsAnException)
{
    const Service service = holding("u", 7);
    EXPECT_THROW(read<std::string>(service), std::bad_variant_access);
}

TEST_F(BusProperty, whereAByteIsAskedForItIsZero)
{
    const Service service = holding("u", 7);
    const auto value = read<uint8_t>(service);
    ASSERT_TRUE(value) << value.error().text;
    EXPECT_EQ(*value, 0);
}

TEST_F(BusProperty, anErrorReplyIsHandedOn)
{
    const Service service(
        bus, [](sd_bus_message* call)
        { sd_bus_reply_method_errorf(call, "com.mervax.Error", "not now"); });
    const auto value = read<std::string>(service);
    ASSERT_FALSE(value);
    EXPECT_EQ(value.error().name, "com.mervax.Error");
    EXPECT_EQ(value.error().text, "not now");
}

TEST_F(BusProperty, aReplyWithoutAVariantIsAnException)
{
    const Service service(bus, [](sd_bus_message* call)
                          { sd_bus_reply_method_return(call, "s", "On"); });
    EXPECT_THROW(read<std::string>(service), sdbusplus::exception::SdBusError);
}

} // namespace
