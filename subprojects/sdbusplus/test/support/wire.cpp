// SPDX-License-Identifier: Apache-2.0
#include "wire.hpp"

#include <sys/socket.h>
#include <unistd.h>

#include <array>

namespace
{

/** What a server says to a client that authenticates as itself. */
constexpr std::string_view welcome =
    "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\n";

// Header fields and message types of the D-Bus specification.
constexpr uint8_t fieldPath = 1;
constexpr uint8_t fieldInterface = 2;
constexpr uint8_t fieldMember = 3;
constexpr uint8_t fieldSignature = 8;
constexpr uint8_t typeSignal = 4;

std::string headerFields(std::endian order, std::string_view signature)
{
    return WireWriter(order)
        .u8(fieldPath)
        .signature("o")
        .text("/com/example")
        .align(8)
        .u8(fieldInterface)
        .signature("s")
        .text("com.example.Test")
        .align(8)
        .u8(fieldMember)
        .signature("s")
        .text("Happened")
        .align(8)
        .u8(fieldSignature)
        .signature("g")
        .signature(signature)
        .bytes();
}

std::string signalBytes(std::endian order, std::string_view signature,
                        std::string_view body)
{
    const std::string fields = headerFields(order, signature);
    return WireWriter(order)
        .u8(order == std::endian::big ? 'B' : 'l')
        .u8(typeSignal)
        .u8(1) // no reply expected
        .u8(1) // protocol version
        .u32(static_cast<uint32_t>(body.size()))
        .u32(1) // serial
        .u32(static_cast<uint32_t>(fields.size()))
        .raw(fields)
        .align(8)
        .raw(body)
        .bytes();
}

BusPtr openOn(int fd)
{
    sd_bus* bus = nullptr;
    mustWork(sd_bus_new(&bus), "sd_bus_new");
    BusPtr owned(bus);
    mustWork(sd_bus_negotiate_fds(bus, 0), "sd_bus_negotiate_fds");
    mustWork(sd_bus_set_fd(bus, fd, fd), "sd_bus_set_fd");
    mustWork(sd_bus_start(bus), "sd_bus_start");
    return owned;
}

} // namespace

WireWriter& WireWriter::align(std::size_t to)
{
    out.append((to - out.size() % to) % to, '\0');
    return *this;
}

void WireWriter::number(uint64_t value, std::size_t size)
{
    align(size);
    for (std::size_t i = 0; i < size; ++i)
    {
        const std::size_t at = order == std::endian::big ? size - 1 - i : i;
        out += static_cast<char>(value >> (8 * at) & 0xffU);
    }
}

WireWriter& WireWriter::u8(uint8_t value)
{
    number(value, 1);
    return *this;
}

WireWriter& WireWriter::u32(uint32_t value)
{
    number(value, 4);
    return *this;
}

WireWriter& WireWriter::u64(uint64_t value)
{
    number(value, 8);
    return *this;
}

WireWriter& WireWriter::text(std::string_view value)
{
    u32(static_cast<uint32_t>(value.size()));
    return raw(value).u8(0);
}

WireWriter& WireWriter::signature(std::string_view value)
{
    u8(static_cast<uint8_t>(value.size()));
    return raw(value).u8(0);
}

WireWriter& WireWriter::raw(std::string_view bytes)
{
    out += bytes;
    return *this;
}

WireMessage::WireMessage(std::endian order, std::string_view signature,
                         std::string_view body)
{
    std::array<int, 2> ends{};
    mustWork(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()),
             "socketpair");
    const std::string bytes =
        std::string(welcome) + signalBytes(order, signature, body);
    const auto written = write(ends[0], bytes.data(), bytes.size());
    mustWork(written == static_cast<ssize_t>(bytes.size()) ? 0 : -EIO, "write");

    bus = openOn(ends[1]);
    sd_bus_message* received = nullptr;
    while (received == nullptr)
    {
        if (mustWork(sd_bus_process(bus.get(), &received), "process") == 0)
        {
            mustWork(sd_bus_wait(bus.get(), UINT64_MAX), "wait");
        }
    }
    message.reset(received);
    close(ends[0]);
}
