// SPDX-License-Identifier: Apache-2.0
#include <sdbusplus/message/native_types.hpp>

#include <algorithm>
#include <array>
#include <optional>

namespace sdbusplus::message
{

namespace
{

constexpr std::string_view hexDigits = "0123456789abcdef";

bool isAlphanumeric(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
           (c >= 'A' && c <= 'Z');
}

bool mayStay(char c)
{
    return isAlphanumeric(c) || c == '_';
}

std::optional<unsigned> hexValue(char c)
{
    const char lower = (c >= 'A' && c <= 'F') ? static_cast<char>(c + 32) : c;
    const auto at = hexDigits.find(lower);
    return at == std::string_view::npos ? std::nullopt
                                        : std::optional<unsigned>(at);
}

void appendEscaped(std::string& out, char c)
{
    const auto byte = static_cast<unsigned char>(c);
    out += '_';
    out += hexDigits[byte >> 4U];
    out += hexDigits[byte & 0xfU];
}

/** Undo appendEscaped for a whole path element; empty if it is damaged. */
std::string unescape(std::string_view element)
{
    std::string out;
    out.reserve(element.size());
    for (std::size_t i = 0; i < element.size(); ++i)
    {
        if (element[i] != '_')
        {
            out += element[i];
            continue;
        }
        if (i + 2 >= element.size())
        {
            return {};
        }
        const auto high = hexValue(element[++i]);
        const auto low = hexValue(element[++i]);
        if (!high || !low)
        {
            return {};
        }
        out += static_cast<char>(*high << 4U | *low);
    }
    return out;
}

} // namespace

std::string object_path::filename() const
{
    const auto slash = str.rfind('/');
    if (slash == std::string::npos)
    {
        return {};
    }
    const auto element = std::string_view(str).substr(slash + 1);
    return element.starts_with('_') ? unescape(element) : std::string(element);
}

object_path object_path::parent_path() const
{
    const auto slash = str.rfind('/');
    if (slash == std::string::npos || slash <= 1)
    {
        return std::string("/");
    }
    return str.substr(0, slash);
}

object_path object_path::operator/(std::string_view element) const
{
    object_path out(*this);
    return out /= element;
}

object_path& object_path::operator/=(std::string_view element)
{
    if (!str.empty() && !str.ends_with('/'))
    {
        str += '/';
    }
    // An element that starts with '_' is taken for an escaped one when it is
    // read back, so an underscore in front asks for escaping as well.
    if (element.empty() || (isAlphanumeric(element.front()) &&
                            std::ranges::all_of(element, mayStay)))
    {
        str += element;
        return *this;
    }
    appendEscaped(str, element.front());
    for (const char c : element.substr(1))
    {
        if (isAlphanumeric(c))
        {
            str += c;
        }
        else
        {
            appendEscaped(str, c);
        }
    }
    return *this;
}

} // namespace sdbusplus::message
