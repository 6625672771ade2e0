// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/spdm/key_store.hpp"

#include <map>

namespace sim::spdm
{

/** The keys and certificate chains of one device. */
class Identity
{
  public:
    Identity(const DeviceConfig& config, KeyStore& store);

    /** Null if the slot is not provisioned. */
    [[nodiscard]] const SlotConfig* slot(uint8_t number) const;

    /** Bit per provisioned slot. */
    [[nodiscard]] uint8_t slots() const;

    /** Bit per slot that certifies this key pair. */
    [[nodiscard]] uint8_t slotsOfKey(uint8_t keyPairId) const;

    /** The chain as SPDM transfers it. The slot must be provisioned. */
    [[nodiscard]] Bytes chain(uint8_t slot, Curve curve, Hash hash) const;

    /** The slot's private key. The slot must be provisioned. */
    [[nodiscard]] Key key(uint8_t slot, Curve curve) const;

    /** Null if no slot has this key pair. */
    [[nodiscard]] Key keyPair(uint8_t keyPairId, Curve curve) const;

    /** Highest key pair id. */
    [[nodiscard]] uint8_t keyPairs() const;

  private:
    using Place = std::pair<uint8_t, Curve>;

    std::map<uint8_t, SlotConfig> provisioned;
    std::map<Place, Key> keys;
    std::map<Place, std::vector<Bytes>> chains;
};

} // namespace sim::spdm
