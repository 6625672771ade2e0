// SPDX-License-Identifier: Apache-2.0
#include "tool/terminal.hpp"

#include <cstddef>

namespace tool::terminal
{

namespace
{

/** A lead byte of UTF-8 and the bytes that may come second after it: all
 *  others would make an overlong form, a surrogate, or no character (Unicode
 *  standard, table 3-7). */
struct Lead
{
    unsigned char first;
    unsigned char last;
    unsigned char lowest;
    unsigned char highest;
    std::size_t length;
};

constexpr Lead leads[] = {
    {0x00, 0x7F, 0x00, 0xFF, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2},
    {0xE0, 0xE0, 0xA0, 0xBF, 3}, {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4},
    {0xF4, 0xF4, 0x80, 0x8F, 4},
};

unsigned char byteAt(std::string_view text, std::size_t at)
{
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

bool continues(std::string_view text, const Lead& lead)
{
    bool whole = lead.length == 1 || (byteAt(text, 1) >= lead.lowest &&
                                      byteAt(text, 1) <= lead.highest);
    for (std::size_t at = 2; at < lead.length; ++at)
    {
        whole = whole && (byteAt(text, at) & 0xC0) == 0x80;
    }
    return whole;
}

/** Length of the character that text begins with; 1 for a byte that begins
 *  none. */
std::size_t characterLength(std::string_view text)
{
    const unsigned char first = byteAt(text, 0);
    for (const Lead& lead : leads)
    {
        if (first >= lead.first && first <= lead.last)
        {
            return continues(text, lead) ? lead.length : 1;
        }
    }
    return 1;
}

bool isControl(std::string_view character)
{
    const unsigned char first = byteAt(character, 0);
    if (character.size() == 1)
    {
        return first < 0x20 || (first >= 0x7F && first < 0xA0);
    }
    return first == 0xC2 && byteAt(character, 1) < 0xA0;
}

} // namespace

std::string shown(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty())
    {
        const std::string_view character =
            text.substr(0, characterLength(text));
        result += isControl(character) ? "?" : character;
        text.remove_prefix(character.size());
    }
    return result;
}

} // namespace tool::terminal
