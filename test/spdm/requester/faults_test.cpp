// SPDX-License-Identifier: Apache-2.0
#include "test/spdm/session.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{

using test::Delivery;
using test::Fault;
using test::Message;
using test::Outcome;
using test::Session;

// Exchanges of the flow with a chain of two blocks.
constexpr size_t versionStep = 0;
constexpr size_t digestStep = 3;
constexpr size_t certificateStep = 4;
constexpr size_t challengeStep = 6;
constexpr size_t countStep = 7;
constexpr size_t blockStep = 8;

Fault at(size_t wanted, const std::function<void(Message&)>& change)
{
    return [wanted, change](size_t step, Message& answer)
    {
        if (step == wanted)
        {
            change(answer);
        }
        return Delivery::normal;
    };
}

Message error(uint8_t version, uint8_t code, const Message& data = {})
{
    Message message = data;
    message.insert(message.begin(), {5, version, 0x7F, code, 0});
    return message;
}

Outcome attest(Fault fault, test::Settings settings = {}, test::Use use = {})
{
    Session session(test::deviceOf(settings), std::move(fault), use);
    Outcome outcome = session.attest();
    EXPECT_EQ(session.acquired, 0);
    return outcome;
}

/** The status of the request that a step belongs to. */
libspdm_return_t statusOf(const Outcome& outcome, size_t step)
{
    switch (step)
    {
        case 0:
        case 1:
        case 2:
            return outcome.connect;
        case digestStep:
            return outcome.digest;
        case certificateStep:
        case certificateStep + 1:
            return outcome.certificate;
        case challengeStep:
            return outcome.challenge;
        case countStep:
            return outcome.count;
        default:
            return outcome.blocks.at(step - blockStep);
    }
}

TEST(Errors, eachCodeHasItsStatusAtEachStep)
{
    struct Row
    {
        uint8_t code;
        libspdm_return_t status;
    };

    for (Row row :
         {Row{0x01, 0x8001000a}, Row{0x03, 0x80010008}, Row{0x05, 0x8001000a},
          Row{0x43, 0x8001000b}, Row{0xFF, 0x8001000a}, Row{0x06, 0x8001000a}})
    {
        for (size_t step = 0; step <= blockStep; ++step)
        {
            Outcome outcome =
                attest(at(step, [&](Message& answer)
                          { answer = error(answer[1], row.code); }));
            EXPECT_EQ(statusOf(outcome, step), row.status)
                << "code " << int{row.code} << " step " << step;
        }
    }
}

TEST(Errors, resynchronisationEndsTheConnection)
{
    Session session(test::deviceOf(test::Settings{}),
                    at(digestStep, [](Message& answer)
                       { answer = error(answer[1], 0x43); }));
    EXPECT_EQ(session.attest().digest, LIBSPDM_STATUS_RESYNCH_PEER);
    uint32_t state = 99;
    EXPECT_EQ(session.get(LIBSPDM_DATA_CONNECTION_STATE, state), 0U);
    EXPECT_EQ(state, uint32_t{LIBSPDM_CONNECTION_STATE_NOT_STARTED});
}

/** Puts the answer off once, or as often as the peer is asked again. */
Fault notReady(size_t wanted, const Message& data, bool always = false)
{
    auto kept = std::make_shared<Message>();
    return [=](size_t step, Message& answer)
    {
        if (step == wanted)
        {
            *kept = answer;
            answer = error(answer[1], 0x42, data);
        }
        else if (step == wanted + 1)
        {
            answer = always ? error(kept->at(1), 0x42, data) : *kept;
        }
        return Delivery::normal;
    };
}

TEST(NotReady, theAnswerIsAskedForAgain)
{
    Session session(test::deviceOf(test::Settings{}),
                    notReady(digestStep, {1, 0x81, 7, 2}));
    Outcome outcome = session.attest();
    EXPECT_EQ(outcome.digest, 0U);
    EXPECT_EQ(outcome.challenge, 0U);
    EXPECT_EQ(session.sent.at(digestStep + 1),
              (Message{5, 0x12, 0xFF, 0x81, 7}));
}

TEST(NotReady, onlyOnce)
{
    Outcome outcome = attest(notReady(digestStep, {1, 0x81, 7, 2}, true));
    EXPECT_EQ(outcome.digest, LIBSPDM_STATUS_NOT_READY_PEER);
}

TEST(NotReady, itsDataIsChecked)
{
    for (const Message& data : {Message{1, 0x82, 7, 2}, Message{32, 0x81, 7, 2},
                                Message{1, 0x81, 7, 1}})
    {
        EXPECT_EQ(attest(notReady(digestStep, data)).digest,
                  LIBSPDM_STATUS_INVALID_MSG_FIELD);
    }
    EXPECT_EQ(
        attest(notReady(digestStep, {1, 0x81, 7}), {}, {.tellsLength = true})
            .digest,
        LIBSPDM_STATUS_INVALID_MSG_SIZE);
}

