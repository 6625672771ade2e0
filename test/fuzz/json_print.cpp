// SPDX-License-Identifier: Apache-2.0
#include "io/common/src/JsonText.hpp"
#include "target.hpp"
#include "tool/json/print.hpp"

#include <algorithm>
#include <optional>
#include <stdexcept>

using tool::printJson;

using nlohmann::json;

namespace
{

/** The depth as the library's own parser counts it; 0 for no document. */
std::size_t parsedDepth(const std::string& text)
{
    std::size_t deepest = 0;
    const auto note =
        [&deepest](int depth, json::parse_event_t event, json& /*value*/)
    {
        const bool opens = event == json::parse_event_t::object_start ||
                           event == json::parse_event_t::array_start;
        const auto level = static_cast<std::size_t>(depth) + 1;
        deepest = opens ? std::max(deepest, level) : deepest;
        // Nothing is kept: a document that is too deep cannot be destroyed.
        return false;
    };
    const json parsed = json::parse(text, note, false);
    return parsed.is_discarded() && !json::accept(text) ? 0 : deepest;
}

/** The document, or nothing when it is refused for its depth. */
std::optional<json> parsed(const std::string& text)
{
    const std::size_t depth = parsedDepth(text);
    try
    {
        json document = io::parseJson(text);
        fuzz::require(depth <= io::maxJsonDepth,
                      "a document that is too deep is refused");
        fuzz::require(document == json::parse(text),
                      "the document is the one that the library would build");
        return document;
    }
    catch (const std::length_error&)
    {
        fuzz::require(depth == 0 || depth > io::maxJsonDepth,
                      "only a document that is too deep is refused for it");
        return std::nullopt;
    }
}

} // namespace

/** A document from a service, printed as `show` does. */
void fuzz::target(Input input)
{
    const std::string text = textOf(input);
    const std::optional<json> document = parsed(text);
    if (!document)
    {
        return;
    }
    printJson(*document, 0);
    require(printed().empty() == document->empty(),
            "an empty document prints nothing, any other prints");
    require(printed().empty() || printed().back() == '\n', "lines are ended");
    require(io::parseJson(document->dump()) == *document,
            "a document that was printed can be sent and read again");
}
