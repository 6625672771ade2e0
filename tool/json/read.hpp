// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <type_traits>

namespace tool
{

/** Readers with defaults for members of documents that services send.
 *
 *  They behave as nlohmann's value() with a key or a pointer does, but a
 *  missing member costs no exception inside the library.
 */

/** The member of that name, or null when there is none (or no object). */
const nlohmann::json* findMember(const nlohmann::json& object, const char* key);

/** The value that a JSON pointer of these keys leads to, or null when a step is
 *  missing.
 *
 *  @throw nlohmann::json::type_error when `item` is not an object
 *  @throw nlohmann::json::parse_error where it leads through an array
 */
const nlohmann::json* findPath(const nlohmann::json& item,
                               std::initializer_list<const char*> keys);

/** A floating number as an integer: without its fraction, negative ones as
 *  their two's complement; 0 when 64 bits do not hold it. */
uint64_t toInteger(double number) noexcept;

/** A value as the library's get() gives it.
 *
 *  Numbers are cut to the type. For a floating number that an integer type does
 *  not hold the library leaves open what happens; here toInteger() is cut.
 *
 *  @throw nlohmann::json::type_error when it is of another type
 */
template <typename T>
T readValue(const nlohmann::json& value)
{
    if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>)
    {
        if (value.is_number_float())
        {
            return static_cast<T>(toInteger(value.get<double>()));
        }
    }
    return value.get<T>();
}

/** The value at a path of keys, or the default when it is missing.
 *
 *  @throw nlohmann::json::exception as findPath(), and when the value is there
 *         but of another type
 */
template <typename T>
T readOr(const nlohmann::json& item, std::initializer_list<const char*> keys,
         T fallback)
{
    const nlohmann::json* found = findPath(item, keys);
    if (found == nullptr)
    {
        return fallback;
    }
    return readValue<T>(*found);
}

/** A text member, empty when it is missing. */
std::string readText(const nlohmann::json& item, const char* key);

} // namespace tool
