#include "test/spdm/responder/peer.hpp"

#include <gtest/gtest.h>

namespace spdm_test
{

const char* const device = R"({"versions": ["1.0", "1.1", "1.2", "1.3"],
    "slots": [{"slot": 0}, {"slot": 1, "keyPairId": 2}],
    "measurements": [{"index": 1, "type": 0, "digestOf": "616263"},
                     {"index": 2, "type": 129, "value": "aabbcc"},
                     {"index": 5, "type": 3, "size": 3}]})";

class MeasurementTest : public testing::TestWithParam<uint8_t>
{
  protected:
    /** Bytes after the record of an answer without a signature. */
    static size_t trailer()
    {
        return 32 + 2 + (GetParam() >= 0x13 ? 8 : 0);
    }
};

TEST_P(MeasurementTest, count)
{
    Peer peer(device);
    peer.connect(GetParam());
    Bytes answer = peer.measure(0, false);
    EXPECT_EQ(answer.size(), 8 + trailer());
    answer.resize(8);
    EXPECT_EQ(answer, join({peer.header(0x60, 3), hex("00 000000")}));
}

TEST_P(MeasurementTest, oneBlock)
{
    Peer peer(device);
    peer.connect(GetParam());
    Bytes answer = peer.measure(2, false);
    Bytes expected =
        join({peer.header(0x60), hex("01 0a0000 02 01 0600 81 0300 aabbcc")});
    ASSERT_EQ(answer.size(), expected.size() + trailer());
    answer.resize(expected.size());
    EXPECT_EQ(answer, expected);
}

TEST_P(MeasurementTest, allBlocks)
{
    Peer peer(device);
    peer.connect(GetParam());
    Bytes answer = peer.measure(0xff, false);
    Bytes expected = join(
        {peer.header(0x60), hex("03 4b0000"), hex("01 01 3300 00 3000"),
         hashOf("SHA384", {'a', 'b', 'c'}), hex("02 01 0600 81 0300 aabbcc"),
         hex("05 01 0600 03 0300 505152")});
    ASSERT_EQ(answer.size(), expected.size() + trailer());
    answer.resize(expected.size());
    EXPECT_EQ(answer, expected);
}

TEST_P(MeasurementTest, signatureCoversTheRunSinceTheLast)
{
    uint8_t slot = GetParam() >= 0x11 ? 1 : 0;
    Peer peer(device);
    peer.connect(GetParam());
    peer.readChain(slot);
    peer.measure(0, false, slot);
    Bytes first = peer.measure(1, true, slot);
    EXPECT_EQ(first[3], slot);
    EXPECT_TRUE(peer.measurementVerifies(slot, first));
    EXPECT_TRUE(peer.measurementVerifies(slot, peer.measure(2, true, slot)));
    peer.measure(5, false, slot);
    EXPECT_TRUE(peer.measurementVerifies(slot, peer.measure(0xff, true, slot)));
}

TEST_P(MeasurementTest, anyOtherRequestEndsTheRun)
{
    Peer peer(device);
    peer.connect(GetParam());
    peer.readChain(0);
    peer.measure(0, false);
    peer.getDigests();
    EXPECT_TRUE(peer.measurementVerifies(0, peer.measure(1, true)));
    peer.measure(0, false);
    peer.challenge(0, 0);
    EXPECT_TRUE(peer.measurementVerifies(0, peer.measure(1, true)));
}

TEST_P(MeasurementTest, anErrorEndsTheRun)
{
    Peer peer(device);
    peer.connect(GetParam());
    peer.readChain(0);
    peer.measure(0, false);
    EXPECT_EQ(peer.ask(join({peer.header(0xe0, 0, 77), peer.context()})),
              peer.header(0x7f, 1));
    peer.m.clear();
    EXPECT_TRUE(peer.measurementVerifies(0, peer.measure(1, true)));
}

TEST_P(MeasurementTest, bytesAfterTheRequestAreNotSigned)
{
    Peer peer(device);
    peer.connect(GetParam());
    peer.readChain(0);
    Bytes plain = join({peer.header(0xe0), peer.context()});
    Bytes answer = peer.ask(join({plain, hex("eeee")}));
    peer.m = join({plain, answer});
    EXPECT_TRUE(peer.measurementVerifies(0, peer.measure(1, true)));
}

INSTANTIATE_TEST_SUITE_P(Versions, MeasurementTest,
                         testing::Values(0x10, 0x11, 0x12, 0x13));

TEST(Measurement, refusals)
{
    Peer peer(device);
    peer.connect(0x12);
    EXPECT_EQ(peer.measure(3, false), hex("127f0100"));
    EXPECT_EQ(peer.ask(join({hex("12e00100"), Bytes(32)})), hex("127f0100"));
    EXPECT_EQ(peer.ask(join({hex("12e00100"), Bytes(32), {3}})),
              hex("127f0100"));
    peer.connect(0x13);
    EXPECT_EQ(peer.ask(hex("13e00000")), hex("137f0100"));
}

TEST(Measurement, unsignedDeviceSignsNothing)
{
    Peer peer(R"({"capabilities": {"measurements": "unsigned"},
                  "measurements": [{"index": 1, "value": "aa"}]})");
    peer.connect(0x12);
    EXPECT_EQ(peer.measure(1, false)[1], 0x60);
    EXPECT_EQ(peer.ask(join({hex("12e00101"), Bytes(33)})), hex("127f0100"));
}

TEST(Measurement, needsAKeyForIt)
{
    Peer peer(R"({"versions": ["1.3"], "capabilities": {"multiKey": "only"},
                  "measurements": [{"index": 1, "value": "aa"}],
                  "slots": [{"slot": 0, "keyUsage": 2},
                            {"slot": 1, "keyUsage": 4}]})");
    peer.otherParams = 0x12;
    peer.connect(0x13);
    peer.readChain(1);
    EXPECT_EQ(peer.ask(join({hex("13e00101"), Bytes(33), peer.context()})),
              hex("137f0100"));
    EXPECT_TRUE(peer.measurementVerifies(1, peer.measure(1, true, 1)));
}

TEST(Measurement, claimsAsConfigured)
{
    Peer peer(R"({"claimedBlocks": 7, "measurements":
                  [{"index": 1, "value": "aa", "claimedSize": 4090}]})");
    peer.connect(0x12);
    EXPECT_EQ(peer.measure(0, false)[2], 7);
    Bytes answer = peer.measure(1, false);
    answer.resize(16);
    EXPECT_EQ(answer, hex("12600000 01 080000 01 01 0400 00 fa0f aa"));
}

TEST(Measurement, withoutASpecificationAgreed)
{
    Peer peer("{}");
    peer.ask(hex("10840000"));
    peer.ask(hex("12e10000 00000000 c6620200 00120000 00120000"));
    peer.ask(hex("12e30000 2000 00 02 80000000 02000000 00000000 00000000"
                 "00000000 00000000"));
    EXPECT_EQ(peer.ask(hex("12e00000")), hex("127f0400"));
}

TEST(Measurement, opaqueDataIsSigned)
{
    Peer peer(R"({"measurementOpaque": "0100000000000400aabbccdd",
                  "measurements": [{"index": 1, "value": "aa"}]})");
    peer.connect(0x12);
    peer.readChain(0);
    EXPECT_TRUE(peer.measurementVerifies(0, peer.measure(1, true)));
}

} // namespace spdm_test
