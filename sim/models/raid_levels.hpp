// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace sim
{

/** Whether a controller builds a volume of that level out of that many drives;
 *  false for a level that it does not know. */
bool acceptsDrives(const std::string& level, size_t drives);

/** How many of a volume's drives hold data rather than copies and parity. */
size_t dataDrives(const std::string& level, size_t drives);

} // namespace sim
