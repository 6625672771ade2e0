// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/spdm/config.hpp"

#include <map>

namespace sim::spdm
{

/** Counts requests and tells which of the configured faults are due. */
class FaultSchedule
{
  public:
    explicit FaultSchedule(const std::vector<Fault>& configured) :
        faults(configured)
    {
    }

    /** Faults for this occurrence of the request, as configured. */
    std::vector<const Fault*> next(uint8_t code);

  private:
    [[nodiscard]] bool due(const Fault& fault, uint8_t code) const;

    const std::vector<Fault>& faults;
    std::map<uint8_t, uint64_t> seen;
    uint64_t all = 0;
};

/**
 * What is left of an answer, MCTP message type included, after the faults that
 * damage it: truncated, padded, bytes changed by a seeded generator.
 */
Bytes damage(Bytes payload, const std::vector<const Fault*>& faults);

} // namespace sim::spdm
