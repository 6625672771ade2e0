// SPDX-License-Identifier: Apache-2.0
#include "support/expect.hpp"
#include "support/wire.hpp"

#include <sdbusplus/message.hpp>

#include <bit>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

// Messages that a well-behaved peer on the same machine does not send.

namespace
{

constexpr auto otherOrder = std::endian::native == std::endian::little
                              ? std::endian::big
                              : std::endian::little;

sdbusplus::message_t messageOf(const WireMessage& wire)
{
    return sdbusplus::message_t(wire.get());
}

void expectDamaged(sdbusplus::message_t m, auto value, const std::string& step)
{
    expectError([&] { m.read(value); }, EBADMSG, step,
                "org.freedesktop.DBus.Error.InconsistentMessage",
                "Bad message");
}

TEST(Wire, readsArraysOfTheOwnByteOrder)
{
    WireWriter body(std::endian::native);
    body.u32(8).u32(1).u32(0x01020304);
    const WireMessage wire(std::endian::native, "au", body.bytes());
    EXPECT_EQ(messageOf(wire).unpack<std::vector<uint32_t>>(),
              (std::vector<uint32_t>{1, 0x01020304}));
}

TEST(Wire, readsArraysOfTheOtherByteOrder)
{
    WireWriter body(otherOrder);
    body.u32(16).align(8).u64(1).u64(0x0102030405060708);
    body.u32(3).u8(1).u8(2).u8(3);
    const WireMessage wire(otherOrder, "atay", body.bytes());
    auto m = messageOf(wire);
    EXPECT_EQ(m.unpack<std::vector<uint64_t>>(),
              (std::vector<uint64_t>{1, 0x0102030405060708}));
    EXPECT_EQ(m.unpack<std::vector<uint8_t>>(),
              (std::vector<uint8_t>{1, 2, 3}));
}

TEST(Wire, readsMapsOfTheOtherByteOrder)
{
    WireWriter body(otherOrder);

    WireWriter entry(otherOrder);
    entry.u32(12).align(8).text("key").u32(7);
    const WireMessage wire(otherOrder, "a{su}", entry.bytes());
    EXPECT_EQ((messageOf(wire).unpack<std::map<std::string, uint32_t>>()),
              (std::map<std::string, uint32_t>{{"key", 7}}));
}

TEST(Wire, refusesAnArrayThatIsLongerThanTheMessage)
{
    WireWriter body(std::endian::native);
    body.u32(1000).u32(1).u32(2);
    const WireMessage bytes(std::endian::native, "ay", body.bytes());
    expectDamaged(messageOf(bytes), std::vector<uint8_t>(),
                  "sd_bus_message_read_basic fundamental");
    const WireMessage words(std::endian::native, "au", body.bytes());
    expectDamaged(messageOf(words), std::vector<uint32_t>(),
                  "sd_bus_message_read_basic fundamental");
}

TEST(Wire, refusesAnArrayOverTheLimitOfDBus)
{
    WireWriter body(std::endian::native);
    body.u32(0x7fffffff);
    const WireMessage wire(std::endian::native, "ay", body.bytes());
    expectDamaged(messageOf(wire), std::vector<uint8_t>(),
                  "sd_bus_message_enter_container emplace_back_container");
}

TEST(Wire, refusesAnArrayThatEndsInsideAnElement)
{
    WireWriter body(std::endian::native);
    body.u32(6).u32(1).u32(2);
    const WireMessage wire(std::endian::native, "au", body.bytes());
    std::vector<uint32_t> values;
    auto m = messageOf(wire);
    expectError([&] { m.read(values); }, EBUSY,
                "sd_bus_message_exit_container emplace_back_container",
                "System.Error.EBUSY", "Device or resource busy");
}

TEST(Wire, refusesTextThatIsLongerThanTheMessage)
{
    WireWriter body(std::endian::native);
    body.u32(1000).raw({"abc\0", 4});
    const WireMessage wire(std::endian::native, "s", body.bytes());
    expectDamaged(messageOf(wire), std::string(),
                  "sd_bus_message_read_basic string");
}

TEST(Wire, refusesTextWithoutItsNul)
{
    WireWriter body(std::endian::native);
    body.u32(3).raw("abcd");
    const WireMessage wire(std::endian::native, "s", body.bytes());
    expectDamaged(messageOf(wire), std::string(),
                  "sd_bus_message_read_basic string");
}

} // namespace
