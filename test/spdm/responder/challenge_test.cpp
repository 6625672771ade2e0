#include "test/spdm/responder/peer.hpp"

#include <gtest/gtest.h>

namespace spdm_test
{

const char* const device = R"({"versions": ["1.0", "1.1", "1.2", "1.3"],
    "slots": [{"slot": 0}, {"slot": 2}],
    "measurements": [{"index": 1, "type": 1, "value": "aabb"},
                     {"index": 9, "type": 131, "value": "cc"}]})";

class ChallengeTest : public testing::TestWithParam<uint8_t>
{
};

TEST_P(ChallengeTest, signsTheConversation)
{
    Peer peer(device);
    peer.connect(GetParam());
    peer.getDigests();
    Bytes chain = peer.readChain(2);
    Bytes answer = peer.challenge(2, 0);
    size_t context = GetParam() >= 0x13 ? 8 : 0;
    ASSERT_EQ(answer.size(), 4U + 48 + 32 + 2 + context + 96);
    EXPECT_EQ(Bytes(answer.begin(), answer.begin() + 4),
              peer.header(0x03, 2, 0x05));
    EXPECT_EQ(Bytes(answer.begin() + 4, answer.begin() + 52),
              hashOf("SHA384", chain));
    EXPECT_EQ(Bytes(answer.end() - 96 - static_cast<long>(context),
                    answer.end() - 96),
              peer.context());
    EXPECT_TRUE(peer.challengeVerifies(2, answer));
}

TEST_P(ChallengeTest, nextOneCoversWhatCameSince)
{
    Peer peer(device);
    peer.connect(GetParam());
    peer.getDigests();
    peer.readChain(0);
    EXPECT_TRUE(peer.challengeVerifies(0, peer.challenge(0, 0xff)));
    peer.readChain(2, 333);
    EXPECT_TRUE(peer.challengeVerifies(2, peer.challenge(2, 0xff)));
    EXPECT_TRUE(peer.challengeVerifies(2, peer.challenge(2, 0xff)));
}

TEST_P(ChallengeTest, measurementsBeforeItDropTheCertificates)
{
    Peer peer(device);
    peer.connect(GetParam());
    peer.getDigests();
    peer.readChain(0);
    peer.measure(0, false);
    peer.b.clear();
    EXPECT_TRUE(peer.challengeVerifies(0, peer.challenge(0, 0)));
    // After a challenge they stay.
    peer.readChain(2);
    peer.measure(0, false);
    EXPECT_TRUE(peer.challengeVerifies(2, peer.challenge(2, 0)));
}

TEST_P(ChallengeTest, digestsBeginTheCertificatesAnew)
{
    Peer peer(device);
    peer.connect(GetParam());
    peer.readChain(0);
    peer.getDigests();
    peer.readChain(0);
    EXPECT_TRUE(peer.challengeVerifies(0, peer.challenge(0, 0)));
}

INSTANTIATE_TEST_SUITE_P(Versions, ChallengeTest,
                         testing::Values(0x10, 0x11, 0x12, 0x13));

TEST(Challenge, coversTheRequestAsSent)
{
    Peer peer(device);
    peer.connect(0x12);
    peer.readChain(0);
    Bytes answer = peer.challenge(0, 0);
    peer.lastRequest.back() ^= 1;
    EXPECT_FALSE(peer.challengeVerifies(0, answer));
}

TEST(Challenge, noncesDiffer)
{
    Peer peer(device);
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
    Peer peer(device);
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
    Peer peer(R"({"challengeOpaque": "0100000000000400aabbccdd"})");
    peer.connect(0x12);
    peer.readChain(0);
    Bytes answer = peer.challenge(0, 0);
    EXPECT_EQ(Bytes(answer.begin() + 84, answer.begin() + 98),
              hex("0c00 0100000000000400aabbccdd"));
    EXPECT_TRUE(peer.challengeVerifies(0, answer));
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
    Peer peer(device);
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
    Peer peer(R"({"versions": ["1.3"], "capabilities": {"multiKey": "only"},
                  "slots": [{"slot": 0, "keyUsage": 4},
                            {"slot": 1, "keyUsage": 2}]})");
    peer.otherParams = 0x12;
    peer.connect(0x13);
    peer.readChain(1);
    EXPECT_EQ(peer.challenge(0, 0), hex("137f0100"));
    EXPECT_TRUE(peer.challengeVerifies(1, peer.challenge(1, 0)));
}

} // namespace spdm_test
