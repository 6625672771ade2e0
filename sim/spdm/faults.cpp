// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/faults.hpp"

#include <algorithm>
#include <random>

namespace sim::spdm
{

std::vector<const Fault*> FaultSchedule::next(uint8_t code)
{
    all++;
    seen[code]++;
    std::vector<const Fault*> result;
    for (const Fault& fault : faults)
    {
        if (due(fault, code))
        {
            result.push_back(&fault);
        }
    }
    return result;
}

bool FaultSchedule::due(const Fault& fault, uint8_t code) const
{
    if (fault.at != 0 && fault.at != code)
    {
        return false;
    }
    uint64_t count = fault.at == 0 ? all : seen.at(code);
    uint64_t first = fault.nth;
    return count >= first && (fault.times == 0 || count < first + fault.times);
}

/** The same seed changes the same bytes of an answer of the same length. */
static void mutate(Bytes& payload, const Fault& fault)
{
    std::mt19937_64 generator(fault.seed);
    for (unsigned i = 0; i < fault.changes && !payload.empty(); i++)
    {
        uint64_t place = generator() % payload.size();
        uint64_t flip = 1 + generator() % 255;
        payload[place] ^= static_cast<uint8_t>(flip);
    }
}

Bytes damage(Bytes payload, const std::vector<const Fault*>& faults)
{
    constexpr uint8_t padding = 0xa5;
    for (const Fault* fault : faults)
    {
        if (fault->kind == FaultKind::truncate)
        {
            payload.resize(std::min(payload.size(), fault->bytes));
        }
        if (fault->kind == FaultKind::pad)
        {
            payload.resize(payload.size() + fault->bytes, padding);
        }
        if (fault->kind == FaultKind::mutate)
        {
            mutate(payload, *fault);
        }
    }
    return payload;
}

} // namespace sim::spdm