TEST(NotReady, isNoAnswerInTheNegotiation)
{
    EXPECT_EQ(attest(notReady(versionStep, {1, 0x84, 7, 2})).connect,
              LIBSPDM_STATUS_ERROR_PEER);
    EXPECT_EQ(attest(notReady(1, {1, 0xE1, 7, 2})).connect,
              LIBSPDM_STATUS_NOT_READY_PEER);
}

TEST(NotReady, aFailedSecondRequestIsTold)
{
    Fault first = notReady(digestStep, {1, 0x81, 7, 2});
    Outcome outcome = attest(
        [first](size_t step, Message& answer)
        {
            first(step, answer);
            return step == digestStep + 1 ? Delivery::sendFails
                                          : Delivery::normal;
        });
    EXPECT_EQ(outcome.digest, LIBSPDM_STATUS_SEND_FAIL);
}

TEST(Device, failuresAreTold)
{
    struct Row
    {
        Delivery delivery;
        libspdm_return_t status;
    };

    for (Row row : {Row{Delivery::sendFails, 0x80040000},
                    Row{Delivery::receiveFails, 0x80040001}})
    {
        for (size_t step = 0; step <= blockStep; ++step)
        {
            Outcome outcome = attest(
                [&](size_t now, Message&)
                { return now == step ? row.delivery : Delivery::normal; });
            EXPECT_EQ(statusOf(outcome, step), row.status) << step;
        }
    }
}

TEST(Device, silenceIsNoAnswer)
{
    for (size_t step = 0; step <= blockStep; ++step)
    {
        Outcome outcome = attest(
            [&](size_t now, Message&)
            { return now == step ? Delivery::nothing : Delivery::normal; });
        // The room is empty at first, then it holds the answer before.
        bool repeated = step == certificateStep + 1;
        libspdm_return_t expected = step == 0
                                      ? LIBSPDM_STATUS_UNSUPPORTED_CAP
                                      : LIBSPDM_STATUS_INVALID_MSG_FIELD;
        if (!repeated && step != blockStep)
        {
            EXPECT_EQ(statusOf(outcome, step), expected) << step;
        }
        EXPECT_FALSE(test::isFine(statusOf(outcome, step))) << step;
    }
}

TEST(Answers, shortOnesAreRefused)
{
    for (size_t step = 0; step <= blockStep; ++step)
    {
        for (size_t length : {0, 1, 2, 4, 5, 8, 9, 10})
        {
            Outcome outcome = attest(at(step,
                                        [&](Message& answer)
                                        {
                                            ASSERT_GT(answer.size(), length);
                                            answer.resize(length);
                                        }),
                                     {}, {.tellsLength = true});
            EXPECT_FALSE(test::isFine(statusOf(outcome, step)))
                << "step " << step << " length " << length;
        }
    }
}

TEST(Answers, whatFollowsThemIsNotLookedAt)
{
    for (size_t step = 0; step <= blockStep; ++step)
    {
        Outcome outcome =
            attest(at(step, [](Message& answer)
                      { answer.resize(answer.size() + 300, 0xA5); }));
        EXPECT_EQ(statusOf(outcome, step), 0U) << step;
    }
}

TEST(Answers, messageTypesOfOthersAreRefused)
{
    auto type = [](uint8_t value) {
        return at(versionStep, [value](Message& answer) { answer[0] = value; });
    };
    EXPECT_EQ(attest(type(0)).connect, LIBSPDM_STATUS_UNSUPPORTED_CAP);
    EXPECT_EQ(attest(type(6)).connect, LIBSPDM_STATUS_RECEIVE_FAIL);
}

