// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

/** Which D-Bus type a C++ type travels as, worked out by the compiler. */
namespace sdbusplus::message::details
{

/** N characters of a D-Bus signature and the NUL that sd-bus wants. */
template <std::size_t N>
struct Characters
{
    char text[N + 1]{};
};

template <std::same_as<char>... Cs>
constexpr Characters<sizeof...(Cs)> characters(Cs... cs)
{
    return {{cs..., '\0'}};
}

template <std::size_t... N>
constexpr auto join(const Characters<N>&... parts)
{
    Characters<(N + ... + 0)> out;
    char* end = out.text;
    ((end = std::copy_n(parts.text, N, end)), ...);
    return out;
}

template <typename T, template <typename...> typename Template>
inline constexpr bool isOne = false;
template <template <typename...> typename Template, typename... Args>
inline constexpr bool isOne<Template<Args...>, Template> = true;

template <typename T>
concept Variant = isOne<T, std::variant>;
template <typename T>
concept Pair = isOne<T, std::pair>;

template <typename T>
concept Container = requires(const T& t)
{
    typename T::value_type;
    std::cbegin(t);
};

/** Type character of a basic type; NUL for anything else. */
template <typename T>
inline constexpr char basicType = '\0';
template <>
inline constexpr char basicType<bool> = SD_BUS_TYPE_BOOLEAN;
template <>
inline constexpr char basicType<uint8_t> = SD_BUS_TYPE_BYTE;
template <>
inline constexpr char basicType<int32_t> = SD_BUS_TYPE_INT32;
template <>
inline constexpr char basicType<uint32_t> = SD_BUS_TYPE_UINT32;
template <>
inline constexpr char basicType<std::string> = SD_BUS_TYPE_STRING;

template <typename T>
struct SignatureOf
{
    static_assert(basicType<T> != '\0',
                  "No dbus type conversion provided for type.");
    static constexpr auto value = characters(basicType<T>);
};

/** Signature of a C++ type; `signature<T>.text` is a C string. */
template <typename T>
inline constexpr auto signatureOf = SignatureOf<T>::value;

// No message holds a monostate: it matches no content of a variant.
template <>
struct SignatureOf<std::monostate>
{
    static constexpr auto value = Characters<0>{};
};

template <Variant T>
struct SignatureOf<T>
{
    static constexpr auto value = characters(char{SD_BUS_TYPE_VARIANT});
};

/** What is between the braces of a pair. */
template <Pair T>
inline constexpr auto contentsOf = join(signatureOf<typename T::first_type>,
                                        signatureOf<typename T::second_type>);

template <Pair T>
struct SignatureOf<T>
{
    static constexpr auto value =
        join(characters('{'), contentsOf<T>, characters('}'));
};

template <Container T>

requires(basicType<T> == '\0') struct SignatureOf<T>
{
    static constexpr auto value = join(characters(char{SD_BUS_TYPE_ARRAY}),
                                       signatureOf<typename T::value_type>);
};

} // namespace sdbusplus::message::details
