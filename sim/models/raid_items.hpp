// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "sim/scenario/node.hpp"

#include <cstdint>
#include <vector>

namespace sim
{

/** The items of a controller's document, as the listings show them. */

uint32_t idOf(const Json& item);

/** The highest id of the items, the lowest given one when there is none. */
uint32_t highestId(const Json& items, uint32_t lowest);

/** The drives that an item links in one of its lists. Throws Json::exception
 *  when it links anything else. */
std::vector<uint32_t> linked(const Json& item, const char* list);
Json links(const std::vector<uint32_t>& ids);

/** A volume that a request asks for. Throws Json::exception when the request
 *  has a setting of the wrong type. */
Json newVolume(uint32_t id, const Json& request, uint64_t capacity);
Json newPool(uint32_t id, const Json& volume);

/** Takes over name and cache policies from a request. */
void takeSettings(const Json& request, Json& volume);

/** Counts up what was done to a drive. */
void count(Json& drive, const char* what);

} // namespace sim
