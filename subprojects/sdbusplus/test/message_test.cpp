// SPDX-License-Identifier: Apache-2.0
#include "support/expect.hpp"

#include <sdbusplus/message.hpp>

#include <type_traits>
#include <utility>

namespace
{

using sdbusplus::message_t;

MessagePtr errorReplyTo(message_t& call, const char* name, const char* text)
{
    const sd_bus_error error{name, text, 0};
    sd_bus_message* reply = nullptr;
    mustWork(sd_bus_message_new_method_error(call.get(), &reply, &error),
             "sd_bus_message_new_method_error");
    return MessagePtr(reply);
}

TEST(Message, tellsItsAddress)
{
    auto m = newMessage();
    EXPECT_STREQ(m.get_destination(), "com.example");
    EXPECT_STREQ(m.get_path(), "/com/example");
    EXPECT_STREQ(m.get_interface(), "com.example.Test");
    EXPECT_STREQ(m.get_member(), "Do");
    EXPECT_EQ(m.get_sender(), nullptr);
    EXPECT_STREQ(m.get_signature(), "");
}

TEST(Message, tellsWhatItIs)
{
    auto m = newMessage();
    EXPECT_TRUE(m.is_method_call("com.example.Test", "Do"));
    EXPECT_TRUE(m.is_method_call(nullptr, "Do"));
    EXPECT_FALSE(m.is_method_call("com.example.Test", "Other"));
    EXPECT_FALSE(m.is_signal("com.example.Test", "Do"));
    EXPECT_FALSE(m.is_method_error());
    EXPECT_EQ(m.get_errno(), 0);
    EXPECT_EQ(m.get_error(), nullptr);
}

TEST(Message, tellsTheErrorOfAnErrorReply)
{
    auto call = sealed(newMessage());
    const auto owned =
        errorReplyTo(call, "com.example.Error.Broken", "it broke");
    const message_t reply(owned.get());
    EXPECT_TRUE(reply.is_method_error());
    EXPECT_EQ(reply.get_errno(), EIO);
    ASSERT_NE(reply.get_error(), nullptr);
    EXPECT_STREQ(reply.get_error()->name, "com.example.Error.Broken");
    EXPECT_STREQ(reply.get_error()->message, "it broke");
}

TEST(Message, tellsTheErrnoOfAKnownErrorName)
{
    auto call = sealed(newMessage());
    const auto owned = errorReplyTo(call, SD_BUS_ERROR_ACCESS_DENIED, nullptr);
    EXPECT_EQ(message_t(owned.get()).get_errno(), EACCES);
}

TEST(Message, sharesItsReadingPositionWithCopies)
{
    auto m = messageWith("ii", 1, 2);
    message_t copy(m);
    EXPECT_EQ(copy.get(), m.get());
    EXPECT_EQ(m.unpack<int>(), 1);
    EXPECT_EQ(copy.unpack<int>(), 2);

    message_t assigned;
    EXPECT_FALSE(assigned);
    assigned = copy;
    EXPECT_TRUE(assigned);
    EXPECT_EQ(assigned.get(), m.get());
}

TEST(Message, handsItsReferenceOver)
{
    auto m = messageWith("i", 7);
    message_t taken(m.release(), std::false_type());
    EXPECT_FALSE(m);
    EXPECT_EQ(taken.unpack<int>(), 7);

    message_t moved(std::move(taken));
    EXPECT_STREQ(moved.get_signature(), "i");
}

} // namespace
