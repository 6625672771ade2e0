// SPDX-License-Identifier: Apache-2.0
// What a peer may say before anything is signed.

#include "test/spdm/session.hpp"

#include <gtest/gtest.h>

#include <utility>

namespace
{

using test::Delivery;
using test::deviceOf;
using test::Message;
using test::Session;

constexpr size_t versionAnswer = 0;
constexpr size_t algorithmsAnswer = 2;

/** Puts something in the place of an answer, or behind a part of it. */
test::Fault instead(size_t wanted, const Message& other, size_t kept = 0)
{
    return [=](size_t step, Message& answer)
    {
        if (step == wanted)
        {
            answer.resize(kept);
            answer.insert(answer.end(), other.begin(), other.end());
        }
        return Delivery::normal;
    };
}

TEST(Version, withoutACommonOneNothingElseIsAsked)
{
    for (const uint8_t offered : {0x00, 0x0F, 0x14, 0x20, 0xFF})
    {
        Session session(
            deviceOf(test::Settings{}),
            instead(versionAnswer, {5, 0x10, 4, 0, 0, 0, 1, 0, offered}));
        EXPECT_EQ(session.connect(), LIBSPDM_STATUS_NEGOTIATION_FAIL)
            << int{offered};
        EXPECT_EQ(session.sent.size(), 1U);
    }
}

TEST(Version, hasRoomForTheNumberOfItsEntries)
{
    for (const size_t length : {5, 6})
    {
        Message answer{5, 0x10, 4, 0, 0, 0};
        answer.resize(length);
        Session session(deviceOf(test::Settings{}),
                        instead(versionAnswer, answer), {.tellsLength = true});
        EXPECT_EQ(session.connect(), LIBSPDM_STATUS_INVALID_MSG_SIZE) << length;
    }
}

/** Puts tables in the place of those in ALGORITHMS. */
void useTables(Message& answer, const Message& tables)
{
    answer.resize(1 + 36);
    answer.at(3) = static_cast<uint8_t>(tables.size() / 4);
    answer.at(5) = static_cast<uint8_t>(36 + tables.size());
    answer.insert(answer.end(), tables.begin(), tables.end());
}

/** The status of a connection to a peer whose tables are these. */
libspdm_return_t withTables(const Message& tables)
{
    Session session(deviceOf(test::Settings{}),
                    [&](size_t step, Message& answer)
                    {
                        if (step == algorithmsAnswer)
                        {
                            useTables(answer, tables);
                        }
                        return Delivery::normal;
                    });
    return session.connect();
}

TEST(Algorithms, haveTheirTablesInOrder)
{
    struct Row
    {
        const char* what;
        Message tables;
        libspdm_return_t status;
    };

    constexpr libspdm_return_t wrong = LIBSPDM_STATUS_INVALID_MSG_FIELD;
    for (const Row& row : {
             Row{"none", {}, 0},
             Row{"the first", {2, 0x20, 0x10, 0}, 0},
             Row{"the last", {5, 0x20, 1, 0}, 0},
             Row{"two", {2, 0x20, 0x10, 0, 3, 0x20, 2, 0}, 0},
             Row{"none of that type", {1, 0x20, 0x10, 0}, wrong},
             Row{"another of no type", {6, 0x20, 1, 0}, wrong},
             Row{"twice", {2, 0x20, 0x10, 0, 2, 0x20, 0x10, 0}, wrong},
             Row{"backwards", {3, 0x20, 2, 0, 2, 0x20, 0x10, 0}, wrong},
             Row{"of one byte", {2, 0x10, 0x10, 0}, wrong},
             Row{"with two algorithms", {2, 0x20, 0x18, 0}, wrong},
         })
    {
        EXPECT_EQ(withTables(row.tables), row.status) << row.what;
    }
}

TEST(Algorithms, ofSessionsAreKeptOnlyWithTheRest)
{
    for (const bool isRight : {true, false})
    {
        // All of them, and a signature algorithm or none.
        Session session(deviceOf(test::Settings{}),
                        [&](size_t step, Message& answer)
                        {
                            if (step == algorithmsAnswer)
                            {
                                useTables(answer,
                                          {2, 0x20, 0x10, 0, 3, 0x20, 2, 0, 4,
                                           0x20, 0x80, 0, 5, 0x20, 1, 0});
                                answer.at(13) = isRight ? answer.at(13) : 0;
                            }
                            return Delivery::normal;
                        });
        EXPECT_EQ(session.connect(), isRight ? LIBSPDM_STATUS_SUCCESS
                                             : LIBSPDM_STATUS_NEGOTIATION_FAIL);
        const std::pair<libspdm_data_type_t, uint16_t> selected[] = {
            {LIBSPDM_DATA_DHE_NAME_GROUP, 0x10},
            {LIBSPDM_DATA_AEAD_CIPHER_SUITE, 2},
            {LIBSPDM_DATA_REQ_BASE_ASYM_ALG, 0x80},
            {LIBSPDM_DATA_KEY_SCHEDULE, 1}};
        for (const auto& [item, algorithm] : selected)
        {
            uint16_t kept = 0xFFFF;
            EXPECT_EQ(session.get(item, kept), 0U);
            EXPECT_EQ(kept, isRight ? algorithm : 0) << int{item};
        }
    }
}

TEST(Algorithms, aVersionWithoutALogSelectsNone)
{
    for (const uint8_t version : {0x11, 0x12, 0x13})
    {
        Session session(deviceOf(test::Settings{.version = version}),
                        [](size_t step, Message& answer)
                        {
                            if (step == algorithmsAnswer)
                            {
                                answer.at(1 + 31) = 1;
                            }
                            return Delivery::normal;
                        });
        session.connect();
        uint8_t log = 0xFF;
        EXPECT_EQ(session.get(LIBSPDM_DATA_MEL_SPEC, log), 0U);
        EXPECT_EQ(log, version < 0x13 ? 0 : 1) << int{version};
    }
}

} // namespace
