// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/scenario/node.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace sim
{

/** What became of a request, with the number that the service returns. */
enum class Outcome : int32_t
{
    done = 0,
    badRequest = 1,
    unknownVolume = 2,
    unknownDrive = 3,
    driveInUse = 4,
    /** Too few or too many for the level, or too few that fit. */
    driveCount = 5,
};

/** A volume whose drives the controller chooses. */
struct AutoRequest
{
    /** Empty: any. */
    std::string protocol;
    std::string media;
    uint32_t drives = 0;
    uint32_t spares = 0;
    /** The volume without its "Links". */
    Json volume;
};

/** One RAID controller: changes its document, whose "Drives", "Volumes" and
 *  "StoragePools" the listings show. A drive is free when it has a capacity
 *  and no volume links it. A request is carried out whole or not at all. */
class RaidArray
{
  public:
    /** The document must outlive this. */
    explicit RaidArray(Json& document);

    /** Each request is a volume object as the operations send it. */
    Outcome create(const std::vector<Json>& requests);
    Outcome configure(const AutoRequest& request);
    Outcome edit(uint32_t id, const Json& request);
    Outcome remove(uint32_t id);
    void clear();
    /** Counts in the drive's document; a drive in use is not erased. */
    Outcome erase(uint32_t id);
    Outcome reset(uint32_t id);

  private:
    Outcome add(const Json& request);
    Outcome checkDrives(const std::vector<uint32_t>& ids) const;
    Json* find(const char* list, uint32_t id);
    const Json* find(const char* list, uint32_t id) const;
    bool isFree(const Json& drive) const;
    /** As many free drives as asked for, of one protocol and medium; none when
     *  there are not that many. */
    std::vector<uint32_t> alike(const AutoRequest& request) const;
    bool isLinked(uint32_t drive) const;
    uint64_t capacity(const std::string& level,
                      const std::vector<uint32_t>& ids) const;
    void dropEmptyPools();

    Json& controller;
    uint32_t nextVolume;
};

} // namespace sim
