// SPDX-License-Identifier: Apache-2.0
#include "tool/json/print.hpp"

#include "io/common/src/Text.hpp"
#include "tool/json/read.hpp"
#include "tool/output.hpp"

#include <cstdint>
#include <string>
#include <string_view>

using nlohmann::json;

namespace tool
{

namespace
{

using out::line;

constexpr std::size_t keyWidth = 24;

/** One blank short of a multiple of four: a printed form people know. */
std::string indentOf(unsigned level)
{
    return std::string(level == 0 ? 0 : 4 * std::size_t{level} - 1, ' ');
}

std::string padded(std::string_view key)
{
    return io::text::alignLeft(key, keyWidth);
}

bool contains(std::string_view key, std::string_view word)
{
    return key.find(word) != std::string_view::npos;
}

std::string sizeOf(const json& container)
{
    return std::to_string(container.size());
}

/** The value of a number that names an identifier or an address. */
std::string hexForm(std::string_view key, const json& number)
{
    const bool isId = contains(key, "Id") || contains(key, "ID");
    const auto value = readValue<uint32_t>(number);
    return " : 0x" +
           (isId ? io::text::hex(value & 0xFFFF, 4) : io::text::hex(value));
}

void printScalar(std::string_view indent, std::string_view key,
                 const json& value, bool hex)
{
    const std::string shown =
        hex && value.is_number() ? hexForm(key, value) : " : " + value.dump();
    line({indent, padded(key), shown, " (", value.type_name(), ")"});
}

void printElements(const json& array, const std::string& indent, unsigned level)
{
    for (const json& element : array)
    {
        if (element.is_structured())
        {
            line({indent, "{"});
            printJson(element, level);
            line({indent, "},"});
        }
        else
        {
            line({indent, element.dump()});
        }
    }
}

/** A member of an object that is itself a member of the document. */
void printEntry(const std::string& indent, std::string_view key,
                const json& value, unsigned level)
{
    const std::string inner = indent + "    ";
    if (value.is_object())
    {
        line({inner, padded(key), " (object, ", sizeOf(value), ")"});
        line({inner, "{"});
        printJson(value, level + 2);
        line({inner, "}"});
    }
    else if (value.is_array())
    {
        line({inner, padded(key), " (array, ", sizeOf(value), ")"});
        line({inner, "["});
        printElements(value, inner + "    ", level + 3);
        line({inner, "]"});
    }
    else
    {
        printScalar(inner, key, value, contains(key, "PCI"));
    }
}

/** An object or array of the document; `label` is its key, if it has one. */
void printContainer(const std::string& indent, std::string_view label,
                    const json& value, unsigned level)
{
    line({indent, label, "(", value.type_name(), ", ", sizeOf(value), ")"});
    line({indent, value.is_object() ? "{" : "["});
    if (value.is_object())
    {
        for (const auto& [key, entry] : value.items())
        {
            printEntry(indent, key, entry, level);
        }
    }
    else
    {
        printElements(value, indent + "    ", level + 2);
    }
    line({indent, value.is_object() ? "}" : "]"});
}

void printMember(const std::string& indent, const std::string& key,
                 const json& value, unsigned level)
{
    if (value.is_structured())
    {
        printContainer(indent, key + " ", value, level);
        return;
    }
    const bool hex = contains(key, "PCI") || contains(key, "Address") ||
                     contains(key, "OOB");
    printScalar(indent, key, value, hex);
}

} // namespace

void printJson(const json& document, unsigned level)
{
    if (document.is_null())
    {
        return;
    }
    const std::string indent = indentOf(level);
    for (auto member = document.begin(); member != document.end(); ++member)
    {
        if (document.is_array() && member->is_structured())
        {
            printContainer(indent, "", *member, level);
        }
        else
        {
            // Raises the library's error where there is no key to print.
            printMember(indent, member.key(), *member, level);
        }
    }
}

} // namespace tool
