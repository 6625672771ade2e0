// SPDX-License-Identifier: Apache-2.0
#include "subprojects/libspdm/src/context.hpp"
#include "test/spdm/session.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace
{

using test::deviceOf;
using test::Outcome;
using test::Session;

void expectSuccess(const Outcome& outcome, size_t blocks)
{
    EXPECT_EQ(outcome.connect, 0U);
    EXPECT_EQ(outcome.digest, 0U);
    EXPECT_EQ(outcome.certificate, 0U);
    EXPECT_EQ(outcome.challenge, 0U);
    EXPECT_EQ(outcome.count, 0U);
    EXPECT_EQ(outcome.blocks, std::vector<libspdm_return_t>(blocks, 0));
}

class Flow : public testing::TestWithParam<uint8_t>
{
};

TEST_P(Flow, signedBlocksOfOneSlot)
{
    Session session(deviceOf(test::Settings{.version = GetParam()}));
    test::Message root = test::trustedRoot();
    ASSERT_EQ(session.addRoot(root), 0U);
    Outcome outcome = session.attest();
    expectSuccess(outcome, 3);
    EXPECT_EQ(outcome.slotMask, 1);
    test::Message front =
        test::join({{0, 0, 0, 0}, test::hashOf("SHA384", root), root});
    front[0] = static_cast<uint8_t>(outcome.chain.size());
    front[1] = static_cast<uint8_t>(outcome.chain.size() >> 8);
    ASSERT_GT(outcome.chain.size(), front.size());
    EXPECT_TRUE(std::equal(front.begin(), front.end(), outcome.chain.begin()));
    EXPECT_EQ(session.acquired, 0);
}

TEST_P(Flow, everyResponseFindsTheSameRoom)
{
    Session session(deviceOf(test::Settings{.version = GetParam()}));
    session.attest();
    for (size_t room : session.rooms)
    {
        EXPECT_EQ(room, 4736U);
    }
}

TEST_P(Flow, timeoutsAreRoundTripAndThePeersTime)
{
    Session session(deviceOf(test::Settings{.version = GetParam()}));
    session.attest();
    for (size_t i = 0; i < session.timeouts.size(); ++i)
    {
        EXPECT_EQ(session.timeouts[i], i < 3 ? 1100000U : 1000001U);
    }
}

TEST_P(Flow, lengthThatIsToldChangesNothing)
{
    Session session(deviceOf(test::Settings{.version = GetParam()}), {},
                    {.tellsLength = true});
    expectSuccess(session.attest(), 3);
}

TEST_P(Flow, unsignedBlocks)
{
    Session session(
        deviceOf(test::Settings{.version = GetParam(), .isSigning = false}), {},
        {.isSigned = false});
    expectSuccess(session.attest(), 3);
}

TEST_P(Flow, recordIsTheBlock)
{
    Session session(deviceOf(
        test::Settings{.version = GetParam(), .blocks = 2, .valueSize = 5}));
    test::Message block{2, 1, 8, 0, 1, 5, 0, 2, 2, 2, 2, 2};
    EXPECT_EQ(session.attest().record, block);
}

TEST_P(Flow, randomNoncesDiffer)
{
    Session session(deviceOf(test::Settings{.version = GetParam()}));
    session.attest();
    auto nonce = [&](size_t step)
    {
        const test::Message& request = session.sent.at(step);
        return test::Message(request.begin() + 5, request.begin() + 37);
    };
    size_t last = session.sent.size() - 1;
    EXPECT_NE(nonce(last), nonce(last - 1));
    EXPECT_NE(nonce(last), test::Message(32));
}

INSTANTIATE_TEST_SUITE_P(Versions, Flow,
                         testing::Values(0x10, 0x11, 0x12, 0x13));

TEST(Requests, getCapabilitiesOf13)
{
    Session session(deviceOf(test::Settings{.version = 0x13}));
    session.attest();
    test::Message expected{0x05, 0x13, 0xE1, 0,    0, 0, 0, 0,    0, 0xC6, 0x62,
                           2,    0,    0,    0x12, 0, 0, 0, 0x12, 0, 0};
    EXPECT_EQ(session.sent.at(0), (test::Message{5, 0x10, 0x84, 0, 0}));
    EXPECT_EQ(session.sent.at(1), expected);
}

TEST(Requests, sizesOnTheWire)
{
    struct Row
    {
        uint8_t version;
        std::vector<size_t> sizes;
    };

    // VERSION, CAPABILITIES, ALGORITHMS, DIGESTS, CERTIFICATE twice,
    // CHALLENGE, number of blocks, one signed block.
    for (const Row& row : {Row{0x10, {5, 5, 33, 5, 9, 9, 37, 5, 37}},
                           Row{0x11, {5, 13, 49, 5, 9, 9, 37, 5, 38}},
                           Row{0x12, {5, 21, 49, 5, 9, 9, 37, 5, 38}},
                           Row{0x13, {5, 21, 49, 5, 9, 9, 45, 13, 46}}})
    {
        Session session(
            deviceOf(test::Settings{.version = row.version, .blocks = 1}));
        session.attest();
        std::vector<size_t> sizes(session.sent.size());
        std::transform(session.sent.begin(), session.sent.end(), sizes.begin(),
                       [](const test::Message& request)
                       { return request.size(); });
        EXPECT_EQ(sizes, row.sizes) << int{row.version};
    }
}

TEST(Requests, carryWhatIsGivenAndTellWhatIsNot)
{
    using Bytes = test::Message;
    const Bytes ownContext{1, 2, 3, 4, 5, 6, 7, 8};
    for (const Bytes& given : {Bytes(32, 0xA5), Bytes{}})
    {
        Session session(deviceOf(test::Settings{.version = 0x13}));
        session.attest();
        Bytes own(32);
        Bytes theirs(32);
        const void* const nonce = given.empty() ? nullptr : given.data();
        EXPECT_EQ(libspdm_challenge_ex2(session.context(), nullptr, 0,
                                        ownContext.data(), 0, nullptr, nullptr,
                                        nonce, own.data(), theirs.data(),
                                        nullptr, nullptr),
                  0U);
        const auto part = [](const Bytes& whole, size_t from, size_t size)
        {
            const auto begin = whole.begin() + static_cast<ptrdiff_t>(from);
            return Bytes(begin, begin + static_cast<ptrdiff_t>(size));
        };
        // Behind the header, and in the answer behind the chain's hash.
        EXPECT_EQ(part(session.sent.back(), 5, 32), own);
        EXPECT_EQ(part(session.sent.back(), 37, 8), ownContext);
        EXPECT_EQ(part(session.answer(), 4 + 48, 32), theirs);
        EXPECT_TRUE(given.empty() ? own != Bytes(32) : own == given);
        uint8_t blocks = 0;
        uint32_t length = 4096;
        Bytes record(length);
        EXPECT_EQ(libspdm_get_measurement_ex2(
                      session.context(), nullptr, 1, 1, 0, ownContext.data(),
                      nullptr, &blocks, &length, record.data(), nonce,
                      own.data(), theirs.data(), nullptr, nullptr),
                  0U);
        EXPECT_EQ(part(session.sent.back(), 5, 32), own);
        EXPECT_EQ(part(session.sent.back(), 38, 8), ownContext);
        // Behind the block, its length and the header.
        EXPECT_EQ(part(session.answer(), 8 + length, 32), theirs);
    }
}

TEST(Requests, thatThePeerHasNoCapabilityForAreNotSent)
{
    Session session(deviceOf(test::Settings{}));
    expectSuccess(session.attest(), 3);
    const size_t sent = session.sent.size();
    auto& flags = static_cast<spdm::Context*>(session.context())
                      ->connection.capability.flags;
    flags = 0;
    EXPECT_EQ(session.digests(), LIBSPDM_STATUS_UNSUPPORTED_CAP);
    EXPECT_EQ(session.readChain(), LIBSPDM_STATUS_UNSUPPORTED_CAP);
    EXPECT_EQ(session.challenge(), LIBSPDM_STATUS_UNSUPPORTED_CAP);
    EXPECT_EQ(session.measure(1, true), LIBSPDM_STATUS_UNSUPPORTED_CAP);
    EXPECT_EQ(session.sent.size(), sent);
}

TEST(Challenge, handsOverTheSummaryAndTheSlots)
{
    Session session(deviceOf(test::Settings{}));
    EXPECT_EQ(session.connect(), 0U);
    EXPECT_EQ(session.readChain(), 0U);
    test::Message summary(48);
    uint8_t slots = 0;
    EXPECT_EQ(libspdm_challenge_ex2(
                  session.context(), nullptr, 0, nullptr,
                  SPDM_CHALLENGE_REQUEST_ALL_MEASUREMENTS_HASH, summary.data(),
                  &slots, nullptr, nullptr, nullptr, nullptr, nullptr),
              0U);
    // Behind the header, the chain's hash and the nonce.
    const test::Message answer = session.answer();
    const auto told = answer.begin() + 4 + 48 + 32;
    EXPECT_EQ(summary, test::Message(told, told + 48));
    EXPECT_EQ(slots, 1);
}

TEST(Requests, carryZerosWhereNoContextIsGiven)
{
    Session session(deviceOf(test::Settings{.version = 0x13, .blocks = 1}));
    session.attest();
    const test::Message& challenge = session.sent.at(6);
    const test::Message& measurement = session.sent.at(8);
    const test::Message zeros(8);
    EXPECT_EQ(test::Message(challenge.begin() + 37, challenge.end()), zeros);
    EXPECT_EQ(test::Message(measurement.begin() + 38, measurement.end()),
              zeros);
}

TEST(Requests, thatTheTransportRefusesAreNotSent)
{
    Session session(deviceOf(test::Settings{}));
    libspdm_register_transport_layer_func(
        session.context(), 4608, 64, 64,
        [](void*, const uint32_t*, bool, bool, size_t, void*, size_t*, void**)
        { return libspdm_return_t{LIBSPDM_STATUS_BUFFER_TOO_SMALL}; },
        libspdm_transport_mctp_decode_message);
    EXPECT_EQ(session.connect(), LIBSPDM_STATUS_BUFFER_TOO_SMALL);
    EXPECT_TRUE(session.sent.empty());
    EXPECT_EQ(session.acquired, 0);
}

TEST(Capabilities, thatAVersionHasNotAreDropped)
{
    struct Row
    {
        uint8_t version;
        uint32_t told;
        uint32_t kept;
    };

    for (const Row& row :
         {Row{0x10, 0xFFFFFFC1, 0x01}, Row{0x11, 0xC0000021, 0x21},
          Row{0x12, 0xC0000021, 0x21}, Row{0x12, 0x3FC00000, 0},
          Row{0x13, 0xC0000021, 0x21}, Row{0x13, 0x20080000, 0x20080000}})
    {
        Session session(deviceOf(test::Settings{.version = row.version}),
                        [&row](size_t step, test::Message& answer)
                        {
                            for (size_t i = 0; step == 1 && i < 4; ++i)
                            {
                                answer[9 + i] |=
                                    static_cast<uint8_t>(row.told >> (8 * i));
                            }
                            return test::Delivery::normal;
                        });
        session.connect();
        uint32_t flags = 0;
        EXPECT_EQ(session.get(LIBSPDM_DATA_CAPABILITY_FLAGS, flags), 0U);
        EXPECT_EQ(flags & row.told, row.kept)
            << std::hex << int{row.version} << " " << flags;
    }
}

TEST(MultiKey, itemsOfASlotAreReadBack)
{
    Session session(deviceOf(
        test::Settings{.version = 0x13, .slots = 5, .multiKey = true}));
    expectSuccess(session.attest(), 3);
    uint8_t id = 0;
    uint8_t info = 0;
    uint16_t usage = 0;
    EXPECT_EQ(session.get(LIBSPDM_DATA_PEER_KEY_PAIR_ID, id, 2), 0U);
    EXPECT_EQ(session.get(LIBSPDM_DATA_PEER_CERT_INFO, info, 2), 0U);
    EXPECT_EQ(session.get(LIBSPDM_DATA_PEER_KEY_USAGE_BIT_MASK, usage, 2), 0U);
    EXPECT_EQ(id, 5);
    EXPECT_EQ(info, 1);
    EXPECT_EQ(usage, 6);
    EXPECT_EQ(session.get(LIBSPDM_DATA_PEER_KEY_USAGE_BIT_MASK, usage, 1), 0U);
    EXPECT_EQ(usage, 0);
    EXPECT_EQ(session.get(LIBSPDM_DATA_PEER_KEY_USAGE_BIT_MASK, usage, 8),
              LIBSPDM_STATUS_INVALID_PARAMETER);
}

TEST(Chunks, largeResponsesAreFetched)
{
    for (uint8_t version : {uint8_t{0x12}, uint8_t{0x13}})
    {
        Session session(deviceOf(test::Settings{
            .version = version, .chunk = 100, .valueSize = 2000}));
        expectSuccess(session.attest(), 3);
        EXPECT_GT(session.sent.size(), 60U);
    }
}

TEST(Chunks, requestsThatAreTooLargeArePartedToo)
{
    // The device takes 42 bytes, and NEGOTIATE_ALGORITHMS has 48.
    Session session(deviceOf(test::Settings{.chunk = 42}));
    expectSuccess(session.attest(), 3);
    EXPECT_EQ(session.sent.at(2).size(), 43U);
    EXPECT_EQ(session.sent[2][2], SPDM_CHUNK_SEND);
}

TEST(Chunks, requestsInPartsMayBeRefused)
{
    Session session(deviceOf(test::Settings{.chunk = 42}),
                    [](size_t step, test::Message& answer)
                    {
                        if (step == 2)
                        {
                            answer = {5, 0x12, 0x7F, 0x07, SPDM_CHUNK_SEND};
                        }
                        return test::Delivery::normal;
                    });
    EXPECT_EQ(session.attest().connect, LIBSPDM_STATUS_INVALID_MSG_FIELD);
    EXPECT_EQ(session.sent.size(), 3U);
}

TEST(Buffers, areHeldOneAtATime)
{
    Session session(deviceOf(test::Settings{}));
    expectSuccess(session.attest(), 3);
    EXPECT_EQ(session.acquired, 0);
    EXPECT_EQ(session.mostAcquired, 1);
}

TEST(Buffers, areAskedForTheirRoom)
{
    Session tight(deviceOf(test::Settings{}), {}, {.chainRoom = 1000});
    EXPECT_EQ(tight.attest().certificate, LIBSPDM_STATUS_BUFFER_FULL);
    Session small(deviceOf(test::Settings{}), {}, {.recordRoom = 54});
    Outcome outcome = small.attest();
    EXPECT_EQ(outcome.blocks.at(0), LIBSPDM_STATUS_BUFFER_TOO_SMALL);
}

TEST(Buffers, readsBeforeAConnectionFail)
{
    Session session(deviceOf(test::Settings{}));
    EXPECT_EQ(libspdm_get_digest(session.context(), nullptr, nullptr, nullptr),
              LIBSPDM_STATUS_UNSUPPORTED_CAP);
    EXPECT_TRUE(session.sent.empty());
}

} // namespace
