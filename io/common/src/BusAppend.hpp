// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
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
void append(sd_bus_message* call, const std::vector<uint8_t>& bytes);
void append(sd_bus_message* call, const std::vector<std::string>& texts);
/** A dictionary of texts, in the order given. */
void append(sd_bus_message* call,
            const std::vector<std::pair<std::string, std::string>>& entries);

/** The letter of a number's type on the bus. None for bool, which would go as
 *  a number. */
template <typename T>
inline constexpr char numberType = '\0';
template <>
inline constexpr char numberType<uint8_t> = 'y';
template <>
inline constexpr char numberType<uint16_t> = 'q';
template <>
inline constexpr char numberType<int32_t> = 'i';
template <>
inline constexpr char numberType<uint32_t> = 'u';
template <>
inline constexpr char numberType<uint64_t> = 't';

void appendNumber(sd_bus_message* call, char type, const void* number);

template <typename T>
auto append(sd_bus_message* call, T number)
    -> std::enable_if_t<numberType<T> != '\0'>
{
    appendNumber(call, numberType<T>, &number);
}

} // namespace io::bus