TEST(Fields, wrongOnesHaveTheirStatus)
{
    struct Row
    {
        const char* what;
        size_t step;
        size_t offset;
        uint8_t value;
        libspdm_return_t status;
    };

    const Row rows[] = {
        {"no version", 0, 6, 0, 0x80010005},
        {"six versions", 0, 6, 6, 0x80010005},
        {"version of the header", 1, 1, 0x11, 0x80010005},
        {"another code", 1, 2, 0x63, 0x80010005},
        {"reserved capability", 1, 9, 0x1E, 0x80010005},
        {"a time beyond all waiting", 1, 6, 32, 0x80010005},
        {"DataTransferSize of zero", 1, 14, 0, 0x80010005},
        {"length of ALGORITHMS", 2, 5, 40, 0x80010006},
        {"two signature algorithms", 2, 13, 0x90, 0x80010005},
        {"no signature algorithm", 2, 13, 0, 0x80010007},
        {"a signature that was not offered", 2, 13, 0x10, 0x80010007},
        {"no hash algorithm", 2, 17, 0, 0x80010007},
        {"a hash that was not offered", 2, 17, 4, 0x80010007},
        {"no measurement specification", 2, 7, 0, 0x80010005},
        {"no slot", digestStep, 4, 0, 0x80010005},
        {"portion of nothing", certificateStep, 5 + 1, 0, 0x80010005},
        {"another slot", certificateStep, 3, 1, 0x80010005},
        {"another remainder", certificateStep + 1, 7, 9, 0x80010005},
        {"chain hash", challengeStep, 9, 0xEE, 0x80020001},
        {"slot of the challenge", challengeStep, 3, 1, 0x80010005},
        {"mutual authentication", challengeStep, 3, 0x80, 0x80010005},
        {"nonce of the challenge", challengeStep, 60, 1, 0x80020001},
        {"summary hash", challengeStep, 90, 1, 0x80020001},
        {"blocks in the count", countStep, 5, 1, 0x80010005},
        {"no block at all", countStep, 3, 0, 0x80010005},
        {"255 blocks", countStep, 3, 255, 0x80010005},
        {"two blocks", blockStep, 5, 2, 0x80010005},
        {"another block", blockStep, 9, 2, 0x80020001},
        {"slot of the measurements", blockStep, 4, 1, 0x80010005},
        {"value", blockStep, 20, 0xEE, 0x80020001},
    };
    for (const Row& row : rows)
    {
        Outcome outcome = attest(at(row.step, [&](Message& answer)
                                    { answer.at(row.offset) = row.value; }));
        EXPECT_EQ(statusOf(outcome, row.step), row.status) << row.what;
    }
}

TEST(Fields, theLongestTimeIsWaitedFor)
{
    Session session(test::deviceOf(test::Settings{}),
                    at(1, [](Message& answer) { answer.at(6) = 31; }));
    EXPECT_EQ(session.connect(), 0U);
    EXPECT_EQ(session.digests(), 0U);
    EXPECT_EQ(session.timeouts.back(), 1000000 + (uint64_t{1} << 31));
}

TEST(Fields, aChainOfMoreThan64kBEndsWithItsFirstPortion)
{
    Session session(test::deviceOf(test::Settings{}),
                    at(certificateStep, [](Message& answer)
                       { answer.at(7) = answer.at(8) = 0xFF; }));
    EXPECT_EQ(session.attest().certificate, LIBSPDM_STATUS_INVALID_MSG_FIELD);
    EXPECT_EQ(session.sent.size(), certificateStep + 1);
}

TEST(Fields, theCertificateOfSlot0IsNeverGeneric)
{
    constexpr size_t info = 5 + 48 + 1; // behind the digest and the key pair
    constexpr test::Settings settings{.version = 0x13, .multiKey = true};
    EXPECT_EQ(
        attest(at(digestStep, [](Message& answer) { answer.at(info) = 3; }),
               settings)
            .digest,
        LIBSPDM_STATUS_INVALID_MSG_FIELD);
    // DIGESTS says nothing of it, and then CERTIFICATE does.
    Outcome outcome = attest(
        [](size_t step, Message& answer)
        {
            if (step == digestStep)
            {
                std::fill(answer.begin() + 5, answer.begin() + 5 + 48, 0);
                answer.at(info) = 0;
            }
            const bool isCertificate = answer.at(2) == SPDM_CERTIFICATE;
            answer.at(4) = isCertificate ? 3 : answer.at(4);
            return Delivery::normal;
        },
        settings);
    EXPECT_EQ(outcome.digest, 0U);
    EXPECT_EQ(outcome.certificate, LIBSPDM_STATUS_INVALID_MSG_FIELD);
}

TEST(Signatures, everyByteCounts)
{
    for (size_t back = 1; back <= 96; ++back)
    {
        for (size_t step : {challengeStep, blockStep})
        {
            Outcome outcome =
                attest(at(step, [&](Message& answer)
                          { answer.at(answer.size() - back) ^= 0x10; }));
            EXPECT_EQ(statusOf(outcome, step), LIBSPDM_STATUS_VERIF_FAIL);
        }
    }
}

TEST(Signatures, areOverWhatWasSaidBefore)
{
    // A digest that is not the chain's matters when the challenge is signed.
    Outcome outcome =
        attest(at(digestStep, [](Message& answer) { answer.at(20) ^= 1; }));
    EXPECT_EQ(outcome.digest, 0U);
    EXPECT_EQ(outcome.challenge, LIBSPDM_STATUS_VERIF_FAIL);
}

