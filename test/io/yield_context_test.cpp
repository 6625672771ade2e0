// SPDX-License-Identifier: Apache-2.0
#define BOOST_ALLOW_DEPRECATED_HEADERS // what Boost's coroutines include

// Boost's own declaration must agree with the tool's short one: this file
// compiles only if it does.
#include "io/common/src/YieldContext.hpp"

#include <gtest/gtest.h>

#include <boost/asio/spawn.hpp>

#include <type_traits>

TEST(YieldContext, isTheTypeThatCoroutinesGet)
{
    using Body = void (*)(boost::asio::yield_context);
    EXPECT_TRUE((std::is_invocable_v<Body, boost::asio::yield_context>));
}
