// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/bus/reply.hpp"
#include "sim/scenario/node.hpp"

#include <functional>
#include <string>

namespace sim
{

/** A method call as it came in. */
struct Call
{
    /** The name the caller wrote, well-known as a rule. */
    std::string destination;
    std::string path;
    std::string interface;
    std::string member;
    std::string signature;
    Json args = Json::array();
};

using Handler = std::function<Reply(const Call&)>;

} // namespace sim
