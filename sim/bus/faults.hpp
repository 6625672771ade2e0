// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/bus/call.hpp"
#include "sim/bus/reply.hpp"

#include <optional>
#include <string>
#include <vector>

namespace sim
{

/** Replies that are laid over what services would say by themselves. */
class Faults
{
  public:
    Faults() = default;
    /** From the "faults" of a scenario. Throws ScenarioError. */
    explicit Faults(const Node& list);

    /** The reply of the first fault that fits and does not pass. */
    std::optional<Reply> match(const std::string& service, const Call& call);

  private:
    struct Fault
    {
        std::string service;
        std::string path;
        std::string interface;
        std::string member;
        Json args;
        ReplyScript script;

        bool fits(const std::string& serviceName, const Call& call) const;
    };

    std::vector<Fault> faults;
};

} // namespace sim
