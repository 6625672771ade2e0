#include "test/spdm/responder/peer.hpp"

#include <gtest/gtest.h>

namespace spdm_test
{

/** A device with one fault and one measurement block. */
static std::string with(const std::string& fault)
{
    return R"({"versions": ["1.1", "1.2", "1.3"],
               "measurements": [{"index": 1, "value": "aa"}],
               "faults": [)" +
           fault + "]}";
}

TEST(Fault, errorAtItsOccurrenceOnly)
{
    Peer peer(with(R"({"at": "GET_DIGESTS", "nth": 2, "kind": "error",
                       "code": 5, "data": 9})"));
    peer.connect(0x12);
    EXPECT_EQ(peer.getDigests()[1], 0x01);
    EXPECT_EQ(peer.ask(hex("12810000")), hex("127f0509"));
    EXPECT_EQ(peer.getDigests()[1], 0x01);
}

TEST(Fault, busyAFewTimes)
{
    Peer peer(with(R"({"at": "CHALLENGE", "kind": "busy", "times": 3})"));
    peer.connect(0x12);
    peer.readChain(0);
    for (int i = 0; i < 3; i++)
    {
        EXPECT_EQ(peer.challenge(0, 0), hex("127f0300"));
    }
    EXPECT_TRUE(peer.challengeVerifies(0, peer.challenge(0, 0)));
}

TEST(Fault, forEver)
{
    Peer peer(with(R"({"at": "ANY", "nth": 5, "kind": "busy", "times": 0})"));
    peer.connect(0x12);
    EXPECT_EQ(peer.getDigests()[1], 0x01);
    EXPECT_EQ(peer.ask(hex("12810000")), hex("127f0300"));
    EXPECT_EQ(peer.ask(hex("10840000")), hex("127f0300"));
}

TEST(Fault, errorToCapabilitiesHasItsVersion)
{
    Peer peer(with(R"({"at": "GET_CAPABILITIES", "kind": "busy"})"));
    peer.ask(hex("10840000"));
    EXPECT_EQ(peer.ask(hex("12e10000")), hex("127f0300"));
}

TEST(Fault, busyLeavesTheRunOfMeasurementsAndAnErrorEndsIt)
{
    Peer peer(with(R"({"at": "GET_MEASUREMENTS", "nth": 2, "kind": "busy"},
                      {"at": "GET_MEASUREMENTS", "nth": 5,
                       "kind": "error"})"));
    peer.connect(0x12);
    peer.readChain(0);
    peer.measure(0, false);
    EXPECT_EQ(peer.ask(hex("12e00000")), hex("127f0300"));
    EXPECT_TRUE(peer.measurementVerifies(0, peer.measure(1, true)));
    peer.measure(0, false);
    EXPECT_EQ(peer.ask(hex("12e00000")), hex("127f0500"));
    peer.m.clear();
    EXPECT_TRUE(peer.measurementVerifies(0, peer.measure(1, true)));
}

TEST(Fault, notReadyAndThenReady)
{
    Peer peer(with(R"({"at": "CHALLENGE", "kind": "not-ready"})"));
    peer.connect(0x12);
    peer.readChain(0);
    EXPECT_EQ(peer.challenge(0, 0), hex("127f4200 01 83 01 02"));
    Bytes request = peer.lastRequest;
    Bytes answer = peer.ask(hex("12ff8301"));
    peer.lastRequest = request;
    EXPECT_TRUE(peer.challengeVerifies(0, answer));
    EXPECT_EQ(peer.ask(hex("12ff8301")), hex("127f0100"));
}

TEST(Fault, notReadyTwice)
{
    Peer peer(with(R"({"at": "GET_DIGESTS", "kind": "not-ready"},
                      {"at": "RESPOND_IF_READY", "kind": "not-ready"})"));
    peer.connect(0x12);
    EXPECT_EQ(peer.ask(hex("12810000")), hex("127f4200 01 81 01 02"));
    EXPECT_EQ(peer.ask(hex("12ff8101")), hex("127f4200 01 81 01 02"));
    EXPECT_EQ(peer.ask(hex("12ff8101"))[1], 0x01);
}

TEST(Fault, notReadyIsAskedForRightly)
{
    Peer peer(with(R"({"at": "GET_DIGESTS", "kind": "not-ready",
                       "times": 2})"));
    peer.connect(0x12);
    EXPECT_EQ(peer.ask(hex("12ff8101")), hex("127f0100"));
    peer.ask(hex("12810000"));
    EXPECT_EQ(peer.ask(hex("12ff8201")), hex("127f0100"));
    EXPECT_EQ(peer.ask(hex("12ff8102")), hex("127f0100"));
    EXPECT_EQ(peer.ask(hex("11ff8101")), hex("127f4100"));
    // Another request gives it up.
    peer.ask(hex("12820000 0000 0100"));
    EXPECT_EQ(peer.ask(hex("12ff8101")), hex("127f0100"));
    EXPECT_EQ(peer.ask(hex("12810000")), hex("127f4200 01 81 02 02"));
}

TEST(Fault, resynchNeedsANewConversation)
{
    Peer peer(with(R"({"at": "CHALLENGE", "kind": "resynch"})"));
    peer.connect(0x12);
    EXPECT_EQ(peer.challenge(0, 0), hex("127f4300"));
    EXPECT_EQ(peer.challenge(0, 0), hex("127f0400"));
    peer.connect(0x12);
    peer.readChain(0);
    EXPECT_TRUE(peer.challengeVerifies(0, peer.challenge(0, 0)));
}

struct Spoiled
{
    const char* kind;
    uint8_t version;
    /** Counted from the answer's end, the byte that differs. */
    size_t fromEnd;
};

class SpoiledTest : public testing::TestWithParam<Spoiled>
{
  protected:
    /** With the byte put right again the signature fits. */
    static Bytes repaired(Bytes answer)
    {
        answer[answer.size() - GetParam().fromEnd] ^= 1;
        return answer;
    }

    static std::string fault(const char* request)
    {
        return with(R"({"at": ")" + std::string(request) + R"(", "kind": ")" +
                    GetParam().kind + "\"}");
    }
};

TEST_P(SpoiledTest, challenge)
{
    Peer peer(fault("CHALLENGE"));
    peer.connect(GetParam().version);
    peer.readChain(0);
    Bytes answer = peer.challenge(0, 0);
    Bytes b = peer.b;
    EXPECT_FALSE(peer.challengeVerifies(0, answer));
    peer.b = b;
    EXPECT_TRUE(peer.challengeVerifies(0, repaired(answer)));
}

TEST_P(SpoiledTest, measurements)
{
    Peer peer(fault("GET_MEASUREMENTS"));
    peer.connect(GetParam().version);
    peer.readChain(0);
    Bytes answer = peer.measure(1, true);
    EXPECT_FALSE(peer.measurementVerifies(0, answer));
    answer = repaired(answer);
    peer.m = join({peer.lastRequest, Bytes(answer.begin(), answer.end() - 96)});
    EXPECT_TRUE(peer.measurementVerifies(0, answer));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, SpoiledTest,
    testing::Values(Spoiled{"wrong-signature", 0x11, 1},
                    Spoiled{"wrong-signature", 0x13, 1},
                    Spoiled{"wrong-nonce", 0x12, 96 + 2 + 32},
                    Spoiled{"wrong-nonce", 0x13, 96 + 8 + 2 + 32},
                    Spoiled{"wrong-context", 0x13, 96 + 1}));

struct Damage
{
    const char* fault;
    /** What comes instead of 05 10 04 00 00 00 03 0011 0012 0013. */
    const char* payload;
};

class DamageTest : public testing::TestWithParam<Damage>
{
};

TEST_P(DamageTest, version)
{
    Peer peer(with(R"({"at": "GET_VERSION", )" + std::string(GetParam().fault) +
                   "}"));
    EXPECT_EQ(peer.device.handle(hex("0510840000")), hex(GetParam().payload));
    EXPECT_EQ(peer.device.handle(hex("0510840000")),
              hex("05 10040000 00 03 0011 0012 0013"));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, DamageTest,
    testing::Values(Damage{R"("kind": "truncate", "bytes": 3)", "05 1004"},
                    Damage{R"("kind": "truncate", "bytes": 0)", ""},
                    Damage{R"("kind": "truncate", "bytes": 99)",
                           "05 10040000 00 03 0011 0012 0013"},
                    Damage{R"("kind": "pad", "bytes": 2)",
                           "05 10040000 00 03 0011 0012 0013 a5a5"},
                    Damage{R"("kind": "empty")", ""},
                    Damage{R"("kind": "raw", "answer": "10 7f")", "05 107f"},
                    Damage{R"("kind": "slow", "milliseconds": 250)",
                           "05 10040000 00 03 0011 0012 0013"}));

TEST(Fault, dead)
{
    Peer peer(with(R"({"at": "GET_VERSION", "kind": "dead"})"));
    EXPECT_EQ(peer.device.handle(hex("0510840000")), std::nullopt);
    EXPECT_TRUE(peer.device.handle(hex("0510840000")).has_value());
}

TEST(Fault, slowIsToldForItsAnswerOnly)
{
    Peer peer(with(R"({"at": "GET_VERSION", "nth": 2, "kind": "slow",
                       "milliseconds": 250})"));
    for (int expected : {0, 250, 0})
    {
        peer.ask(hex("10840000"));
        EXPECT_EQ(peer.device.delay().count(), expected);
    }
}

TEST(Fault, mutationsRepeatWithTheirSeed)
{
    auto mutated = [](int seed)
    {
        Peer peer(with(R"({"at": "GET_VERSION", "kind": "mutate",
                           "changes": 2, "seed": )" +
                       std::to_string(seed) + "}"));
        return *peer.device.handle(hex("0510840000"));
    };
    Bytes whole = hex("05 10040000 00 03 0011 0012 0013");
    Bytes one = mutated(1);
    EXPECT_EQ(one.size(), whole.size());
    EXPECT_NE(one, whole);
    EXPECT_EQ(one, mutated(1));
    EXPECT_NE(one, mutated(2));
}

} // namespace spdm_test
