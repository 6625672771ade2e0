// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <string_view>
#include <type_traits>

namespace lg2::details
{

/** Text that could be a string literal: an array of const char. */
template <typename T>
concept maybe_literal = std::is_array_v<std::remove_cvref_t<T>> &&
    std::same_as<const char*, std::decay_t<T>>;

/** The name of a field, checked while the program is compiled. */
struct header_str
{
    std::string_view value;

    template <typename T>
    consteval header_str(const T& name) : value(name)
    {
        if (value.empty())
        {
            refuse("a journal field has a name");
        }
        if (value.front() == '_')
        {
            refuse("the journal drops names that start with an underscore");
        }
        if (!std::ranges::all_of(value, isAllowed))
        {
            refuse("a field name is made of A to Z, 0 to 9 and underscores");
        }
        if (std::ranges::find(ownFields, value) != ownFields.end())
        {
            refuse("every record carries a field of this name already");
        }
    }

  private:
    static constexpr std::array<std::string_view, 6> ownFields{
        "CODE_FILE",   "CODE_FUNC", "CODE_LINE",
        "LOG2_FMTMSG", "MESSAGE",   "PRIORITY",
    };

    static constexpr bool isAllowed(char c)
    {
        return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
    }

    // Not constexpr: a call is a compile error that quotes its argument.
    static void refuse(const char* why);
};

/** Literals become names, everything else stays what it is. */
template <typename T>
struct header_conversion
{
    using type = T;
};

template <maybe_literal T>
struct header_conversion<T>
{
    using type = const header_str&;
};

template <typename T>
using header_conversion_t = typename header_conversion<T>::type;

} // namespace lg2::details
