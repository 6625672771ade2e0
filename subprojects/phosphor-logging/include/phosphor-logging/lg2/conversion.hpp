// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <phosphor-logging/lg2/flags.hpp>
#include <phosphor-logging/lg2/logger.hpp>

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>
#include <type_traits>

/** From the caller's values to the few kinds that a record holds. */
namespace lg2::details
{

template <typename T>
concept path_value = std::same_as<T, std::filesystem::path>;

// A null pointer is a pointer, although a string_view can be made of one.
template <typename T>
concept string_value = (std::constructible_from<std::string_view, const T&> ||
                        path_value<T>)&&!std::same_as<T, std::nullptr_t>;

template <typename T>
concept pointer_value = (std::is_pointer_v<T> ||
                         std::same_as<T, std::nullptr_t>)&&!string_value<T>;

template <typename T>
concept exception_value = std::derived_from<T, std::exception>;

/** Text in a wrapper, such as an object path of sdbusplus. */
template <typename T>
concept wrapped_string = !string_value<T> && requires(const T& t)
{
    {
        t.str
        } -> std::same_as<const std::string&>;
    t.parent_path();
};

template <typename T>
concept has_to_string = !string_value<T> && !exception_value<T> &&
                        !wrapped_string<T> && requires(const T& t)
{
    to_string(t);
};

template <typename T>
concept text_value = string_value<T> || exception_value<T> ||
    wrapped_string<T> || has_to_string<T>;

inline constexpr uint64_t baseFlags = bits(bin | dec | hex);
inline constexpr uint64_t widthFlags =
    bits(field8 | field16 | field32 | field64);

/** The flags that a value of this type may carry; 0 for a type that cannot be
 *  logged. */
template <typename T>
consteval uint64_t allowedFlags()
{
    if constexpr (std::same_as<T, bool> || text_value<T>)
    {
        return bits(str);
    }
    else if constexpr (std::unsigned_integral<T>)
    {
        return baseFlags | widthFlags | bits(unsigned_val);
    }
    else if constexpr (std::signed_integral<T>)
    {
        return baseFlags | widthFlags | bits(signed_val);
    }
    else if constexpr (std::floating_point<T>)
    {
        return bits(floating);
    }
    else if constexpr (pointer_value<T>)
    {
        return bits(hex | unsigned_val);
    }
    else
    {
        return 0;
    }
}

/** The same rules for every value, as compile errors. */
template <typename T, uint64_t Flags>
constexpr void checkFlags()
{
    static_assert(allowedFlags<T>() != 0,
                  "Unsupported type for logging value.");
    static_assert((Flags & ~allowedFlags<T>()) == 0,
                  "Prohibited flag found for value type.");
    static_assert(std::popcount(Flags & baseFlags) < 2 &&
                      std::popcount(Flags & widthFlags) < 2,
                  "Conflicting flags found for value type.");
}

inline std::string_view textOf(const char* text)
{
    return text != nullptr ? text : "";
}

template <text_value T>
auto textOf(const T& value)
{
    if constexpr (path_value<T>)
    {
        return textOf(value.c_str());
    }
    else if constexpr (exception_value<T>)
    {
        return textOf(value.what());
    }
    else if constexpr (wrapped_string<T>)
    {
        return std::string_view(value.str);
    }
    else if constexpr (std::is_pointer_v<T>)
    {
        return textOf(static_cast<const char*>(value));
    }
    else if constexpr (has_to_string<T>)
    {
        return to_string(value); // a string that the caller keeps
    }
    else
    {
        return std::string_view(value);
    }
}

/** A value in the form that it is handed on in; owns it where it has to. */
template <typename T>
auto convert(const T& value)
{
    if constexpr (std::same_as<T, bool>)
    {
        return std::string_view(value ? "True" : "False");
    }
    else if constexpr (std::unsigned_integral<T>)
    {
        return uint64_t{value};
    }
    else if constexpr (std::signed_integral<T>)
    {
        return int64_t{value};
    }
    else if constexpr (std::floating_point<T>)
    {
        return static_cast<double>(value);
    }
    else if constexpr (std::same_as<T, std::nullptr_t>)
    {
        return uint64_t{0};
    }
    else if constexpr (pointer_value<T>)
    {
        return uint64_t{reinterpret_cast<uintptr_t>(value)};
    }
    else
    {
        return textOf(value);
    }
}

/** Flags that come with the type: a pointer is written in full width. */
template <typename T>
inline constexpr uint64_t ownFlags =
    pointer_value<T>
        ? (bits(hex) | (sizeof(void*) == 4 ? bits(field32) : bits(field64)))
        : 0;

} // namespace lg2::details
