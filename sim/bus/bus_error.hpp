// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <system_error>

namespace sim
{

/** sd-bus and sd-event return a negative errno: throws it as
 *  std::system_error, hands anything else on. */
inline int check(int result, const char* what)
{
    if (result < 0)
    {
        throw std::system_error(-result, std::generic_category(), what);
    }
    return result;
}

} // namespace sim
