// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <sdbusplus/message/types.hpp>

#include <ranges>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <variant>

/** Writing C++ values into a message.
 *
 *  Nothing here fails: what sd-bus refuses, such as an object path or a text
 *  that is none, is missing from the message, and the next value of its type
 *  takes its place. A string_view that is not UTF-8 is not refused, and the bus
 *  daemon ends the connection for it. Check what comes from outside first. */
namespace sdbusplus::message::details
{

template <typename T>
void appendItem(sd_bus_message* m, const T& value);

inline void appendBasic(sd_bus_message* m, char type, const void* value)
{
    sd_bus_message_append_basic(m, type, value);
}

inline void appendText(sd_bus_message* m, std::string_view text)
{
    // sd-bus only reads through the pointer, iovec just cannot say so.
    const iovec part{const_cast<char*>(text.data()), text.size()};
    sd_bus_message_append_string_iovec(m, &part, 1);
}

template <typename... Args>
void appendInside(sd_bus_message* m, char type, const char* contents,
                  const Args&... args)
{
    sd_bus_message_open_container(m, type, contents);
    (appendItem(m, args), ...);
    sd_bus_message_close_container(m);
}

template <typename T>
void appendContainer(sd_bus_message* m, const T& value)
{
    using Item = typename T::value_type;

    if constexpr (Trivial<Item> && std::ranges::contiguous_range<const T>)
    {
        sd_bus_message_append_array(m, basicType<Item>,
                                    std::ranges::data(value),
                                    std::ranges::size(value) * sizeof(Item));
    }
    else
    {
        sd_bus_message_open_container(m, SD_BUS_TYPE_ARRAY,
                                      signatureOf<Item>.text);
        for (const auto& item : value)
        {
            appendItem(m, item);
        }
        sd_bus_message_close_container(m);
    }
}

template <typename T>
void appendVariant(sd_bus_message* m, const T& value)
{
    std::visit(
        [m]<typename Item>(const Item& item)
        { appendInside(m, SD_BUS_TYPE_VARIANT, signatureOf<Item>.text, item); },
        value);
}

template <typename T>
void appendComposite(sd_bus_message* m, const T& value)
{
    std::apply(
        [m](const auto&... args)
        {
            constexpr char type =
                Pair<T> ? SD_BUS_TYPE_DICT_ENTRY : SD_BUS_TYPE_STRUCT;
            appendInside(m, type, contentsOf<T>.text, args...);
        },
        value);
}

template <typename T>
void appendItem(sd_bus_message* m, const T& value)
{
    using P = Plain<T>;

    if constexpr (std::same_as<P, std::string_view>)
    {
        appendText(m, value);
    }
    else if constexpr (std::same_as<P, bool>)
    {
        const int number = value ? 1 : 0; // sd-bus takes a boolean as an int
        appendBasic(m, SD_BUS_TYPE_BOOLEAN, &number);
    }
    else if constexpr (Trivial<P>)
    {
        appendBasic(m, basicType<P>, &value);
    }
    else if constexpr (CString<P>)
    {
        appendBasic(m, SD_BUS_TYPE_STRING, value);
    }
    else if constexpr (std::same_as<P, std::string>)
    {
        appendBasic(m, SD_BUS_TYPE_STRING, value.c_str());
    }
    else if constexpr (basicType<P> != '\0')
    {
        appendBasic(m, basicType<P>, value.str.c_str());
    }
    else if constexpr (Variant<P>)
    {
        appendVariant(m, value);
    }
    else if constexpr (Pair<P> || Tuple<P>)
    {
        appendComposite(m, value);
    }
    else
    {
        static_assert(Container<P>,
                      "No dbus type conversion provided for type.");
        appendContainer(m, value);
    }
}

} // namespace sdbusplus::message::details
