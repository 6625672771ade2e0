// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <syslog.h>

#include <phosphor-logging/lg2/fields.hpp>
#include <phosphor-logging/lg2/header.hpp>

#include <array>
#include <source_location>

/** Structured logging:
 *
 *      lg2::error("Cannot read {PATH}: {RC}", "PATH", path,
 *                 "RC", lg2::hex, rc);
 *
 *  writes one record to the journal, with each field under its own name. Names
 *  are literals and checked by the compiler; a literal as a value does not
 *  compile. Values are integers, text and exceptions (their what()). Text is
 *  written up to its first NUL. */
namespace lg2
{

/** The levels are classes and not functions, because only a constructor with a
 *  deduction guide can have a default argument (the place of the call) behind
 *  a parameter pack. */
template <int Priority, typename... Ts>
struct log
{
    explicit log(
        const char* message, details::header_conversion_t<Ts&&>... ts,
        const std::source_location& where = std::source_location::current())
    {
        std::array<details::field, sizeof...(Ts)> fields;
        const details::field* end = details::take(fields.data(), ts...);
        details::do_log(Priority, where, message, {fields.data(), end});
    }
};

// One class and its deduction guide for each level that is logged at.
#define LG2_STANDIN_LEVEL(name, priority)                                      \
    template <typename... Ts>                                                  \
    struct name : public log<priority, Ts...>                                  \
    {                                                                          \
        using log<priority, Ts...>::log;                                       \
    };                                                                         \
    template <typename... Ts>                                                  \
    explicit name(const char*, Ts&&...)->name<Ts...>

LG2_STANDIN_LEVEL(error, LOG_ERR);
LG2_STANDIN_LEVEL(warning, LOG_WARNING);
LG2_STANDIN_LEVEL(info, LOG_INFO);

#undef LG2_STANDIN_LEVEL

} // namespace lg2
