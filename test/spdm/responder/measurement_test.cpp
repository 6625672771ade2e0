// SPDX-License-Identifier: Apache-2.0
#include "test/spdm/responder/asking.hpp"
#include "test/spdm/responder/peer.hpp"

#include <gtest/gtest.h>

namespace spdm_test
{

const char* const measuredDevice = R"({"versions": ["1.0", "1.1", "1.2", "1.3"],
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
    Peer peer(measuredDevice);
    peer.connect(GetParam());
    Bytes answer = peer.measure(0);
    EXPECT_EQ(answer.size(), 8 + trailer());
    answer.resize(8);
    EXPECT_EQ(answer, join({peer.header(0x60, 3), hex("00 000000")}));
}

TEST_P(MeasurementTest, oneBlock)
{
    Peer peer(measuredDevice);
    peer.connect(GetParam());
    Bytes answer = peer.measure(2);
    Bytes expected =
        join({peer.header(0x60), hex("01 0a0000 02 01 0600 81 0300 aabbcc")});
    ASSERT_EQ(answer.size(), expected.size() + trailer());
    answer.resize(expected.size());
    EXPECT_EQ(answer, expected);
}

TEST_P(MeasurementTest, allBlocks)
{
    Peer peer(measuredDevice);
    peer.connect(GetParam());
    Bytes answer = peer.measure(0xff);
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
    Asking asking(measuredDevice, GetParam());
    EXPECT_EQ(asking.readChain(slot), 0U);
    EXPECT_EQ(asking.measure(0, false, slot), 0U);
    EXPECT_EQ(asking.measure(1, true, slot), 0U);
    EXPECT_EQ(asking.answer()[3], slot);
    EXPECT_EQ(asking.measure(2, true, slot), 0U);
    EXPECT_EQ(asking.measure(5, false, slot), 0U);
    EXPECT_EQ(asking.measure(0xff, true, slot), 0U);
}

TEST_P(MeasurementTest, anyOtherRequestEndsTheRun)
{
    Asking asking(measuredDevice, GetParam());
    EXPECT_EQ(asking.readChain(0), 0U);
    EXPECT_EQ(asking.measure(0, false), 0U);
    EXPECT_EQ(asking.digests(), 0U);
    EXPECT_EQ(asking.measure(1, true), 0U);
    EXPECT_EQ(asking.measure(0, false), 0U);
    EXPECT_EQ(asking.challenge(), 0U);
    EXPECT_EQ(asking.measure(1, true), 0U);
}

TEST_P(MeasurementTest, anErrorEndsTheRun)
{
    Asking asking(measuredDevice, GetParam());
    EXPECT_EQ(asking.readChain(0), 0U);
    EXPECT_EQ(asking.measure(0, false), 0U);
    EXPECT_EQ(asking.measure(77, false), LIBSPDM_STATUS_ERROR_PEER);
    EXPECT_EQ(asking.answer(), Bytes({GetParam(), 0x7f, 1, 0}));
    EXPECT_EQ(asking.measure(1, true), 0U);
}

TEST_P(MeasurementTest, bytesAfterTheRequestAreNotSigned)
{
    Asking asking(measuredDevice, GetParam());
    EXPECT_EQ(asking.readChain(0), 0U);
    asking.tap = [](Bytes& request)
    { request.resize(request.size() + 2, 0xee); };
    EXPECT_EQ(asking.measure(0, false), 0U);
    asking.tap = {};
    EXPECT_EQ(asking.measure(1, true), 0U);
}

INSTANTIATE_TEST_SUITE_P(Versions, MeasurementTest,
                         testing::Values(0x10, 0x11, 0x12, 0x13));

TEST(Measurement, refusals)
{
    Peer peer(measuredDevice);
    peer.connect(0x12);
    EXPECT_EQ(peer.measure(3), hex("127f0100"));
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
    EXPECT_EQ(peer.measure(1)[1], 0x60);
    EXPECT_EQ(peer.ask(join({hex("12e00101"), Bytes(33)})), hex("127f0100"));
}

TEST(Measurement, needsAKeyForIt)
{
    Asking asking(R"({"capabilities": {"multiKey": "only"},
                      "measurements": [{"index": 1, "value": "aa"}],
                      "slots": [{"slot": 0, "keyUsage": 2},
                                {"slot": 1, "keyUsage": 4}]})",
                  0x13);
    EXPECT_EQ(asking.digests(), 0U);
    EXPECT_EQ(asking.readChain(1), 0U);
    EXPECT_EQ(asking.ask(join({hex("13e00101"), Bytes(33 + 8)})),
              hex("137f0100"));
    EXPECT_EQ(asking.measure(1, true, 1), 0U);
}

TEST(Measurement, claimsAsConfigured)
{
    Peer peer(R"({"claimedBlocks": 7, "measurements":
                  [{"index": 1, "value": "aa", "claimedSize": 4090}]})");
    peer.connect(0x12);
    EXPECT_EQ(peer.measure(0)[2], 7);
    Bytes answer = peer.measure(1);
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
    Asking asking(R"({"measurementOpaque": "0100000000000400aabbccdd",
                      "measurements": [{"index": 1, "value": "aa"}]})");
    EXPECT_EQ(asking.readChain(0), 0U);
    EXPECT_EQ(asking.measure(1, true), 0U);
    Bytes answer = asking.answer();
    EXPECT_EQ(Bytes(answer.end() - 96 - 14, answer.end() - 96),
              hex("0c00 0100000000000400aabbccdd"));
}

} // namespace spdm_test
