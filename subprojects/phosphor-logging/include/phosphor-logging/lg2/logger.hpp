// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <phosphor-logging/lg2/level.hpp>

#include <cstdint>
#include <source_location>
#include <span>
#include <string_view>
#include <variant>

namespace lg2::details
{

/** One field of a record, as the caller gave it. */
struct field
{
    std::string_view name;
    uint64_t flags;
    std::variant<uint64_t, int64_t, double, std::string_view> value;
};

/** Write one record to the journal, and to standard error where that is a
 *  terminal or LG2_FORCE_STDERR is set. A journal that cannot be reached is
 *  not an error.
 *  @param[in] message - {NAME} is replaced by the field's value, the first
 *                       time it occurs */
void do_log(level severity, const std::source_location& where,
            const char* message, std::span<const field> fields);

} // namespace lg2::details
