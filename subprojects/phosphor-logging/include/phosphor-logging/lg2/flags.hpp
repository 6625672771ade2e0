// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

/** How a value is to be written; given between its name and the value, more
 *  than one joined with `|`. */
namespace lg2
{
namespace details
{

/** A set of flags, one bit each, known to the compiler. */
template <uint64_t Bits>
struct log_flag
{
};

template <uint64_t A, uint64_t B>
constexpr log_flag<A | B> operator|(log_flag<A>, log_flag<B>)
{
    return {};
}

template <uint64_t Bits>
constexpr uint64_t bits(log_flag<Bits> /*flags*/)
{
    return Bits;
}

} // namespace details

// Number base: binary with 0b, decimal (as without a flag), hexadecimal with
// 0x.
inline constexpr details::log_flag<1U << 0U> bin;
inline constexpr details::log_flag<1U << 1U> dec;
inline constexpr details::log_flag<1U << 7U> hex;

// Field width in bits, filled with zeros; for bin and hex.
inline constexpr details::log_flag<1U << 2U> field8;
inline constexpr details::log_flag<1U << 3U> field16;
inline constexpr details::log_flag<1U << 4U> field32;
inline constexpr details::log_flag<1U << 5U> field64;

// The kind of value. Follows from its type; saying it only checks that.
inline constexpr details::log_flag<1U << 6U> floating;
inline constexpr details::log_flag<1U << 8U> signed_val;
inline constexpr details::log_flag<1U << 9U> str;
inline constexpr details::log_flag<1U << 10U> unsigned_val;

} // namespace lg2
