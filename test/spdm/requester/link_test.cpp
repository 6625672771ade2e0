// SPDX-License-Identifier: Apache-2.0
// One message out and one in, where the program's functions go to the limit of
// what they may do.

#include "subprojects/libspdm/src/headers.hpp"
#include "subprojects/libspdm/src/link.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace
{

constexpr size_t roomSize = 64;

/** A device that answers with a header, in the room that it is given. */
class Link : public testing::Test
{
  protected:
    Link()
    {
        context.device.encode = libspdm_transport_mctp_encode_message;
        context.device.decode = libspdm_transport_mctp_decode_message;
        context.device.headerSize = 1;
        context.device.send = [](void*, size_t, const void*, uint64_t)
        {
            ++sent;
            return libspdm_return_t{LIBSPDM_STATUS_SUCCESS};
        };
        context.device.receive = [](void*, size_t* size, void** area, uint64_t)
        {
            constexpr std::array<uint8_t, 5> answer{5, 0x12, 0x61, 0, 0};
            std::ranges::copy(answer, static_cast<uint8_t*>(*area));
            *size = told;
            return libspdm_return_t{LIBSPDM_STATUS_SUCCESS};
        };
    }

    void SetUp() override
    {
        sent = 0;
        told = 5;
    }

    spdm::Context context{};
    std::array<uint8_t, roomSize> room{};
    std::span<uint8_t> message;
    static inline int sent;
    /** How much the receive function says it was. */
    static inline size_t told;
};

TEST_F(Link, aRequestLeavesRoomForTheTransportsTail)
{
    context.device.tailSize = 8;
    constexpr size_t payload = roomSize - 9;
    EXPECT_EQ(spdm::sendMessage(context, room, payload + 1),
              LIBSPDM_STATUS_BUFFER_TOO_SMALL);
    EXPECT_EQ(sent, 0);
    EXPECT_EQ(spdm::sendMessage(context, room, payload), 0U);
    EXPECT_EQ(sent, 1);
}

TEST_F(Link, anAnswerEndsWithItsRoomWhateverIsSaid)
{
    EXPECT_EQ(spdm::receiveMessage(context, room, message), 0U);
    EXPECT_EQ(message.size(), 4U);
    told = 2 * roomSize;
    EXPECT_EQ(spdm::receiveMessage(context, room, message), 0U);
    EXPECT_EQ(message.data(), &room[1]);
    EXPECT_EQ(message.size(), roomSize - 1);
}

// A transport that has none says nothing of applications.
TEST_F(Link, anAnswerIsNoApplicationsUntilTheTransportSaysSo)
{
    context.device.decode = [](void*, uint32_t**, bool*, bool isRequest,
                               size_t size, void* whole, size_t* found,
                               void** bytes)
    {
        EXPECT_FALSE(isRequest);
        *bytes = whole;
        *found = size;
        return libspdm_return_t{LIBSPDM_STATUS_SUCCESS};
    };
    EXPECT_EQ(spdm::receiveMessage(context, room, message), 0U);
    EXPECT_EQ(message.data(), room.data());
    context.device.decode = [](void*, uint32_t**, bool* isApplication, bool,
                               size_t, void*, size_t*, void**)
    {
        *isApplication = true;
        return libspdm_return_t{LIBSPDM_STATUS_SUCCESS};
    };
    EXPECT_EQ(spdm::receiveMessage(context, room, message),
              LIBSPDM_STATUS_RECEIVE_FAIL);
}

} // namespace
