// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <phosphor-logging/lg2/header.hpp>

#include <concepts>
#include <cstdint>
#include <exception>
#include <source_location>
#include <span>
#include <string_view>
#include <variant>

/** The walk along "NAME", [flag,] value, "NAME", … */
namespace lg2
{
namespace details
{

struct hex_flag
{
};

/** A number that is written in base 16, with 0x and without leading zeros. */
struct hex_number
{
    uint64_t value;
};

using value_t = std::variant<uint64_t, int64_t, hex_number, std::string_view>;

/** One field of a record. */
struct field
{
    std::string_view name;
    value_t value;
};

value_t convert(std::same_as<bool> auto) = delete; // "True" in the real one

value_t convert(std::unsigned_integral auto number)
{
    return uint64_t{number};
}

value_t convert(std::signed_integral auto number)
{
    return int64_t{number};
}

inline value_t convert(std::string_view text)
{
    return text;
}

inline value_t convert(const std::exception& failure)
{
    return std::string_view(failure.what());
}

/** @return behind the last field */
inline field* take(field* next)
{
    return next;
}

template <typename T, typename... Rest>
field* take(field* next, const header_str& name, const T& value,
            const Rest&... rest)
{
    *next = {name.value, convert(value)};
    return take(next + 1, rest...);
}

template <std::unsigned_integral T, typename... Rest>
field* take(field* next, const header_str& name, const hex_flag& /*flag*/,
            const T& value, const Rest&... rest)
{
    *next = {name.value, hex_number{value}};
    return take(next + 1, rest...);
}

/** Write one record to the journal, and to standard error where that is a
 *  terminal or LG2_FORCE_STDERR is set. A journal that cannot be reached is
 *  not an error.
 *  @param[in] message - {NAME} is replaced by the field's value, the first
 *                       time it occurs */
void do_log(int priority, const std::source_location& where,
            const char* message, std::span<const field> fields);

} // namespace details

/** Given between a name and its value: write the number in base 16. */
inline constexpr details::hex_flag hex;

} // namespace lg2
