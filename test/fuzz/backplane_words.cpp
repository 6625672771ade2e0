// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/MctpI2CBusPool.hpp"
#include "target.hpp"

using namespace io::mctp_pool;

namespace
{

void enter(Tables& tables, uint32_t packed)
{
    const BackplaneWord word = unpackWord(packed);
    if (isPlausible(word))
    {
        tables.maxEndpoints[word.bus] = endpointCount(word);
    }
}

void reserveOne(Tables& tables, uint8_t bus)
{
    const auto before = tables.reserved;
    const auto pool = reserve(tables, bus);
    if (!pool)
    {
        fuzz::require(tables.reserved == before, "no pool takes nothing");
        return;
    }
    const auto taken = tables.reserved ^ before;
    const std::size_t count = taken.count();
    fuzz::require(count % blockSize == 0, "a pool is whole blocks");
    fuzz::require(count >= tables.maxEndpoints.at(bus),
                  "a pool has room for its endpoints");
    fuzz::require(static_cast<uint8_t>(count) == pool->second,
                  "the pool is as large as what it takes");
    fuzz::require(count == 0 || taken[pool->first], "it begins at its start");
    fuzz::require((tables.reserved & before) == before,
                  "nobody's pool is taken away");
}

} // namespace

/** The backplane service's words; then the buses that ask for a pool. */
void fuzz::target(Input input)
{
    Reader reader(input);
    Tables tables;
    for (unsigned left = reader.byte(); left > 0; --left)
    {
        enter(tables, reader.word());
    }
    while (!reader.empty())
    {
        reserveOne(tables, reader.byte());
    }
}
