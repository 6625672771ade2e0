// SPDX-License-Identifier: Apache-2.0
// Messages in parts, where the peer or the way to it breaks off.

#include "test/spdm/session.hpp"

#include <gtest/gtest.h>

namespace
{

using test::Delivery;
using test::deviceOf;
using test::Message;
using test::Session;

/** A block that comes in parts, with what happens to the first of them. */
libspdm_return_t
measuredWith(const std::function<Delivery(Message& answer)>& change)
{
    Session session(deviceOf(test::Settings{.chunk = 200, .valueSize = 2000}),
                    [&](size_t, Message& answer)
                    {
                        const bool isFirst =
                            answer.at(2) == SPDM_CHUNK_RESPONSE &&
                            answer.at(5) == 0;
                        return isFirst ? change(answer) : Delivery::normal;
                    });
    EXPECT_EQ(session.connect(), 0U);
    return session.measure(1, false);
}

TEST(Parts, areAsMuchAsWasAnnounced)
{
    EXPECT_EQ(measuredWith([](Message&) { return Delivery::normal; }), 0U);
    EXPECT_EQ(measuredWith(
                  [](Message& answer)
                  {
                      answer.at(3) =
                          SPDM_CHUNK_GET_RESPONSE_ATTRIBUTE_LAST_CHUNK;
                      return Delivery::normal;
                  }),
              LIBSPDM_STATUS_INVALID_MSG_FIELD);
}

TEST(Parts, areAskedForOneAfterTheOther)
{
    Session session(deviceOf(test::Settings{.chunk = 200, .valueSize = 2000}));
    EXPECT_EQ(session.connect(), 0U);
    EXPECT_EQ(session.measure(1, false), 0U);
    ASSERT_GT(session.sent.size(), 10U);
    const uint8_t handle = session.sent.at(4).at(4);
    uint8_t next = 0;
    for (size_t i = 4; i < session.sent.size(); ++i)
    {
        EXPECT_EQ(session.sent[i],
                  (Message{5, 0x12, SPDM_CHUNK_GET, 0, handle, next, 0}));
        ++next;
    }
}

TEST(Parts, areNotWaitedForUnasked)
{
    EXPECT_EQ(measuredWith([](Message&) { return Delivery::sendFails; }),
              LIBSPDM_STATUS_SEND_FAIL);
}

TEST(Parts, ofARequestAreAcknowledgedInTheVersionThatIsSpoken)
{
    Session session(deviceOf(test::Settings{.chunk = 42}),
                    [](size_t step, Message& answer)
                    {
                        answer.at(1) = step == 2 ? 0x11 : answer.at(1);
                        return Delivery::normal;
                    });
    EXPECT_EQ(session.connect(), LIBSPDM_STATUS_INVALID_MSG_FIELD);
    EXPECT_EQ(session.sent.size(), 3U);
}

TEST(Parts, ofARequestAreNotRefusedInParts)
{
    // The device takes 42 bytes, and NEGOTIATE_ALGORITHMS has 48.
    Session session(deviceOf(test::Settings{.chunk = 42}),
                    [](size_t step, Message& answer)
                    {
                        if (step == 2)
                        {
                            // It found an error early: a response that is too
                            // large.
                            answer = {5,    0x12, SPDM_CHUNK_SEND_ACK,
                                      1,    0,    0,
                                      0,    0x12, 0x7F,
                                      0x0F, 0,    3};
                        }
                        return Delivery::normal;
                    });
    EXPECT_EQ(session.connect(), LIBSPDM_STATUS_ERROR_PEER);
    EXPECT_EQ(session.sent.size(), 3U);
}

} // namespace
