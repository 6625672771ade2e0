// SPDX-License-Identifier: Apache-2.0
#include "test/spdm/responder/peer.hpp"

#include <gtest/gtest.h>

#include <random>

namespace spdm_test
{

// A requester that sends anything: every message gets an answer that is a
// response code of the device, no longer than it may be, and afterwards the
// device still works.

const char* const targetDevice = R"({"versions": ["1.0", "1.1", "1.2", "1.3"],
    "capabilities": {"chunking": true, "multiKey": "negotiable"},
    "dataTransferSize": 200,
    "slots": [{"slot": 0}, {"slot": 6, "keyUsage": 4}],
    "measurements": [{"index": 1, "value": "aa"},
                     {"index": 2, "type": 128, "size": 300}]})";

/** Good requests of each kind, for the version of the connection. */
static std::vector<Bytes> requests(const Peer& peer)
{
    Bytes context = peer.context();
    Bytes signing = peer.version >= 0x11 ? Bytes(33) : Bytes(32);
    return {
        peer.header(0x81),
        join({peer.header(0x82), hex("0000 ffff")}),
        join({peer.header(0x82, 6), hex("1000 2000")}),
        join({peer.header(0x83, 0, 0xff), Bytes(32), context}),
        join({peer.header(0xe0), context}),
        join({peer.header(0xe0, 1, 0xff), signing, context}),
        join({peer.header(0xe0, 1, 2), signing, context}),
        join({peer.header(0xfc), hex("01")}),
        join({peer.header(0x85, 0, 7), hex("0000 0000 05000000 32000000"),
              hex("1281000000")}),
        join({peer.header(0x85, 1, 7), hex("0100 0000 2d000000"), Bytes(45)}),
        join({peer.header(0x86, 0, 1), hex("0000")}),
        join({peer.header(0x86, 0, 1), hex("0100")}),
        peer.header(0xff, 0x83, 1),
        hex("10840000"),
        join({peer.header(0xe1), hex("00000000 06000200 00010000 00100000")}),
        join({peer.header(0xe3), hex("3000 01 12 80000000 03000000"), Bytes(16),
              hex("02201b00 03200600 04208000 05200100")}),
    };
}

static void expectBounded(Peer& peer, const Bytes& request)
{
    Bytes answer = peer.ask(request);
    ASSERT_GE(answer.size(), 4U);
    EXPECT_EQ(answer[1] & 0x80, 0) << "a request code";
    if (peer.version >= 0x12 && request.size() > 1 && request[1] != 0x84)
    {
        EXPECT_LE(answer.size(), 200U);
    }
}

class HostileTest : public testing::TestWithParam<uint8_t>
{
  protected:
    static void expectWorking(Peer& peer)
    {
        peer.flags = 0x00020006;
        peer.transferSize = 4608;
        peer.connect(GetParam());
        EXPECT_EQ(peer.getDigests()[1], 0x01);
    }
};

TEST_P(HostileTest, everyLengthOfEveryRequest)
{
    Peer peer(targetDevice);
    peer.connect(GetParam());
    for (const Bytes& request : requests(peer))
    {
        for (size_t length = 0; length <= request.size() + 2; length++)
        {
            Bytes cut = request;
            cut.resize(length, 0xff);
            peer.connect(GetParam());
            expectBounded(peer, cut);
        }
    }
    expectWorking(peer);
}

TEST_P(HostileTest, randomChanges)
{
    constexpr int rounds = 5000;
    std::mt19937 generator(GetParam());
    Peer peer(targetDevice);
    peer.connect(GetParam());
    std::vector<Bytes> good = requests(peer);
    for (int i = 0; i < rounds; i++)
    {
        Bytes request = good[generator() % good.size()];
        for (unsigned n = generator() % 4; n > 0; n--)
        {
            request[generator() % request.size()] =
                static_cast<uint8_t>(generator());
        }
        if (generator() % 16 == 0)
        {
            request.resize(generator() % 300);
        }
        expectBounded(peer, request);
        if (i % 25 == 0)
        {
            peer.connect(GetParam());
        }
    }
    expectWorking(peer);
}

INSTANTIATE_TEST_SUITE_P(Versions, HostileTest,
                         testing::Values(0x10, 0x11, 0x12, 0x13));

TEST(Hostile, readingForEverIsStopped)
{
    Peer peer(R"({"slots": [{"leafFiller": 60000}],
                  "dataTransferSize": 70000})");
    peer.transferSize = 65536;
    peer.flags = 6;
    peer.connect(0x12);
    Bytes request = hex("12820000 0000 ffff");
    size_t taken = 0;
    Bytes answer = peer.ask(request);
    while (answer[1] == 0x02 && taken < (size_t{8} << 20))
    {
        taken += answer.size();
        answer = peer.ask(request);
    }
    EXPECT_EQ(answer, hex("127f0500"));
    EXPECT_LT(taken, size_t{3} << 20);
    peer.getDigests();
    EXPECT_EQ(peer.ask(request)[1], 0x02);
}

} // namespace spdm_test