TEST(Signatures, requesterContextIsReturned)
{
    Outcome outcome = attest(at(challengeStep, [](Message& answer)
                                { answer.at(answer.size() - 97) ^= 1; }),
                             {.version = 0x13});
    EXPECT_EQ(outcome.challenge, LIBSPDM_STATUS_INVALID_MSG_FIELD);
}

TEST(Signatures, unsignedPeersAreNotAskedForThem)
{
    Outcome outcome = attest({}, {.isSigning = false});
    EXPECT_EQ(outcome.blocks.at(0), LIBSPDM_STATUS_INVALID_PARAMETER);
}

TEST(Chunks, thatDoNotFitAreRefused)
{
    struct Row
    {
        const char* what;
        size_t offset;
        uint8_t value;
    };

    // The chain's first block comes in chunks; CERTIFICATE tells any failure
    // as one to receive.
    for (const Row& row :
         {Row{"size", 9, 0xFF}, Row{"large size", 14, 0xFF},
          Row{"large size of zero", 14, 0}, Row{"sequence", 5, 1},
          Row{"code", 2, 0x02}, Row{"nested", 2, 0x7F}})
    {
        Outcome outcome = attest(at(certificateStep + 1,
                                    [&](Message& answer)
                                    {
                                        answer.at(row.offset) = row.value;
                                        if (row.offset == 14)
                                        {
                                            answer.at(13) = row.value;
                                        }
                                    }),
                                 {.chunk = 200}, {.tellsLength = true});
        EXPECT_EQ(outcome.certificate, LIBSPDM_STATUS_RECEIVE_FAIL) << row.what;
    }
}

/** Silence in the place of the second chunk or acknowledgement. */
Delivery silentSecond(size_t /*step*/, Message& answer)
{
    const uint8_t code = answer.at(2);
    const bool isPart =
        code == SPDM_CHUNK_RESPONSE || code == SPDM_CHUNK_SEND_ACK;
    return isPart && answer.at(5) == 1 ? Delivery::nothing : Delivery::normal;
}

// Nothing is a message without a type, and no part that came twice.
TEST(Chunks, silenceIsNotThePartBefore)
{
    Session session(
        test::deviceOf(test::Settings{.chunk = 200, .valueSize = 2000}),
        silentSecond);
    EXPECT_EQ(session.connect(), 0U);
    EXPECT_EQ(session.measure(1, false), LIBSPDM_STATUS_UNSUPPORTED_CAP);
    EXPECT_EQ(attest(silentSecond, {.chunk = 42}).connect,
              LIBSPDM_STATUS_UNSUPPORTED_CAP);
}

TEST(Chunks, withoutTheCapabilityAnnouncementsAreErrors)
{
    Outcome outcome = attest(at(digestStep, [](Message& answer)
                                { answer = error(answer[1], 0x0F, {3}); }));
    EXPECT_EQ(outcome.digest, LIBSPDM_STATUS_ERROR_PEER);
    outcome = attest(at(digestStep, [](Message& answer)
                        { answer = error(answer[1], 0x0F, {3}); }),
                     {.version = 0x11});
    EXPECT_EQ(outcome.digest, LIBSPDM_STATUS_UNSUPPORTED_CAP);
}

TEST(Chunks, noneInsideChunks)
{
    // A peer that announces a large response for each chunk is not followed.
    auto count = std::make_shared<size_t>(0);
    Outcome outcome = attest(
        [count](size_t step, Message& answer)
        {
            if (step >= digestStep)
            {
                ++*count;
                answer = error(answer[1], 0x0F, {3});
            }
            return Delivery::normal;
        },
        {.chunk = 200});
    EXPECT_EQ(outcome.digest, LIBSPDM_STATUS_ERROR_PEER);
    EXPECT_EQ(*count, 2U);
}

TEST(Loops, aChainOfSingleBytesEndsWithTheBuffer)
{
    auto count = std::make_shared<size_t>(0);
    Outcome outcome = attest(
        [count](size_t step, Message& answer)
        {
            if (step >= certificateStep)
            {
                size_t left = 60000 - *count;
                ++*count;
                answer = {5,
                          0x12,
                          0x02,
                          0,
                          0,
                          1,
                          0,
                          static_cast<uint8_t>(left - 1),
                          static_cast<uint8_t>((left - 1) >> 8),
                          0x30};
            }
            return Delivery::normal;
        });
    EXPECT_EQ(outcome.certificate, LIBSPDM_STATUS_BUFFER_FULL);
    EXPECT_EQ(*count, 4097U);
}

} // namespace
