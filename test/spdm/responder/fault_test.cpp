// SPDX-License-Identifier: Apache-2.0
#include "test/spdm/responder/asking.hpp"
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
    Asking asking(with(R"({"at": "CHALLENGE", "kind": "busy", "times": 3})"));
    EXPECT_EQ(asking.readChain(), 0U);
    for (int i = 0; i < 3; i++)
    {
        EXPECT_EQ(asking.challenge(), LIBSPDM_STATUS_BUSY_PEER);
        EXPECT_EQ(asking.answer(), hex("127f0300"));
    }
    EXPECT_EQ(asking.challenge(), 0U);
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
    Asking asking(with(R"({"at": "GET_MEASUREMENTS", "nth": 2, "kind": "busy"},
                          {"at": "GET_MEASUREMENTS", "nth": 5,
                           "kind": "error"})"));
    EXPECT_EQ(asking.readChain(), 0U);
    EXPECT_EQ(asking.measure(0, false), 0U);
    EXPECT_EQ(asking.ask(hex("12e00000")), hex("127f0300"));
    EXPECT_EQ(asking.measure(1, true), 0U);
    EXPECT_EQ(asking.measure(0, false), 0U);
    EXPECT_EQ(asking.measure(0, false), LIBSPDM_STATUS_ERROR_PEER);
    EXPECT_EQ(asking.answer(), hex("127f0500"));
    EXPECT_EQ(asking.measure(1, true), 0U);
}

TEST(Fault, notReadyAndThenReady)
{
    std::vector<Bytes> answers;
    Asking asking(with(R"({"at": "CHALLENGE", "kind": "not-ready"})"), 0x12,
                  [&](size_t, Bytes& answer)
                  {
                      answers.push_back(answer);
                      return test::Delivery::normal;
                  });
    EXPECT_EQ(asking.readChain(), 0U);
    EXPECT_EQ(asking.challenge(), 0U);
    EXPECT_EQ(answers.at(answers.size() - 2), hex("05 127f4200 01 83 01 02"));
    EXPECT_EQ(asking.sent.back(), hex("05 12ff8301"));
    EXPECT_EQ(asking.ask(hex("12ff8301")), hex("127f0100"));
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
    Asking asking(with(R"({"at": "CHALLENGE", "kind": "resynch"})"));
    EXPECT_EQ(asking.challenge(), LIBSPDM_STATUS_RESYNCH_PEER);
    EXPECT_EQ(asking.answer(), hex("127f4300"));
    EXPECT_EQ(asking.ask(join({hex("12830000"), Bytes(32)})), hex("127f0400"));
    EXPECT_EQ(asking.connect(), 0U);
    EXPECT_EQ(asking.readChain(), 0U);
    EXPECT_EQ(asking.challenge(), 0U);
}

struct Spoiled
{
    const char* kind;
    uint8_t version;
    /** Counted from the answer's end, the byte that differs. */
    size_t fromEnd;
    libspdm_return_t status;
};

class SpoiledTest : public testing::TestWithParam<Spoiled>
{
  protected:
    /** What the requester says to a spoiled answer, and to the same with the
     *  byte put right again. */
    static void expectSpoiled(const char* request,
                              libspdm_return_t (*step)(test::Session&))
    {
        for (bool isRepaired : {false, true})
        {
            Asking asking(
                with(R"({"at": ")" + std::string(request) + R"(", "kind": ")" +
                     GetParam().kind + "\"}"),
                GetParam().version,
                [&](size_t, Bytes& answer)
                {
                    if (isRepaired && (answer[2] == 0x03 || answer[2] == 0x60))
                    {
                        answer[answer.size() - GetParam().fromEnd] ^= 1;
                    }
                    return test::Delivery::normal;
                });
            EXPECT_EQ(asking.readChain(), 0U);
            EXPECT_EQ(step(asking), isRepaired ? 0U : GetParam().status);
        }
    }
};

TEST_P(SpoiledTest, challenge)
{
    expectSpoiled("CHALLENGE",
                  [](test::Session& asking) { return asking.challenge(); });
}

TEST_P(SpoiledTest, measurements)
{
    expectSpoiled("GET_MEASUREMENTS", [](test::Session& asking)
                  { return asking.measure(1, true); });
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, SpoiledTest,
    testing::Values(
        Spoiled{"wrong-signature", 0x11, 1, LIBSPDM_STATUS_VERIF_FAIL},
        Spoiled{"wrong-signature", 0x13, 1, LIBSPDM_STATUS_VERIF_FAIL},
        Spoiled{"wrong-nonce", 0x12, 96 + 2 + 32, LIBSPDM_STATUS_VERIF_FAIL},
        Spoiled{"wrong-nonce", 0x13, 96 + 8 + 2 + 32,
                LIBSPDM_STATUS_VERIF_FAIL},
        Spoiled{"wrong-context", 0x13, 96 + 1,
                LIBSPDM_STATUS_INVALID_MSG_FIELD}));

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
