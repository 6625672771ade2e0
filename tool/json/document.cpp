#include "tool/json/document.hpp"

#include "io/common/src/JsonText.hpp"

nlohmann::json parseDocument(std::string_view text)
{
    return io::parseJson(text, maxJsonDepth);
}

nlohmann::json tryParseDocument(std::string_view text)
{
    return io::tryParseJson(text, maxJsonDepth);
}
