// SPDX-License-Identifier: Apache-2.0
// What a program may ask for, and what it is handed over.

#include "subprojects/libspdm/src/context.hpp"
#include "test/spdm/session.hpp"

#include <gtest/gtest.h>

#include <array>

namespace
{

using test::deviceOf;
using test::Message;
using test::Session;

/** A connection on which all went well, and what a call may be given. */
class Calls : public testing::Test
{
  protected:
    Calls() : session(deviceOf(test::Settings{.blocks = 1}))
    {
        session.attest();
        sent = session.sent.size();
    }

    libspdm_return_t certificate(const uint32_t* inSession, uint8_t slot,
                                 size_t* length, void* bytes)
    {
        return libspdm_get_certificate(session.context(), inSession, slot,
                                       length, bytes);
    }

    libspdm_return_t measurement(const uint32_t* inSession, uint8_t slot,
                                 uint8_t* count, uint32_t* length, void* bytes)
    {
        return libspdm_get_measurement_ex2(
            session.context(), inSession, 0, 1, slot, nullptr, nullptr, count,
            length, bytes, nullptr, nullptr, nullptr, nullptr, nullptr);
    }

    Session session;
    size_t sent;
    size_t size{4096};
    uint32_t recordSize{4096};
    uint8_t blocks{0};
    Message room = Message(4096);
};

TEST_F(Calls, areNoneOfASession)
{
    const uint32_t id = 1;
    EXPECT_EQ(libspdm_get_digest(session.context(), &id, nullptr, nullptr),
              LIBSPDM_STATUS_INVALID_STATE_LOCAL);
    EXPECT_EQ(certificate(&id, 0, &size, room.data()),
              LIBSPDM_STATUS_INVALID_STATE_LOCAL);
    EXPECT_EQ(measurement(&id, 0, &blocks, &recordSize, room.data()),
              LIBSPDM_STATUS_INVALID_STATE_LOCAL);
    EXPECT_EQ(session.sent.size(), sent);
}

TEST_F(Calls, areOfEightSlots)
{
    EXPECT_EQ(session.readChain(8), LIBSPDM_STATUS_INVALID_PARAMETER);
    EXPECT_EQ(session.challenge(8), LIBSPDM_STATUS_INVALID_PARAMETER);
    EXPECT_EQ(session.measure(1, true, 8), LIBSPDM_STATUS_INVALID_PARAMETER);
    EXPECT_EQ(session.sent.size(), sent);
}

TEST_F(Calls, haveSomewhereToWrite)
{
    EXPECT_EQ(certificate(nullptr, 0, nullptr, room.data()),
              LIBSPDM_STATUS_INVALID_PARAMETER);
    EXPECT_EQ(certificate(nullptr, 0, &size, nullptr),
              LIBSPDM_STATUS_INVALID_PARAMETER);
    EXPECT_EQ(measurement(nullptr, 0, nullptr, &recordSize, room.data()),
              LIBSPDM_STATUS_INVALID_PARAMETER);
    EXPECT_EQ(measurement(nullptr, 0, &blocks, nullptr, room.data()),
              LIBSPDM_STATUS_INVALID_PARAMETER);
    EXPECT_EQ(measurement(nullptr, 0, &blocks, &recordSize, nullptr),
              LIBSPDM_STATUS_INVALID_PARAMETER);
    EXPECT_EQ(session.sent.size(), sent);
}

TEST_F(Calls, comeAfterTheNegotiation)
{
    static_cast<spdm::Context*>(session.context())->connection.state =
        LIBSPDM_CONNECTION_STATE_AFTER_CAPABILITIES;
    EXPECT_EQ(session.digests(), LIBSPDM_STATUS_INVALID_STATE_LOCAL);
    EXPECT_EQ(session.readChain(), LIBSPDM_STATUS_INVALID_STATE_LOCAL);
    EXPECT_EQ(session.challenge(), LIBSPDM_STATUS_INVALID_STATE_LOCAL);
    EXPECT_EQ(session.measure(1, true), LIBSPDM_STATUS_INVALID_STATE_LOCAL);
    EXPECT_EQ(session.sent.size(), sent);
}

TEST_F(Calls, handOverTheDigests)
{
    std::array<uint8_t, 48> digest{};
    uint8_t slots = 0;
    EXPECT_EQ(
        libspdm_get_digest(session.context(), nullptr, &slots, digest.data()),
        0U);
    EXPECT_EQ(slots, 1);
    const Message answer = session.answer();
    EXPECT_EQ(Message(digest.begin(), digest.end()),
              Message(answer.begin() + 4, answer.begin() + 4 + 48));
}

TEST(SlotsOf13, areWhatDigestsMaySay)
{
    struct Row
    {
        const char* what;
        size_t offset;
        uint8_t value;
        libspdm_return_t status;
    };

    // Of slots 0 and 2, behind the digests: ids, models, uses.
    constexpr size_t models = 5 + 2 * 48 + 2;
    constexpr size_t uses = models + 2;
    constexpr libspdm_return_t wrong = LIBSPDM_STATUS_INVALID_MSG_FIELD;
    for (const Row& row :
         {Row{"as they are", 1, 0x13, 0}, Row{"none supported", 3, 0, wrong},
          Row{"one of two supported", 3, 4, wrong},
          Row{"more supported", 3, 7, 0}, Row{"none provisioned", 4, 0, wrong},
          Row{"generic in slot 0", models, 3, wrong},
          Row{"generic in slot 2", models + 1, 3, 0},
          Row{"an unknown model", models + 1, 4, wrong},
          Row{"a digest without a model", models + 1, 0, wrong},
          Row{"no use of slot 0", uses, 0, wrong},
          Row{"no use of slot 2", uses + 2, 0, 0}})
    {
        Session session(deviceOf(test::Settings{
                            .version = 0x13, .slots = 5, .multiKey = true}),
                        [&](size_t, Message& answer)
                        {
                            if (answer.at(2) == SPDM_DIGESTS)
                            {
                                answer.at(row.offset) = row.value;
                            }
                            return test::Delivery::normal;
                        });
        EXPECT_EQ(session.connect(), 0U);
        EXPECT_EQ(session.digests(), row.status) << row.what;
    }
}

} // namespace
