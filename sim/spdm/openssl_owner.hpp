// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <stdexcept>
#include <string>

namespace sim::spdm
{

/** Frees an OpenSSL object with the function that OpenSSL has for it. */
template <auto release>
struct Releaser
{
    template <typename T>
    void operator()(T* object) const
    {
        release(object);
    }
};

template <typename T, auto release>
using Owner = std::unique_ptr<T, Releaser<release>>;

/** Throws if an OpenSSL call returned null or anything but success. */
template <typename T>
T check(T result, const char* what)
{
    if (!(result > T{}))
    {
        throw std::runtime_error(std::string("OpenSSL: ") + what);
    }
    return result;
}

} // namespace sim::spdm
