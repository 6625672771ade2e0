// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <phosphor-logging/lg2/conversion.hpp>
#include <phosphor-logging/lg2/flags.hpp>
#include <phosphor-logging/lg2/header.hpp>
#include <phosphor-logging/lg2/logger.hpp>

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <source_location>
#include <type_traits>

/** The walk along "NAME", [flags,] value, "NAME", … */
namespace lg2::details
{

/** Everything taken so far waits on the stack, each step one field longer, so
 *  that texts made for a value live until the record is written. */
template <std::size_t Taken>
struct record
{
    level severity;
    const std::source_location& where;
    const char* message;
    std::array<field, Taken> fields;

    record<Taken + 1> with(const field& next) const
    {
        record<Taken + 1> out{severity, where, message, {}};
        std::copy_n(fields.begin(), Taken, out.fields.begin());
        out.fields.back() = next;
        return out;
    }
};

template <std::size_t Taken>
void take(const record<Taken>& r)
{
    do_log(r.severity, r.where, r.message, r.fields);
}

template <std::size_t Taken>
void take(const record<Taken>& /*r*/, const header_str& /*name*/)
{
    static_assert(std::same_as<record<Taken>, header_str>,
                  "Found header field without expected data.");
}

template <std::size_t Taken, typename T, typename... Rest>

requires(!std::same_as<T, header_str>) void take(const record<Taken>& /*r*/,
                                                 const T& /*value*/,
                                                 const Rest&... /*rest*/)
{
    static_assert(std::same_as<T, header_str>,
                  "Found value without expected header field.");
}

template <std::size_t Taken, uint64_t Flags, typename T, typename... Rest>
void take(const record<Taken>& r, const header_str& name,
          log_flag<Flags> /*flags*/, const T& value, const Rest&... rest)
{
    static_assert(!std::same_as<T, header_str>,
                  "Found header_str as value; suggest using std::string to "
                  "avoid unintended conversion.");
    using Value = std::decay_t<const T&>;
    checkFlags<Value, Flags>();
    const auto kept = convert<Value>(value);
    take(r.with({name.value, Flags | ownFlags<Value>, kept}), rest...);
}

template <std::size_t Taken, typename T, typename... Rest>
void take(const record<Taken>& r, const header_str& name, const T& value,
          const Rest&... rest)
{
    take(r, name, log_flag<0>{}, value, rest...);
}

} // namespace lg2::details
