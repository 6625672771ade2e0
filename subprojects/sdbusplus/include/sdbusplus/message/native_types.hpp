// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace sdbusplus::message
{

namespace details
{

/** A std::string that travels as another D-Bus type than `s`.
 *  @tparam Type - the D-Bus type character */
template <char Type>
struct TypedString
{
    std::string str;

    TypedString() = default;

    // Implicit on purpose: text becomes a path or signature by assignment.
    TypedString(const std::string& text) : str(text)
    {
    }

    TypedString(std::string&& text) : str(std::move(text))
    {
    }

    operator const std::string&() const&
    {
        return str;
    }

    operator std::string&&() &&
    {
        return std::move(str);
    }

    friend bool operator==(const TypedString& l, const TypedString& r)
    {
        return l.str == r.str;
    }

    friend bool operator==(const TypedString& l, const std::string& r)
    {
        return l.str == r;
    }

    friend auto operator<=>(const TypedString& l, const TypedString& r)
    {
        return l.str <=> r.str;
    }

    friend auto operator<=>(const TypedString& l, const std::string& r)
    {
        return l.str <=> r;
    }
};

} // namespace details

/** Text that travels as `g`. */
using signature = details::TypedString<'g'>;

/** Text that travels as `o`. */
struct object_path : public details::TypedString<'o'>
{
    using details::TypedString<'o'>::TypedString;

    /** The last element of the path, with the `_XX` escapes of operator/
     *  undone when it starts with one.
     *  @return empty for a path without a slash or with a broken escape */
    std::string filename() const;

    /** The path without its last element; "/" at the top. */
    object_path parent_path() const;

    /** The path with one element more. Where the element has bytes that D-Bus
     *  does not allow in a path, or starts with `_`, its first byte and all
     *  that are no letter or digit are written as `_` and two hexadecimal
     *  digits. */
    object_path operator/(std::string_view element) const;
    object_path& operator/=(std::string_view element);
};

} // namespace sdbusplus::message

// A type of our own in a template made for that.
// NOLINTBEGIN(cert-dcl58-cpp)
template <char Type>
struct std::hash<sdbusplus::message::details::TypedString<Type>>
{
    std::size_t operator()(
        const sdbusplus::message::details::TypedString<Type>& s) const noexcept
    {
        return std::hash<std::string>()(s.str);
    }
};

template <>
struct std::hash<sdbusplus::message::object_path>
{
    std::size_t
    operator()(const sdbusplus::message::object_path& s) const noexcept
    {
        return std::hash<std::string>()(s.str);
    }
};

// NOLINTEND(cert-dcl58-cpp)
