#include "tool/json/document.hpp"

#include <stdexcept>

bool isTooDeep(std::string_view text) noexcept
{
    std::size_t depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        switch (text[i])
        {
            case '"':
                inString = !inString;
                break;
            case '\\':
                // An escaped character opens and closes nothing.
                i += inString ? 1 : 0;
                break;
            case '[':
            case '{':
                depth += inString ? 0 : 1;
                break;
            case ']':
            case '}':
                depth -= (inString || depth == 0) ? 0 : 1;
                break;
            default:
                break;
        }
        if (depth > maxJsonDepth)
        {
            return true;
        }
    }
    return false;
}

namespace
{
void checkDepth(std::string_view text)
{
    if (isTooDeep(text))
    {
        throw std::length_error(
            "JSON document is nested deeper than 512 levels");
    }
}
} // namespace

nlohmann::json parseDocument(std::string_view text)
{
    checkDepth(text);
    return nlohmann::json::parse(text);
}

nlohmann::json tryParseDocument(std::string_view text)
{
    checkDepth(text);
    return nlohmann::json::parse(text, nullptr, false);
}
