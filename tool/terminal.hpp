// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

/** What a terminal is given of text that somebody else wrote.
 *
 *  A terminal obeys control characters: a drive's name could move the cursor,
 *  hide a line or set the window's title.
 */
namespace tool::terminal
{

/** The text, with each control character in it as "?".
 *
 *  These are C0 (the line feed among them), DEL and C1, the latter both as a
 *  UTF-8 character and as a byte that is part of none.
 */
std::string shown(std::string_view text);

} // namespace tool::terminal
