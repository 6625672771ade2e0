// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>

/** The file with the last used sequence number of each inventory class. */
namespace io::events
{

inline constexpr const char* sequenceFile = "/pstorage/persist/hdr/invseq.json";

/** Read the file; null when there is none.
 *
 *  Bounded, since a damaged file must not take the BMC's memory or stack: up
 *  to 1 MiB, and 64 arrays and objects in one another.
 *
 *  @throw std::exception when it cannot be read, is no regular file, breaks a
 *         bound, or holds no JSON document
 */
nlohmann::json loadSequences(const std::string& path);

/** Take the next number of a class: the last one plus 1, or else 1.
 *
 *  @param[in,out] document what the file holds; afterwards an object whose
 *                 member of that name is the number
 */
uint64_t takeSequence(nlohmann::json& document, const std::string& name);

} // namespace io::events
