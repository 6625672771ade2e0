// SPDX-License-Identifier: Apache-2.0
#include "sim/spdm/identity.hpp"

#include <algorithm>

namespace sim::spdm
{

Identity::Identity(const DeviceConfig& config, KeyStore& store)
{
    for (const SlotConfig& each : config.slots)
    {
        provisioned[each.number] = each;
        for (Curve curve : config.curves)
        {
            Key& pair = keys[{each.keyPairId, curve}];
            if (!pair)
            {
                pair = generateKey(curve);
            }
            chains[{each.number, curve}] = store.issueChain(curve, each, pair);
        }
    }
}

const SlotConfig* Identity::slot(uint8_t number) const
{
    auto found = provisioned.find(number);
    return found == provisioned.end() ? nullptr : &found->second;
}

uint8_t Identity::slots() const
{
    unsigned mask = 0;
    for (const auto& [number, each] : provisioned)
    {
        mask |= 1U << number;
    }
    return static_cast<uint8_t>(mask);
}

uint8_t Identity::slotsOfKey(uint8_t keyPairId) const
{
    unsigned mask = 0;
    for (const auto& [number, each] : provisioned)
    {
        mask |= each.keyPairId == keyPairId ? 1U << number : 0U;
    }
    return static_cast<uint8_t>(mask);
}

Bytes Identity::chain(uint8_t slot, Curve curve, Hash hash) const
{
    return packChain(hash, chains.at({slot, curve}),
                     provisioned.at(slot).defect);
}

Key Identity::key(uint8_t slot, Curve curve) const
{
    return keys.at({provisioned.at(slot).keyPairId, curve});
}

Key Identity::keyPair(uint8_t keyPairId, Curve curve) const
{
    auto found = keys.find({keyPairId, curve});
    return found == keys.end() ? nullptr : found->second;
}

uint8_t Identity::keyPairs() const
{
    uint8_t highest = 0;
    for (const auto& [number, each] : provisioned)
    {
        highest = std::max(highest, each.keyPairId);
    }
    return highest;
}

} // namespace sim::spdm
