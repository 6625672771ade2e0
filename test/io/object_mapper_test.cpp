// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/ObjectMapper.hpp"
#include "test/io/private_bus.hpp"

#include <gtest/gtest.h>

#include <sdbusplus/exception.hpp>

#include <cerrno>
#include <cstring>

namespace
{

using Names = std::vector<std::string>;

/** A mapper on a bus of the test's own, and a connection to it. */
class ObjectMapper : public testing::Test
{
  protected:
    const PrivateBus bus;
    const DbusConnPtr conn{bus.connect()};

    Service mapper(const Service::Handler& handler) const
    {
        return Service(bus, handler, "xyz.openbmc_project.ObjectMapper");
    }
};

/** Whether a call is that method of the mapper. */
bool isTo(sd_bus_message* call, const char* member)
{
    return sd_bus_message_is_method_call(
               call, "xyz.openbmc_project.ObjectMapper", member) > 0 &&
           std::strcmp(sd_bus_message_get_path(call),
                       "/xyz/openbmc_project/object_mapper") == 0;
}

/** Whether what is asked for is below that path, one level deep, with the
 *  test's interface. */
bool asksBelow(sd_bus_message* call, const char* wanted)
{
    const char* path = nullptr;
    int32_t depth = 0;
    const char* name = nullptr;
    return sd_bus_message_read(call, "sias", &path, &depth, 1, &name) > 0 &&
           std::strcmp(path, wanted) == 0 && depth == 1 &&
           std::strcmp(name, testInterface) == 0;
}

/** Replies so where the call is as it must be, and else with an error. */
template <typename... Values>
void reply(sd_bus_message* call, bool right, const char* types,
           Values... values)
{
    right ? sd_bus_reply_method_return(call, types, values...)
          : sd_bus_reply_method_errnof(call, EINVAL, "another call");
}

TEST_F(ObjectMapper, theSubtreeIsInTheMappersOrder)
{
    const Service service = mapper(
        [](sd_bus_message* call)
        {
            reply(call, isTo(call, "GetSubTree") && asksBelow(call, "/a"),
                  "a{sa{sas}}", 2, "/a/z", 2, "com.b", 1, testInterface,
                  "com.a", 2, testInterface, "com.mervax.Other", "/a/b", 0);
        });
    const auto tree = io::mapper::getSubTree(conn, "/a", 1, testInterface);
    ASSERT_TRUE(tree) << tree.error().text;
    const io::mapper::SubTree wanted{
        {"/a/z",
         {{"com.a", {testInterface, "com.mervax.Other"}},
          {"com.b", {testInterface}}}},
        {"/a/b", {}}};
    EXPECT_EQ(*tree, wanted);
}

TEST_F(ObjectMapper, soAreThePaths)
{
    const Service service = mapper(
        [](sd_bus_message* call)
        {
            reply(call, isTo(call, "GetSubTreePaths") && asksBelow(call, "/a"),
                  "as", 2, "/a/z", "/a/b");
        });
    const auto paths =
        io::mapper::getSubTreePaths(conn, "/a", 1, testInterface);
    ASSERT_TRUE(paths) << paths.error().text;
    EXPECT_EQ(*paths, (Names{"/a/z", "/a/b"}));
}

TEST_F(ObjectMapper, andTheServicesOfAnObject)
{
    const Service service = mapper(
        [](sd_bus_message* call)
        {
            const char* path = nullptr;
            const char* name = nullptr;
            const bool right =
                isTo(call, "GetObject") &&
                sd_bus_message_read(call, "sas", &path, 1, &name) > 0 &&
                std::strcmp(path, "/a") == 0 &&
                std::strcmp(name, testInterface) == 0;
            reply(call, right, "a{sas}", 2, "com.b", 1, testInterface, "com.a",
                  0);
        });
    const auto services = io::mapper::getServices(conn, "/a", testInterface);
    ASSERT_TRUE(services) << services.error().text;
    EXPECT_EQ(*services, (Names{"com.b", "com.a"}));
}

TEST_F(ObjectMapper, withoutOneThereIsAnErrorReply)
{
    const auto tree = io::mapper::getSubTree(conn, "/a", 1, testInterface);
    const auto paths =
        io::mapper::getSubTreePaths(conn, "/a", 1, testInterface);
    const auto services = io::mapper::getServices(conn, "/a", testInterface);
    ASSERT_FALSE(tree || paths || services);
    const std::string unknown = "org.freedesktop.DBus.Error.ServiceUnknown";
    EXPECT_EQ(tree.error().name, unknown);
    EXPECT_EQ(paths.error().name, unknown);
    EXPECT_EQ(services.error().name, unknown);
}

TEST_F(ObjectMapper, anAnswerOfAnotherTypeIsAnException)
{
    const Service service =
        mapper([](sd_bus_message* call)
               { sd_bus_reply_method_return(call, "s", "no list"); });
    using sdbusplus::exception::SdBusError;
    EXPECT_THROW(io::mapper::getSubTree(conn, "/a", 1, testInterface),
                 SdBusError);
    EXPECT_THROW(io::mapper::getSubTreePaths(conn, "/a", 1, testInterface),
                 SdBusError);
    EXPECT_THROW(io::mapper::getServices(conn, "/a", testInterface),
                 SdBusError);
}

} // namespace
