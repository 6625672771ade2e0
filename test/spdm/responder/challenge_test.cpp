// SPDX-License-Identifier: Apache-2.0
#include "test/spdm/responder/asking.hpp"
#include "test/spdm/responder/peer.hpp"

#include <gtest/gtest.h>

namespace spdm_test
{

const char* const signerDevice = R"({"versions": ["1.0", "1.1", "1.2", "1.3"],
    "slots": [{"slot": 0}, {"slot": 2}],
    "measurements": [{"index": 1, "type": 1, "value": "aabb"},
                     {"index": 9, "type": 131, "value": "cc"}]})";

class ChallengeTest : public testing::TestWithParam<uint8_t>
{
};

TEST_P(ChallengeTest, signsTheConversation)
{
    Asking asking(signerDevice, GetParam());
    EXPECT_EQ(asking.digests(), 0U);
    EXPECT_EQ(asking.readChain(2), 0U);
    EXPECT_EQ(asking.challenge(2), 0U);
    Bytes answer = asking.answer();
    size_t context = GetParam() >= 0x13 ? 8 : 0;
    ASSERT_EQ(answer.size(), 4U + 48 + 32 + 2 + context + 96);
    EXPECT_EQ(Bytes(answer.begin(), answer.begin() + 4),
              Bytes({GetParam(), 0x03, 2, 0x05}));
    EXPECT_EQ(Bytes(answer.begin() + 4, answer.begin() + 52),
              hashOf("SHA384", asking.chain));
    const Bytes& request = asking.sent.back();
    EXPECT_EQ(Bytes(answer.end() - 96 - static_cast<long>(context),
                    answer.end() - 96),
              Bytes(request.end() - static_cast<long>(context), request.end()));
}

TEST_P(ChallengeTest, nextOneCoversWhatCameSince)
{
    Asking asking(signerDevice, GetParam());
    EXPECT_EQ(asking.digests(), 0U);
    EXPECT_EQ(asking.readChain(0), 0U);
    EXPECT_EQ(asking.challenge(0, 0xff), 0U);
    EXPECT_EQ(asking.readChain(2), 0U);
    EXPECT_EQ(asking.challenge(2, 0xff), 0U);
    EXPECT_EQ(asking.challenge(2, 0xff), 0U);
}

TEST_P(ChallengeTest, measurementsBeforeItDropTheCertificates)
{
    Asking asking(signerDevice, GetParam());
    EXPECT_EQ(asking.digests(), 0U);
    EXPECT_EQ(asking.readChain(0), 0U);
    EXPECT_EQ(asking.measure(0, false), 0U);
    EXPECT_EQ(asking.challenge(0), 0U);
    // After a challenge they stay.
    EXPECT_EQ(asking.readChain(2), 0U);
    EXPECT_EQ(asking.measure(0, false), 0U);
    EXPECT_EQ(asking.challenge(2), 0U);
}

TEST_P(ChallengeTest, digestsBeginTheCertificatesAnew)
{
    Asking asking(signerDevice, GetParam());
    EXPECT_EQ(asking.readChain(0), 0U);
    EXPECT_EQ(asking.digests(), 0U);
    EXPECT_EQ(asking.readChain(0), 0U);
    EXPECT_EQ(asking.challenge(0), 0U);
}

INSTANTIATE_TEST_SUITE_P(Versions, ChallengeTest,
                         testing::Values(0x10, 0x11, 0x12, 0x13));

TEST(Challenge, coversTheRequestAsSent)
{
    Asking asking(signerDevice, 0x12);
    EXPECT_EQ(asking.readChain(0), 0U);
    asking.tap = [](Bytes& request) { request.back() ^= 1; };
    EXPECT_EQ(asking.challenge(0), LIBSPDM_STATUS_VERIF_FAIL);
}

