// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/scenario/node.hpp"

#include <cstdint>
#include <limits>

namespace sim
{

/** A device address: a number that fits 32 bits. */
inline uint32_t readAddress(const Node& node)
{
    uint64_t number = node.number();
    if (number > std::numeric_limits<uint32_t>::max())
    {
        node.fail("is no 32-bit address");
    }
    return static_cast<uint32_t>(number);
}

} // namespace sim
