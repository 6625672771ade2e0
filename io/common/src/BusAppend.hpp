// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

struct sd_bus_message;

namespace io::bus
{

/** Write one argument to the end of a call.
 *
 *  sdbusplus's append() does not tell when sd-bus refuses a value, and the call
 *  would go out without it.
 *
 *  @throw sdbusplus::exception::SdBusError when the value is refused, as a text
 *         is that is not UTF-8 or holds a NUL
 */
void append(sd_bus_message* call, const char* text);
void append(sd_bus_message* call, const std::string& text);
void append(sd_bus_message* call, uint8_t number);
void append(sd_bus_message* call, uint16_t number);
void append(sd_bus_message* call, int32_t number);
void append(sd_bus_message* call, uint32_t number);
void append(sd_bus_message* call, uint64_t number);
void append(sd_bus_message* call, const std::vector<uint8_t>& bytes);
void append(sd_bus_message* call, const std::vector<std::string>& texts);
/** A dictionary of texts, in the order given. */
void append(sd_bus_message* call,
            const std::vector<std::pair<std::string, std::string>>& entries);
void append(sd_bus_message* call, bool flag) = delete; // would go as a number

} // namespace io::bus