TEST(Challenge, noncesDiffer)
{
    Peer peer(signerDevice);
    peer.connect(0x12);
    Bytes one = peer.challenge(0, 0);
    Bytes two = peer.challenge(0, 0);
    EXPECT_NE(Bytes(one.begin() + 52, one.begin() + 84),
              Bytes(two.begin() + 52, two.begin() + 84));
}

/** The summary hash of an answer without opaque data. */
static Bytes summaryOf(const Bytes& answer)
{
    return {answer.begin() + 84, answer.begin() + 132};
}

TEST(Summary, ofAllBlocksAndOfTheTrustedBase)
{
    Peer peer(signerDevice);
    peer.connect(0x12);
    Bytes firmware = hex("01 01 0500 01 0200 aabb");
    Bytes all = join({firmware, hex("09 01 0400 83 0100 cc")});
    EXPECT_EQ(summaryOf(peer.challenge(0, 0xff)), hashOf("SHA384", all));
    EXPECT_EQ(summaryOf(peer.challenge(0, 0x01)), hashOf("SHA384", firmware));
}

TEST(Summary, withoutATrustedBaseIsZero)
{
    Peer peer(R"({"measurements": [{"index": 1, "trustedBase": false}]})");
    peer.connect(0x12);
    EXPECT_EQ(summaryOf(peer.challenge(0, 0x01)), Bytes(48));
}

TEST(Summary, needsMeasurements)
{
    Peer peer(R"({"capabilities": {"measurements": "none"}})");
    peer.connect(0x12);
    EXPECT_EQ(peer.challenge(0, 0xff), hex("127f0100"));
    EXPECT_EQ(peer.challenge(0, 0x00)[1], 0x03);
}

TEST(Opaque, dataIsSentAndSigned)
{
    Asking asking(R"({"challengeOpaque": "0100000000000400aabbccdd"})", 0x12);
    EXPECT_EQ(asking.readChain(0), 0U);
    EXPECT_EQ(asking.challenge(0), 0U);
    Bytes answer = asking.answer();
    EXPECT_EQ(Bytes(answer.begin() + 84, answer.begin() + 98),
              hex("0c00 0100000000000400aabbccdd"));
}

TEST(Opaque, dataNeedsAnAgreedFormat)
{
    Peer peer(R"({"challengeOpaque": "0100000000000400aabbccdd"})");
    peer.otherParams = 0;
    peer.connect(0x12);
    Bytes answer = peer.challenge(0, 0);
    EXPECT_EQ(answer.size(), 4U + 48 + 32 + 2 + 96);
}

TEST(Challenge, refusals)
{
    Peer peer(signerDevice);
    peer.connect(0x13);
    EXPECT_EQ(peer.challenge(1, 0), hex("137f0100"));
    EXPECT_EQ(peer.challenge(0xff, 0), hex("137f0100"));
    EXPECT_EQ(peer.challenge(0, 2), hex("137f0100"));
    // Without the requester's context.
    EXPECT_EQ(peer.ask(join({peer.header(0x83), Bytes(32)})), hex("137f0100"));
    peer.connect(0x12);
    EXPECT_EQ(peer.ask(join({peer.header(0x83), Bytes(31)})), hex("127f0100"));
}

TEST(Challenge, needsAKeyForIt)
{
    Asking asking(R"({"versions": ["1.3"], "capabilities": {"multiKey": "only"},
                      "slots": [{"slot": 0, "keyUsage": 4},
                                {"slot": 1, "keyUsage": 2}]})",
                  0x13);
    EXPECT_EQ(asking.digests(), 0U);
    EXPECT_EQ(asking.readChain(1), 0U);
    EXPECT_EQ(asking.challenge(1), 0U);
    Peer peer(R"({"versions": ["1.3"], "capabilities": {"multiKey": "only"},
                  "slots": [{"slot": 0, "keyUsage": 4}]})");
    peer.otherParams = 0x12;
    peer.connect(0x13);
    EXPECT_EQ(peer.challenge(0, 0), hex("137f0100"));
}

} // namespace spdm_test
