// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <ctime>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

/** Texts that are printed, made of pieces.
 *
 *  A text from outside that ends at its first NUL, as with printf's %s, is
 *  handed over by c_str().
 */
namespace io::text
{

/** The pieces, one behind the other. */
std::string cat(std::initializer_list<std::string_view> pieces);

/** A number in decimal, with zeros in front up to the width. */
std::string decimal(uint64_t number, unsigned width = 0);

/** A number in lower-case hexadecimal, with zeros in front up to the width. */
std::string hex(uint64_t number, unsigned width = 0);

/** The same in upper case. */
std::string upperHex(uint64_t number, unsigned width);

/** A number with that many decimals, rounded as printf's %f does. */
std::string fixed(double number, int decimals);

/** A text with blanks in front (alignRight) or behind it up to the width. */
std::string alignRight(std::string_view text, std::size_t width);
std::string alignLeft(std::string_view text, std::size_t width);

/** A time as ctime(3) writes it, without the end of the line. */
std::string date(std::time_t seconds);

/** The text after the last "."; all of it when there is none. */
std::string_view afterLastDot(std::string_view text);

/** The text behind the first occurrence of a key, up to the end. */
std::optional<std::string> findValue(const std::string& text,
                                     std::string_view key);

} // namespace io::text
