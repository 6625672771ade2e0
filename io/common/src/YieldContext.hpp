// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/version.hpp>

// The name of boost::asio::yield_context without its header, which draws
// Boost's coroutines and, by way of them, the C++ streams into the program:
// three times its size, for a pointer that is null in this tool.

#if BOOST_VERSION < 108000
#include <boost/asio/bind_executor.hpp>
#endif

namespace boost::asio
{

#if BOOST_VERSION < 108000
template <typename Handler>
class basic_yield_context;

using yield_context =
    basic_yield_context<executor_binder<void (*)(), any_io_executor>>;
#else
template <typename Executor>
class basic_yield_context;

using yield_context = basic_yield_context<any_io_executor>;
#endif

} // namespace boost::asio
