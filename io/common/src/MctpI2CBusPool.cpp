// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/MctpI2CBusPool.hpp"

namespace io::mctp_pool
{

namespace
{

using EidSet = std::bitset<eidCount>;

EidSet range(unsigned start, unsigned size)
{
    return ~EidSet() >> (eidCount - size) << start;
}

/** Does the range end within the EIDs? */
bool isInside(unsigned start, unsigned size)
{
    return start + size <= eidCount;
}

bool isFree(const EidSet& reserved, unsigned start, unsigned size)
{
    return (reserved & range(start, size)).none();
}

std::optional<unsigned> findStart(const EidSet& reserved, unsigned preferred,
                                  unsigned size)
{
    if (isInside(preferred, size) && isFree(reserved, preferred, size))
    {
        return preferred;
    }
    // Block 0 holds the EIDs that DSP0236 keeps for itself (0 and 1 to 7).
    for (unsigned start = blockSize; start < eidCount && isInside(start, size);
         start += blockSize)
    {
        if (isFree(reserved, start, size))
        {
            return start;
        }
    }
    return std::nullopt;
}

} // namespace

BackplaneWord unpackWord(uint32_t word)
{
    return {static_cast<uint8_t>(word), static_cast<uint8_t>(word >> 8),
            static_cast<uint8_t>(word >> 16)};
}

bool isPlausible(const BackplaneWord& word)
{
    return word.drives <= 48 && word.backplanes <= 4 && word.bus <= 15;
}

uint8_t endpointCount(const BackplaneWord& word)
{
    return static_cast<uint8_t>(word.drives + (4 - word.backplanes) * 2);
}

std::optional<Pool> reserve(Tables& tables, uint8_t bus)
{
    const unsigned endpoints =
        tables.maxEndpoints.try_emplace(bus, defaultEndpoints).first->second;
    const unsigned size = (endpoints + blockSize - 1) / blockSize * blockSize;
    const auto start = findStart(tables.reserved, bus * blockSize, size);
    if (!start)
    {
        return std::nullopt;
    }
    tables.reserved |= range(*start, size);
    const Pool pool(static_cast<uint8_t>(*start), static_cast<uint8_t>(size));
    tables.pools[bus] = pool;
    return pool;
}

} // namespace io::mctp_pool
