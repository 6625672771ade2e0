// SPDX-License-Identifier: Apache-2.0
#include "test/io/spdm/spdm_fixture.hpp"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <iterator>

using mctp::spdm::SpdmLib;
using mctp::spdm::UdsSocket;

namespace
{

using Transport = SpdmTest;

constexpr std::array<uint8_t, 3> message{5, 0x10, 0x84};

libspdm_return_t send(uint64_t timeout)
{
    return scripted.send(nullptr, message.size(), message.data(), timeout);
}

/** Runs the body at a time when the library talks to the device. */
Lines whileConnecting(uint32_t address, const std::function<void()>& body)
{
    journalOf([] { SpdmLib::initialize(); });
    scripted.initConnection = LIBSPDM_STATUS_NEGOTIATION_FAIL;
    scripted.duringConnection = body;
    Lines lines = journalOf([&] { SpdmLib::authenticateTarget(address, ""); });
    // What the flow makes of the failed connection.
    EXPECT_EQ(lines.back(), "<6> SPDM Lib uninitialized");
    lines.pop_back();
    EXPECT_EQ(lines.back(), "<3> [ERR] libspdm_init_connection failed. rc = "
                            "0x80010007");
    lines.pop_back();
    return lines;
}

TEST_F(Transport, aResponseWaitsInTheSocket)
{
    std::array<uint8_t, 8> buffer{1, 1, 1, 1, 1, 1, 1, 1};
    size_t size = buffer.size();
    void* where = buffer.data();
    const Lines lines = whileConnecting(
        echoAddress,
        [&]
        {
            EXPECT_EQ(send(1000000), 0U);
            EXPECT_EQ(scripted.receive(nullptr, &size, &where, 1000000), 0U);
        });
    EXPECT_EQ(lines, Lines{});
    // The length is not written back.
    EXPECT_EQ(size, buffer.size());
    // What was there before it is gone.
    EXPECT_EQ(buffer, (std::array<uint8_t, 8>{5, 1, 2, 3}));
}

TEST_F(Transport, aResponseIsCutToTheBuffer)
{
    std::array<uint8_t, 2> buffer{};
    size_t size = buffer.size();
    void* where = buffer.data();
    whileConnecting(echoAddress,
                    [&]
                    {
                        EXPECT_EQ(send(0), 0U);
                        EXPECT_EQ(scripted.receive(nullptr, &size, &where, 0),
                                  0U);
                    });
    EXPECT_EQ(buffer, (std::array<uint8_t, 2>{5, 1}));
}

TEST_F(Transport, timeInMillisecondsWrapsAt16Bits)
{
    const size_t before = callsOf("SendReceiveMctpMessagePayload").size();
    whileConnecting(echoAddress,
                    []
                    {
                        EXPECT_EQ(send(1999), 0U);
                        EXPECT_EQ(send(65535999), 0U);
                        EXPECT_EQ(send(65536000), 0U);
                        EXPECT_EQ(send(65541000), 0U);
                    });
    const Lines calls = callsOf("SendReceiveMctpMessagePayload");
    ASSERT_EQ(calls.size(), before + 4);
    const std::array<std::string, 4> ends{",1]", ",65535]", ",0]", ",5]"};
    for (size_t i = 0; i < ends.size(); ++i)
    {
        EXPECT_NE(calls[before + i].find("[9,[5,16,132]" + ends[i]),
                  std::string::npos)
            << calls[before + i];
    }
}

TEST_F(Transport, nothingInTimeIsNoFailureOfTheReceiver)
{
    std::array<uint8_t, 4> buffer{};
    size_t size = buffer.size();
    void* where = buffer.data();
    const Lines lines = whileConnecting(
        echoAddress,
        [&]
        {
            EXPECT_EQ(send(0), 0U);
            EXPECT_EQ(scripted.receive(nullptr, &size, &where, 0), 0U);
            buffer = {1, 1, 1, 1};
            EXPECT_EQ(scripted.receive(nullptr, &size, &where, 1000), 0U);
        });
    EXPECT_EQ(lines, Lines{"<3> [ERR] Timeout occurred. No data received"});
    EXPECT_EQ(buffer, (std::array<uint8_t, 4>{}));
}

TEST_F(Transport, receivingBeforeAnythingWasSent)
{
    std::array<uint8_t, 4> buffer{};
    size_t size = buffer.size();
    void* where = buffer.data();
    const Lines lines = whileConnecting(
        echoAddress,
        [&] {
            EXPECT_EQ(scripted.receive(nullptr, &size, &where, 0), 0x80040001U);
        });
    EXPECT_EQ(lines, Lines{"<3> [ERR] select failed"});
}

TEST_F(Transport, receivingIntoNoMemoryFails)
{
    size_t size = 4;
    void* nowhere = nullptr;
    const Lines lines = whileConnecting(
        echoAddress,
        [&]
        {
            EXPECT_EQ(send(0), 0U);
            EXPECT_EQ(scripted.receive(nullptr, &size, &nowhere, 0),
                      0x80040001U);
        });
    EXPECT_EQ(lines, Lines{"<3> [ERR] recv failed"});
}

TEST_F(Transport, anErrorReplyFailsTheSend)
{
    const Lines lines = whileConnecting(failingAddress, []
                                        { EXPECT_EQ(send(0), 0x80040000U); });
    EXPECT_EQ(lines, Lines{"<3> [ERR] Tx/Rx SPDM msg failed. EID=10, "
                           "xyz.openbmc_project.MCTP_PCIe"});
}

TEST_F(Transport, withoutAConnectionTheSendFails)
{
    const Lines lines = whileConnecting(echoAddress,
                                        []
                                        {
                                            const DbusConnPtr kept =
                                                SpdmLib::connection;
                                            SpdmLib::connection.reset();
                                            EXPECT_EQ(send(0), 0x80040000U);
                                            SpdmLib::connection = kept;
                                        });
    EXPECT_EQ(lines, Lines{});
}

TEST(SocketPath, isNamedAfterTheExecutable)
{
    EXPECT_EQ(UdsSocket::pathFor("/usr/bin/zantric"), "/run/zantricSpdmSocket");
    EXPECT_EQ(UdsSocket::pathFor("zantric"), "/run/zantricSpdmSocket");
    EXPECT_EQ(UdsSocket::pathFor(""), "/run/SpdmSocket");
    EXPECT_EQ(UdsSocket::pathFor("/"), "/run/SpdmSocket");
    EXPECT_EQ(UdsSocket::pathFor(std::string(200, 'x')),
              "/run/" + std::string(102, 'x'));
}

constexpr const char* ownPath = "/run/spdm_testSpdmSocket";
constexpr const char* ownLock = "/run/spdm_testSpdmSocket.lock";

bool exists(const char* path)
{
    return access(path, F_OK) == 0;
}

/** The socket sends itself two bytes and takes what is there. */
std::array<uint8_t, 2> echo(const UdsSocket& socket, uint8_t value)
{
    const std::array<uint8_t, 2> sent{value, value};
    EXPECT_EQ(socket.sendToSelf(sent), 2);
    std::array<uint8_t, 2> received{};
    EXPECT_EQ(socket.receive(received.data(), received.size(), 0), 2);
    return received;
}

TEST(Socket, opensOnceAndLeavesNothing)
{
    {
        UdsSocket socket;
        ASSERT_EQ(socket.init(), 0);
        ASSERT_EQ(socket.init(), 0);
        EXPECT_TRUE(exists(ownPath));
    }
    EXPECT_FALSE(exists(ownPath));
    EXPECT_FALSE(exists(ownLock));
}

// Locks belong to an open file, so that two sockets of one process are to each
// other what those of two processes are.
TEST(Socket, eachGetsItsOwnDatagrams)
{
    UdsSocket first;
    UdsSocket second;
    ASSERT_EQ(first.init(), 0);
    ASSERT_EQ(second.init(), 0);
    EXPECT_EQ(first.sendToSelf(std::array<uint8_t, 1>{1}), 1);
    EXPECT_EQ(second.sendToSelf(std::array<uint8_t, 1>{2}), 1);
    uint8_t byte = 0;
    EXPECT_EQ(first.receive(&byte, 1, 0), 1);
    EXPECT_EQ(byte, 1);
    EXPECT_EQ(second.receive(&byte, 1, 0), 1);
    EXPECT_EQ(byte, 2);
}

TEST(Socket, theFileIsThereUntilTheLastOfThemEnds)
{
    UdsSocket first;
    UdsSocket second;
    UdsSocket third;
    ASSERT_EQ(first.init(), 0);
    ASSERT_EQ(second.init(), 0);
    EXPECT_EQ(journalOf([&] { second.uninit(); }), Lines{});
    EXPECT_TRUE(exists(ownPath));
    EXPECT_EQ(echo(first, 7), (std::array<uint8_t, 2>{7, 7}));
    ASSERT_EQ(third.init(), 0);
    EXPECT_EQ(journalOf([&] { first.uninit(); }), Lines{});
    EXPECT_TRUE(exists(ownPath));
    EXPECT_EQ(echo(third, 9), (std::array<uint8_t, 2>{9, 9}));
    EXPECT_EQ(journalOf([&] { third.uninit(); }), Lines{});
    EXPECT_FALSE(exists(ownPath));
    EXPECT_FALSE(exists(ownLock));
}

// A set of select(2) has no place for it.
TEST(Socket, itsDescriptorMayBeTooHighToWaitFor)
{
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = std::max<rlim_t>(limit.rlim_cur, FD_SETSIZE + 8);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    std::vector<int> taken{open("/dev/null", O_RDONLY)};
    while (taken.back() != -1 && taken.back() < FD_SETSIZE - 1)
    {
        taken.push_back(dup(taken.back()));
    }
    UdsSocket socket;
    ASSERT_EQ(socket.init(), 0);
    EXPECT_EQ(socket.sendToSelf(std::array<uint8_t, 1>{1}), 1);
    uint8_t byte = 0;
    EXPECT_EQ(journalOf([&] { EXPECT_EQ(socket.receive(&byte, 1, 0), -1); }),
              Lines{"<3> [ERR] select failed"});
    std::for_each(taken.begin(), taken.end(), close);
}

TEST(Socket, nobodyElseCanSendIntoIt)
{
    UdsSocket socket;
    ASSERT_EQ(socket.init(), 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, ownPath);
    const int stranger = ::socket(AF_UNIX, SOCK_DGRAM, 0);
    ASSERT_NE(stranger, -1);
    EXPECT_EQ(sendto(stranger, "x", 1, 0,
                     reinterpret_cast<const sockaddr*>(&address),
                     sizeof(address)),
              -1);
    EXPECT_EQ(errno, EPERM);
    close(stranger);
}

TEST(Socket, hasNoPlaceWithoutItsLockFile)
{
    ASSERT_EQ(mkdir(ownLock, 0700), 0);
    UdsSocket socket;
    EXPECT_EQ(journalOf([&] { EXPECT_EQ(socket.init(), -1); }),
              Lines{"<3> [ERR] Failed to bind UDS socket for SPDM"});
    ASSERT_EQ(rmdir(ownLock), 0);
    EXPECT_EQ(socket.init(), 0);
    EXPECT_EQ(socket.sendToSelf(std::array<uint8_t, 1>{1}), 1);
}

/** How many descriptors are open. */
ptrdiff_t openDescriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                         std::filesystem::directory_iterator());
}

TEST(Socket, aFailedBindLeavesNothing)
{
    ASSERT_EQ(mkdir(ownPath, 0700), 0);
    const ptrdiff_t before = openDescriptors();
    UdsSocket socket;
    EXPECT_EQ(journalOf([&] { EXPECT_EQ(socket.init(), -1); }),
              Lines{"<3> [ERR] Failed to bind UDS socket for SPDM"});
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_FALSE(exists(ownLock));
    ASSERT_EQ(rmdir(ownPath), 0);
}

TEST(Socket, tellsWhenItsFileIsGone)
{
    UdsSocket socket;
    ASSERT_EQ(socket.init(), 0);
    ASSERT_EQ(unlink(ownPath), 0);
    EXPECT_EQ(journalOf([&] { socket.uninit(); }),
              Lines{"<3> [ERR] Failed to unlink /run/spdm_testSpdmSocket"});
    EXPECT_EQ(journalOf([&] { socket.uninit(); }), Lines{});
}

} // namespace
