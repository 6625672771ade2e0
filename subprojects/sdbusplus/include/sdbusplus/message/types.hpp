// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <sdbusplus/message/native_types.hpp>

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <tuple>
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

template <typename T>
inline constexpr bool isCharArray =
    std::is_array_v<T>&& std::same_as<std::remove_extent_t<T>, char>;

template <typename T>
using WithoutArray = std::conditional_t<isCharArray<T>, char*, T>;

/** T without const, volatile and reference; a char array as `char*`. */
template <typename T>
using Plain = WithoutArray<std::remove_cvref_t<T>>;

template <typename T, template <typename...> typename Template>
inline constexpr bool isOne = false;
template <template <typename...> typename Template, typename... Args>
inline constexpr bool isOne<Template<Args...>, Template> = true;

template <typename T>
concept CString = std::same_as<T, char*> || std::same_as<T, const char*>;
template <typename T>
concept Variant = isOne<T, std::variant>;
template <typename T>
concept Pair = isOne<T, std::pair>;
template <typename T>
concept Tuple = isOne<T, std::tuple>;

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
inline constexpr char basicType<int16_t> = SD_BUS_TYPE_INT16;
template <>
inline constexpr char basicType<uint16_t> = SD_BUS_TYPE_UINT16;
template <>
inline constexpr char basicType<int32_t> = SD_BUS_TYPE_INT32;
template <>
inline constexpr char basicType<uint32_t> = SD_BUS_TYPE_UINT32;
template <>
inline constexpr char basicType<int64_t> = SD_BUS_TYPE_INT64;
template <>
inline constexpr char basicType<uint64_t> = SD_BUS_TYPE_UINT64;
template <>
inline constexpr char basicType<double> = SD_BUS_TYPE_DOUBLE;
template <>
inline constexpr char basicType<char*> = SD_BUS_TYPE_STRING;
template <>
inline constexpr char basicType<const char*> = SD_BUS_TYPE_STRING;
template <>
inline constexpr char basicType<std::string> = SD_BUS_TYPE_STRING;
template <>
inline constexpr char basicType<std::string_view> = SD_BUS_TYPE_STRING;
template <>
inline constexpr char basicType<object_path> = SD_BUS_TYPE_OBJECT_PATH;
template <>
inline constexpr char basicType<signature> = SD_BUS_TYPE_SIGNATURE;

/** Types whose arrays lie in a message as they lie in memory. A D-Bus boolean
 *  has four bytes, so bool is none of them. */
template <typename T>
concept Trivial =
    std::is_arithmetic_v<T> && !std::same_as<T, bool> && (basicType<T> != '\0');

template <typename T>
struct SignatureOf
{
    static_assert(basicType<T> != '\0',
                  "No dbus type conversion provided for type.");
    static constexpr auto value = characters(basicType<T>);
};

/** Signature of a C++ type; `signature<T>.text` is a C string. */
template <typename T>
inline constexpr auto signatureOf = SignatureOf<Plain<T>>::value;

/** Signatures of the members of a pair or tuple, one after the other. */
template <typename T>
struct ContentsOf;

template <template <typename...> typename Template, typename... Args>
struct ContentsOf<Template<Args...>>
{
    static constexpr auto value = join(signatureOf<Args>...);
};

template <typename T>
inline constexpr auto contentsOf = ContentsOf<T>::value;

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

template <Pair T>
struct SignatureOf<T>
{
    static constexpr auto value =
        join(characters('{'), contentsOf<T>, characters('}'));
};

template <Tuple T>
struct SignatureOf<T>
{
    static constexpr auto value =
        join(characters('('), contentsOf<T>, characters(')'));
};

template <Container T>

requires(basicType<T> == '\0') struct SignatureOf<T>
{
    static constexpr auto value = join(characters(char{SD_BUS_TYPE_ARRAY}),
                                       signatureOf<typename T::value_type>);
};

} // namespace sdbusplus::message::details
