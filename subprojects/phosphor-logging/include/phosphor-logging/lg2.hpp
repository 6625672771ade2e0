// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <phosphor-logging/lg2/arguments.hpp>
#include <phosphor-logging/lg2/flags.hpp>
#include <phosphor-logging/lg2/header.hpp>
#include <phosphor-logging/lg2/level.hpp>

#include <source_location>

/** Structured logging:
 *
 *      lg2::error("Cannot read {PATH}: {RC}", "PATH", path,
 *                 "RC", lg2::hex | lg2::field8, rc);
 *
 *  writes one record to the journal, with each field under its own name. Names
 *  are literals and checked by the compiler; a literal as a value does not
 *  compile. Values are integers, bool ("True", "False"), floating point, text,
 *  paths, exceptions (their what()), pointers, and what a to_string() that
 *  argument-dependent lookup finds takes. Text is written up to its first NUL.
 */
namespace lg2
{

/** The levels are classes and not functions, because only a constructor with a
 *  deduction guide can have a default argument (the place of the call) behind
 *  a parameter pack. */
template <level Severity, typename... Ts>
struct log
{
    explicit log(
        const char* message, details::header_conversion_t<Ts&&>... ts,
        const std::source_location& where = std::source_location::current())
    {
        details::take(details::record<0>{Severity, where, message, {}}, ts...);
    }
};

// One class and its deduction guide for each level.
#define LG2_STANDIN_LEVEL(name)                                                \
    template <typename... Ts>                                                  \
    struct name : public log<level::name, Ts...>                               \
    {                                                                          \
        using log<level::name, Ts...>::log;                                    \
    };                                                                         \
    template <typename... Ts>                                                  \
    explicit name(const char*, Ts&&...)->name<Ts...>

LG2_STANDIN_LEVEL(emergency);
LG2_STANDIN_LEVEL(alert);
LG2_STANDIN_LEVEL(critical);
LG2_STANDIN_LEVEL(error);
LG2_STANDIN_LEVEL(warning);
LG2_STANDIN_LEVEL(notice);
LG2_STANDIN_LEVEL(info);
LG2_STANDIN_LEVEL(debug);

#undef LG2_STANDIN_LEVEL

} // namespace lg2
