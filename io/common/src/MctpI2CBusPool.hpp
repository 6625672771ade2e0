// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bitset>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>

/** Endpoint ids (EIDs, DSP0236) that a daemon may assign on its I2C bus. */
namespace io::mctp_pool
{

/** Number of EIDs that a pool grows by. */
inline constexpr unsigned blockSize = 16;
/** Number of EIDs that there are. */
inline constexpr unsigned eidCount = 256;
/** Endpoints on a bus that the backplane service says nothing about. */
inline constexpr uint8_t defaultEndpoints = 16;

/** First EID and size; a whole range of 256 has the size 0. */
using Pool = std::pair<uint8_t, uint8_t>;

/** What is known and taken, by the number of the root bus. */
struct Tables
{
    std::map<uint8_t, uint8_t> maxEndpoints;
    std::bitset<eidCount> reserved;
    std::map<uint8_t, Pool> pools;
};

/** One word of the backplane service's list, taken apart. */
struct BackplaneWord
{
    uint8_t drives;     //!< bits 0 to 7: NVMe drives on the bus
    uint8_t backplanes; //!< bits 8 to 15
    uint8_t bus;        //!< bits 16 to 23; bits 24 to 31 are ignored
};

BackplaneWord unpackWord(uint32_t word);

/** Is it within what a server can have? 48 drives, 4 backplanes, 16 buses. */
bool isPlausible(const BackplaneWord& word);

/** Endpoints to provide for: each backplane of the possible four that is
 *  missing leaves room for two more. */
uint8_t endpointCount(const BackplaneWord& word);

/** Reserve a pool for a root bus, large enough for its endpoints.
 *
 *  In whole blocks, at 16 times the bus number where that is free and else at
 *  the first place that is, from EID 16 on. A bus that is not in the table of
 *  endpoints enters it with the default.
 *
 *  @return the pool, entered in the tables; none when there is no room
 */
std::optional<Pool> reserve(Tables& tables, uint8_t bus);

} // namespace io::mctp_pool
